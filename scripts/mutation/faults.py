"""The small faults that a C++ source could have: each is a place in its text and what stands there instead.

The code isn't parsed, only cut into tokens, and relies on how clang-format spaces it: an operator between two
operands has a blank on both sides, a template's bracket and a sign have not. What a fault makes of the code need
not compile; the run finds out.
"""

import re
from typing import NamedTuple


class Fault(NamedTuple):
    start: int
    end: int
    replacement: str


class Token(NamedTuple):
    start: int
    end: int
    text: str


TOKEN = re.compile(
    r"""//[^\n]*|/\*.*?\*/|^[ \t]*\#[^\n]*      # comments and directives, which are skipped
    |R"\((?:.*?)\)"|"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*'
    |[A-Za-z_]\w*
    |(?:0[xX][\da-fA-F']+(?:\.[\da-fA-F]*)?(?:[pP][+-]?\d+)?|\d[\d']*(?:\.\d*)?(?:[eE][+-]?\d+)?)[uUlLfF]*
    |<<=|>>=|<=>|->|::|\+\+|--|&&|\|\||[-+*/%&|^<>=!]=|<<|>>|\S""",
    re.S | re.M | re.X)
BINARY = {
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"], "<<": [">>"], ">>": ["<<"], "&": ["|"], "|": ["&"],
    "&&": ["||"], "||": ["&&"], "+=": ["-="], "-=": ["+="], "*=": ["/="], "/=": ["*="], "|=": ["&="], "&=": ["|="]}
OTHER_NAME = {
    "true": "false", "false": "true", "min": "max", "max": "min", "floor": "ceil", "sine": "cosine", "cosine": "sine",
    "x": "y", "y": "z", "z": "x", "w": "x", "front": "back", "first": "second", "second": "first",
    "begin": "rbegin", "continue": "break", "break": "continue"}
SIDES = [("Left", "Right"), ("Min", "Max"), ("Source", "Target"), ("min", "max"), ("source", "target")]
# Of two arguments whose order means nothing.
SYMMETRIC = {"min", "max", "swap", "Dot", "assert"}
# A statement with one of these in front isn't one that can be left out, or a fault elsewhere says the same.
NOT_LEFT_OUT = set(
    "return using if for while const auto case default static constexpr constinit namespace class struct enum template "
    "typedef public private protected friend explicit virtual do switch else inline extern operator goto".split())
DECLARATION = re.compile(r"[\w:]+(<.*>)?(::\w+)?[&*]*\s+[&*]*\w+\s*([;={(\[]|$)", re.S)
PARAMETER = re.compile(r"(const )?[\w:]+(<.*>)?\s*[&*]*\s\s*[&*]*\w+(\s*=.*)?$", re.S)
PAIRS = {"(": ")", "[": "]", "{": "}"}


def tokens_of(text):
    """Without comments and directives."""
    found = (Token(*match.span(), match.group()) for match in TOKEN.finditer(text))
    return [token for token in found if not re.match(r"//|/\*|\s*#", token.text)]


def match_brackets(tokens):
    """The position of each opening bracket's closing one and the reverse, and in which bracket each token stands."""
    partner, inside, open_at = {}, {}, [None]
    for i, token in enumerate(tokens):
        if token.text in PAIRS:
            open_at.append(i)
        elif token.text in PAIRS.values() and len(open_at) > 1:
            partner[i] = open_at.pop()
            partner[partner[i]] = i
        inside[i] = open_at[-1]
    return partner, inside


def ends_at_depth_zero(tokens, partner, i, last, stops):
    """From i on, the first of the tokens `stops` that isn't inside of brackets; `last` if there is none."""
    while i < last:
        if tokens[i].text in stops:
            return i
        i = partner.get(i, i) + 1 if tokens[i].text in PAIRS else i + 1
    return last


def is_silent(tokens, i):
    """No fault in the call that begins here can show in a result: it is checked when compiling, only saves memory or
    time, or logs a line at the level that no callback gets."""
    return tokens[i].text in ("static_assert", "reserve", "Reserve", "shrink_to_fit", "noexcept", "alignas", "sizeof") or (
        tokens[i].text == "Log" and tokens[i + 2].text == "velkori_LogLevel_Debug")


def skipped(tokens, partner):
    """The tokens that are left alone."""
    skip = set()
    for i, token in enumerate(tokens[:-1]):
        if is_silent(tokens, i) and tokens[i + 1].text == "(":
            skip.update(range(i, partner[i + 1] + 1))
        elif token.text == "template":
            depth, j = 0, i + 1
            while j == i + 1 or depth > 0:
                depth += {"<": 1, ">": -1, ">>": -2}.get(tokens[j].text, 0)
                j += 1
            skip.update(range(i, j))
        elif token.text == "[" and tokens[i + 1].text == "[":
            skip.update(range(i, partner[i] + 1))
        elif token.text in ("using", "namespace", "friend"):
            skip.update(range(i, ends_at_depth_zero(tokens, partner, i, len(tokens), ";{")))
    return skip


def other_numbers(number):
    """By one for a whole number, by a tenth either way for any other, and by about the last bit where the bits are
    given."""
    if "p" in number.lower():
        value = float.fromhex(number.rstrip("fFlL"))
        return [f"{value * factor!r}{number[-1] if number[-1] in 'fF' else ''}" for factor in (1 + 2**-23, 1 - 2**-23)]
    digits, suffix = re.fullmatch(r"(0[xX][\da-fA-F']+|[^uUlLfF]+)([uUlLfF]*)", number).groups()
    digits = digits.replace("'", "")
    if "F" not in suffix.upper() and re.fullmatch(r"\d+|0[xX][\da-fA-F]+", digits):
        value = int(digits, 0)
        return [f"{n}{suffix}" for n in (value + 1, value - 1) if n >= 0]
    value = float(digits)
    return [f"{n!r}{suffix}" for n in ([value * 1.1, value * 0.9] if value != 0 else [1.0])]


def faults_of(text):
    """Every fault that the source could have, in the order of the text."""
    tokens = tokens_of(text)
    partner, inside = match_brackets(tokens)
    skip = skipped(tokens, partner)
    faults = []

    def add(first, last, replacement):
        faults.append(Fault(tokens[first].start, tokens[last].end, replacement))

    def text_of(first, last):
        return text[tokens[first].start : tokens[last].end]

    for i, token in enumerate(tokens):
        if i in skip or i == 0 or i + 1 == len(tokens):
            continue
        before, after = tokens[i - 1], tokens[i + 1]
        is_between = before.end < token.start and token.end < after.start
        word = token.text
        if word in BINARY and is_between:
            for other in BINARY[word]:
                add(i, i, other)
        elif word in ("++", "--"):
            add(i, i, "--" if word == "++" else "++")
        elif word in ("!", "-", "~") and token.end == after.start:
            add(i, i, "")
        elif word[0].isdigit():
            for other in other_numbers(word):
                add(i, i, other)
        elif word in OTHER_NAME and (len(word) > 1 or before.text in (".", "->")):
            add(i, i, OTHER_NAME[word])
        elif word[0].isalpha():
            for one, other in SIDES:
                if one in word or other in word:
                    add(i, i, re.sub(f"{one}|{other}", lambda m: other if m.group() == one else one, word))
        if word in ("if", "while") and after.text == "(":
            last = partner[i + 1]
            first = i + 2
            semicolon = ends_at_depth_zero(tokens, partner, first, last, ";")
            if semicolon < last:
                first = semicolon + 1
            # Where one operator decides, turning that one is the same fault.
            words = {tokens[k].text for k in range(first, last)}
            if words & {"&&", "||"} or not words & {"!", "==", "!=", "<", "<=", ">", ">="}:
                add(first, last - 1, f"!({text_of(first, last - 1)})")
        if word == "?":
            colon = ends_at_depth_zero(tokens, partner, i + 1, len(tokens), ":")
            end = ends_at_depth_zero(tokens, partner, colon + 1, len(tokens), ";,)}")
            if "?" not in (t.text for t in tokens[i + 1 : end]):
                add(i, end - 1, f"? {text_of(colon + 1, end - 1)} : {text_of(i + 1, colon - 1)}")
        if word in ("(", "{") and before.text not in ("for", "if", "while", "switch") and i in partner:
            add_swaps(tokens, partner, text_of, i, before.text, add)
        is_in_list = inside[i] is not None and tokens[inside[i]].text != "{"
        if before.text in ("{", "}", ";") and not is_in_list and (word[0].isalpha() or word in ("++", "--", "*", "(")):
            end = ends_at_depth_zero(tokens, partner, i, len(tokens), ";}")
            is_statement = end < len(tokens) and tokens[end].text == ";" and word not in NOT_LEFT_OUT
            if is_statement and not is_silent(tokens, i) and not DECLARATION.match(text_of(i, end)):
                add(i, end, ";")
    return sorted(set(faults))


def kind_of(argument):
    """What an argument looks like: a text, a number, a list, a call or a name."""
    if argument[0] in '"{':
        return argument[0]
    return "number" if re.match(r"-?\d", argument) else "call" if argument.endswith(")") else "name"


def add_swaps(tokens, partner, text_of, opening, name, add):
    """Neighbouring elements of a list exchanged, unless they are parameters."""
    closing, parts, first = partner[opening], [], opening + 1
    while first < closing:
        comma = ends_at_depth_zero(tokens, partner, first, closing, ",;")
        if tokens[comma].text == ";":
            return
        parts.append((first, comma - 1))
        first = comma + 1
    texts = [text_of(*part) for part in parts]
    if name in SYMMETRIC or any(PARAMETER.match(part) for part in texts):
        return
    for (left, right), (one, other) in zip(zip(parts, parts[1:]), zip(texts, texts[1:])):
        # Otherwise they hardly have one type.
        if one != other and kind_of(one) == kind_of(other) != '"':
            add(left[0], right[1], f"{other}, {one}")
