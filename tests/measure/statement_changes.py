"""Changes of whole statements: left out, done in the other order, or under the opposite condition.

An early exit counts as a statement, and so does the call that a declaration begins with.
"""

from dataclasses import dataclass

from cpp_tokens import Token, closing
from mutation import Change

# A statement that begins with one of these is no call and no assignment.
_KEYWORDS = {'using', 'namespace', 'class', 'struct', 'template', 'typedef', 'enum', 'friend', 'public', 'private',
             'protected', 'const', 'constexpr', 'static', 'inline', 'auto', 'extern', 'static_assert', 'return', 'goto',
             'case', 'default', 'explicit', 'virtual', 'void', 'bool', 'int', 'try', 'do', 'switch', 'for', 'else'}
_JUMPS = {'break', 'continue', 'throw', 'delete'}
_GUARDS = {'lock_guard', 'unique_lock'}
_TURNED = {'!', 'SUCCEEDED', 'FAILED'} # at the begin of a condition: turned round by a change of that token
_COMPARISONS = {'==', '!=', '<', '<=', '>', '>='}


@dataclass(frozen=True)
class _Statement:
    first: int   # position of its first token
    last: int    # position of its semicolon, or of the bracket that ends it
    calls: bool
    conditional: bool # the whole body of an if or a loop, without braces


def statement_changes(source: str, found: list[Token]) -> list[Change]:
    changes = []
    before = None
    for statement in _statements(found):
        start, end = found[statement.first].start, found[statement.last].start
        changes.append(Change('dropped', start, end, '', 'the statement'))
        adjacent = before is not None and before.last + 1 == statement.first
        if adjacent and (before.calls or statement.calls) and not before.conditional:
            changes.append(_swapped(source, found, before, statement))
        condition = _if_behind(found, statement)
        if condition is not None:
            changes.append(_swapped(source, found, statement, condition))
        before = statement
    return changes + _exits(found) + _initial_calls(found) + _conditions(source, found)


def _swapped(source: str, found: list[Token], first: _Statement, second: _Statement) -> Change:
    texts = [source[found[s.first].start:found[s.last].end] for s in (second, first)]
    return Change('swapped', found[first.first].start, found[second.last].end, ' '.join(texts), 'with the next')


def _if_behind(found: list[Token], statement: _Statement) -> _Statement | None:
    """The `if` right behind a call, when it calls something, too, and has no `else`."""
    first = statement.last + 1
    if not statement.calls or statement.conditional or found[first].text != 'if' or found[first + 1].text != '(':
        return None
    head = closing(found, first + 1)
    calls = any(token.text == '(' for token in found[first + 2:head])
    last = closing(found, head + 1) if found[head + 1].text == '{' else _end(found, head + 1)
    if not calls or last is None or found[last + 1].text == 'else':
        return None
    return _Statement(first, last, True, False)


def _exits(found: list[Token]) -> list[Change]:
    """Early exits left out: every `return` under a condition."""
    changes = []
    opened = [False] # of each bracket that is open, whether an if or a loop opened it
    for position, token in enumerate(found):
        if token.text in ('(', '[', '{'):
            opened.append(token.text == '{' and position > 0 and _begins_body(found, position))
        elif token.text in (')', ']', '}'):
            opened.pop()
        elif token.text == 'return' and (opened[-1] or _begins_body(found, position)):
            end = _end(found, position)
            if end is not None:
                changes.append(Change('dropped', token.start, found[end].start, '', 'the exit'))
    return changes


def _begins_body(found: list[Token], position: int) -> bool:
    before = found[position - 1].text
    return before == 'else' or (before == ')' and _ends_head(found, position - 1))


def _initial_calls(found: list[Token]) -> list[Change]:
    """`const A a = f();` becomes `const A a = {};`. Of what has no type of its own, nothing can be made."""
    changes = []
    for position, (token, bracket) in enumerate(zip(found, _innermost_brackets(found))):
        if bracket not in ('{', 'class') or token.text != '=' or found[position - 1].kind != 'name':
            continue
        named = found[position - 2]
        end = _end(found, position)
        if named.kind != 'name' or named.text == 'auto' or end is None or found[end - 1].text != ')':
            continue # no declaration, or no call
        changes.append(Change('dropped', found[position + 1].start, found[end].start, '{}', 'the call'))
    return changes


def _statements(found: list[Token]) -> list[_Statement]:
    """The calls, assignments, jumps and locks in their order."""
    statements = []
    for position, bracket in enumerate(_innermost_brackets(found)):
        if bracket != '{': # of a function's body
            continue
        before = found[position - 1].text
        conditional = _begins_body(found, position)
        if before not in (';', '{', '}') and not conditional:
            continue
        end = _end(found, position)
        if end is not None and _droppable(found[position:end]):
            calls = any(token.text == '(' for token in found[position:end])
            statements.append(_Statement(position, end, calls, conditional))
    return statements


def _innermost_brackets(found: list[Token]) -> list[str]:
    """For every token, the bracket that is open there; of a class, "class"."""
    opened, innermost = [''], []
    for position, token in enumerate(found):
        innermost.append(opened[-1])
        if token.text in ('(', '[', '{'):
            opened.append('class' if token.text == '{' and _opens_class(found, position) else token.text)
        elif token.text in (')', ']', '}'):
            opened.pop()
    return innermost


def _opens_class(found: list[Token], position: int) -> bool:
    while position > 0 and found[position - 1].text not in (';', '{', '}', '(', ')'):
        position -= 1
        if found[position].text in ('class', 'struct', 'union', 'enum'):
            return True
    return False


def _ends_head(found: list[Token], position: int) -> bool:
    """Whether this bracket closes the head of an if or a loop."""
    depth = 0
    while position >= 0:
        depth += {')': 1, '(': -1}.get(found[position].text, 0)
        if depth == 0:
            return found[position - 1].text in ('if', 'while', 'for')
        position -= 1
    return False


def _end(found: list[Token], position: int) -> int | None:
    """The statement's semicolon; None when a block comes first, or the end of one."""
    while position < len(found):
        text = found[position].text
        if text == ';':
            return position
        if text in ('{', '}'):
            return None
        position = closing(found, position) + 1 if text in ('(', '[') else position + 1
    return None


def _droppable(statement: list[Token]) -> bool:
    if not statement:
        return False
    texts = [token.text for token in statement]
    if texts[0] in _JUMPS or any(text in _GUARDS for text in texts[:6]):
        return True
    if texts[0] in _KEYWORDS or texts[0] in ('if', 'while', '~') or texts[-1] in ('delete', 'default'):
        return False
    # Two names side by side, or a type's bracket before a name, make a declaration.
    position = 0
    while position < len(statement) and texts[position] not in ('(', '=', '+=', '-='):
        declares = statement[position].kind == 'name' and (
            position > 0 and (statement[position - 1].kind == 'name' or texts[position - 1] in ('>', '&')
                              or (texts[position - 1] == '*' and position > 1)))
        if declares:
            return False
        position += 1
    if any(one.kind == other.kind == 'name' for one, other in zip(statement, statement[1:])):
        return False # a constructor with its parameters
    return any(text in ('(', '=', '+=', '-=', '++', '--') for text in texts)


def _conditions(source: str, found: list[Token]) -> list[Change]:
    """Conditions turned round, unless a change of their one operator does the same."""
    changes = []
    for position, token in enumerate(found[:-1]):
        if token.text not in ('if', 'while') or found[position + 1].text != '(':
            continue
        end = closing(found, position + 1)
        inner = found[position + 2:end]
        semicolons = [i for i, part in enumerate(inner) if part.text == ';']
        if semicolons:
            inner = inner[semicolons[-1] + 1:]
        texts = [part.text for part in inner]
        declares = '=' in texts
        one_operator = not {'&&', '||'} & set(texts) and (texts[0] in _TURNED or any(
            part.text in _COMPARISONS and part.spaced for part in inner))
        if not declares and not one_operator:
            start, stop = inner[0].start, inner[-1].end
            changes.append(Change('condition', start, stop, f'!({source[start:stop]})', 'turned round'))
    return changes
