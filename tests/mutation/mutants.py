"""The small mistakes that mutate.py makes in a source: one token, condition or statement changed each."""

import re
from typing import Iterator, NamedTuple

TOKEN = re.compile(r"""
    (?P<skipped>\s+ | //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:\\\n|[^\n])* | __attribute__\(\(.*?\)\)(?=;|\s) | \[\[\w+\]\])
  | (?P<string>"(?:\\.|[^"\\])*")
  | (?P<char>'(?:\\.|[^'\\])')
  | (?P<number>\d[\w.']*)
  | (?P<name>[A-Za-z_]\w*)
  | (?P<operator><=>|->|::|\+\+|--|\.\.\.|[=!<>+\-*/%&|^]=|&&|\|\||.)
""", re.VERBOSE | re.MULTILINE | re.DOTALL)

SWAPPED = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&", "+": "-",
           "-": "+", "*": "/", "+=": "-=", "-=": "+=", "|=": "=", "++": "--", "--": "++"}
SPACED = {"<", ">", "+", "-", "*"}  # only with blanks on both sides are these the operators
SWAPPED_NAMES = {"true": "false", "false": "true", "break": "continue", "continue": "break"}
NAMED_CONSTANTS = {"status", "log_level", "peer_flag"}  # the namespaces of them
KEYWORDS = {"return", "if", "else", "for", "while", "do", "switch", "case", "default", "using", "namespace", "struct",
            "class", "enum", "template", "const", "constexpr", "static", "auto", "explicit", "public", "private",
            "break", "continue", "operator"}
OPENING, CLOSING = {"(": 1, "[": 1, "{": 1}, {")": 1, "]": 1, "}": 1}


class Token(NamedTuple):
    kind: str
    text: str
    start: int
    end: int


class Mutant(NamedTuple):
    file: str
    line: int
    start: int
    original: str
    mutated: str

    @property
    def name(self) -> str:
        return f"{self.file}:{self.line}:{self.start}: {self.mutated}"

    def __str__(self) -> str:
        def in_a_line(text: str) -> str:
            return re.sub(r"\s+", " ", text) or "nothing"
        return f"{self.file}:{self.line}: {in_a_line(self.original)} -> {in_a_line(self.mutated)}"


class Mutator:
    """All mutants of a source, in the order of the source."""

    def __init__(self, file: str, source: str) -> None:
        self.file, self.source = file, source
        self.tokens = [Token(match.lastgroup, match.group(), match.start(), match.end())
                       for match in TOKEN.finditer(source) if match.lastgroup != "skipped"]

    def mutants(self) -> list[Mutant]:
        found = {}
        for i in range(len(self.tokens)):
            for start, end, mutated in self.changes_at(i):
                line = self.source.count("\n", 0, start) + 1
                mutant = Mutant(self.file, line, start, self.source[start:end], mutated)
                found.setdefault(mutant.name, mutant)
        return list(found.values())

    def changes_at(self, i: int) -> Iterator[tuple[int, int, str]]:
        """Yields the start, end and new text of each change."""
        kind, text, start, end = self.tokens[i]
        if kind == "number":
            yield start, end, f"({text} + 1)"
        elif kind == "string":
            if text != '""':
                yield start, end, '""'
            yield start, end, text[:-1] + '?"'
        elif kind == "char":
            yield start, end, "'?'" if text[1] == "\\" else f"'{chr(ord(text[1]) + 1)}'"
        elif kind == "name":
            yield from self.changes_at_name(i)
        elif text == "!":
            yield start, end, ""
        elif text in ("|", "&") and self.is_spaced(i):
            yield from self.dropped_operands(i)
        elif text == "?":
            first = self.start_of_condition(i)
            for forced in ("true", "false"):
                yield self.tokens[first].start, self.tokens[i - 1].end, forced
        elif text in SWAPPED and (text not in SPACED or self.is_spaced(i)):
            yield start, end, SWAPPED[text]
        yield from self.dropped_statement(i)

    def changes_at_name(self, i: int) -> Iterator[tuple[int, int, str]]:
        text, start, end = self.tokens[i][1:]
        if text in SWAPPED_NAMES:
            yield start, end, SWAPPED_NAMES[text]
        elif re.fullmatch("E[A-Z0-9]{3,}", text):
            yield start, end, "EDOM"
        elif text in NAMED_CONSTANTS and self.text(i + 1) == "::":
            first = i
            while self.text(first - 1) == "::":
                first -= 2
            start, end = self.tokens[first].start, self.tokens[i + 2].end
            yield start, end, f"({self.source[start:end]} + 1)"
        elif text in ("if", "while") and self.text(i + 1) == "(":
            yield from self.forced_condition(i + 2, self.end_of_brackets(i + 1))
        elif text == "for":
            close = self.end_of_brackets(i + 1)
            semicolons = [j for j in range(i, close) if self.text(j) == ";"]
            if semicolons and semicolons[1] != semicolons[0] + 1:
                yield from self.forced_condition(semicolons[0] + 1, semicolons[1])
        elif text == "return" and self.text(i + 1) != ";":
            value = self.source[self.tokens[i + 1].start:self.tokens[self.end_of_statement(i)].start]
            if value not in ("0", "1", "true", "false"):
                for other in ("{}", "true"):
                    yield self.tokens[i + 1].start, self.tokens[i + 1].start + len(value), other

    def forced_condition(self, first: int, end_index: int) -> Iterator[tuple[int, int, str]]:
        """A condition that declares a variable still declares it."""
        declares = any(self.text(j) == "=" for j in range(first, end_index))
        start, end = self.tokens[first].start, self.tokens[end_index - 1].end
        for forced in ("true", "false"):
            yield start, end, f"{self.source[start:end]}; {forced}" if declares else forced

    def dropped_operands(self, i: int) -> Iterator[tuple[int, int, str]]:
        left, operator, right = self.tokens[i - 1:i + 2]
        yield left.end, right.end, ""
        if self.text(i - 2) not in ("|", ".", "->", "::") and left.kind == "name":
            yield left.start, right.start, ""

    def dropped_statement(self, i: int) -> Iterator[tuple[int, int, str]]:
        """Yields the code without a statement that is a call, an assignment or an increment."""
        if self.text(i - 1) not in (";", "{", "}", ":") or self.text(i) in KEYWORDS:
            return
        j = i
        if [self.text(j + k) for k in range(3)] == ["(", "void", ")"]:
            j += 3
        if self.text(j) not in ("++", "--", "::") and self.tokens[j].kind != "name":
            return
        while self.tokens[j].kind == "name" or self.text(j) in ("::", ".", "->"):
            if self.tokens[j].kind == "name" and self.tokens[j + 1].kind == "name":
                return  # a declaration
            j = self.end_of_brackets(j + 1) + 1 if self.text(j + 1) == "[" else j + 1
        if self.text(j) not in ("(", "=", "+=", "-=", "|=", "&=", "++", "--"):
            return
        last = self.end_of_statement(i)
        if self.text(last) == ";":
            yield self.tokens[i].start, self.tokens[last].end, ";"

    def text(self, i: int) -> str:
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def is_spaced(self, i: int) -> bool:
        return self.source[self.tokens[i].start - 1].isspace() and self.source[self.tokens[i].end].isspace()

    def end_of_brackets(self, i: int) -> int:
        depth = 0
        for j in range(i, len(self.tokens)):
            depth += OPENING.get(self.text(j), 0) - CLOSING.get(self.text(j), 0)
            if depth == 0:
                return j
        raise ValueError(f"{self.file}: a bracket is not closed")

    def end_of_statement(self, i: int) -> int:
        """Returns its semicolon, or the token that shows that it is no such statement."""
        while self.text(i) != ";":
            if self.text(i) in CLOSING or (self.text(i) == "{" and self.text(i - 1) == ")"):
                return i
            i = self.end_of_brackets(i) + 1 if self.text(i) in OPENING else i + 1
        return i

    def start_of_condition(self, i: int) -> int:
        depth = 0
        while True:
            i -= 1
            depth += CLOSING.get(self.text(i), 0) - OPENING.get(self.text(i), 0)
            if depth < 0 or (depth == 0 and self.text(i) in (",", ";", "{", "}", "return", "=", "?", ":")):
                return i + 1
