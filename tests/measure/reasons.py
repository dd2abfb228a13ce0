"""Reasons for what the tests do not reach or notice.

A file of reasons holds keys at the begin of a line, and below them, indented, the reason that they share:

    plugin/platform/event.h | class Event {
    plugin/platform/unique_handle.h | if (m_Handle != nullptr)
        The compiler writes several destructors, of which one is used.

Lines that begin with # are for people. Keys know nothing of line numbers, so that a source may grow.
"""

from collections.abc import Iterable
from pathlib import Path


class ReasonsError(Exception):
    """The file of reasons is not well formed."""


def read_reasons(path: Path) -> dict[str, str]:
    """The reason of every key."""
    reasons: dict[str, str] = {}
    keys: list[str] = []
    words: list[str] = []

    def finish() -> None:
        if keys and not words:
            raise ReasonsError(f'{path}: no reason below: {keys[-1]}')
        for key in keys:
            if key in reasons:
                raise ReasonsError(f'{path}: twice: {key}')
            reasons[key] = ' '.join(words)
        keys.clear()
        words.clear()

    for line in path.read_text(encoding='utf-8').splitlines():
        if not line.strip() or line.startswith('#'):
            continue
        if line[0].isspace():
            if not keys:
                raise ReasonsError(f'{path}: a reason for nothing: {line.strip()}')
            words.append(line.strip())
            continue
        if words:
            finish()
        keys.append(line.strip())
    finish()
    return reasons


def compare(open_keys: Iterable[str], reasons: dict[str, str]) -> tuple[list[str], list[str]]:
    """The open keys without a reason, and the reasons for nothing that is open."""
    found = set(open_keys)
    return sorted(found - set(reasons)), sorted(set(reasons) - found)
