"""The sources of the tree and what they include; shared by the checks beside it."""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^">]+)[">]', re.MULTILINE)


def sources(*folders):
    """All headers and sources below the folders, as paths relative to the tree."""
    for folder in folders:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path.relative_to(ROOT)


def includes(path):
    """Pairs of the kind of quote and the name of each include of a source."""
    return INCLUDE.findall((ROOT / path).read_text(encoding="utf-8"))


def is_public_header(path):
    """Headers of the two libraries are installed unless they live in a folder `detail`."""
    return path.suffix == ".h" and path.parts[0] in ("platform", "backup_set") and "detail" not in path.parts


def report(check, count, faults):
    """Prints the faults and gives the exit code. A check that saw nothing has not checked anything."""
    for fault in faults:
        print(fault)
    if count == 0:
        print(f"{check}: there is nothing to check")
        return 1
    print(f"{check}: {count} looked at, {len(faults)} faults")
    return 1 if faults else 0
