#!/usr/bin/env python3
"""mutate.py COPY [-w] [TEXT...]: see mutate.sh. COPY is the folder for the copy; what is built there is used again.

A file of tests/mutations holds mutations, each of a title and hunks:

    # The mail leaves after the logs
    @ src/service/Sample.cpp service monitor
    -   AlertSequence sink({action, logs});
    +   AlertSequence sink({logs, action});

A hunk names a file; the first one of a mutation names the tests that have to notice too: floors, suites (floor.Suite) where a
floor's tests take long, e2e.NAME, each with "wine:" before it where it needs Wine. Lines are compared without the blanks around them and must occur in the file exactly once; a line of
"  " before "-" or "+" lines is context. Lines before the first title are remarks.
"""

import dataclasses
import pathlib
import shutil
import subprocess
import sys
import time


@dataclasses.dataclass
class Hunk:
    file: str
    old: list = dataclasses.field(default_factory=list)
    new: list = dataclasses.field(default_factory=list)


@dataclasses.dataclass
class Mutation:
    title: str
    tests: list = dataclasses.field(default_factory=list)
    hunks: list = dataclasses.field(default_factory=list)


def read(path):
    mutations = []
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        mark, rest = line[:1], line[1:].strip()
        if mark == "#":
            mutations.append(Mutation(rest))
        elif mark == "@" and mutations:
            file, *tests = rest.split()
            mutations[-1].hunks.append(Hunk(file))
            mutations[-1].tests += tests
        elif mark in "-+ " and rest and mutations and mutations[-1].hunks:
            hunk = mutations[-1].hunks[-1]
            if mark in "- ":
                hunk.old.append(rest)
            if mark in "+ ":
                hunk.new.append(rest)
        elif rest and mutations:
            sys.exit(f"{path}:{number}: neither title, file nor line")
    return mutations


def changed(text, hunk):
    """The text after the hunk, or None when its place is not found exactly once."""
    lines = text.splitlines()
    size = len(hunk.old)
    bare = [line.strip() for line in lines]
    places = [at for at in range(len(lines) - size + 1) if size and bare[at:at + size] == hunk.old]
    if len(places) != 1:
        return None
    return "\n".join(lines[:places[0]] + hunk.new + lines[places[0] + size:]) + "\n"


class Copy:
    """The tree in which the mutations are made, with builds of its own."""

    def __init__(self, root):
        self.root = root
        self.known = {}
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], check=True,
                                capture_output=True, text=True).stdout
        names = set(filter(None, listed.split("\0")))
        # What was renamed since the last run would be built beside what it became.
        for folder in root.iterdir() if root.exists() else ():
            for target in [] if folder.name == "build" else [folder, *folder.rglob("*")]:
                if target.is_file() and str(target.relative_to(root)) not in names:
                    target.unlink()
        for name in names:
            source, target = pathlib.Path(name), root / name
            # Only what differs is written, so that a second run builds little.
            if not source.exists():
                target.unlink(missing_ok=True)
            elif not target.exists() or source.read_bytes() != target.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, target)
        libraries = pathlib.Path("build/windows-libraries").resolve()
        (root / "build").mkdir(exist_ok=True)
        if libraries.exists() and not (root / "build" / libraries.name).exists():
            (root / "build" / libraries.name).symlink_to(libraries)

    def run(self, log, *command):
        with open(self.root / "build" / log, "w", encoding="utf-8") as output:
            return subprocess.run(command, cwd=self.root, stdout=output, stderr=output, stdin=subprocess.DEVNULL).returncode == 0

    def configure(self, preset):
        if not (self.root / "build" / preset / "build.ninja").exists() and \
                not self.run("configure.log", "cmake", "--preset", preset):
            sys.exit(f"mutate.py: {self.root}/build/configure.log: {preset} cannot be configured")

    def pass_tests(self, tests):
        """Builds and runs: "passed", "failed" or "not built"."""
        for wine in sorted({test.startswith("wine:") for test in tests}):
            names = [test.removeprefix("wine:") for test in tests if test.startswith("wine:") == wine]
            preset = "windows-x64" if wine else "native-debug"
            self.configure(preset)
            whole = wine and any(name.startswith("e2e.") for name in names)
            targets = {"ovsctl", "mailprobe"} if any(name.startswith("e2e.") for name in names) else set()
            targets |= {f"{name.partition('.')[0]}_tests" for name in names if not name.startswith("e2e.")}
            build = ["cmake", "--build", f"build/{preset}"] + ([] if whole else ["--target", *sorted(targets)])
            if not self.run("build.log", *build):
                return "not built"
            wanted = "|".join(f"{name}$" if name.startswith("e2e.") else f"{name}[.]" for name in names)
            ctest = ["ctest", "--preset", preset, "--timeout", "100", "--stop-on-failure", "--no-tests=error", "-R", f"^({wanted})"]
            if not self.run("test.log", *(["scripts/with-wine.sh", "build/wine-tests", *ctest] if wine else [*ctest, "-j", "2"])):
                return "failed"
        return "passed"

    def sound(self, tests):
        key = tuple(sorted(set(tests)))
        if key not in self.known:
            self.known[key] = self.pass_tests(key)
        return self.known[key] == "passed"

    def try_out(self, mutation):
        before = {}
        try:
            for hunk in mutation.hunks:
                path = self.root / hunk.file
                text = path.read_text(encoding="utf-8") if path.exists() else ""
                before.setdefault(path, text)
                after = changed(text, hunk)
                if after is None:
                    return f"its place in {hunk.file} was not found"
                path.write_text(after, encoding="utf-8")
            return self.pass_tests(mutation.tests)
        finally:
            for path, text in before.items():
                if path.exists():
                    path.write_text(text, encoding="utf-8")


def main():
    copy = Copy(pathlib.Path(sys.argv[1]))
    texts = [text for text in sys.argv[2:] if text != "-w"]
    begin, count, bad = time.monotonic(), 0, 0
    for path in sorted(pathlib.Path("tests/mutations").glob("*.txt")):
        for mutation in read(path):
            if texts and not any(text in mutation.title or text in str(path) for text in texts):
                continue
            if "-w" not in sys.argv and any(test.startswith("wine:") for test in mutation.tests):
                continue
            count += 1
            if not mutation.hunks or not mutation.tests:
                verdict = "names no file or no tests"
            elif not copy.sound(mutation.tests):
                verdict = "its tests fail on the unchanged code"
            else:
                verdict = copy.try_out(mutation)
            bad += verdict != "failed"
            print({"failed": "noticed ", "passed": "SURVIVED", "not built": "NO BUILD"}.get(verdict, f"STALE ({verdict})"),
                  f"{path.stem}: {mutation.title}", flush=True)
    print(f"{count} mutations in {time.monotonic() - begin:.0f} s, {count - bad} noticed, {bad} not")
    return 1 if bad or not count else 0


sys.exit(main())
