#!/usr/bin/env python3
"""Writes the names of the sources into the files that repeat them: completions, dictionaries for fuzzing, a schema.

    packaging/write_names.py PRINT_WORDS [--check]

PRINT_WORDS is the program of packaging/print_words.cpp. A file has the names between a line with "names: FORM" and the
next with "end of names"; the rest stays as it is. With --check, only reports the files that would change.
"""

import re
import subprocess
import sys
import textwrap
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent
# The forms that each file has to have.
FILES = {
    "packaging/completion/zmlogadm.bash": ["words for bash", "categories for bash"],
    "packaging/completion/_zmlogadm": ["words for zsh", "categories for zsh"],
    "packaging/completion/zmlogstate.bash": ["categories for bash"],
    "packaging/completion/_zmlogstate": ["categories for zsh"],
    "tests/fuzz/dictionary/answer.dict": ["answers"],
    "tests/fuzz/dictionary/request.dict": ["categories"],
    "tests/fuzz/dictionary/spelling.dict": ["words", "categories"],
}
SCHEMA = "docs/zmlogstate.schema.json"
WIDTH = 119


def read_facts(program):
    """Returns the lines of print_words as lists of their parts, by kind."""
    facts = {}
    for line in subprocess.run([program], check=True, capture_output=True, text=True).stdout.splitlines():
        kind, *parts = line.split("\t")
        facts.setdefault(kind, []).append(parts)
    return facts


def names(rows):
    return [row[0] for row in rows]


def assignment(variable, words, indent):
    """A list of words in a variable of bash."""
    return textwrap.wrap(
        f'{variable}="{" ".join(words)}"', WIDTH, initial_indent=indent, subsequent_indent=indent + "    "
    )


def descriptions(variable, rows, indent):
    """An array of zsh, "NAME:SUMMARY" an element."""
    rest = [f"{indent}  '{row[0]}:{row[2]}'" for row in rows]
    return [f"{indent}{variable}=(", *rest, f"{indent})"]


def quoted(texts):
    """Entries of a dictionary of libFuzzer."""
    return ['"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"' for text in texts]


def lines_of(form, facts, indent):
    words, tools, categories = facts["word"], facts["tool"], facts["category"]
    forms = {
        "words for bash": lambda: assignment("local known", names(words + tools), indent),
        "categories for bash": lambda: assignment("local known", names(categories), indent),
        "words for zsh": lambda: descriptions("requests", words, indent) + descriptions("tools", tools, indent),
        "categories for zsh": lambda: descriptions("categories", categories, indent),
        "words": lambda: quoted(names(words + tools)),
        "categories": lambda: quoted(name + ":" for name in names(categories)),
        "answers": lambda: quoted(names(facts["answer_text"])),
    }
    return forms[form]()


def with_names(text, forms, facts):
    """Returns the text with the lines between its marks replaced. The text must have a mark of each form."""
    mark = re.compile(r"^( *)(# names: (.*))\n(?:.*\n)*?( *# end of names)$", re.MULTILINE)
    found = sorted(match[3] for match in mark.finditer(text))
    if found != sorted(forms):
        raise ValueError(f"marks of {found} and not of {sorted(forms)}")
    return mark.sub(lambda m: "\n".join([m[1] + m[2], *lines_of(m[3], facts, m[1]), m[4]]), text)


def with_categories(text, facts):
    """Returns the schema, which can hold no marks, with the categories of a setting replaced."""
    place = re.compile(r'("category": \{\n)( +)("enum": )\[[^]]*\]')
    values = ", ".join(f'"{name}"' for name in names(facts["category"]))

    def enumeration(match):
        lines = textwrap.wrap(
            f"{match[3]}[{values}]", WIDTH, initial_indent=match[2], subsequent_indent=match[2] + "  "
        )
        return match[1] + "\n".join(lines)

    text, count = place.subn(enumeration, text)
    if count != 1:
        raise ValueError("no list of categories")
    return text


def main():
    program, *options = sys.argv[1:]
    facts = read_facts(program)
    status = 0
    for name in [*FILES, SCHEMA]:
        path = TREE / name
        before = path.read_text(encoding="utf-8")
        after = with_categories(before, facts) if name == SCHEMA else with_names(before, FILES[name], facts)
        if after == before:
            continue
        if "--check" in options:
            print(f"{name}: the names are not those of the sources; run packaging/write_names.py {program}")
            status = 1
        else:
            path.write_text(after, encoding="utf-8")
            print(f"{name}: written")
    return status


if __name__ == "__main__":
    sys.exit(main())
