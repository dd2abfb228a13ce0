"""`soundcheck soak` on the bench: all its sinks and monitors at once. Judged are the counts, never single gaps."""

import unittest

from soundcheck import SoundcheckTest

SECONDS = 4
BLOCKS = 50 * SECONDS


class Soak(SoundcheckTest):
    def assert_plausible(self, device):
        self.assertEqual((device["state"], device["stalls"]), ("running", 0), device)
        self.assertGreater(device["blocks"], BLOCKS // 2)
        self.assertLess(device["blocks"], BLOCKS * 3 // 2)
        self.assertEqual(sum(device["histogram_ms"]), device["intervals"])
        self.assertLess(device["intervals"], device["blocks"])
        self.assertLessEqual(device["min_ms"], device["average_ms"])
        self.assertLessEqual(device["average_ms"], device["longest_gap_ms"])
        self.assertAlmostEqual(device["average_ms"], 20, delta=4)
        self.assertEqual(len(device["late_callbacks"]), device["late"])

    def test_all_devices_run_at_once(self):
        document = self.document_of("soak", "--seconds", str(SECONDS))
        devices = document["soak"]["devices"]
        names = {(device["direction"], device["device"]) for device in devices}
        self.assertLessEqual({("playback", "Speaker"), ("playback", "Headset"), ("capture", "Monitor of Speaker"),
                              ("capture", "Monitor of Headset")}, names)
        for device in devices:
            self.assert_plausible(device)
        associated = [device for device in devices if "with_reference" in device]
        self.assertGreaterEqual(len(associated), 2)
        for device in associated:
            self.assertEqual(device["with_reference"] + device["without_reference"], device["blocks"])
            self.assertGreater(device["with_reference"], BLOCKS // 4)
        self.assertEqual(document["exit_code"], 0, document["findings"])

    def test_max_late_decides_the_verdict(self):
        document = self.document_of("soak", "--seconds", "3", "--device", "playback:Speaker", "--max-late", "0")
        devices = document["soak"]["devices"]
        self.assertEqual([device["device"] for device in devices], ["Speaker"])
        self.assertEqual(document["exit_code"], 1 if devices[0]["late"] > 0 else 0, document["findings"])

    def test_tone_is_heard_by_the_monitor(self):
        document = self.document_of("soak", "--seconds", "3", "--device", "Speaker", "--device", "Monitor of Headset")
        peaks = {device["device"]: device["peak_db"] for device in document["soak"]["devices"]}
        self.assertAlmostEqual(peaks["Monitor of Speaker"], -40, delta=1)
        self.assertLess(peaks["Monitor of Headset"], -80)


if __name__ == "__main__":
    unittest.main()
