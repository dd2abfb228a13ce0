"""Cuts C++ sources into tokens: as much of the language as finding places to change needs."""

import re
from dataclasses import dataclass

_PATTERN = re.compile(
    r'''
    (?P<space>\s+)
  | (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)
  | (?P<string>(?:u8|[uUL])?"(?:\\.|[^"\\\n])*")
  | (?P<character>(?:u8|[uUL])?'(?:\\.|[^'\\\n])*')
  | (?P<number>\.?\d(?:'?[\w.])*)
  | (?P<name>[A-Za-z_]\w*)
  | (?P<sign><<=|>>=|<=>|\.\.\.|->|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)
    ''',
    re.VERBOSE | re.MULTILINE | re.DOTALL)


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int
    spaced: bool  # white space on both sides; the format of our sources puts it around binary operators only


def tokens(source: str) -> list[Token]:
    """The tokens of a source, without white space, comments and preprocessor lines."""
    found = []
    for match in _PATTERN.finditer(source):
        kind = match.lastgroup
        if kind in ('space', 'comment', 'directive'):
            continue
        start, end = match.span()
        spaced = source[start - 1:start].isspace() and source[end:end + 1].isspace()
        found.append(Token(kind, match.group(), start, end, spaced))
    return found


def closing(found: list[Token], opening: int) -> int:
    """The position of the bracket that closes the one at `opening`."""
    depth = 0
    for position in range(opening, len(found)):
        if found[position].text in ('(', '[', '{'):
            depth += 1
        elif found[position].text in (')', ']', '}'):
            depth -= 1
            if depth == 0:
                return position
    raise ValueError(f'bracket {found[opening].text} at {found[opening].start} is never closed')
