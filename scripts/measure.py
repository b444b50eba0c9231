#!/usr/bin/env python3
"""Prints lengths of functions and files, and how much test code there is for the code.

Lengths of functions are from the line of the opening brace to that of the closing one, both
included, without tables (bodies without a semicolon for every ten lines). Lines of code are lines
that are neither blank nor comment.

Usage: measure.py [root of the checkout]
"""
import re
import sys
from pathlib import Path

CODE = ("src", "include", "examples")
TESTS = ("tests",)
SUFFIXES = (".h", ".cpp", ".c")

NOISE = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(?P<d>[^(\s]*)\(.*?\)(?P=d)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'',
    re.DOTALL)
CONTROL = re.compile(r"\b(if|for|while|switch|catch|do|else|try)\b")
NOT_A_FUNCTION = re.compile(r"\b(namespace|class|struct|union|enum)\b|=\s*$|\breturn\b")


def blank(match):
    """Keeps the line breaks of what is taken out, and a mark where a literal stood."""
    text = match.group()
    mark = "" if text.startswith("/") else "0"
    return mark + "\n" * text.count("\n")


def functions(text):
    """Yields (first line, number of lines) of each outermost function body."""
    text = NOISE.sub(blank, text)
    text = re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", lambda m: "\n" * m.group().count("\n"), text,
                  flags=re.MULTILINE)
    line, start, depth, inside = 1, 0, 0, None
    for index, char in enumerate(text):
        if char == "\n":
            line += 1
        elif char == "{":
            head = text[start:index]
            if inside is None and "(" in head and not NOT_A_FUNCTION.search(head.split("(")[0]) \
                    and not CONTROL.search(head.split("(")[0]):
                inside = (depth, line, index)
            depth += 1
            start = index + 1
        elif char == "}":
            depth -= 1
            start = index + 1
            if inside is not None and inside[0] == depth:
                count = line - inside[1] + 1
                if count < 20 or text.count(";", inside[2], index) * 10 >= count:
                    yield inside[1], count
                inside = None
        elif char == ";" and inside is None:
            start = index + 1


def code_lines(text):
    text = re.sub(r"/\*.*?\*/", lambda m: "\n" * m.group().count("\n"), text, flags=re.DOTALL)
    return sum(1 for line in text.splitlines() if line.strip() and not line.strip().startswith("//"))


def files(top, folders):
    for folder in folders:
        yield from sorted(p for p in (top / folder).rglob("*") if p.suffix in SUFFIXES)


def report_functions(top):
    found = sorted(
        ((count, f"{path.relative_to(top)}:{line}")
         for path in files(top, CODE) for line, count in functions(path.read_text())), reverse=True)
    if found:
        lengths = [count for count, _ in found]
        print(f"functions {len(found)}: median {lengths[len(lengths) // 2]}, "
              f"nine in ten {lengths[len(lengths) // 10]}, longest {lengths[0]}")
        for count, place in found[:5]:
            print(f"  {count:5} {place}")


def report_files(top):
    found = sorted(((len(p.read_text().splitlines()), p) for p in files(top, CODE)), reverse=True)
    if found:
        print(f"files {len(found)}: median {found[len(found) // 2][0]}, longest {found[0][0]}")
        for count, path in found[:5]:
            print(f"  {count:5} {path.relative_to(top)}")


def main():
    top = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent)
    report_functions(top)
    report_files(top)
    code = sum(code_lines(p.read_text()) for p in files(top, CODE))
    tests = sum(code_lines(p.read_text()) for p in files(top, TESTS))
    print(f"lines of code {code}, of tests {tests}: {100 * tests / max(code, 1):.0f} %")


if __name__ == "__main__":
    main()
