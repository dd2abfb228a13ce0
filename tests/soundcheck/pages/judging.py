"""What every page of a report must be, whoever wrote it: sound, on its own, and legible at a desk and on a phone.

    PAGES_SCREENSHOTS=FOLDER     keeps a picture of each page
"""

import os
import re
import unittest
from html.parser import HTMLParser

import browser

VOID = {"meta", "wbr", "br"}
VIEWS = ((1200, False), (1200, True), (390, False), (390, True))  # width, dark


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


class PageTest(unittest.TestCase):
    def judge_structure(self, page):
        with open(page, encoding="utf-8") as file:
            found = Structure(file.read())
        self.assertEqual(found.faults, [])
        self.assertEqual(found.loads, [])
        self.assertEqual(found.tables, found.captions)

    def judge_in_every_view(self, page, verdict):
        """@return what was measured in each view"""
        measured = []
        for width, dark in VIEWS:
            with self.subTest(page=os.path.basename(page), width=width, dark=dark):
                measured.append(self.open_and_judge(page, verdict, width, dark))
        return measured

    def open_and_judge(self, page, verdict, width, dark):
        shots = os.environ.get("PAGES_SCREENSHOTS")
        name = os.path.splitext(os.path.basename(page))[0]
        shot = shots and os.path.join(shots, f"{name}-{width}-{'dark' if dark else 'light'}.png")
        found = browser.measure(page, width, dark, shot)
        self.assertEqual(found["errors"], [])
        self.assertEqual(found["requests"], [])
        self.assertEqual(found["scripts"], 0)
        self.assertEqual(found["width"], width)
        self.assertEqual(found["tooWide"], [])
        self.assertLessEqual(found["contentWidth"], width)
        self.assertEqual(found["dark"], dark)
        self.assertGreater(contrast(found["paper"], found["ink"]), 7)
        self.assertEqual(found["first"], verdict)
        self.assertLess(found["firstTop"], 100)
        for picture in found["pictures"]:
            self.assertGreater(picture["marks"], 0)
            self.assertGreater(picture["height"], 60)
            self.assertGreater(picture["letters"], 10)
            self.assertEqual(picture["outside"], [])
            self.assertEqual(picture["overlapping"], [])
        return found
