"""The small changes that can be made to a C++ source text, one at a time.

Works on the tokens of the text, not on its meaning, and relies on the formatter: a binary operator has blanks around
it; a template bracket, a pointer or a reference does not. A change that makes no sense does not compile and is counted
as such.
"""
from __future__ import annotations

import re
from collections.abc import Iterator, Sequence
from dataclasses import dataclass, field

TOKEN = re.compile(
    r"""(?P<blank>\s+|//[^\n]*|/\*.*?\*/)
      | (?P<directive>^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
      | (?P<text>(?:u8|[uUL])?R"(?P<mark>[^(]*)\(.*?\)(?P=mark)"|(?:u8|[uUL])?"(?:[^"\\\n]|\\.)*")
      | (?P<character>'(?:[^'\\\n]|\\.)+')
      | (?P<number>\.?\d(?:[eEpP][+-]|'?[\w.])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><<=|>>=|<=>|->\*|\.\.\.|->|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)""",
    re.DOTALL | re.MULTILINE | re.VERBOSE)

#: Operators with blanks around them, and their replacements.
BINARY = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"), "==": ("!=",), "!=": ("==",),
    "&&": ("||",), "||": ("&&",),
    "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("*",), "&": ("|",), "|": ("&",), "^": ("&",),
    "<<": (">>",), ">>": ("<<",),
    "+=": ("-=",), "-=": ("+=",), "*=": ("/=",), "/=": ("*=",), "%=": ("*=",), "|=": ("&=",), "&=": ("|=",),
}
COMPARISONS = {"<", "<=", ">", ">=", "==", "!="}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "|=", "&=", "^=", "<<=", ">>="}
STEPS = {"++": "--", "--": "++"}
WORDS = {"true": "false", "false": "true"}
OPENING = {"(": ")", "[": "]", "{": "}"}
#: Statements that begin with one of these cannot be removed.
STATEMENT_WORDS = {
    "return", "if", "else", "for", "while", "do", "switch", "case", "default", "goto", "throw", "try", "catch", "using",
    "typedef", "const", "constexpr", "static", "struct", "class", "enum", "template", "static_assert", "delete", "auto",
    "continue", "break"}
TYPE_WORDS = {"struct", "class", "enum", "union"}


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int

    @property
    def end(self) -> int:
        return self.start + len(self.text)


@dataclass(frozen=True)
class Mutant:
    """One change: the characters from `start` to `end` of the file become `replacement`."""

    path: str
    line: int
    line_text: str
    start: int
    end: int
    replacement: str
    change: str
    #: Which of the identical changes of identical lines in this file, from 1.
    occurrence: int = field(default=1)

    @property
    def key(self) -> tuple[str, str, str]:
        """Identifies the change even if lines move."""
        return self.path, self.line_text, self.change

    def __str__(self) -> str:
        return f"{self.path}:{self.line}: {self.change}"

    def applied(self, source: str) -> str:
        return source[:self.start] + self.replacement + source[self.end:]


def tokens_of(source: str) -> list[Token]:
    return [Token(match.lastgroup if match.lastgroup != "mark" else "text", match.group(), match.start())
            for match in TOKEN.finditer(source) if match.lastgroup not in ("blank", "directive")]


class Changes:
    """The changes of one source text."""

    def __init__(self, source: str) -> None:
        self._source = source
        self._tokens = tokens_of(source)
        self._partners = self._find_partners()
        self._is_code = self._find_code()
        self._ignored = self._find_ignored()

    def all(self) -> Iterator[tuple[int, int, str]]:
        """Each as start, end and replacement."""
        for index, token in enumerate(self._tokens):
            if index in self._ignored:
                continue
            yield from self._of_token(index, token)
            if self._is_code[index]:
                yield from self._of_statement(index, token)

    # What the tokens belong to

    def _text(self, index: int) -> str:
        return self._tokens[index].text if 0 <= index < len(self._tokens) else ""

    def _find_partners(self) -> dict[int, int]:
        """The closing bracket of every opening one."""
        partners: dict[int, int] = {}
        opened: list[int] = []
        for index, token in enumerate(self._tokens):
            if token.kind != "sign":
                continue
            if token.text in OPENING:
                opened.append(index)
            elif token.text in OPENING.values():
                partners[opened.pop()] = index
        return partners

    def _head(self, index: int) -> Sequence[str]:
        """The text between the brace at `index` and the statement or block before it."""
        first = index
        while first > 0 and self._text(first - 1) not in (";", "{", "}"):
            first -= 1
        return [token.text for token in self._tokens[first:index]]

    def _find_code(self) -> list[bool]:
        """Whether each token is in the body of a function, and not in a bracket of an expression there."""
        is_code: list[bool] = []
        blocks = [False]
        in_body = [False]
        for index, token in enumerate(self._tokens):
            if token.kind == "sign" and token.text in OPENING.values():
                blocks.pop()
                in_body.pop()
            is_code.append(blocks[-1])
            if token.kind == "sign" and token.text in OPENING:
                in_body.append(in_body[-1] or token.text == "{" and self._opens_body(self._head(index)))
                blocks.append(in_body[-1] and token.text == "{")
        return is_code

    @staticmethod
    def _opens_body(head: Sequence[str]) -> bool:
        return "(" in head and "namespace" not in head and "=" not in head and head[0] not in TYPE_WORDS

    def _find_ignored(self) -> set[int]:
        """Static assertions, aliases, attributes, operator names, and functions without a body."""
        ignored: set[int] = set()
        for index, token in enumerate(self._tokens):
            if token.text in ("static_assert", "using", "alignas"):
                end = index
                while self._text(end) != ";" and not (token.text == "alignas" and self._text(end) == ")"):
                    end += 1
                ignored.update(range(index, end + 1))
            elif token.text == "[" and self._text(index + 1) == "[":
                ignored.update(range(index, self._partners[index] + 1))
            elif token.text == "operator":
                ignored.update((index, index + 1))
            elif token.text == "=" and self._text(index + 1) == "0" and \
                    self._text(index - 1) in (")", "const", "noexcept"):
                ignored.add(index + 1)
        return ignored

    # Changes of one token

    def _is_between_blanks(self, token: Token) -> bool:
        """Whether the sign is a binary operator; that of an unnamed pointer is at or near the end of its line."""
        after = self._source[token.end:token.end + 3]
        if token.text in ("*", "&") and (after[:1] == "\n" or after == " /*"):
            return False
        return self._source[token.start - 1].isspace() and after[:1].isspace()

    def _of_token(self, index: int, token: Token) -> Iterator[tuple[int, int, str]]:
        if token.kind == "number":
            replacements = numbers_near(token.text)
        elif token.kind == "character":
            replacements = [f"'{chr(ord(token.text[1]) + 1)}'"] if len(token.text) == 3 else []
        elif token.kind == "word":
            replacements = [WORDS[token.text]] if token.text in WORDS else []
        elif token.text in STEPS:
            replacements = [STEPS[token.text]]
        elif token.text in BINARY and self._is_between_blanks(token):
            replacements = list(BINARY[token.text])
        elif token.text == "-" and not self._source[token.end].isspace():
            replacements = [""]
        else:
            replacements = []
        for replacement in replacements:
            yield token.start, token.end, replacement
        if token.text == "?":
            yield from self._negated(*self._choice_before(index))

    def _choice_before(self, mark: int) -> tuple[int, int]:
        """The condition of the `?` at `mark`, as first and last token."""
        depth = 0
        first = mark
        while first > 0:
            before = self._text(first - 1)
            if before in OPENING.values():
                depth += 1
            elif before in OPENING:
                depth -= 1
            if depth < 0 or depth == 0 and before in (";", ",", "return", "?", ":", *ASSIGNMENTS):
                break
            first -= 1
        return first, mark - 1

    def _negated(self, first: int, last: int) -> Iterator[tuple[int, int, str]]:
        """The condition from `first` to `last` negated, unless a change of its one comparison already does that."""
        signs = [token.text for token in self._tokens[first:last + 1]
                 if token.text in COMPARISONS | {"&&", "||", "="} and self._is_between_blanks(token)]
        if "=" in signs or len(signs) == 1 and signs[0] in COMPARISONS:
            return
        start, end = self._tokens[first].start, self._tokens[last].end
        yield start, end, f"!({self._source[start:end]})"

    # Changes of a statement

    def _of_statement(self, index: int, token: Token) -> Iterator[tuple[int, int, str]]:
        if token.text in ("if", "while") and self._text(index + 1) == "(":
            yield from self._negated(index + 2, self._partners[index + 1] - 1)
        elif token.text == "return" and self._text(index + 1) != ";":
            yield from self._return_of_nothing(index)
        elif token.text == "break":
            yield token.start, token.end, ""
        elif self._begins_statement(index) and token.kind in ("word", "sign"):
            yield from self._without_statement(index)

    def _statement_end(self, index: int) -> int:
        while self._text(index) not in (";", ""):
            index = self._partners.get(index, index) + 1
        return index

    def _return_of_nothing(self, index: int) -> Iterator[tuple[int, int, str]]:
        end = self._statement_end(index)
        returned = self._tokens[index + 1:end]
        is_plain = returned[-1].kind == "number" and len(returned) <= 2 or \
            returned[-1].text in (*WORDS, "nullptr", "nullopt") or returned[0].text == "{"
        if not is_plain:
            yield returned[0].start, returned[-1].end, "{}"

    def _begins_statement(self, index: int) -> bool:
        before = self._text(index - 1)
        return before in (";", "{", "}") or before == ":" and self._is_label(index - 1)

    def _is_label(self, colon: int) -> bool:
        first = colon
        while self._text(first - 1) not in (";", "{", "}", ":", ""):
            first -= 1
        return self._text(first) in ("case", "default")

    def _continues_declaration(self, index: int) -> bool:
        """Whether the token follows a type: a name, or the sign of a pointer or reference before a name."""
        if self._tokens[index].text in ("*", "&"):
            return not self._is_between_blanks(self._tokens[index])
        return self._tokens[index].kind == "word" and self._tokens[index - 1].kind == "word"

    def _without_statement(self, index: int) -> Iterator[tuple[int, int, str]]:
        """Removes the call, assignment or step that begins at `index`, if there is one."""
        first = self._tokens[index]
        if first.text in STATEMENT_WORDS or first.kind == "sign" and first.text not in ("*", "++", "--"):
            return
        end = index
        is_whole = first.text in STEPS
        while self._text(end) not in (";", ""):
            token = self._tokens[end]
            if end > index and self._continues_declaration(end):
                return
            if token.text in ("}", ")", ":", "?") or token.text in OPENING and end not in self._partners:
                return
            is_whole = is_whole or token.text in ASSIGNMENTS or token.text == "(" or token.text in STEPS
            if token.text in ASSIGNMENTS:
                end = self._statement_end(end)
                break
            end = self._partners[end] + 1 if token.text in OPENING else end + 1
        if is_whole and self._text(end) == ";":
            yield first.start, self._tokens[end - 1].end, ""


def numbers_near(literal: str) -> list[str]:
    """The number plus one, and zero, in the form of the literal; for 0 only one."""
    match = re.fullmatch(r"(0[xX][0-9a-fA-F']+|\d[\d']*|\d[\d']*\.\d+)([uUlLfF]*)", literal)
    if match is None:
        return []
    digits, suffix = match.group(1).replace("'", ""), match.group(2)
    if "." in digits:
        places = len(digits.split(".")[1])
        more = f"{float(digits) + 1:.{places}f}{suffix}"
        return [more] if float(digits) == 0 else [more, f"{0:.{places}f}{suffix}"]
    is_hex = digits[:2] in ("0x", "0X")
    value = int(digits, 16 if is_hex else 8 if len(digits) > 1 and digits[0] == "0" else 10)
    after = f"{value + 1:#x}" if is_hex else \
        f"0{value + 1:o}" if digits[0] == "0" and len(digits) > 1 else str(value + 1)
    return [after + suffix] if value == 0 else [after + suffix, "0" + suffix]


LONGEST_SHOWN = 60


def shown(text: str) -> str:
    text = " ".join(text.split())
    return text if len(text) <= LONGEST_SHOWN else text[:LONGEST_SHOWN - 4] + " ..."


def description(source: str, start: int, end: int, replacement: str) -> str:
    """The change with a word of context on each side if it is an operator's."""
    old = source[start:end]
    if replacement == "" and old not in ("-", "break"):
        return f"'{shown(old)}' removed"
    if old == "break":
        return "'break' removed"
    before = after = ""
    if not re.search(r"\w", old):
        before = re.search(r"[^\s(,;{}]*[ ]*$", source[:start]).group()  # type: ignore[union-attr]
        after = re.match(r"\s*[^\s),;}]*", source[end:]).group()  # type: ignore[union-attr]
    return f"'{shown(before + old + after)}' -> '{shown(before + replacement + after)}'"


def mutants_of(path: str, source: str) -> list[Mutant]:
    """All changes of one file, in file order."""
    mutants: list[Mutant] = []
    seen: dict[tuple[str, str, str], int] = {}
    for start, end, replacement in sorted(set(Changes(source).all())):
        line_start = source.rfind("\n", 0, start) + 1
        line_text = source[line_start:source.find("\n", start)].strip()
        change = description(source, start, end, replacement)
        key = path, line_text, change
        seen[key] = seen.get(key, 0) + 1
        mutants.append(Mutant(path, source.count("\n", 0, start) + 1, line_text, start, end, replacement, change,
                              seen[key]))
    return mutants
