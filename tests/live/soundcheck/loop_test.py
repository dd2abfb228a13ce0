"""`soundcheck loop` on the bench: what a sink plays comes back from its monitor.

The machine may lose frames of its own; whether it did is no question here, but whether the verdict agrees with it.
"""

import unittest

from soundcheck import SoundcheckTest

GAIN_TOLERANCE = 0.2  # dB
HALF_VOLUME = -18.06  # dB: the sound server's scale is cubic


class Loop(SoundcheckTest):
    def loop(self, playback, capture, *more):
        document = self.document_of("loop", "--seconds", "3", "--device-playback", playback, "--device-capture",
                                    capture, *more)
        self.assertEqual((document["command"], document["ended"]), ("loop", "complete"), document["findings"])
        return document, document["loop"]

    def assert_heard(self, loop, sources, gain):
        self.assertGreaterEqual(loop["marks"], 15)
        self.assertGreater(loop["latency_min_ms"], 5)
        self.assertLess(loop["latency_max_ms"], 1500)
        self.assertLessEqual(loop["latency_min_ms"], loop["latency_ms"])
        self.assertLessEqual(loop["latency_ms"], loop["latency_max_ms"])
        self.assertEqual(len(loop["latency"]), loop["marks"])
        self.assertEqual([channel["source"] for channel in loop["channels"]], sources)
        for channel in loop["channels"]:
            self.assertFalse(channel["mixed"])
            self.assertAlmostEqual(channel["gain_db"], gain, delta=GAIN_TOLERANCE)
            self.assertLess(channel["noise_db"], -60)
        self.assertLess(abs(loop["drift_ppm"]), 1000)
        for name, kind in (("dropped_frames", "dropped"), ("added_frames", "added")):
            frames = sum(found["frames"] for found in loop["disturbances"] if found["kind"] == kind)
            self.assertEqual(loop[name], frames)
        self.assertEqual(loop["pops"], sum(found["kind"] == "pop" for found in loop["disturbances"]))

    def test_monitor_of_a_sink(self):
        document, loop = self.loop("Speaker", "Monitor of Speaker", "--keep", self.path("kept.wav"))
        self.assert_heard(loop, [1, 2], 0)
        self.assertEqual(loop["swapped"], 0)
        wrong = bool(loop["disturbances"]) or loop["stalls"] > 0 or document["log"]["errors"] > 0
        self.assertEqual(document["exit_code"], 1 if wrong else 0, document["findings"])
        self.assertEqual((loop["kept"], (self.folder / "kept.wav").exists()), (wrong, wrong))

    def test_crossed_channels_at_half_the_volume(self):
        self.load_module("module-remap-source", "master=speaker.monitor", "source_name=crossed", "remix=no",
                         "master_channel_map=front-right,front-left", "channel_map=front-left,front-right",
                         "source_properties='device.description=Crossed'")
        self.set_volume("crossed", "50%")
        document, loop = self.loop("Speaker", "Crossed")
        self.assert_heard(loop, [2, 1], HALF_VOLUME)
        self.assertEqual((document["exit_code"], loop["swapped"]), (1, 1))
        self.assertIn("Left and right are swapped.", document["findings"])

    def test_monitor_of_another_sink_hears_nothing(self):
        document, loop = self.loop("Speaker", "Monitor of Headset")
        self.assertEqual((document["exit_code"], loop["marks"]), (1, 0))
        self.assertTrue(any("Nothing of the probe came back" in finding for finding in document["findings"]))


if __name__ == "__main__":
    unittest.main()
