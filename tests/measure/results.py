"""Keeps what became of each mutation, so that a run that was interrupted goes on where it was."""

import hashlib
import json
import subprocess
import threading
from pathlib import Path

from mutation import Mutation
from shadow_tree import PROJECT
from trial import Outcome, Verdict, Witnesses


class Results:
    """A verdict holds while its source is unchanged; that of a survivor only while the tests are unchanged, too.

    Thread-safe. The file has one line of JSON per verdict; a later one replaces an earlier one.
    """

    def __init__(self, file: Path):
        self._file = file
        self._lock = threading.Lock()
        self._verdicts: dict[str, dict] = {}
        self._sources: dict[str, str] = {}
        self._tests = _fingerprint_of_tests()
        if file.is_file():
            for line in file.read_text(encoding='utf-8').splitlines():
                entry = json.loads(line)
                self._verdicts[entry['mutation']] = entry

    def find(self, mutation: Mutation) -> Verdict | None:
        entry = self._verdicts.get(mutation.identity)
        if entry is None or entry['source'] != self._source(mutation.file):
            return None
        if entry['outcome'] == Outcome.SURVIVED and entry['tests'] != self._tests:
            return None
        return Verdict(Outcome(entry['outcome']), entry['by'], entry['seconds'])

    def add(self, mutation: Mutation, verdict: Verdict) -> None:
        entry = {'mutation': mutation.identity, 'file': mutation.file, 'outcome': verdict.outcome, 'by': verdict.by,
                 'seconds': round(verdict.seconds, 1), 'source': self._source(mutation.file), 'tests': self._tests}
        with self._lock:
            self._verdicts[mutation.identity] = entry
            self._file.parent.mkdir(parents=True, exist_ok=True)
            with self._file.open('a', encoding='utf-8') as file:
                file.write(json.dumps(entry) + '\n')

    def witnesses(self) -> Witnesses:
        """Who noticed what until now, also in sources that have changed since."""
        witnesses = Witnesses()
        for entry in self._verdicts.values():
            if entry['outcome'] == Outcome.NOTICED:
                witnesses.add(entry['file'], entry['by'])
        return witnesses

    def _source(self, file: str) -> str:
        if file not in self._sources:
            self._sources[file] = hashlib.sha256((PROJECT / file).read_bytes()).hexdigest()[:16]
        return self._sources[file]


def _fingerprint_of_tests() -> str:
    names = subprocess.run(['git', 'ls-files', '--cached', '--others', '--exclude-standard', '-z', 'simulator',
                            'tests/unit', 'tests/scenario', 'tests/support'],
                           cwd=PROJECT, check=True, stdout=subprocess.PIPE, text=True).stdout.split('\0')
    fingerprint = hashlib.sha256()
    for name in sorted(set(filter(None, names))):
        if (PROJECT / name).is_file():
            fingerprint.update(name.encode() + b'\0' + (PROJECT / name).read_bytes())
    return fingerprint.hexdigest()[:16]
