#!/usr/bin/env python3
"""Checks the source tree: floors, operating-system conditionals and headers, file lengths.

Prints one line a finding and exits with 1 when there is any.
"""

import pathlib
import re
import subprocess
import sys

FLOORS = ["base", "os", "diag", "platform", "config", "events", "mail", "monitor", "service", "ovsctl"]
MAX_LINES = 600
GENERATED = {"src/base/FoldTable.cpp"}
OS_FOLDERS = {"win32", "posix"}
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')
CONDITIONAL = re.compile(r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*\b(_WIN32|WIN32|_WIN64|__MINGW\w*|__linux__|__unix__|_MSC_VER)\b")
OS_HEADER = re.compile(
    r"^(windows|win\w+|ws2\w+|ole\w*|oa\w+|obj\w+|com\w*|shl\w+|psapi|iphlpapi|dbghelp|mm\w+|bcrypt|unistd|fcntl|dirent|pwd"
    r"|ifaddrs|sys/.*|net/.*|arpa/.*|netinet/.*|poll|dlfcn|signal)\.h$")


def sources():
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], check=True,
                            capture_output=True, text=True).stdout.splitlines()
    for name in listed:
        path = pathlib.Path(name)
        if path.suffix in {".cpp", ".h"} and path.exists():
            yield path


def floor_of(path):
    parts = path.parts
    if parts[0] in {"src", "tools"} and parts[1] in FLOORS:
        return FLOORS.index(parts[1])
    # Measurements and fuzz targets stand on no tool.
    return FLOORS.index("ovsctl") - 1 if parts[0] in {"bench", "fuzz"} else len(FLOORS)


def check_include(path, quote, target):
    first = target.split("/")[0]
    if quote == '"' and first in FLOORS and FLOORS.index(first) > floor_of(path):
        yield f"{target} lies on a floor above"
    if path.parts[0] != "tests" and not OS_FOLDERS & set(path.parts):
        if quote == "<" and OS_HEADER.match(target):
            yield f"<{target}> outside a win32/ or posix/ folder"
        # Composition roots and tools link adapters by their ports; only adapter folders name an adapter's header.
        if quote == '"' and OS_FOLDERS & set(target.split("/")):
            yield f"{target} outside a win32/ or posix/ folder"
    if path.suffix == ".h" and path.parts[0] == "src" and target == "windows.h":
        yield "windows.h in a header"


def check(path):
    lines = path.read_text(encoding="utf-8").splitlines()
    if len(lines) > MAX_LINES and str(path) not in GENERATED:
        yield 0, f"{len(lines)} lines, more than {MAX_LINES}"
    for number, line in enumerate(lines, 1):
        found = INCLUDE.match(line)
        if found:
            yield from ((number, text) for text in check_include(path, *found.groups()))
        if path.parts[0] != "tests" and not OS_FOLDERS & set(path.parts) and CONDITIONAL.match(line):
            yield number, "operating-system conditional outside a win32/ or posix/ folder"


def main():
    findings = count = 0
    for path in sources():
        count += 1
        for number, text in check(path):
            findings += 1
            print(f"{path}:{number}: {text}")
    print(f"floors, conditionals, lengths: {count} files, {findings} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
