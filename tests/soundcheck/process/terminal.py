"""A pseudo-terminal, which is a console to Wine, and what it shows."""

import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import termios
import time

import pyte

from program import PATIENCE

ROWS = 40


def run_on_terminal(command, environment, columns=100):
    """@return the exit code and everything that the terminal got"""
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, columns, 0, 0))
    process = subprocess.Popen(command, env=environment, stdin=slave, stdout=slave, stderr=slave,
                               start_new_session=True)
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
    return code, seen.decode(errors="replace")


def text_of(seen):
    """All texts, one behind the other, without the sequences that Wine's console draws them with; colours are left in."""
    seen = seen.replace("\x1b[K\x1b[1C", " ")
    return re.sub(r"\x1b\[(?:\?25[lh]|[0-9;]*[A-LN-Za-ln-z])", "", seen)


class Screen:
    """What a terminal shows while it gets its characters."""

    class State:
        def __init__(self, screen):
            self.lines = [line.rstrip() for line in screen.display]
            while self.lines and not self.lines[-1]:
                self.lines.pop()
            self.row = screen.cursor.y
            self.colours = {screen.buffer[row][column].fg for row in range(screen.lines)
                            for column in range(screen.columns)}

    def __init__(self, columns):
        self._screen = pyte.Screen(columns, ROWS)
        self._stream = pyte.Stream(self._screen)

    def states(self, seen):
        """What it shows whenever the cursor has left a line, and at the end."""
        for part in re.split(r"(?<=\n)|(?=\x1b\[\d*A)", seen):
            self._stream.feed(part)
            yield self.State(self._screen)
