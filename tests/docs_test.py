"""docs/settings.md and docs/mail.md name every key that the program reads, and none that it does not."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[1]
PAGE = "".join((ROOT / "docs" / name).read_text(encoding="utf-8") for name in ("settings.md", "mail.md"))
SOURCES = {path: path.read_text(encoding="utf-8") for path in sorted((ROOT / "src").rglob("*.[ch]*"))
           if path.suffix in (".cpp", ".h")}
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


class SettingsPageTest(unittest.TestCase):
    def test_program_settings(self):
        read = {key for source in SOURCES.values() for key in re.findall(r'u"((?:Debug|Env|Email)\.[A-Za-z.]+)"', source)}
        told = {key for keys, _ in first_cells() for key in keys if re.match(r"(Debug|Env|Email)\.", key)}
        self.assertGreaterEqual(len(read), 11)
        self.assertEqual(read, told)

    def test_main_settings_file(self):
        read = {pair for source in SOURCES.values() for pair in ini_keys_in(source)}
        sections = {section for section, _ in read}
        told = {(section, key) for names, keys in first_cells() for section in names for key in keys
                if section in sections}
        self.assertGreaterEqual(len(read), 6)
        self.assertEqual(read, told)

    def test_no_call_escapes_this_test(self):
        """A call with a literal section whose key this test cannot find."""
        for path, source in SOURCES.items():
            calls = re.findall(r"ReadINI\([^;{\"]*?" + TEXT, source)
            found = {section for section, _ in ini_keys_in(source)}
            self.assertEqual(set(calls) - found, set(), path)


if __name__ == "__main__":
    unittest.main()
