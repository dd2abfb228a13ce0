"""Changes the plug-in's code on purpose, one place at a time, and tells which changes the tests do not notice.

A change that is not noticed is a test that is missing, or has a reason in mutants_reasons.txt.
"""

import argparse
import os
import queue
import random
import signal
import sys
import threading
from collections import Counter
from pathlib import Path

from find_mutations import find_mutations
from mutation import Mutation
from reasons import ReasonsError, compare, read_reasons
from results import Results
from shadow_tree import PROJECT, BuildError, ShadowTree
from test_program import TestPrograms
from trial import Outcome, Trials, Verdict, share_scenario_tests

FOLDER = PROJECT / 'build' / 'mutants'
REASONS = Path(__file__).with_name('mutants_reasons.txt')
GOAL = 95  # per cent to aim for; what fails a run is a survivor without reason


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog='check --mutants', description=__doc__.split('\n\n')[0],
        epilog='Two idle cores need an hour or two for all, and six minutes for a sample of 100, after a few minutes '
               'of preparation. Verdicts are kept in build/mutants/results.jsonl, so that an interrupted run goes on.')
    parser.add_argument('--sample', type=int, metavar='N', help='try N mutants, drawn by chance')
    parser.add_argument('--seed', type=int, default=random.randrange(1 << 32), help='repeats the draw of a sample')
    parser.add_argument('--only', metavar='TEXT', default='', help='only sources whose path contains this')
    parser.add_argument('--jobs', type=int, default=os.cpu_count(), metavar='N', help='mutants that are tried at once')
    parser.add_argument('--again', action='store_true', help='forget the verdicts that were kept')
    parser.add_argument('--list', action='store_true', help='list the mutants and try none')
    return parser.parse_args()


def all_mutations(only: str) -> list[Mutation]:
    sources = sorted(path for path in (PROJECT / 'plugin').rglob('*') if path.suffix in ('.cpp', '.h'))
    names = [path.relative_to(PROJECT).as_posix() for path in sources]
    return [mutation for name in names if only in name
            for mutation in find_mutations(name, (PROJECT / name).read_text(encoding='utf-8'))]


def try_all(mutations: list[Mutation], results: Results, jobs: int) -> dict[Mutation, Verdict]:
    """The verdict of every mutation: what is known already, and the rest tried by so many workers."""
    verdicts = {mutation: verdict for mutation in mutations if (verdict := results.find(mutation))}
    waiting: queue.SimpleQueue[Mutation] = queue.SimpleQueue()
    reasons = read_reasons(REASONS)
    for mutation in sorted(mutations, key=lambda mutation: mutation.reason_key in reasons): # what is news comes first
        if mutation not in verdicts:
            waiting.put(mutation)
    print(f'{len(mutations)} mutants, {len(verdicts)} known from before, {waiting.qsize()} to try', flush=True)
    if waiting.empty():
        return verdicts

    trees = [ShadowTree(FOLDER / f'tree-{number}') for number in range(min(jobs, waiting.qsize()))]
    for tree in trees:
        tree.prepare()
        share_scenario_tests(tree)
    # What survives is asked by every test: three rounds of the hours of audio will do, instead of twelve.
    os.environ['ENDURANCE_HOURS'] = '0.25'
    programs = TestPrograms()
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit(130))
    trials = Trials(programs, results.witnesses())
    if failed := trials.measure(trees[0]):
        raise BuildError(f'The tests fail without any mutation: {failed}')

    def work(tree: ShadowTree) -> None:
        while True:
            try:
                mutation = waiting.get_nowait()
            except queue.Empty:
                return
            try:
                verdict = trials.try_one(tree, mutation)
            except (BuildError, OSError) as error:
                problems.append(error)
                ended.set()
                programs.end_all()
            if ended.is_set():
                return # what was ended from outside proves nothing
            verdicts[mutation] = verdict
            results.add(mutation, verdict)
            print(f'[{len(verdicts)}/{len(mutations)}] {verdict.outcome:8} {verdict.seconds:5.1f} s  {mutation}'
                  + (f'  by {verdict.by}' if verdict.by else ''), flush=True)

    problems: list[Exception] = []
    ended = threading.Event()
    workers = [threading.Thread(target=work, args=(tree,)) for tree in trees]
    try:
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
    finally:
        ended.set()
        programs.end_all()
    if problems:
        raise BuildError(f'Given up: {problems[0]}')
    return verdicts


def report(verdicts: dict[Mutation, Verdict], known: list[Mutation], whole: bool) -> int:
    """Prints the share and the survivors. 1 when one of them has no reason, or a reason nothing that it is for."""
    reasons = read_reasons(REASONS)
    survivors = [mutation for mutation in known if verdicts[mutation].outcome is Outcome.SURVIVED]
    if survivors:
        print('\nNot noticed:')
    for mutation in survivors:
        print(f'{mutation}\n    {reasons.get(mutation.reason_key, "NO REASON")}')

    unexplained, stale = compare((mutation.reason_key for mutation in survivors), reasons)
    tried = {mutation.reason_key for mutation in known}
    stale = stale if whole else [key for key in stale if key in tried]
    for key in stale:
        print(f'{REASONS.name}: noticed, or no longer there: {key}')
    counted = Counter(verdict.outcome for verdict in verdicts.values())
    noticed, survived = counted[Outcome.NOTICED], counted[Outcome.SURVIVED]
    share = 100 * noticed / max(1, noticed + survived)
    print(f'\n{noticed} of {noticed + survived} mutants noticed: {share:.1f} % (goal: {GOAL} %). '
          f'Not counted: {counted[Outcome.INVALID]} that do not compile, {counted[Outcome.SAME]} that the compiler '
          f'turns into the same program.\n{survived} survivors, {len(unexplained)} of them without reason; '
          f'{len(stale)} stale reasons')
    return 1 if unexplained or stale else 0


def main() -> int:
    arguments = parse_arguments()
    mutations = all_mutations(arguments.only)
    if arguments.sample is not None and arguments.sample < len(mutations):
        print(f'A sample of {arguments.sample} of {len(mutations)} mutants; repeat it with --seed {arguments.seed}')
        drawn = random.Random(arguments.seed).sample(range(len(mutations)), arguments.sample)
        mutations = [mutations[i] for i in sorted(drawn)]
    if arguments.list:
        print(*mutations, sep='\n')
        return 0
    if not mutations:
        print('No source matches', file=sys.stderr)
        return 2
    file = FOLDER / 'results.jsonl'
    if arguments.again:
        file.unlink(missing_ok=True)
    try:
        verdicts = try_all(mutations, Results(file), max(1, arguments.jobs))
        return report(verdicts, mutations, whole=arguments.sample is None and not arguments.only)
    except (BuildError, ReasonsError) as error:
        print(error, file=sys.stderr)
        return 1


if __name__ == '__main__':
    sys.exit(main())
