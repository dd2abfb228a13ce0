"""Changes of single tokens: constants, names, comparisons, logic and arithmetic."""

import re

from cpp_tokens import Token, closing
from mutation import Change

# Binary operators and what each becomes. A limit is moved by one, and turned round.
_BINARY = {
    'comparison': {'==': ['!='], '!=': ['=='], '<': ['<=', '>='], '<=': ['<', '>'], '>': ['>=', '<='],
                   '>=': ['>', '<']},
    'logic': {'&&': ['||'], '||': ['&&']},
    'arithmetic': {'+': ['-'], '-': ['+'], '*': ['/'], '/': ['*'], '%': ['/'], '+=': ['-='], '-=': ['+='],
                   '&': ['|'], '<<': ['>>'], '>>': ['<<']},
}

# Names of which one stands where the next might as well. The last becomes the first.
_FAMILIES = [
    ['true', 'false'],
    ['TRUE', 'FALSE'],
    ['SUCCEEDED', 'FAILED'],
    ['New', 'Open', 'Running', 'Stopped', 'TerminateRequested', 'Failed'],
    ['Error', 'Warning', 'Information'],
    ['Initial', 'Repeated'],
    ['manualReset', 'autoReset'],
    ['S_OK', 'S_FALSE'],
    ['MASK_HEADPHONES', 'MASK_MONO'],
    ['kFrontLeftRight', 'kFrontCenter'],
    ['kRate44k', 'kRate48k'],
    ['kSlowPass', 'kSlowStep'],
    ['WAVE_FORMAT_PCM', 'WAVE_FORMAT_EXTENSIBLE'],
    ['ORVO_PLAYBACK', 'ORVO_CAPTURE'],
    ['ORVO_STATE_ACTIVE', 'ORVO_STATE_NOT_PRESENT'],
    ['ORVO_EVENT_DEVICE_ADDED', 'ORVO_EVENT_DEFAULT_CHANGED', 'ORVO_EVENT_DEVICE_REMOVED', 'ORVO_EVENT_DEVICE_STATE'],
]
_NEXT = {name: family[(i + 1) % len(family)] for family in _FAMILIES for i, name in enumerate(family)}
_SCOPED = {'New', 'Open', 'Running', 'Stopped', 'TerminateRequested', 'Failed', 'Error', 'Warning', 'Information',
           'Initial', 'Repeated'}  # members of enumerations, elsewhere plain words

# The platform's constants, of which each becomes 0; those that are 0 become 1.
_PLATFORM = re.compile(
    r'(DSBPLAY|DSCBSTART|DSBLOCK|DSSCL|DSCAPS|DSCCAPS|DSBCAPS|DSSPEAKER|THREAD_PRIORITY|WAIT|WAVE|HWND|CP|COINIT|ERROR'
    r'|MMSYSERR|TIMERR|VER_GREATER)_[A-Z0-9_]+$')
_ZERO = {'WAIT_OBJECT_0', 'MMSYSERR_NOERROR', 'TIMERR_NOERROR', 'THREAD_PRIORITY_NORMAL', 'COINIT_MULTITHREADED'}

_INTEGER = re.compile(r"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)[uUlL]*$")


def token_changes(source: str, found: list[Token]) -> list[Change]:
    changes = []
    for position, token in enumerate(found):
        before = found[position - 1].text if position > 0 else ''
        if before == 'operator':
            continue
        if token.kind == 'number' and not _makes_virtual(found, position):
            changes += _number(token)
        elif token.kind == 'string' and before != 'extern':
            changes.append(Change('text', token.start, token.end, token.text[:-1] + '~"'))
        elif token.kind == 'name':
            after = found[position + 1].text
            if after == '=':
                continue # no name at its definition
            changes += _name(token, before)
            if '|' not in (before, after): # else it is one of several flags, which are left out one by one
                changes += _platform_constant(token)
        elif token.kind == 'sign':
            changes += _sign(source, found, position)
    return changes


def _makes_virtual(found: list[Token], position: int) -> bool:
    """Whether this is the 0 of a function without a body."""
    return position > 1 and found[position - 1].text == '=' and found[position - 2].text in (')', 'const', 'noexcept')


def _number(token: Token) -> list[Change]:
    match = _INTEGER.match(token.text)
    if not match:
        return []
    digits = match.group(1).replace("'", '')
    hexadecimal = digits[:2] in ('0x', '0X')
    value = int(digits, 16 if hexadecimal else 10)
    others = [value + 1] + ([value - 1] if value > 0 else [])
    suffix = token.text[match.end(1):]
    return [Change('constant', token.start, token.end, (f'{other:#x}' if hexadecimal else str(other)) + suffix)
            for other in others]


def _name(token: Token, before: str) -> list[Change]:
    text = token.text
    if text in _SCOPED and before != '::':
        return []
    other = _NEXT.get(text)
    if other is None and text.startswith('ORVO_'):
        other = 'ORVO_UNKNOWN' if text != 'ORVO_UNKNOWN' else 'ORVO_OS_ERROR'
    elif other is None and text.startswith('DSERR_'):
        other = 'DSERR_GENERIC'
    elif other is None and text == 'DS_OK':
        other = 'S_FALSE'
    elif other is None and text == 'INFINITE':
        other = '0'
    return [Change('name', token.start, token.end, other)] if other else []


def _platform_constant(token: Token) -> list[Change]:
    if token.text in _NEXT or not _PLATFORM.match(token.text):
        return []
    return [Change('name', token.start, token.end, '1' if token.text in _ZERO else '0')]


def _sign(source: str, found: list[Token], position: int) -> list[Change]:
    token = found[position]
    if token.spaced:
        for operator, table in _BINARY.items():
            if token.text in table:
                return [Change(operator, token.start, token.end, other) for other in table[token.text]]
        if token.text == '|':
            return _flags(found, position)
        if token.text == '?':
            return _branches(source, found, position)
    if token.text == '!':
        return [Change('negation', token.start, token.end, '')]
    if token.text in ('++', '--'):
        return [Change('arithmetic', token.start, token.end, '--' if token.text == '++' else '++')]
    return []


def _flags(found: list[Token], position: int) -> list[Change]:
    """`A | B` becomes `A`, and `B`."""
    left, right = found[position - 1], found[position + 1]
    if left.kind != 'name' or right.kind != 'name':
        return []
    return [Change('flag', left.start, right.start, ''), Change('flag', left.end, right.end, '')]


def _branches(source: str, found: list[Token], position: int) -> list[Change]:
    """`c ? a : b` becomes `c ? b : a`."""
    middle, end = None, position + 1
    while end < len(found) and found[end].text not in (';', ',', ')', ']', '}'):
        if found[end].text == ':' and middle is None:
            middle = end
        end = closing(found, end) + 1 if found[end].text in ('(', '[', '{') else end + 1
    if middle is None:
        return []
    start, stop = found[position + 1].start, found[end - 1].end
    first = source[start:found[middle - 1].end]
    second = source[found[middle + 1].start:stop]
    return [Change('branches', start, stop, f'{second} : {first}')]
