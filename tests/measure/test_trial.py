import unittest
from pathlib import Path

from mutation import Change, Mutation
from shadow_tree import BuildError
from test_program import THE_START, Run
from trial import Outcome, Trials, Witnesses, tests_akin

MUTATION = Mutation('a.cpp', 1, 1, 'a.cpp | dropped: the statement | f();', Change('dropped', 0, 1, ''))
WELL = Run(True, '', {'A.b': 0.1})


class Tree:
    programs = Path('bin')

    def __init__(self, broken: set[str] = frozenset(), same: bool = False, spoilt: bool = False):
        self.broken, self.same, self.spoilt = broken, same, spoilt

    def apply(self, mutation: Mutation) -> None:
        self.applied = mutation

    def build(self, target: str) -> bool:
        return target not in self.broken

    def require_unchanged(self, target: str) -> None:
        if self.spoilt:
            raise BuildError(target)

    def same_plugin(self) -> bool:
        return self.same


class Programs:
    def __init__(self, run: Run, begins: bool = True):
        self.answer, self.begins = run, begins

    def run(self, program: Path, tests: object, limit: float) -> Run:
        return WELL if tests is None else self.answer

    def starts(self, program: Path) -> bool:
        return self.begins


def outcome(tree: Tree, run: Run = WELL, begins: bool = True) -> Outcome:
    trials = Trials(Programs(run, begins), Witnesses())
    assert not trials.measure(tree)
    return trials.try_one(tree, MUTATION).outcome


class Outcomes(unittest.TestCase):
    def test_what_no_test_notices_survives_unless_it_is_the_same_program(self):
        self.assertEqual(outcome(Tree()), Outcome.SURVIVED)
        self.assertEqual(outcome(Tree(same=True)), Outcome.SAME)

    def test_failure_is_noticed(self):
        self.assertEqual(outcome(Tree(), Run(False, 'A.b', {})), Outcome.NOTICED)

    def test_change_that_stops_the_unit_tests_before_the_first_is_noticed(self):
        self.assertEqual(outcome(Tree(), Run(False, THE_START, {})), Outcome.NOTICED)

    def test_programs_that_do_not_start_any_more_prove_nothing(self):
        with self.assertRaises(BuildError):
            outcome(Tree(), Run(False, THE_START, {}), begins=False)

    def test_change_that_does_not_build_is_told_from_a_tree_that_does_not(self):
        self.assertEqual(outcome(Tree({'directsound_win64'})), Outcome.INVALID)
        self.assertEqual(outcome(Tree({'unit_tests'})), Outcome.NOTICED)
        for target in ('directsound_win64', 'unit_tests'):
            with self.assertRaises(BuildError):
                outcome(Tree({target}, spoilt=True))


class TestsAkin(unittest.TestCase):
    def test_suites_that_are_called_like_the_file_come_first(self):
        tests = ['Finalize.a', 'RenderLoop.b', 'CaptureLoop.c', 'LoopHole.d', 'Recapture.e']
        self.assertEqual(tests_akin('plugin/devices/capture_loop.cpp', tests),
                         ['CaptureLoop.c', 'RenderLoop.b', 'LoopHole.d'])


class Repetitions(unittest.TestCase):
    def test_other_seeds_of_a_test_are_not_asked(self):
        asked = []

        class Asked(Programs):
            def run(self, program: Path, tests: object, limit: float) -> Run:
                asked.extend(tests or [])
                return Run(True, '', {'Stress.Reopening_Seed1': 0.1, 'Stress.Reopening_Seed2': 0.1})

        trials = Trials(Asked(WELL), Witnesses())
        self.assertFalse(trials.measure(Tree()))
        self.assertEqual(trials.try_one(Tree(), MUTATION).outcome, Outcome.SURVIVED)
        self.assertEqual(set(asked), {'Stress.Reopening_Seed1'})


if __name__ == '__main__':
    unittest.main()
