"""Keeps what became of each mutation, so that a run that was interrupted goes on where it was."""

import hashlib
import json
import re
import subprocess
import threading
from pathlib import Path

from mutation import Mutation
from shadow_tree import PROJECT
from trial import Outcome, Verdict, Witnesses


_DECLARED = re.compile(r'^[A-Z][A-Z_]*\(\s*(\w+)\s*,\s*(\w+)', re.MULTILINE)


class Results:
    """A verdict holds while its source and the plug-in's headers are unchanged; that of a survivor only while all tests
    are unchanged, too, and any other only while the file of the test that noticed it is.

    Thread-safe. The file has one line of JSON per verdict; a later one replaces an earlier one.
    """

    def __init__(self, file: Path):
        self._file = file
        self._lock = threading.Lock()
        self._verdicts: dict[str, dict] = {}
        self._sources: dict[str, str] = {}
        self._tests = _fingerprint('simulator', 'tests/unit', 'tests/scenario', 'tests/support')
        self._headers = _fingerprint('plugin/*.h')
        self._witness_files = _files_of_tests()
        if file.is_file():
            for line in file.read_text(encoding='utf-8').splitlines():
                entry = json.loads(line)
                self._verdicts[entry['mutation']] = entry

    def find(self, mutation: Mutation) -> Verdict | None:
        entry = self._verdicts.get(mutation.identity)
        if entry is None or entry['source'] != self._source(mutation.file):
            return None
        if entry['tests'] != self.proof(entry['outcome'], entry['by']):
            return None
        return Verdict(Outcome(entry['outcome']), entry['by'], entry['seconds'])

    def add(self, mutation: Mutation, verdict: Verdict) -> None:
        entry = {'mutation': mutation.identity, 'file': mutation.file, 'outcome': verdict.outcome, 'by': verdict.by,
                 'seconds': round(verdict.seconds, 1), 'source': self._source(mutation.file),
                 'tests': self.proof(verdict.outcome, verdict.by)}
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
            digest = hashlib.sha256((PROJECT / file).read_bytes()).hexdigest()[:16]
            self._sources[file] = f'{digest} {self._headers}'
        return self._sources[file]

    def proof(self, outcome: str, by: str) -> str:
        """The state of what the verdict rests on. Of a test whose file is not found, that is all of them."""
        if outcome in (Outcome.INVALID, Outcome.SAME):
            return ''
        return self._witness_files.get(by, self._tests)


def _files_of_tests() -> dict[str, str]:
    """For every test the fingerprint of the file in which it is declared."""
    files = {}
    for name in _names('tests/unit', 'tests/scenario'):
        content = (PROJECT / name).read_bytes()
        for suite, test in _DECLARED.findall(content.decode('utf-8')):
            files[f'{suite}.{test}'] = hashlib.sha256(content).hexdigest()[:16]
    return files


def _fingerprint(*patterns: str) -> str:
    fingerprint = hashlib.sha256()
    for name in _names(*patterns):
        fingerprint.update(name.encode() + b'\0' + (PROJECT / name).read_bytes())
    return fingerprint.hexdigest()[:16]


def _names(*patterns: str) -> list[str]:
    """The project's files that match, as git knows patterns."""
    listed = subprocess.run(['git', 'ls-files', '--cached', '--others', '--exclude-standard', '-z', *patterns],
                            cwd=PROJECT, check=True, stdout=subprocess.PIPE, text=True).stdout.split('\0')
    return [name for name in sorted(set(listed)) if name and (PROJECT / name).is_file()]
