"""`soundcheck doctor` on the bench, and its page. The machine may spoil single checks; judged is whether all were run,
and whether the verdicts agree with what was found."""

import re
import unittest

from soundcheck import SoundcheckTest

TITLES = ("The plug-in", "The list of devices", "Play on Speaker", "Play on Headset", "Record from Monitor of Speaker",
          "Loop Speaker -> Monitor of Speaker", "Echo Speaker -> Monitor of Speaker",
          "Loop Headset -> Monitor of Headset", "All devices at once", "Open and close in any order")


class Doctor(SoundcheckTest):
    def test_every_check_is_run_and_is_on_the_page(self):
        document = self.document_of("doctor", "--report", self.path("report.html"))
        checks = {check["check"]: check for check in document["doctor"]["checks"]}
        self.assertLessEqual(set(TITLES), set(checks))
        for title in TITLES[:2]:
            self.assertEqual(checks[title]["verdict"], "passed", checks[title])
        for title in TITLES:
            check = checks[title]
            self.assertNotEqual(check["verdict"], "nothing checked", check)
            self.assertEqual(bool(check["findings"]), check["verdict"] == "failed", check)
            self.assertTrue(check["note"], title)
        failed = any(check["verdict"] == "failed" for check in checks.values())
        self.assertEqual(document["exit_code"], 1 if failed else 0, document["findings"])

        page = (self.folder / "report.html").read_text(encoding="utf-8")
        self.assertIn("<h1>Failed</h1>" if failed else "<h1>Passed</h1>", page)
        for title in TITLES:
            self.assertRegex(page, f"<h2>{re.escape(title.replace('>', '&gt;'))}: (passed|failed)</h2>")
        for words in ("played on Speaker", "captured from Monitor of Speaker", "reference for Monitor of Speaker",
                      "Round trip"):
            self.assertIn(words, page)


if __name__ == "__main__":
    unittest.main()
