"""Tries mutations: builds each one and lets the tests look for it, those first that are most likely to see it."""

import re
import shutil
import time
from collections import Counter, defaultdict
from collections.abc import Iterable
from dataclasses import dataclass
from enum import StrEnum
from pathlib import Path

from mutation import Mutation
from shadow_tree import PROJECT, PRESET, BuildError, ShadowTree
from test_program import THE_START, TestPrograms

SCENARIOS = 'scenario_tests.exe'
UNITS = 'unit_tests.exe'
_SLOW = 0.5       # seconds from which a test belongs to the slow ones, which are asked last
_LIKELY = 15      # tests that noticed most in the same file before: they are asked first
_AKIN = 40        # quick tests of the suites that are called like the file: they are asked next
_PATIENCE = 6     # times the usual duration before a program counts as hanging
_LONGEST = 3600   # seconds that all tests of the unchanged project may take
_LEAST = 10       # seconds that any program gets
# The same test with other random numbers: leaving them out costs a noticed mutation at worst.
_REPETITION = re.compile(r'\w+\.\w+_Seed[2-9]')


class Outcome(StrEnum):
    NOTICED = 'noticed'
    SURVIVED = 'survived'
    SAME = 'same'        # the compiler makes the same program of it
    INVALID = 'invalid'  # does not compile


@dataclass(frozen=True)
class Verdict:
    outcome: Outcome
    by: str         # the test that noticed it
    seconds: float  # what the trial has cost


class Witnesses:
    """Which scenario tests noticed how many mutations of a file."""

    def __init__(self) -> None:
        self._noticed: defaultdict[str, Counter[str]] = defaultdict(Counter)

    def add(self, file: str, test: str) -> None:
        self._noticed[file][test] += 1

    def likely(self, file: str) -> list[str]:
        return [test for test, _ in self._noticed[file].most_common(_LIKELY)]


class Trials:
    """What all workers share: the tests with their durations, and who noticed what. Used by several threads."""

    def __init__(self, programs: TestPrograms, witnesses: Witnesses):
        self._programs = programs
        self._witnesses = witnesses
        self._seconds: dict[str, dict[str, float]] = {}

    def measure(self, tree: ShadowTree) -> str:
        """Runs all tests on the unchanged project. Returns what failed; empty is well."""
        for program in (UNITS, SCENARIOS):
            run = self._programs.run(tree.programs / program, None, _LONGEST)
            if not run.passed:
                return f'{program}: {run.blamed}'
            self._seconds[program] = {test: seconds for test, seconds in run.seconds.items()
                                      if not _REPETITION.fullmatch(test)}
        return ''

    def try_one(self, tree: ShadowTree, mutation: Mutation) -> Verdict:
        begin = time.monotonic()
        outcome, by = self._outcome(tree, mutation)
        return Verdict(outcome, by, time.monotonic() - begin)

    def _outcome(self, tree: ShadowTree, mutation: Mutation) -> tuple[Outcome, str]:
        tree.apply(mutation)
        if not tree.build('directsound_win64'):
            tree.require_unchanged('directsound_win64')
            return Outcome.INVALID, ''
        same = tree.same_plugin()
        scenarios = self._seconds[SCENARIOS]
        likely = [] if same else [test for test in self._witnesses.likely(mutation.file) if test in scenarios]
        akin = [] if same else [test for test in tests_akin(mutation.file, scenarios)
                                if test not in likely and scenarios[test] < _SLOW][:_AKIN]
        for tests in (likely, akin):
            if by := self._noticed(tree, SCENARIOS, tests):
                self._witnesses.add(mutation.file, by)
                return Outcome.NOTICED, by
        if not tree.build('unit_tests'):
            tree.require_unchanged('unit_tests')
            return Outcome.NOTICED, 'the build of unit_tests'
        if by := self._noticed(tree, UNITS, list(self._seconds[UNITS])):
            return Outcome.NOTICED, by
        if same:
            return Outcome.SAME, ''
        others = [test for test in scenarios if test not in likely and test not in akin]
        for tests in ([test for test in others if scenarios[test] < _SLOW],
                      [test for test in others if scenarios[test] >= _SLOW]):
            if by := self._noticed(tree, SCENARIOS, tests):
                self._witnesses.add(mutation.file, by)
                return Outcome.NOTICED, by
        return Outcome.SURVIVED, ''

    def _noticed(self, tree: ShadowTree, program: str, tests: list[str]) -> str:
        """The test that noticed it; empty when all of them passed."""
        if not tests:
            return ''
        usual = sum(self._seconds[program][test] for test in tests)
        blamed = self._programs.run(tree.programs / program, tests, _LEAST + _PATIENCE * usual).blamed
        # The changed code may stop the unit tests before the first one. The scenario tests load it later: if even they
        # do not begin, it is not the change.
        if blamed == THE_START and not self._programs.starts(tree.programs / SCENARIOS):
            raise BuildError('the test programs do not start any more')
        return blamed


def tests_akin(file: str, tests: Iterable[str]) -> list[str]:
    """The tests whose suite has words of the file's name, the most alike first: CaptureLoop for capture_loop.cpp."""
    words = set(Path(file).stem.split('_'))

    def likeness(test: str) -> int:
        suite = re.findall('[A-Z][a-z]+', test.split('.')[0])
        return len(words.intersection(word.lower() for word in suite))

    return sorted(filter(likeness, tests), key=likeness, reverse=True)


def share_scenario_tests(tree: ShadowTree) -> None:
    """The scenario tests know the DLL beside them, so every tree gets a copy of the program."""
    shutil.copy2(PROJECT / 'build' / PRESET / 'bin' / SCENARIOS, tree.programs / SCENARIOS)
