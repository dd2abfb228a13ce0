"""Runs a GoogleTest program in Wine and tells whether all went well."""

import os
import re
import resource
import signal
import subprocess
import tempfile
from collections.abc import Collection
from dataclasses import dataclass
from pathlib import Path

_MOST_OUTPUT = 64 << 20  # bytes: a program that writes without end is stopped
THE_START = 'the start'  # is blamed when no test began
_RUN = re.compile(r'^\[ RUN      \] (\S+)', re.MULTILINE)
_PASSED = re.compile(r'^\[       OK \] (\S+) \((\d+) ms\)', re.MULTILINE)
_FAILED = re.compile(r'^\[  FAILED  \] ([\w/]+\.[\w/]+)', re.MULTILINE)
_COUNT = re.compile(r'^\[==========\] (\d+) tests? from \d+ test suites? ran', re.MULTILINE)


@dataclass(frozen=True)
class Run:
    passed: bool
    blamed: str                # the first test that failed, or that ran when the program ended
    seconds: dict[str, float]  # of the tests that passed


class TestPrograms:
    """All running programs, so that they can be ended together. Thread-safe."""

    def __init__(self) -> None:
        self._running: set[int] = set()
        self._ended = False

    def run(self, program: Path, tests: Collection[str] | None, limit: float) -> Run:
        """Runs exactly these tests, or all, until one fails, no longer than `limit` seconds."""
        with tempfile.TemporaryFile() as output, _flag_file(tests) as flags:
            process = subprocess.Popen(
                ['wine', program.name, f'--gtest_flagfile=Z:{flags.name}'], cwd=program.parent, stdin=subprocess.DEVNULL,
                stdout=output, stderr=subprocess.STDOUT, start_new_session=True, preexec_fn=_be_modest)
            self._running.add(process.pid)
            try:
                status = None if self._ended else process.wait(limit)
            except subprocess.TimeoutExpired:
                status = None
            finally:
                if process.returncode is None:
                    _end(process)
                self._running.discard(process.pid)
            output.seek(0)
            text = output.read().decode('utf-8', 'replace').replace('\r\n', '\n')
        return judge(text, status, None if tests is None else len(tests))

    def starts(self, program: Path) -> bool:
        """Whether the program can be started at all."""
        listed = subprocess.run(['wine', program.name, '--gtest_list_tests'], cwd=program.parent,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
        return listed.returncode == 0 and bool(listed.stdout.strip())

    def end_all(self) -> None:
        """Ends what runs, and everything that is run later."""
        self._ended = True
        for group in list(self._running):
            _signal(group)


def judge(output: str, status: int | None, expected: int | None) -> Run:
    """What became of a run. `status` is None for a program that had to be ended, `expected` for all tests that it has.

    A status of 0 alone proves nothing: a spoilt program may end itself in the middle.
    """
    seconds = {match[1]: int(match[2]) / 1000 for match in _PASSED.finditer(output)}
    count = _COUNT.search(output)
    told = int(count[1]) if count else 0
    if status == 0 and told > 0 and len(seconds) == told == (told if expected is None else expected):
        return Run(True, '', seconds)
    failed = _FAILED.search(output)
    started = _RUN.findall(output)
    return Run(False, failed[1] if failed else started[-1] if started else THE_START, seconds)


def _flag_file(tests: Collection[str] | None):
    flags = tempfile.NamedTemporaryFile('w', suffix='.flags')  # a list of tests may be longer than a command line
    flags.write(f'--gtest_filter={"*" if tests is None else ":".join(tests)}\n--gtest_fail_fast=1\n--gtest_color=no\n')
    flags.flush()
    return flags


def _be_modest() -> None:
    resource.setrlimit(resource.RLIMIT_FSIZE, (_MOST_OUTPUT, _MOST_OUTPUT))
    # Whoever eats up the memory is to be the one that the system ends.
    Path('/proc/self/oom_score_adj').write_text('1000', encoding='ascii')


def _end(process: subprocess.Popen) -> None:
    _signal(process.pid)
    process.wait()


def _signal(group: int) -> None:
    try:
        os.killpg(group, signal.SIGKILL)
    except ProcessLookupError:
        pass
