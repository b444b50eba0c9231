#!/usr/bin/env python3
"""Checks every #include of src/common and include against scripts/layers.txt.

Usage: check_layers.py [root of the checkout]
"""
import fnmatch
import re
import sys
from pathlib import Path

INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]', re.MULTILINE)


class Layers:
    """The rules of layers.txt."""

    def __init__(self, path):
        self.floors = []  # (pattern, floor)
        self.libraries = []  # (include pattern, [(file pattern, only header or None)])
        take = None
        for number, line in enumerate(path.read_text().splitlines(), 1):
            words = line.split("#")[0].split()
            if not words:
                continue
            if words[0] == "floor":
                floor = int(words[1])
                take = lambda words, floor=floor: self.floors.append((words[0], floor))
            elif words[0] == "library":
                users = []
                self.libraries.append((words[1], users))
                take = lambda words, users=users: users.append(
                    (words[0], words[1].strip("[]") if len(words) > 1 else None))
            elif take is None:
                sys.exit(f"{path}:{number}: neither floor nor library before it")
            else:
                take(words)

    def floor_of(self, name):
        """The floor of a file without suffix, or None when no row names it."""
        found = {floor for pattern, floor in self.floors if matches(name, pattern)}
        return found.pop() if len(found) == 1 else None

    def may_use(self, name, header):
        """Whether a file may include a third-party header."""
        for library, users in self.libraries:
            if matches(header, library):
                return any(matches(name, user) and only in (None, header) for user, only in users)
        return True


def matches(name, pattern):
    return name.count("/") == pattern.count("/") and fnmatch.fnmatchcase(name, pattern)


def check_file(layers, roots, root, path):
    """Yields (line, complaint) for one source file."""
    name = str(path.relative_to(root).with_suffix(""))
    floor = layers.floor_of(name)
    if floor is None:
        yield 1, "has no floor, or two, in scripts/layers.txt"
        return
    text = path.read_text()
    for match in INCLUDE.finditer(text):
        quote, header = match.groups()
        line = text.count("\n", 0, match.start(2)) + 1
        ours = any((folder / header).is_file() for folder in roots)
        if quote == '"' and not ours:
            yield line, f'"{header}" is not named from src/common'
        elif not ours and not layers.may_use(name, header):
            yield line, f"may not include <{header}>"
        elif ours:
            target = str(Path(header).with_suffix(""))
            other = layers.floor_of(target)
            if other is not None and other > floor:
                yield line, f"is on floor {floor}, {target} on floor {other}"


def main():
    top = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent)
    layers = Layers(top / "scripts" / "layers.txt")
    roots = [top / "src" / "common", top / "include"]
    files = faults = 0
    for root in roots:
        for path in sorted(root.rglob("*")):
            if path.suffix in (".h", ".cpp"):
                files += 1
                for line, complaint in check_file(layers, roots, root, path):
                    faults += 1
                    print(f"{path.relative_to(top)}:{line}: {complaint}")
    print(f"{files} files, {faults} faults")
    return 1 if faults or not files else 0


if __name__ == "__main__":
    sys.exit(main())
