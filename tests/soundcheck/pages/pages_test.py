#!/usr/bin/env python3
"""Opens the example pages of a report in a browser, in light and dark, at a desk and on a phone.

    pages_test.py PROGRAM...     the command that writes the examples; the folder is added
"""

import os
import subprocess
import sys
import tempfile
import unittest

from judging import PageTest


class Pages(PageTest):
    PICTURES = {"passed.html": 5, "failed.html": 5, "hostile.html": 5, "nothing.html": 0}
    VERDICTS = {"passed.html": "Passed", "failed.html": "Failed", "hostile.html": "Failed",
                "nothing.html": "Nothing checked"}

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        subprocess.run([*PROGRAM, "Z:" + cls.folder.name.replace("/", "\\")], check=True, timeout=60)

    def page(self, name):
        return os.path.join(self.folder.name, name)

    def test_structure_is_sound_and_loads_nothing(self):
        for name in self.PICTURES:
            with self.subTest(page=name):
                self.judge_structure(self.page(name))

    def test_in_the_browser(self):
        for name, pictures in self.PICTURES.items():
            for found in self.judge_in_every_view(self.page(name), self.VERDICTS[name]):
                self.assertEqual(len(found["pictures"]), pictures)


if __name__ == "__main__":
    PROGRAM = sys.argv[1:]
    unittest.main(argv=sys.argv[:1], verbosity=2)
