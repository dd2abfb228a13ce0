"""The real soundcheck.exe as a process of its own, in Wine, against the fake plug-in.

What ctest gives in the environment: SOUNDCHECK, the program; the fake plug-in lies beside it. WINEPREFIX names a prefix
whose services run already: the first program in a fresh one would hand its pipes on to them, which never close.
"""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest
import wave

import jsonschema

PROGRAM = os.environ["SOUNDCHECK"]
SCHEMA = json.loads((pathlib.Path(__file__).parents[3] / "docs" / "soundcheck.schema.json").read_text())
PATIENCE = 60  # seconds


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Ended:
    """A run that has come to its end."""

    def __init__(self, code, output, errors):
        self.code, self.output = code, output.decode()
        self.errors = errors.decode().replace("\r\n", "\n")


class ProgramTest(unittest.TestCase):
    """A folder per test, with a second of speech in it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.write_wav("speech.wav", frames=24000)

    @staticmethod
    def validator():
        """Of the document that --json gives."""
        return jsonschema.Draft202012Validator(SCHEMA)

    def path(self, name):
        """As the program gets it."""
        return windows_path(self.folder / name)

    def write_wav(self, name, frames, channels=2):
        with wave.open(str(self.folder / name), "wb") as file:
            file.setnchannels(channels)
            file.setsampwidth(2)
            file.setframerate(48000)
            file.writeframes(b"\x00\x10" * channels * frames)

    def command_line(self, *arguments):
        return ["wine", PROGRAM, "--dll", "fake_backend.dll", *arguments]

    def environment(self, words=""):
        """@param words: what the fake plug-in does wrong"""
        return {**os.environ, "FAKE_BACKEND": words, "FAKE_BACKEND_JOURNAL": self.path("journal.txt")}

    def run_program(self, *arguments, words=""):
        done = subprocess.run(self.command_line(*arguments), env=self.environment(words), stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=PATIENCE, check=False)
        return Ended(done.returncode, done.stdout, done.stderr)

    def journal(self):
        """The calls that the plug-in got: "initialize open-1 start-1 ... "."""
        file = self.folder / "journal.txt"
        return file.read_text() if file.exists() else ""

    def assert_closed(self):
        """The plug-in was left in order: what was opened is closed, what was initialized is finalized."""
        calls = self.journal().split()
        for direction in "12":
            self.assertEqual(calls.count(f"open-{direction}"), calls.count(f"close-{direction}"), calls)
        self.assertEqual(calls.count("initialize"), calls.count("finalize"), calls)
        self.assertNotIn("FINALIZED-TOO-EARLY", calls)
