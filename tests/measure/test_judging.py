import tempfile
import unittest
from pathlib import Path

from coverage import coverage_of
from reasons import ReasonsError, compare, read_reasons
from test_program import judge

PASSED = '''[ RUN      ] A.b
[       OK ] A.b (3 ms)
[ RUN      ] A.c/0
[       OK ] A.c/0 (1500 ms)
[==========] 2 tests from 1 test suite ran. (1503 ms total)
'''


class Judging(unittest.TestCase):
    def test_all_passed(self):
        run = judge(PASSED, 0, 2)
        self.assertTrue(run.passed)
        self.assertEqual(run.seconds, {'A.b': 0.003, 'A.c/0': 1.5})

    def test_early_end_with_success_is_no_success(self):
        self.assertEqual(judge('[ RUN      ] A.b\n', 0, 1).blamed, 'A.b')
        self.assertFalse(judge(PASSED, 0, 3).passed)
        self.assertFalse(judge('', 0, None).passed)

    def test_failure_is_blamed_on_its_test(self):
        run = judge('[ RUN      ] A.b\n[  FAILED  ] A.b (3 ms)\n[ RUN      ] A.c\n', 1, 2)
        self.assertEqual((run.passed, run.blamed), (False, 'A.b'))

    def test_crash_and_hang_are_blamed_on_the_test_that_ran(self):
        started = '[ RUN      ] A.b\n[       OK ] A.b (3 ms)\n[ RUN      ] A.c\n'
        for status in (3, None):
            self.assertEqual(judge(started, status, 2).blamed, 'A.c')

    def test_nothing_ran_at_all(self):
        self.assertEqual(judge('', 5, 2).blamed, 'the start')


class Reasons(unittest.TestCase):
    def read(self, text: str) -> dict[str, str]:
        with tempfile.TemporaryDirectory() as folder:
            file = Path(folder) / 'reasons.txt'
            file.write_text(text, encoding='utf-8')
            return read_reasons(file)

    def test_keys_share_the_reason_below_them(self):
        self.assertEqual(self.read('# people\na | b\nc | d\n  One\n  two.\n\ne | f\n    Three.\n'),
                         {'a | b': 'One two.', 'c | d': 'One two.', 'e | f': 'Three.'})

    def test_key_without_reason_reason_without_key_and_key_twice_are_refused(self):
        for text in ('a | b\n', '  why\n', 'a\n  why\na\n  why\n', 'a\n  why\nb\n'):
            with self.assertRaises(ReasonsError):
                self.read(text)

    def test_missing_and_stale_reasons_are_told_apart(self):
        self.assertEqual(compare(['a', 'b', 'b'], {'b': 'why', 'c': 'why'}), (['a'], ['c']))


class Coverage(unittest.TestCase):
    def line(self, number: int, count: int, branches: list[tuple[int, bool]], code: bool = True) -> dict:
        return {'line_number': number, 'count': count, 'gcovr/noncode': not code, 'gcovr/excluded': False,
                'branches': [{'count': taken, 'throw': throws} for taken, throws in branches]}

    def test_lines_and_branches_are_counted_without_those_of_exceptions(self):
        coverage = coverage_of({'file': 'a.cpp', 'lines': [
            self.line(1, 0, [], code=False), self.line(2, 5, [(5, False), (0, True)]),
            self.line(3, 5, [(5, False), (0, False)]), self.line(4, 0, [])]})
        self.assertEqual((coverage.lines_run, coverage.lines), (2, 3))
        self.assertEqual((coverage.branches_run, coverage.branches), (2, 3))
        self.assertEqual(coverage.missing, {3: '1 of 2 branches', 4: 'never run'})


if __name__ == '__main__':
    unittest.main()
