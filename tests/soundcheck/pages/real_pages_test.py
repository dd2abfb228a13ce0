#!/usr/bin/env python3
"""The pages that soundcheck itself writes against the fake plug-in, opened in a browser."""

import unittest

from judging import PageTest
from program import ProgramTest

# The page, exit code, verdict, words for the fake plug-in, the command line.
RUNS = [
    ("doctor", 0, "Passed", "", ["doctor"]),
    ("doctor-broken", 1, "Failed", "capture-open-fails log-error", ["doctor"]),
    ("loop-drop", 1, "Failed", "loopback loopback-drop", ["loop", "--seconds", "1"]),
    ("soak", 0, "Passed", "", ["soak", "--seconds", "1.5"]),
    ("soak-slow", 1, "Failed", "capture-open-fails slow", ["soak", "--seconds", "1.5"]),
    ("echo", 0, "Passed", "echo", ["echo", "--seconds", "2"]),
    ("no-device", 77, "Nothing checked", "no-devices", ["doctor"]),
]


class RealPages(ProgramTest, PageTest):
    def test_pages_of_the_program(self):
        for name, code, verdict, words, arguments in RUNS:
            with self.subTest(page=name):
                ended = self.run_program(*arguments, "--report", self.path(f"{name}.html"), words=words)
                self.assertEqual(ended.code, code, ended.errors)
                page = str(self.folder / f"{name}.html")
                self.judge_structure(page)
                for found in self.judge_in_every_view(page, verdict):
                    self.assertEqual(bool(found["pictures"]), code != 77)

    def test_lost_frames_are_shown_at_their_place(self):
        self.run_program("loop", "--seconds", "1", "--report", self.path("loop.html"), words="loopback loopback-drop")
        page = (self.folder / "loop.html").read_text(encoding="utf-8")
        self.assertRegex(page, r"came back at 2\.\d+ s \(frame \d+\): 480 frames dropped\.")


if __name__ == "__main__":
    unittest.main(verbosity=2)
