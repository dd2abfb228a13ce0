"""Finds every change that is worth trying in a source."""

from cpp_tokens import Token, tokens
from mutation import Change, Mutation, mutations_of
from statement_changes import statement_changes
from token_changes import token_changes


def find_mutations(file: str, source: str) -> list[Mutation]:
    """All mutations of a source, in its order. `file` is the name that they get."""
    found = _without_static_assertions(tokens(source))
    changes: list[Change] = token_changes(source, found) + statement_changes(source, found)
    return mutations_of(file, source, changes)


def _without_static_assertions(found: list[Token]) -> list[Token]:
    kept, inside = [], False
    for token in found:
        inside = inside or token.text == 'static_assert'
        if not inside:
            kept.append(token)
        elif token.text == ';':
            inside = False
    return kept
