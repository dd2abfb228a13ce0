"""The shipped soundcheck.exe and plug-in on a sound bench (scripts/with-bench).

What ctest gives in the environment: SOUNDCHECK, the program; the plug-in lies beside it.
"""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

import jsonschema

PROGRAM = os.environ["SOUNDCHECK"]
SCHEMA = json.loads((pathlib.Path(__file__).parents[3] / "docs" / "soundcheck.schema.json").read_text())
PATIENCE = 100  # seconds


class SoundcheckTest(unittest.TestCase):
    """A folder per test."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def path(self, name):
        """As the program gets it."""
        return "Z:" + str(self.folder / name).replace("/", "\\")

    def document_of(self, *arguments):
        """Runs the program; its document keeps the schema, and agrees with the exit code."""
        done = subprocess.run(["wine", PROGRAM, "--json", *arguments], stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=PATIENCE, check=False)
        document = json.loads(done.stdout)
        jsonschema.Draft202012Validator(SCHEMA).validate(document)
        self.assertEqual(document["exit_code"], done.returncode)
        self.assertEqual(bool(document["findings"]), done.returncode != 0, document["findings"])
        return document

    def load_module(self, *arguments):
        """A module of the sound server, until the test ends."""
        number = subprocess.run(["pactl", "load-module", *arguments], capture_output=True, check=True, text=True).stdout
        self.addCleanup(subprocess.run, ["pactl", "unload-module", number.strip()], check=True)

    def set_volume(self, source, volume):
        subprocess.run(["pactl", "set-source-volume", source, volume], check=True)
