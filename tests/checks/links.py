#!/usr/bin/env python3
"""Links between the documents lead somewhere, and the files that they name exist.

Looks at relative links with their #headings in every *.md, and at words in `code marks` that read like a path below
one of the tree's folders.
"""

import pathlib
import re
import sys

from sources import ROOT, report

FENCE = re.compile(r"^(```|~~~).*?^\1", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"!?\[[^\]]*\]\(<?([^)\s>]+)>?(?:\s+\"[^\"]*\")?\)")
CODE = re.compile(r"`([^`\n]+)`")
PATH = re.compile(r"^[\w.-]+(?:/[\w.*-]+)+/?$")
HEADING = re.compile(r"^#+\s+(.*?)\s*#*$", re.MULTILINE)


def documents():
    for path in sorted(ROOT.rglob("*.md")):
        if not re.match(r"^(build|build-.*|\.git)$", path.relative_to(ROOT).parts[0]):
            yield path


def anchors(document):
    """The names by which the headings of a document can be linked to."""
    seen = {}
    names = set()
    for heading in HEADING.findall(FENCE.sub("", document.read_text(encoding="utf-8"))):
        plain = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
        name = re.sub(r"[^\w\- ]", "", plain).replace(" ", "-")
        count = seen.get(name, 0)
        seen[name] = count + 1
        names.add(f"{name}-{count}" if count else name)
    return names


def link_faults(document, text):
    for target in LINK.findall(CODE.sub("", text)):
        if re.match(r"^[a-z]+:", target):
            continue
        file, _, anchor = target.partition("#")
        place = (document.parent / file).resolve() if file else document
        if not place.exists():
            yield f"the link to {target} leads nowhere"
        elif anchor and place.suffix == ".md" and anchor not in anchors(place):
            yield f"{place.relative_to(ROOT)} has no heading #{anchor}"


def name_faults(text):
    for word in CODE.findall(text):
        for name in word.split():
            if not PATH.match(name) or name.startswith("build/"):
                continue
            top = ROOT / pathlib.PurePath(name).parts[0]
            if top.is_dir() and not any(ROOT.glob(name.rstrip("/"))):
                yield f"names `{name}`, which does not exist"


def main():
    count = 0
    faults = []
    for document in documents():
        count += 1
        text = FENCE.sub("", document.read_text(encoding="utf-8"))
        for fault in (*link_faults(document, text), *name_faults(text)):
            faults.append(f"{document.relative_to(ROOT)}: {fault}")
    return report("documents", count, faults)


sys.exit(main())
