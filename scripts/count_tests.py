#!/usr/bin/env python3
"""Prints how many tests passed, failed and were skipped, according to the JUnit files that ctest wrote.

Only a test that asked for it itself counts as skipped. A test that ctest could not run (no program, a fixture that
failed) and one that is disabled count as failed.
"""

import sys
import xml.etree.ElementTree as ElementTree


def main(files):
    passed = failed = skipped = 0
    for file in files:
        for case in ElementTree.parse(file).getroot().iter("testcase"):
            skip = case.find("skipped")
            if case.get("status") == "run":
                passed += 1
            elif skip is not None and skip.get("message", "").startswith("SKIP_"):
                skipped += 1
            else:
                failed += 1
    print(passed, failed, skipped)


main(sys.argv[1:])
