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
        self.modules = []  # loaded and not unloaded yet
        self.defaults = []  # changed, and to be restored

    def path(self, name):
        """As the program gets it."""
        return "Z:" + str(self.folder / name).replace("/", "\\")

    def document_of(self, *arguments):
        """Runs the program; its document keeps the schema, and agrees with the exit code."""
        done = subprocess.run(["wine", PROGRAM, "--json", *arguments], stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=PATIENCE, check=False)
        try:
            document = json.loads(done.stdout)
        except json.JSONDecodeError:
            self.fail(f"no document; it ended with {done.returncode}:\n{(done.stderr + done.stdout).decode()[-4000:]}")
        jsonschema.Draft202012Validator(SCHEMA).validate(document)
        self.assertEqual(document["exit_code"], done.returncode)
        self.assertEqual(bool(document["findings"]), done.returncode != 0, document["findings"])
        return document

    def start_program(self, *arguments):
        """A run beside the test."""
        process = subprocess.Popen(["wine", PROGRAM, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def load_module(self, *arguments):
        """A module of the sound server, until the test ends. @return its number"""
        number = subprocess.run(["pactl", "load-module", *arguments], capture_output=True, check=True,
                                text=True).stdout.strip()
        self.modules.append(number)
        self.addCleanup(lambda: number in self.modules and self.unload_module(number))
        return number

    def unload_module(self, number):
        self.modules.remove(number)
        subprocess.run(["pactl", "unload-module", number], check=True)

    def set_default_voice_device(self, direction, device):
        """Until the test ends; a running process of Wine notices it."""
        value, prefix = (("DefaultVoiceOutput", "{0.0.0.00000000}.") if direction == "playback" else
                         ("DefaultVoiceInput", "{0.0.1.00000000}."))
        self.registry("add", "/v", value, "/d", prefix + device)
        if value not in self.defaults:
            self.defaults.append(value)
            self.addCleanup(self.registry, "delete", "/v", value)

    @staticmethod
    def registry(verb, *arguments):
        # No pipes: what Wine starts beside it would keep them open.
        subprocess.run(["wine", "reg", verb, r"HKCU\Software\Wine\Drivers\winepulse.drv", *arguments, "/f"],
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)

    def set_volume(self, source, volume):
        subprocess.run(["pactl", "set-source-volume", source, volume], check=True)
