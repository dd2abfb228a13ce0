"""`soundcheck echo` on the bench: the monitor of a sink hears what the sink plays, somewhat later than the reference."""

import unittest
import wave

from soundcheck import SoundcheckTest


class Echo(SoundcheckTest):
    def echo(self, capture, *more):
        document = self.document_of("echo", "--device-playback", "Speaker", "--device-capture", capture, *more)
        self.assertEqual(document["ended"], "complete", document["findings"])
        return document, document["echo"]

    def test_lag_is_found(self):
        document, echo = self.echo("Monitor of Speaker", "--seconds", "8", "--keep", self.path("kept"))
        self.assertEqual(document["exit_code"], 0, document["findings"])
        for name in ("reference_markers", "microphone_markers"):
            self.assertGreaterEqual(echo[name], 5)
            self.assertLessEqual(echo[name], 9)
        self.assertGreaterEqual(echo["pairs"], 5)
        self.assertEqual(len(echo["lag"]), echo["pairs"])
        self.assertGreater(echo["lag_ms"], 0)
        self.assertLess(echo["lag_ms"], 600)
        self.assertLessEqual(echo["lag_min_ms"], echo["lag_ms"])
        self.assertLessEqual(echo["lag_ms"], echo["lag_max_ms"])
        self.assertGreater(echo["correlation"], 0.95)
        for name in ("microphone.wav", "reference.wav"):
            with wave.open(str(self.folder / "kept" / name)) as file:
                self.assertEqual(file.getnframes(), echo["frames"])

    def test_monitor_of_another_sink_hears_nothing(self):
        document, echo = self.echo("Monitor of Headset", "--seconds", "4")
        self.assertEqual(document["exit_code"], 1)
        self.assertEqual((echo["microphone_markers"], echo["pairs"]), (0, 0))
        self.assertGreaterEqual(echo["reference_markers"], 2)
        self.assertTrue(any("does not hear" in finding for finding in document["findings"]))


if __name__ == "__main__":
    unittest.main()
