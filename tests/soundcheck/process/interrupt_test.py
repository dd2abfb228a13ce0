"""Ctrl-C while something is played, recorded, listed or watched: the commands come to their end in order, and what was
recorded so far is readable."""

import time
import unittest

from interrupting import CHECK_FAILED, DONE, ENDED_BY_CTRL_C, InterruptTest, NOTHING_CHECKED


class CtrlC(InterruptTest):
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
        for name in ("x.wav", "m.wav", "e.wav"):
            self.assertGreater(self.frames(name), 10 * 960)

    def test_watching_ends_well(self):
        ended = self.interrupt(["watch"], after="initialize", delay=0.5)
        self.assertEqual(ended.code, DONE, ended.errors)
        self.assert_closed()

    def test_before_the_first_block(self):
        for arguments in (["play", self.path("long.wav")], ["record", self.path("x.wav")], self.talk()):
            with self.subTest(command=arguments[0]):
                self.assert_nothing_checked(self.interrupt(arguments, words="silent", after="start-", delay=0.5))
        self.assertEqual(self.frames("x.wav"), 0)

    def test_while_the_plugin_initializes_or_opens(self):
        for moment in ("initialize", "open-2"):
            for arguments in (["record", self.path("x.wav")], ["list", "--formats"], self.talk()):
                with self.subTest(command=arguments[0], moment=moment):
                    ended = self.interrupt(arguments, words="slow-calls", after=moment)
                    self.assertIn(ended.code, (DONE, NOTHING_CHECKED), ended.errors)
                    self.assert_closed()
    
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
