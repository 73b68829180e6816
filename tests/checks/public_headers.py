#!/usr/bin/env python3
"""An installed header includes installed headers, the language's, and those of the libraries that its user has anyway.

The headers of SQLite, libpq, curl, OpenSSL and of Boost's sockets stay in single source files.
"""

import pathlib
import re
import sys

from sources import ROOT, includes, is_public_header, report, sources

LANGUAGE = re.compile(r"^[a-z_]+$")
SYSTEM = re.compile(r"^(sys/)?[a-z_]+\.h$")
FOREIGN = re.compile(r"^(sqlite3|libpq-fe|libpq-events|pg_config\w*)\.h$")
LIBRARIES = re.compile(r"^(ace|yajl|boost)/")
SOCKETS = re.compile(r"^boost/(beast|asio)[/.]")


def faults_of(header):
    text = (ROOT / header).read_text(encoding="utf-8")
    if not re.search(r"^#pragma once$", text, re.MULTILINE):
        yield f"{header}: lacks #pragma once"
    for quote, included in includes(header):
        if quote == '"':
            if not is_public_header(pathlib.PurePosixPath(included)):
                yield f'{header}: "{included}" is not installed'
        elif FOREIGN.match(included) or SOCKETS.match(included):
            yield f"{header}: <{included}> must not reach the library's users"
        elif not (LANGUAGE.match(included) or SYSTEM.match(included) or LIBRARIES.match(included)):
            yield f"{header}: <{included}> is of a library that its users need not have"


def main():
    headers = [path for path in sources("platform", "backup_set") if is_public_header(path)]
    faults = [fault for header in headers for fault in faults_of(header)]
    return report("public headers", len(headers), faults)


sys.exit(main())
