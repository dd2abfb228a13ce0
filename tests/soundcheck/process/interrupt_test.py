"""Ctrl-C at any moment: every command comes to its end in order, and what was recorded so far is readable.

A SIGINT to a program in Wine arrives in it as Ctrl-C, by the same handler as the console's.
"""

import signal
import subprocess
import time
import unittest
import wave

from program import Ended, PATIENCE, ProgramTest

DONE, CHECK_FAILED, NOTHING_CHECKED = 0, 1, 77
ENDED_BY_CTRL_C = 0xC000013A & 0xFF  # the system's own code, of which a shell sees the last byte


class CtrlC(ProgramTest):
    def interrupt(self, arguments, words="", after=None, delay=0.0, times=1):
        """@param after: the call of the journal to wait for before the delay"""
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
        with wave.open(str(self.folder / name)) as file:
            return file.getnframes()

    def talk(self):
        return ["talk", self.path("long.wav"), "--echo-to", self.path("e.wav"), "--record-to", self.path("m.wav")]

    def setUp(self):
        super().setUp()
        self.write_wav("long.wav", frames=60 * 48000 * 10)  # a minute of the fake plug-in, which is ten times as fast

    def test_while_it_runs(self):
        for arguments, start in ((["play", self.path("long.wav")], "start-1"),
                                 (["record", self.path("x.wav")], "start-2"), (self.talk(), "start-2")):
            with self.subTest(command=arguments[0]):
                ended = self.interrupt(arguments, after=start, delay=1)
                self.assertEqual(ended.code, DONE, ended.errors)
                self.assertIn(" ended=interrupted", ended.output)
                self.assert_closed()
                (self.folder / "journal.txt").unlink()
        for name in ("x.wav", "m.wav", "e.wav"):
            self.assertGreater(self.frames(name), 10 * 960)

    def test_watching_ends_well(self):
        ended = self.interrupt(["watch"], after="initialize", delay=0.5)
        self.assertEqual(ended.code, DONE, ended.errors)
        self.assert_closed()

    def test_before_the_first_block(self):
        for arguments in (["play", self.path("long.wav")], ["record", self.path("x.wav")], self.talk()):
            with self.subTest(command=arguments[0]):
                ended = self.interrupt(arguments, words="silent", after="start-", delay=0.5)
                self.assertEqual(ended.code, NOTHING_CHECKED, ended.errors)
                self.assertIn("before there was anything to judge", ended.errors)
                self.assert_closed()
                (self.folder / "journal.txt").unlink()
        self.assertEqual(self.frames("x.wav"), 0)

    def test_while_the_plugin_initializes_or_opens(self):
        for moment in ("initialize", "open-2"):
            for arguments in (["record", self.path("x.wav")], ["list", "--formats"], self.talk()):
                with self.subTest(command=arguments[0], moment=moment):
                    ended = self.interrupt(arguments, words="slow-calls", after=moment)
                    self.assertIn(ended.code, (DONE, NOTHING_CHECKED), ended.errors)
                    self.assert_closed()
                    (self.folder / "journal.txt").unlink()

    def test_while_a_device_stands_still(self):
        ended = self.interrupt(["record", self.path("x.wav")], words="freeze", after="start-2", delay=3)
        self.assertEqual(ended.code, CHECK_FAILED, ended.errors)
        self.assertIn("stands still", ended.errors)
        self.assertEqual(self.frames("x.wav"), 10 * 960)
        self.assert_closed()

    def test_twice_ends_at_once_what_hangs(self):
        begun = time.monotonic()
        ended = self.interrupt(["record", self.path("x.wav")], words="stop-hangs", after="start-2", delay=1, times=3)
        self.assertEqual(ended.code, ENDED_BY_CTRL_C)
        self.assertLess(time.monotonic() - begun, 14, "the second Ctrl-C is quicker than the watch over calls")


if __name__ == "__main__":
    unittest.main()
