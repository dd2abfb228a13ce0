"""Ctrl-C, sent to the program when the plug-in has got a certain call.

A SIGINT to a program in Wine arrives in it as Ctrl-C, by the same handler as the console's.
"""

import signal
import subprocess
import time
import wave

from program import Ended, PATIENCE, ProgramTest

DONE, CHECK_FAILED, NOTHING_CHECKED = 0, 1, 77
ENDED_BY_CTRL_C = 0xC000013A & 0xFF  # the system's own code, of which a shell sees the last byte


class InterruptTest(ProgramTest):
    def interrupt(self, arguments, words="", after=None, delay=0.0, times=1):
        """@param after: the call of the journal to wait for before the delay"""
        (self.folder / "journal.txt").unlink(missing_ok=True)
        process = subprocess.Popen(self.command_line(*arguments), env=self.environment(words), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        end = time.monotonic() + PATIENCE
        while after and after not in self.journal():
            self.assertLess(time.monotonic(), end, f"no {after} in {self.journal()}")
            time.sleep(0.01)
        time.sleep(delay)
        for _ in range(times):
            process.send_signal(signal.SIGINT)
            time.sleep(0.2 if times > 1 else 0)
        output, errors = process.communicate(timeout=PATIENCE)
        return Ended(process.returncode, output, errors)

    def frames(self, name):
        """Of a recording, which is whole."""
        file = self.folder / name
        with wave.open(str(file)) as recording:
            frame = recording.getnchannels() * recording.getsampwidth()
            self.assertEqual(len(recording.readframes(recording.getnframes())), frame * recording.getnframes())
            return recording.getnframes()

    def assert_nothing_checked(self, ended):
        self.assertEqual(ended.code, NOTHING_CHECKED, ended.errors)
        self.assertIn("before there was anything to judge", ended.errors)
        self.assert_closed()
