"""`soundcheck churn` on the bench.

Wine's driver signals a stream once more after it was closed, which can wake a device that is just being opened: its
answer is then one of TROUBLE. That is Wine's, so that it is no failure here; any other code is.
"""

import unittest

from soundcheck import SoundcheckTest

TROUBLE = {-232, -233}


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
        self.assertLessEqual({failure["code"] for failure in churn["failures"]}, TROUBLE, document["findings"])
        self.assertEqual(document["exit_code"], 1 if churn["failures"] or document["log"]["errors"] else 0,
                         document["findings"])
        again = self.document_of("soak", "--seconds", "1")
        self.assertEqual(again["exit_code"], 0, again["findings"])


if __name__ == "__main__":
    unittest.main()
