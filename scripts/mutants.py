"""Small changes to C and C++ that a good test notices: where a source has room for one, and what it
would read then."""

import dataclasses
import hashlib
import re

# What stands where an operator did. Operators stand between blanks; what points, refers or encloses
# template arguments does not.
SWAPS = {
    "comparison": {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "<<": ">>", ">>": "<<",
                   "&": "|", "|": "&", "+=": "-=", "-=": "+=", "|=": "&="},
    "logic": {"&&": "||", "||": "&&"},
}
KIND_OF = {operator: kind for kind, swaps in SWAPS.items() for operator in swaps}
OPERATOR = re.compile(r"(?<=[^\"] )(?:[<>=!+\-|]=|<<|>>|&&|\|\||[<>+\-*/%&|])(?=\s)")
STEP = re.compile(r"\+\+|--")
NUMBER = re.compile(r"(?<![\w.'])(?:0[xX][0-9a-fA-F]+|\d+)(?=[uUlL]*\b)(?![\w.]*['.])")
TRUTH = re.compile(r"\b(?:true|false)\b")
CONDITION = re.compile(r"\b(?:if|while) (?=\()")
# A call or an assignment that begins a line or hangs on an if or else, up to its semicolon.
STATEMENT = re.compile(
    r"^(?P<before> +(?:\} )?(?:if \(.*\) |else )*)"
    r"(?P<statement>(?!return\b|if\b|while\b|for\b|switch\b|[\w:]+\(const )"
    r"(?:(?:\+\+|--)[\w.\[\]>-]+|[\w:(*][\w:.\[\]>*()-]*?(?:\([^;{}]*\)| [-+|&*/%]?= [^;{}]*|\+\+|--)"
    r"|break|continue|return);)", re.M)
# What is decided when it is compiled, or names what is compiled.
NOT_RUN = re.compile(
    r"^ *(?:static_assert|template|using|typedef|extern|namespace|enum|class|struct|virtual)\b"
    r"|^ *\[\[")


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    kind: str
    begin: int
    end: int
    text: str
    name: str

    def apply(self, source):
        return source[:self.begin] + self.text + source[self.end:]


def without_text(source):
    """The source with blanks for what is in comments, literals and directives, each character where
    it was."""
    pattern = re.compile(r"//[^\n]*|/\*.*?\*/|\bR\"\(.*?\)\"|\"(?:\\.|[^\"\\\n])*\"|(?<!\w)'(?:\\.|[^'\\\n])+'"
                         r"|^[ \t]*#(?:\\\n|[^\n])*", re.S | re.M)
    return pattern.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), source)


def closing(source, opening):
    """The place of the parenthesis that closes the one at a place."""
    depth = 0
    for place in range(opening, len(source)):
        depth += (source[place] == "(") - (source[place] == ")")
        if depth == 0:
            return place
    raise ValueError("a parenthesis that nothing closes")


def changes(code):
    """(kind, begin, end, new text) for every change that code has room for."""
    for match in OPERATOR.finditer(code):
        kind = KIND_OF[match[0]]
        yield kind, match.start(), match.end(), SWAPS[kind][match[0]]
    for match in STEP.finditer(code):
        yield "arithmetic", match.start(), match.end(), "--" if match[0] == "++" else "++"
    for match in NUMBER.finditer(code):
        octal = match[0].startswith("0") and match[0].isdigit()
        value = int(match[0], 8 if octal else 0)
        yield "constant", match.start(), match.end(), str(value + 1)
        if value > 0:
            yield "constant", match.start(), match.end(), str(value - 1)
    for match in TRUTH.finditer(code):
        yield "constant", match.start(), match.end(), "false" if match[0] == "true" else "true"
    for match in CONDITION.finditer(code):
        end = closing(code, match.end())
        yield "condition", match.end(), end + 1, None
    for match in STATEMENT.finditer(code):
        yield "statement", match.start("statement"), match.end("statement"), ";"


def mutants_of(path, source):
    """Every mutant of a file, each with a name that outlives a change elsewhere in it."""
    code = without_text(source)
    seen = {}
    for kind, begin, end, text in sorted(changes(code), key=lambda change: (change[1], str(change))):
        first = source.rfind("\n", 0, begin) + 1
        last = source.find("\n", begin)
        line = source[first:last]
        if NOT_RUN.match(line) or kind == "arithmetic" and '"' in line:  # texts are joined and streamed
            continue
        if text is None:
            text = f"(!{source[begin:end]})"
        shown = (line[:begin - first] + text + source[end:max(end, last)].split("\n")[0]).strip()
        name = f"{path}: {line.strip()} => {shown.splitlines()[0]}"
        seen[name] = seen.get(name, 0) + 1
        if seen[name] > 1:
            name += f" (number {seen[name]})"
        yield Mutant(path, kind, begin, end, text, name)


def sample(sources, count, seed):
    """About count mutants of sources (texts by path), spread over them as evenly as their code: each
    file gives its share, and which ones it gives depends on the seed and their names alone."""
    everything = {path: list(mutants_of(path, text)) for path, text in sources.items()}
    total = sum(map(len, everything.values()))
    chosen, due = [], 0.0
    for path in sorted(everything):
        due += len(everything[path]) * count / total
        taken = round(due)
        due -= taken
        ranked = sorted(everything[path], key=lambda mutant: rank(seed, mutant.name))
        chosen += ranked[:taken]
    return sorted(chosen, key=lambda mutant: (rank(seed, mutant.path), rank(seed, mutant.name)))


def rank(seed, name):
    return hashlib.sha256(f"{seed} {name}".encode()).hexdigest()
