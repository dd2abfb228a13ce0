"""One change to one source, and the name by which it is known when the source moves on."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Change:
    """Replaces source[start:end]."""
    operator: str
    start: int
    end: int
    replacement: str
    label: str = ''  # what the key says instead of "old -> new"


@dataclass(frozen=True)
class Mutation:
    file: str       # relative to the project
    line: int       # for people only: it is no part of the key
    occurrence: int # of changes with the same key in the file, from 1
    key: str
    change: Change

    def apply(self, source: str) -> str:
        return source[:self.change.start] + self.change.replacement + source[self.change.end:]

    @property
    def identity(self) -> str:
        return f'{self.key} | {self.occurrence}'

    @property
    def reason_key(self) -> str:
        """By which mutants_reasons.txt knows it: the first of its kind by the key alone, a later one with its number."""
        return self.key if self.occurrence == 1 else self.identity

    def __str__(self) -> str:
        return f'{self.file}:{self.line}: {self.key.split(" | ", 1)[1]}'


def mutations_of(file: str, source: str, changes: list[Change]) -> list[Mutation]:
    """Names the changes, in the order of the source. The key is `file | operator: what | text of the line`."""
    seen: dict[str, int] = {}
    named = []
    for change in sorted(changes, key=lambda change: (change.start, change.end, change.operator)):
        line = source.count('\n', 0, change.start) + 1
        text = source.splitlines()[line - 1].strip()
        key = f'{file} | {change.operator}: {_words(source, change)} | {text}'
        seen[key] = seen.get(key, 0) + 1
        named.append(Mutation(file, line, seen[key], key, change))
    return named


def _words(source: str, change: Change) -> str:
    if change.label:
        return change.label
    old = ' '.join(source[change.start:change.end].split())
    new = ' '.join(change.replacement.split())
    return f'{old} -> {new or "nothing"}'
