"""ovsctl scramble-password as a command: what it takes from standard input, prints and answers."""

import os
import subprocess
import unittest

KEY = b"4190726"


def scramble(typed):
    return subprocess.run([os.environ["OVSCTL"], "scramble-password"], input=typed, capture_output=True, timeout=60)


def plain(stored):
    pairs = enumerate(bytes.fromhex(stored.decode().strip()))
    return bytes(byte ^ KEY[i % len(KEY)] for i, byte in pairs)[1:-1].decode("cp1252")


class ScramblePasswordTest(unittest.TestCase):
    def test_the_stored_form_goes_to_stdout_alone(self):
        for typed, password in ((b"geheim99\n", "geheim99"), (b"geheim99\r\nrest", "geheim99"), (b" a b ", " a b "),
                                ("Zürich €\n".encode("utf-8-sig"), "Zürich €"), (b"x" * 127, "x" * 127)):
            done = scramble(typed)
            self.assertEqual((done.returncode, plain(done.stdout)), (0, password))
            self.assertIn(b"SMTPPassword=", done.stderr)
            self.assertNotIn(password.encode(), done.stderr)

    def test_what_cannot_be_stored(self):
        for typed, reason in ((b"", b"no password"), (b"\n", b"empty"), (b"x" * 128, b"more than 127"),
                              ("abΩ".encode(), b"position 3"), (b"a\x1b[A", b"position 2"), (b"\xff\n", b"position 1"),
                              (b"y" * 5000, b"more than 127")):
            done = scramble(typed)
            self.assertEqual((done.returncode, done.stdout), (2, b""))
            self.assertIn(reason, done.stderr)


if __name__ == "__main__":
    unittest.main()
