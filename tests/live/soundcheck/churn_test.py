"""`soundcheck churn` on the bench. Wine's own late events are counted apart (commands/churn_run.h); anything else that
fails is a failure."""

import unittest

from soundcheck import SoundcheckTest


class Churn(SoundcheckTest):
    def test_every_call_is_answered_and_the_devices_are_closed(self):
        document = self.document_of("churn", "--seconds", "8", "--seed", "11")
        churn = document["churn"]
        self.assertEqual((document["ended"], churn["seed"]), ("complete", 11), document["findings"])
        self.assertGreater(churn["rounds"], 20)
        self.assertEqual(churn["rounds"], sum(call["count"] for call in churn["calls"].values()))
        self.assertGreater(churn["start"], 3)
        self.assertLessEqual(churn["start"], churn["open"])
        self.assertLessEqual(churn["close"], churn["open"])
        for call in churn["calls"].values():
            self.assertLessEqual(call["average_ms"], call["slowest_ms"])
        self.assertEqual((document["exit_code"], churn["failures"]), (0, []), document["findings"])
        self.assertEqual(churn["late_events"], sum(call["failed"] for call in churn["calls"].values()))
        again = self.document_of("soak", "--seconds", "1")
        self.assertEqual(again["exit_code"], 0, again["findings"])


if __name__ == "__main__":
    unittest.main()
