#!/usr/bin/env python3
"""Folders lean one way only: catalog -> backup_set -> platform, and inside them as the table says.

A test may include what its folder may include, the folder itself, what the tests of all these include of each other, and
tests/support.
"""

import sys

from sources import ROOT, includes, report, sources

PLATFORM = {
    "platform/text": [],
    "platform/json": ["platform/text"],
    "platform/sql": ["platform/text", "platform/json"],
    "platform/database": ["platform/text", "platform/json", "platform/sql"],
    "platform/http": ["platform/text", "platform/json"],
    "platform/rpc": ["platform/text", "platform/json"],
}
LIBRARIES = [*PLATFORM, "backup_set"]
MAY_INCLUDE = {
    **PLATFORM,
    "backup_set": [*PLATFORM],
    "catalog/schema": LIBRARIES,
    "catalog/store": [*LIBRARIES, "catalog/schema"],
    "catalog/service": [*LIBRARIES, "catalog/schema", "catalog/store"],
    "catalog/cli": [*LIBRARIES, "catalog/schema", "catalog/store", "catalog/service"],
}


def folder_of(path):
    """The row of the table that a path belongs to, or None."""
    for folder in MAY_INCLUDE:
        if path.startswith(folder + "/"):
            return folder
    return None


def faults_of(source):
    name = source.as_posix()
    is_test = name.startswith("tests/")
    folder = folder_of(name.removeprefix("tests/"))
    if folder is None:
        if not is_test and source.parent.as_posix() != "platform":
            yield f"{name}: its folder is not in the table of tests/checks/arrows.py"
        return
    allowed = {folder, *MAY_INCLUDE[folder]}
    for quote, included in includes(source):
        if quote == "<":
            if folder_of(included):
                yield f'{name}: <{included}> is of this tree; write "{included}"'
            continue
        if not (ROOT / included).is_file():
            yield f'{name}: "{included}" is no file of this tree, named from its top'
        elif included == "platform/export.h" or is_test and included.startswith("tests/support/"):
            continue
        elif is_test and included.startswith("tests/") and folder_of(included.removeprefix("tests/")) in allowed:
            continue
        elif folder_of(included) not in allowed:
            yield f'{name}: {folder} must not include "{included}"'


def main():
    count = 0
    faults = []
    for source in sources("platform", "backup_set", "catalog", "tests"):
        count += 1
        faults.extend(faults_of(source))
    return report("arrows", count, faults)


sys.exit(main())
