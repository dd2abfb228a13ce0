"""What a person sees: on a terminal (a pseudo-terminal is one to Wine) progress in one line, in a pipe plain lines."""

import os
import pty
import re
import select
import struct
import subprocess
import fcntl
import termios
import time
import unittest

from program import PATIENCE, ProgramTest


def text_of(seen):
    """What the terminal shows, without the sequences that Wine's console draws it with; colours are left in."""
    seen = seen.replace("\x1b[K\x1b[1C", " ")
    return re.sub(r"\x1b\[(?:\?25[lh]|[0-9;]*[A-LN-Za-ln-z])", "", seen)


class Terminal(ProgramTest):
    def run_on_terminal(self, *arguments, words="", columns=100, **variables):
        """@return the exit code and everything that the terminal got"""
        master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 40, columns, 0, 0))
        process = subprocess.Popen(self.command_line(*arguments), env={**self.environment(words), **variables},
                                   stdin=slave, stdout=slave, stderr=slave, start_new_session=True)
        os.close(slave)
        seen, end = b"", time.monotonic() + PATIENCE
        while time.monotonic() < end:
            if select.select([master], [], [], 0.1)[0]:
                try:
                    part = os.read(master, 65536)
                except OSError:  # the other side is closed
                    part = b""
                if not part:
                    break
                seen += part
            elif process.poll() is not None:
                break
        code = process.wait(timeout=PATIENCE)
        os.close(master)
        return code, text_of(seen.decode(errors="replace"))

    def test_progress_is_shown_on_a_terminal(self):
        code, seen = self.run_on_terminal("record", self.path("x.wav"), "--seconds", "8")
        self.assertEqual(code, 0, seen)
        self.assertGreaterEqual(len(re.findall(r"\d\.\d / 8\.0 s", seen)), 2, seen)
        self.assertIn("summary command=record", seen)

    def test_no_progress_and_no_control_characters_in_a_pipe(self):
        ended = self.run_program("record", self.path("x.wav"), "--seconds", "8")
        self.assertEqual(ended.code, 0, ended.errors)
        self.assertNotRegex(ended.output, r"[\x00-\x09\x0b-\x1f]")
        self.assertEqual(len(ended.output.splitlines()), 2, ended.output)
        self.assertTrue(ended.output.endswith("\n"))

    def test_no_progress_beside_a_document(self):
        code, seen = self.run_on_terminal("record", self.path("x.wav"), "--seconds", "8", "--json")
        self.assertEqual(code, 0, seen)
        self.assertNotRegex(seen, r"\d\.\d / 8\.0 s")

    def test_colour_only_where_it_is_welcome(self):
        red = re.compile(r"\x1b\[(?:[0-9;]*;)?(?:31|91)m")
        clipping = ("record", self.path("x.wav"), "--seconds", "8")
        code, seen = self.run_on_terminal(*clipping, words="loud")
        self.assertEqual(code, 0, seen)
        self.assertIn("CLIP", seen)
        self.assertRegex(seen, red)
        code, seen = self.run_on_terminal(*clipping, words="loud", NO_COLOR="1")
        self.assertIn("CLIP", seen)
        self.assertNotRegex(seen, red)


if __name__ == "__main__":
    unittest.main()
