"""Files that cannot be used, disks that are full, devices that are not there: a sentence, an exit code, and no device
left open."""

import struct
import unittest
import wave

from program import ProgramTest

FILE_FAILED, NO_SUCH_DEVICE = 4, 5
ALWAYS_FULL = r"Z:\dev\full"  # in Wine the system's own file, which takes nothing


def riff(*chunks):
    body = b"WAVE" + b"".join(name + struct.pack("<I", len(data)) + data for name, data in chunks)
    return b"RIFF" + struct.pack("<I", len(body)) + body


def format_chunk(tag, bits, channels=2, rate=48000):
    frame = channels * bits // 8
    return struct.pack("<HHIIHH", tag, channels, rate, rate * frame, frame, bits)


class BadInput(ProgramTest):
    def assert_refused(self, ended, code):
        self.assertEqual(ended.code, code, ended.errors)
        self.assertRegex(ended.errors, r"(?m)^soundcheck: .+\.$")
        self.assertEqual(len(ended.errors.strip().splitlines()), 1, ended.errors)
        self.assert_closed()

    def test_wav_that_cannot_be_played(self):
        files = {
            "empty.wav": b"",
            "text.wav": b"This is not sound.\n" * 100,
            "header-only.wav": riff(),
            "cut-in-header.wav": riff((b"fmt ", format_chunk(1, 16)), (b"data", b"\0" * 4000))[:30],
            "no-data.wav": riff((b"fmt ", format_chunk(1, 16))),
            "mp3-inside.wav": riff((b"fmt ", format_chunk(0x55, 16)), (b"data", b"\0" * 4000)),
            "mu-law.wav": riff((b"fmt ", format_chunk(7, 8)), (b"data", b"\0" * 4000)),
            "no-channels.wav": riff((b"fmt ", format_chunk(1, 16, channels=0)), (b"data", b"\0" * 4000)),
            "no-rate.wav": riff((b"fmt ", format_chunk(1, 16, rate=0)), (b"data", b"\0" * 4000)),
        }
        for name, content in files.items():
            (self.folder / name).write_bytes(content)
        for name in [*files, "missing.wav", ""]:
            with self.subTest(file=name or "a folder"):
                self.assert_refused(self.run_program("play", self.path(name)), FILE_FAILED)
                self.assertEqual(self.journal(), "", "a wrong file is told before the plug-in is touched")

    def test_truncated_wav_is_refused(self):
        whole = (self.folder / "speech.wav").read_bytes()
        (self.folder / "cut.wav").write_bytes(whole[: 44 + 4 * 4800])
        ended = self.run_program("play", self.path("cut.wav"))
        self.assert_refused(ended, FILE_FAILED)
        self.assertIn("96000 bytes of samples are announced, 19200 are there", ended.errors)

    def test_wav_that_announces_gigabytes_plays_what_is_there(self):
        content = bytearray((self.folder / "speech.wav").read_bytes())
        content[4:8] = content[40:44] = struct.pack("<I", 0xFFFFFFF0)
        (self.folder / "huge.wav").write_bytes(content)
        ended = self.run_program("play", self.path("huge.wav"))
        self.assertEqual(ended.code, 0, ended.errors)
        self.assertIn(" frames=24000 ", ended.output)

    def test_wav_that_is_gigabytes_is_refused(self):
        with open(self.folder / "huge.wav", "wb") as file:
            file.write((self.folder / "speech.wav").read_bytes()[:44])
            file.seek(40)
            file.write(struct.pack("<I", 0xF0000000))
            file.truncate(0xF0000000)  # takes no room on the disk
        ended = self.run_program("play", self.path("huge.wav"))
        self.assert_refused(ended, FILE_FAILED)
        self.assertIn("larger than 2 GB", ended.errors)

    def test_output_that_cannot_be_made(self):
        for file in (self.path("missing\\x.wav"), self.path(""), ALWAYS_FULL):
            with self.subTest(file=file):
                self.assert_refused(self.run_program("record", file, "--seconds", "0.5"), FILE_FAILED)
                talk = ("talk", self.path("speech.wav"), "--record-to", self.path("m.wav"), "--echo-to", file)
                self.assert_refused(self.run_program(*talk), FILE_FAILED)

    def test_unknown_or_ambiguous_device(self):
        for device in ("gramophone", "Fake", "17", "", "{33333333-0000-0000-0000-000000000001}"):
            with self.subTest(device=device):
                ended = self.run_program("play", self.path("speech.wav"), "--device", device)
                self.assert_refused(ended, NO_SUCH_DEVICE)
        self.assert_refused(self.run_program("record", self.path("x.wav"), words="no-default"), NO_SUCH_DEVICE)

    def test_recording_before_a_failure_is_readable(self):
        ended = self.run_program("record", self.path("x.wav"), words="freeze")
        self.assertEqual(ended.code, 1, ended.errors)
        self.assertIn(" ended=gave-up", ended.output)
        with wave.open(str(self.folder / "x.wav")) as file:
            self.assertEqual(file.getnframes(), 10 * 960)
        self.assert_closed()


if __name__ == "__main__":
    unittest.main()
