#!/usr/bin/env python3
"""Opens the example pages of a report in a browser, in light and dark, at a desk and on a phone.

    pages_test.py PROGRAM...     the command that writes the examples; the folder is added
    PAGES_SCREENSHOTS=FOLDER     keeps a picture of each
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from html.parser import HTMLParser

import browser

VOID = {"meta", "wbr", "br"}


class Structure(HTMLParser):
    """Elements that are left open or closed twice, what a page loads, tables without a caption."""

    def __init__(self, text):
        super().__init__()
        self.open, self.faults, self.loads = [], [], []
        self.tables = self.captions = 0
        self.feed(text)
        self.close()
        self.faults += [f"left open: {name}" for name in self.open]

    def handle_starttag(self, tag, attrs):
        self.tables += tag == "table"
        self.captions += tag == "caption"
        self.loads += [f"{tag} {name}" for name, _ in attrs if name in ("src", "href", "srcset", "style", "onload")]
        if tag not in VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        self.handle_starttag(tag, attrs)
        self.open.pop()

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"unexpected end of {tag}")


def contrast(paper, ink):
    def luminance(colour):
        parts = [int(part) / 255 for part in re.findall(r"\d+", colour)[:3]]
        parts = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
        return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2]

    darker, lighter = sorted((luminance(paper), luminance(ink)))
    return (lighter + 0.05) / (darker + 0.05)


class Pages(unittest.TestCase):
    PICTURES = {"passed.html": 5, "failed.html": 5, "hostile.html": 5, "nothing.html": 0}
    VERDICTS = {"passed.html": "Passed", "failed.html": "Failed", "hostile.html": "Failed",
                "nothing.html": "Nothing checked"}

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        subprocess.run([*PROGRAM, "Z:" + cls.folder.name.replace("/", "\\")], check=True, timeout=60)

    def test_structure_is_sound_and_loads_nothing(self):
        for name in self.PICTURES:
            with self.subTest(page=name), open(os.path.join(self.folder.name, name), encoding="utf-8") as file:
                found = Structure(file.read())
                self.assertEqual(found.faults, [])
                self.assertEqual(found.loads, [])
                self.assertEqual(found.tables, found.captions)

    def test_in_the_browser(self):
        for name in self.PICTURES:
            for width, dark in ((1200, False), (1200, True), (390, False), (390, True)):
                with self.subTest(page=name, width=width, dark=dark):
                    self.open_and_judge(name, width, dark)

    def open_and_judge(self, name, width, dark):
        shots = os.environ.get("PAGES_SCREENSHOTS")
        shot = shots and os.path.join(shots, f"{name[:-5]}-{width}-{'dark' if dark else 'light'}.png")
        found = browser.measure(os.path.join(self.folder.name, name), width, dark, shot)
        self.assertEqual(found["errors"], [])
        self.assertEqual(found["requests"], [])
        self.assertEqual(found["scripts"], 0)
        self.assertEqual(found["width"], width)
        self.assertEqual(found["tooWide"], [])
        self.assertLessEqual(found["contentWidth"], width)
        self.assertEqual(found["dark"], dark)
        self.assertGreater(contrast(found["paper"], found["ink"]), 7)
        self.assertEqual(found["first"], self.VERDICTS[name])
        self.assertLess(found["firstTop"], 100)
        self.assertEqual(len(found["pictures"]), self.PICTURES[name])
        for picture in found["pictures"]:
            self.assertGreater(picture["marks"], 0)
            self.assertGreater(picture["height"], 60)
            self.assertGreater(picture["letters"], 10)
            self.assertEqual(picture["outside"], [])
            self.assertEqual(picture["overlapping"], [])


if __name__ == "__main__":
    PROGRAM = sys.argv[1:]
    unittest.main(argv=sys.argv[:1], verbosity=2)
