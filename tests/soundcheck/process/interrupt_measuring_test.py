"""Ctrl-C while something is measured: the devices end closed, and what was found so far is told, and is in the report."""

import json
import re
import unittest

from interrupting import CHECK_FAILED, DONE, InterruptTest

RUNS = {  # words for the fake plug-in, options for a run that is longer than any test
    "loop": ("loopback", ["--seconds", "120"]),
    "echo": ("echo", ["--seconds", "1000"]),
    "soak": ("", ["--seconds", "1000"]),
    "churn": ("", ["--seconds", "1000"]),
    "doctor": ("", []),
}
SHORT_RUNS = {  # until their end
    "loop": ("loopback", ["--seconds", "0.5"]),
    "echo": ("echo", ["--seconds", "2"]),
    "soak": ("", ["--seconds", "1"]),
    "churn": ("", ["--rounds", "5", "--seed", "1"]),
}


class CtrlCWhileMeasuring(InterruptTest):
    def interrupt_command(self, command, words="", more=(), **moment):
        usual, options = RUNS[command]
        return self.interrupt([command, *options, *more], words=f"{usual} {words}", **moment)

    def interrupt_document(self, command, *more, **moment):
        """@return the document, and what was said on standard error"""
        ended = self.interrupt_command(command, more=["--json", "--report", self.path("r.html"), *more], **moment)
        document = json.loads(ended.output)
        self.validator().validate(document)
        self.assertEqual(document["exit_code"], ended.code)
        self.assertEqual(document["ended"], "interrupted", ended.errors)
        self.assert_closed()
        page = (self.folder / "r.html").read_text(encoding="utf-8")
        self.assertTrue(page.rstrip().endswith("</html>"), page[-100:])
        return document, page

    def test_before_anything_is_open(self):
        for command in RUNS:
            with self.subTest(command=command):
                self.assert_nothing_checked(self.interrupt_command(command, words="slow-calls", after="initialize"))
                self.assertNotIn("start", self.journal())

    def test_while_a_device_opens(self):
        for command in ("loop", "echo", "soak", "doctor"):
            with self.subTest(command=command):
                self.assert_nothing_checked(self.interrupt_command(command, words="slow-calls", after="open-1"))
        self.assertEqual(self.journal().count("open-"), 1, "the doctor asks every device only until Ctrl-C")

    def test_while_soak_opens_its_devices_keeps_it_from_the_others(self):
        self.assert_nothing_checked(self.interrupt_command("soak", words="slow-calls", after="open-1"))
        self.assertEqual(self.journal().count("open-"), 1)

    def test_before_the_first_block(self):
        for command in ("loop", "echo", "soak"):
            with self.subTest(command=command):
                self.assert_nothing_checked(self.interrupt_command(command, words="silent", after="start-2", delay=0.5))

    def test_loop_judges_and_keeps_what_came(self):
        document, page = self.interrupt_document("loop", "--keep", self.path("kept.wav"), words="loopback-drop",
                                                 after="start-1", delay=4)
        loop = document["loop"]
        self.assertEqual((document["exit_code"], loop["dropped_frames"], loop["kept"]), (CHECK_FAILED, 480, True))
        self.assertEqual(len(document["findings"]), 1, "the end of the probe is not missed")
        self.assertLessEqual(self.frames("kept.wav"), loop["blocks"] * 960)
        self.assertGreater(self.frames("kept.wav"), 90000)
        self.assertIn("<h1>Failed</h1>", page)

    def test_echo_keeps_its_recordings_and_tells_the_lag(self):
        document, page = self.interrupt_document("echo", "--keep", self.path("kept"), after="start-2", delay=3)
        echo = document["echo"]
        self.assertEqual(document["exit_code"], DONE, document["findings"])
        self.assertGreaterEqual(echo["pairs"], 2)
        self.assertAlmostEqual(echo["lag_ms"], 160, delta=0.1)
        self.assertEqual(self.frames("kept/microphone.wav"), echo["frames"])
        self.assertEqual(self.frames("kept/reference.wav"), echo["frames"])
        self.assertIn("Until it was interrupted, nothing wrong was found.", page)

    def test_soak_tells_its_table(self):
        document, page = self.interrupt_document("soak", after="start-2", delay=2)
        self.assertEqual(document["exit_code"], DONE, document["findings"])
        devices = document["soak"]["devices"]
        self.assertEqual([device["state"] for device in devices], ["running"] * 4)
        for device in devices:
            self.assertGreater(device["blocks"], 50)
            self.assertGreater(device["intervals"], 5)
        self.assertIn("Until it was interrupted, nothing wrong was found.", page)

    def test_churn_tells_its_counts(self):
        document, _ = self.interrupt_document("churn", after="start-1", delay=2)
        self.assertEqual(document["exit_code"], DONE, document["findings"])
        calls = document["churn"]["calls"]
        journal = self.journal().split()
        for name in ("open", "start"):
            self.assertEqual(calls[name]["count"], sum(word.startswith(name) for word in journal))
        self.assertEqual(document["churn"]["rounds"], sum(call["count"] for call in calls.values()))

    def test_doctor_reports_the_checks_so_far(self):
        document, page = self.interrupt_document("doctor", after="start-2", delay=0.2)  # the first recording
        self.assertEqual(document["exit_code"], DONE, document["findings"])
        verdicts = {check["check"]: check["verdict"] for check in document["doctor"]["checks"]}
        for title in ("The plug-in", "The list of devices", "Play on Fake Speaker", "Play on Fake Headphones"):
            self.assertEqual(verdicts.pop(title), "passed", title)
            self.assertIn(f"{title}: passed", page)
        self.assertEqual(list(verdicts.items()), [("Record from Fake Microphone", "nothing checked")])

    def test_while_a_device_stands_still(self):
        for command in ("loop", "echo", "soak"):
            with self.subTest(command=command):
                ended = self.interrupt_command(command, words="freeze", after="start-2", delay=3)
                self.assertEqual(ended.code, CHECK_FAILED, ended.errors)
                self.assertRegex(ended.errors, "stands still|does not begin")
                self.assert_closed()

    def test_while_it_closes_changes_nothing(self):
        for command, (words, options) in SHORT_RUNS.items():
            with self.subTest(command=command):
                ended = self.interrupt([command, *options], words=f"{words} slow-calls", after="finalize")
                self.assertEqual(ended.code, DONE, ended.errors)
                self.assertEqual(set(re.findall(r" ended=([\w-]+)", ended.output)), {"complete"})
                self.assert_closed()


if __name__ == "__main__":
    unittest.main()
