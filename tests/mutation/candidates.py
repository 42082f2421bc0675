"""Finds the small changes that can be made to a C++ source in the style of this project.

A change replaces a piece of the text. The patterns rely on clang-format: binary operators have a space on both sides,
and most statements and constructor initialisers have a line of their own.
"""

import re
import typing

# A number comes first, so that the quotes in 1'000 do not start a character literal.
TOKEN = re.compile(
    r"""(?P<number>\b\d[\d']*)|(?P<text>\bu?"(?:\\.|[^"\\\n])+"|"(?:\\.|[^"\\\n])+"|u?'(?:\\.|[^'\\\n])')"""
    r"""|R"\(.*?\)"|""|//[^\n]*|/\*.*?\*/|^[ \t]*\#[^\n]*""",
    re.MULTILINE | re.DOTALL | re.VERBOSE,
)

OPERATORS = {
    "==": ["!="],
    "!=": ["=="],
    "<": ["<=", ">="],
    "<=": ["<", ">"],
    ">": [">=", "<="],
    ">=": [">", "<"],
    "&&": ["||"],
    "||": ["&&"],
    "+": ["-"],
    "-": ["+"],
    "*": ["+"],
    "/": ["*"],
    "+=": ["-="],
    "-=": ["+="],
}

ITEM = re.compile(r"^    (?P<mark>[:,]) (?P<name>\w+)\((?P<value>.*)\)$")
ASSIGNMENT = re.compile(r"^(?P<name> *[\w.*>-]+ = )(?P<value>[^{}]+);$")
DESIGNATED = re.compile(r"^(?P<name> +\.\w+ = )(?P<value>.+),$")
FIELD = re.compile(r"^ +(?:Field|Link)\{.*\},$")
STATEMENT = re.compile(r"^(?P<indent> {4,})(?P<call>(?!return\b)[\w.:<>*&\[\]-]+\(.*\));$")
REMOVABLE = re.compile(r"^ {4,}(?:[\w.*>-]+ \+?= .+|break|continue|return|throw .+|(?:\+\+|--)\w+);$")
LABEL = re.compile(r"^ +case (?P<value>[\w:]+):$")
CONDITION = re.compile(r"\bif \((?P<condition>[^;{}\n]*?)\)(?: \{)?$", re.MULTILINE)


class Change(typing.NamedTuple):
    """Replaces a text from `start` to `end` by `new`."""

    kind: str
    start: int
    end: int
    new: str


# A concept decides what compiles, not what the code does.
CONCEPT = re.compile(r"^concept \w+ =.*?;$(?!\n +)", re.MULTILINE | re.DOTALL)


def blank(text):
    return re.sub(r"[^\n]", " ", text)


def code_of(text):
    """The text with blanks for strings, comments, directives and concepts. Offsets stay the same."""
    code = TOKEN.sub(lambda token: token[0] if token["number"] else blank(token[0]), text)
    return CONCEPT.sub(lambda concept: blank(concept[0]), code)


def changes(text, alternatives):
    """All changes to a text. `alternatives` is {qualifier: names that follow it}, as returned by `enumerators`."""
    code = code_of(text)
    found = [*constants(text), *operators(code), *tests(code), *ternaries(text, code), *arguments(text, code)]
    found += [*enumerations(code, alternatives), *lines(text, code)]
    unique = {change[1:]: change for change in reversed(found) if text[change.start : change.end] != change.new}
    return sorted(unique.values(), key=lambda change: change[1:])


def constants(text):
    for token in TOKEN.finditer(text):
        start, end = token.span()
        if token["number"]:
            if text[end : end + 1] == "." or text[start - 1] == ".":
                continue
            number = int(token[0].replace("'", ""))
            yield Change("constant", start, end, str(number + 1))
            if number > 0:
                yield Change("constant", start, end, str(number - 1))
        elif token["text"]:
            quote = re.search("[\"']", token[0]).end()
            changed = "~" + token[0][quote:] if token[0][quote - 1] == '"' else "~'"
            yield Change("constant", start, end, token[0][:quote] + changed)
    for token in re.finditer(r"\b(?:true|false)\b", code_of(text)):
        yield Change("constant", *token.span(), "false" if token[0] == "true" else "true")


def operators(code):
    for token in re.finditer(r"(?<= )(?:[=!<>]=|[<>]|&&|\|\||[-+*/]|[-+]=)(?=[ \n])", code):
        kind = "comparison" if token[0][0] in "=!<>" else "logic" if token[0][0] in "&|" else "arithmetic"
        for new in OPERATORS[token[0]]:
            yield Change(kind, *token.span(), new)
    for token in re.finditer(r"\+\+|--", code):
        yield Change("arithmetic", *token.span(), "--" if token[0] == "++" else "++")


def tests(code):
    for token in re.finditer(r"\b[\w.()]*\bhas_\w+\(\)", code):
        yield Change("has-bit", *token.span(), "true")
        yield Change("has-bit", *token.span(), "!" + token[0])
    for token in re.finditer(r"!(?=[\w(])", code):
        yield Change("logic", *token.span(), "")
    for token in CONDITION.finditer(code):
        if not re.match(r"(?:constexpr|auto|\w+ const)\b", token["condition"]) and " = " not in token["condition"]:
            for new in ("true", "false"):
                yield Change("condition", *token.span("condition"), new)


def closing(code, place, ends):
    """The position of the first of `ends` after `place` at the same bracket depth."""
    depth = 0
    for at in range(place, len(code)):
        if depth == 0 and code.startswith(ends, at):
            return at
        depth += (code[at] in "([{") - (code[at] in ")]}")
        if depth < 0 or code[at] == ";":
            break
    return None


def ternaries(text, code):
    for token in re.finditer(r" \? ", code):
        middle = closing(code, token.end(), (" : ",))
        end = middle and closing(code, middle + 3, (";", ",", ")", "}"))
        if end:
            yes, no = text[token.end() : middle], text[middle + 3 : end]
            yield Change("ternary", token.end(), end, f"{no} : {yes}")


PARAMETER = re.compile(r"(?!new )[\w:<>, .()]+ (?:const )?[&*.]*\w*(?: = .*)?")


def arguments(text, code):
    for token in re.finditer(r"(?<=[\w>])[({]", code):
        places = [token.end()]
        while (comma := closing(code, places[-1], (",", ")", "}"))) is not None and code[comma] == ",":
            places.append(comma + 1)
        if comma is None or len(places) < 2:
            continue
        places.append(comma + 1)
        pieces = [text[a : b - 1] for a, b in zip(places, places[1:])]
        if any(PARAMETER.fullmatch(piece.strip()) for piece in pieces):
            continue
        for at, (one, other) in enumerate(zip(pieces, pieces[1:])):
            lead = re.match(r"\s*", other)[0]
            yield Change("order", places[at], places[at + 2] - 1, f"{other.lstrip()},{lead}{one.lstrip()}")


QUALIFIED = re.compile(
    r"\b(?P<qualifier>\w+(?:::\w+)*)::(?P<name>k[A-Z]\w*|[A-Z][A-Z0-9_]+|[a-z]\w*)\b(?![\w(<:&*{ ]*[(<:{&*\w])"
)


def enumerators(codes):
    """{qualifier: the names that follow it in these sources}"""
    known = {}
    for code in codes:
        for token in QUALIFIED.finditer(code):
            known.setdefault(token["qualifier"], set()).add(token["name"])
    return known


def enumerations(code, alternatives):
    own = enumerators([code])
    for token in QUALIFIED.finditer(code):
        qualifier = token["qualifier"]
        # Several sources may use a qualifier for different things, so the names of this source take precedence.
        names = sorted(own[qualifier] if len(own[qualifier]) > 1 else alternatives[qualifier])
        if len(names) < 2 or qualifier == "std" or code[: token.start()].endswith("case "):
            continue
        new = names[(names.index(token["name"]) + 1) % len(names)]
        yield Change("enumerator", *token.span("name"), new)


def lines(text, code):
    """Yields removals of lines, and swaps of adjacent lines or their values."""
    start, rows = 0, []
    for row in text.splitlines(keepends=True):
        rows.append((start, row.rstrip("\n"), code[start : start + len(row)].rstrip("\n")))
        start += len(row)
    # The declaration of a constructor looks like a call.
    classes = "|".join(re.findall(r"\b(?:class|struct) (?:[A-Z]\w* )?(\w+)", code)) or "-"
    is_declaration = re.compile(rf" *(?:{classes})\(|.*\) (?:const|noexcept|=)")
    labels = []
    for at, (start, row, bare) in enumerate(rows):
        if not bare.strip():
            continue
        next_start, next_row, next_bare = rows[at + 1] if at + 1 < len(rows) else (0, "", "")
        end = start + len(row)
        next_end = next_start + len(next_row)

        for pattern in (ITEM, ASSIGNMENT, DESIGNATED):
            one, other = pattern.match(row), pattern.match(next_row)
            if one and other:
                yield Change(
                    "order",
                    start + one.start("value"),
                    next_start + other.end("value"),
                    other["value"] + row[one.end("value") :] + "\n" + next_row[: other.start("value")] + one["value"],
                )
        statement, other = STATEMENT.match(row), STATEMENT.match(next_row)
        calls = bool(statement) and not is_declaration.match(bare)
        is_order = calls and other and statement["indent"] == other["indent"] and not is_declaration.match(next_bare)
        if is_order or (FIELD.match(row) and FIELD.match(next_row)):
            yield Change("order", start, next_end, next_row + "\n" + row)

        if item := ITEM.match(row):
            if item["mark"] == ",":
                yield Change("removal", start, end, "")
            elif ITEM.match(next_row):
                yield Change("removal", start, next_end, next_row.replace(",", ":", 1))
        elif calls or REMOVABLE.match(bare):
            yield Change("removal", start, end, ";")

        # The labels of one switch have the same indentation, and no line between them has less.
        indent = len(row) - len(row.lstrip())
        if label := LABEL.match(row):
            if labels and labels[-1][1] == indent:
                before = labels[-1][0]
                first = LABEL.match(text[before : text.index("\n", before)])
                begin, finish = before + first.start("value"), start + label.end("value")
                between = text[before + first.end("value") : start + label.start("value")]
                yield Change("order", begin, finish, label["value"] + between + first["value"])
            labels.append((start, indent))
        elif row and labels and indent < labels[-1][1]:
            labels.pop()
