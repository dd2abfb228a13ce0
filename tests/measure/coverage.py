"""Prints the coverage of plugin/ by line and branch, and fails when something is not covered and has no reason.

usage: coverage.py <build folder whose tests have run>
"""

import json
import subprocess
import sys
from dataclasses import dataclass, field
from pathlib import Path

from reasons import ReasonsError, compare, read_reasons

PROJECT = Path(__file__).resolve().parents[2]
REASONS = Path(__file__).with_name('coverage_reasons.txt')


@dataclass
class FileCoverage:
    name: str
    lines: int = 0
    lines_run: int = 0
    branches: int = 0
    branches_run: int = 0
    missing: dict[int, str] = field(default_factory=dict)  # what is missing, by line


def read_report(build: Path) -> dict:
    """gcovr's report, without the branches that the compiler adds for exceptions."""
    command = ['gcovr', '--root', str(PROJECT), '--filter', 'plugin/', '--gcov-executable',
               'x86_64-w64-mingw32-gcov-posix', '--exclude-throw-branches', '--exclude-unreachable-branches', '--json', '-',
               str(build)]
    return json.loads(subprocess.run(command, cwd=PROJECT, check=True, stdout=subprocess.PIPE, text=True).stdout)


def coverage_of(entry: dict) -> FileCoverage:
    """Sums up one file of a report."""
    coverage = FileCoverage(entry['file'])
    for line in entry['lines']:
        if line['gcovr/noncode'] or line['gcovr/excluded']:
            continue
        branches = [branch['count'] > 0 for branch in line['branches'] if not branch['throw']]
        coverage.lines += 1
        coverage.lines_run += line['count'] > 0
        coverage.branches += len(branches)
        coverage.branches_run += sum(branches)
        if line['count'] == 0:
            coverage.missing[line['line_number']] = 'never run'
        elif not all(branches):
            coverage.missing[line['line_number']] = f'{len(branches) - sum(branches)} of {len(branches)} branches'
    return coverage


def key_of(file: str, source: list[str], line: int) -> str:
    return f'{file} | {source[line - 1].strip()}'


def share(run: int, of: int) -> str:
    return f'{run:5} of {of:4} {100 * run / of:6.1f} %' if of else f'{"none":>20}'


def main() -> int:
    report = read_report(Path(sys.argv[1]).resolve())
    files = [coverage_of(entry) for entry in report['files']]
    files = sorted((file for file in files if file.lines), key=lambda file: file.name)
    if not files:
        print('No file of plugin/ has been counted', file=sys.stderr)
        return 1

    missing: dict[str, str] = {}
    width = max(len(file.name) for file in files)
    print(f'{"":{width}} {"lines":>20}   {"branches":>20}')
    for file in files:
        print(f'{file.name:{width}} {share(file.lines_run, file.lines)}   {share(file.branches_run, file.branches)}')
        source = (PROJECT / file.name).read_text(encoding='utf-8').splitlines()
        for line, what in file.missing.items():
            missing.setdefault(key_of(file.name, source, line), f'{file.name}:{line}: {what}')
    lines = share(sum(file.lines_run for file in files), sum(file.lines for file in files))
    branches = share(sum(file.branches_run for file in files), sum(file.branches for file in files))
    print(f'{"all of plugin/":{width}} {lines}   {branches}')

    try:
        reasons = read_reasons(REASONS)
    except ReasonsError as error:
        print(error, file=sys.stderr)
        return 1
    return judge(missing, reasons)


def judge(missing: dict[str, str], reasons: dict[str, str]) -> int:
    """Lists what is not covered. 1 when something of it has no reason, or a reason nothing that it is for."""
    if missing:
        print('\nNot covered:')
    for key in sorted(missing):
        print(f'{missing[key]}\n    {key.split(" | ", 1)[1]}\n    {reasons.get(key, "NO REASON")}')
    unexplained, stale = compare(missing, reasons)
    for key in stale:
        print(f'{REASONS.name}: covered, or no longer there: {key}')
    print(f'{len(missing)} places not covered, {len(unexplained)} of them without reason; {len(stale)} stale reasons')
    return 1 if unexplained or stale else 0


if __name__ == '__main__':
    sys.exit(main())
