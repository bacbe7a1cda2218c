"""docs/settings.md, docs/mail.md and the tables of "ovsctl check" name every key that the program reads, and no other."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[1]
PAGE = "".join((ROOT / "docs" / name).read_text(encoding="utf-8") for name in ("settings.md", "mail.md"))
SOURCES = {path: path.read_text(encoding="utf-8") for path in sorted((ROOT / "src").rglob("*.[ch]*"))
           if path.suffix in (".cpp", ".h")}
TABLES = (ROOT / "tools" / "ovsctl" / "check" / "KnownNames.cpp").read_text(encoding="utf-8")
TEXT = r'u"([^"]*)"'


def first_cells():
    """The texts between back quotes in the first two cells of each table row."""
    for line in PAGE.splitlines():
        if line.startswith("| `"):
            yield [re.findall("`([^`]+)`", cell) for cell in line.split("|")[1:3]]


def ini_keys_in(source):
    """Pairs of section and key that are literals of a reading call, or go through a helper that takes the key."""
    for section, key in re.findall(r'(?:ReadINI|RawValue)\([^;{"]*?' + TEXT + r",\s*" + TEXT + r"\s*\)", source):
        yield section, key
    helper = r"auto (\w+) = \[[^\]]*\]\(TextView (\w+)\)\s*\{[^}]*?ReadINI\([^;{\"]*?" + TEXT + r",\s*\2\s*\)"
    for name, _, section in re.findall(helper, source):
        for key in re.findall(r"\b" + name + r"\(" + TEXT + r"\)", source):
            yield section, key


def known_pairs():
    """Sections and keys in the tables of "ovsctl check"."""
    return set(re.findall(r"\{" + TEXT + r",\s*" + TEXT, TABLES))


class SettingsPageTest(unittest.TestCase):
    def test_program_settings(self):
        read = {key for source in SOURCES.values() for key in re.findall(r'u"((?:Debug|Env|Email)\.[A-Za-z.]+)"', source)}
        told = {key for keys, _ in first_cells() for key in keys if re.match(r"(Debug|Env|Email)\.", key)}
        self.assertGreaterEqual(len(read), 11)
        self.assertEqual(read, told)
        self.assertEqual(read, set(re.findall(r"\{\{\}, " + TEXT, TABLES)))

    def test_main_settings_file(self):
        read = {pair for source in SOURCES.values() for pair in ini_keys_in(source)}
        sections = {section for section, _ in read}
        told = {(section, key) for names, keys in first_cells() for section in names for key in keys
                if section in sections}
        self.assertGreaterEqual(len(read), 6)
        self.assertEqual(read, told)
        self.assertEqual(read, {pair for pair in known_pairs() if pair[0] != "EventDetail"})

    def test_rules(self):
        """Logs and types are taken from the arrays that the program itself uses."""
        for name in ("Rule.cpp", "RuleIndex.cpp"):
            source = SOURCES[ROOT / "src" / "monitor" / name]
            keys = set(re.findall(r'u"(Event(?:ID|Source|Desc\w*))"', source))
            self.assertEqual({("EventDetail", key) for key in keys}, {pair for pair in known_pairs() if pair[0] == "EventDetail"})

    def test_no_call_escapes_this_test(self):
        """A call with a literal section whose key this test cannot find."""
        for path, source in SOURCES.items():
            calls = re.findall(r"ReadINI\([^;{\"]*?" + TEXT, source)
            found = {section for section, _ in ini_keys_in(source)}
            self.assertEqual(set(calls) - found, set(), path)


if __name__ == "__main__":
    unittest.main()
