"""ovsctl on a terminal, seen in tmux: progress, colours, narrow windows, and what is left after Ctrl+C."""

import os
import re
import shlex
import shutil
import subprocess
import time
import unittest

from ovsctl import RULE, OvsctlTest, lines_of

LIMIT = 60
LINE = lines_of({"Message": "a message " * 9})
PROMPT = "^[#$] *$"
BAR = r"^\[#*-*\] +\d+%  .*left *$"


@unittest.skipUnless(shutil.which("tmux"), "needs tmux")
class TerminalTest(OvsctlTest):
    def setUp(self):
        super().setUp()
        self.write(self.rules / "Rule.DAT", RULE)
        self.socket = str(self.app / "tmux")
        self.few = self.app / "few.jsonl"
        self.few.write_text(LINE * 3)

    def many(self):
        """So many records that reading them takes longer than any test looks on."""
        path = self.app / "many.jsonl"
        with path.open("w") as file:
            for _ in range(40):
                file.write(LINE * 10_000)
        return path

    def terminal(self, columns, rows=30):
        """A shell in a window of that size. Each test has a tmux of its own, ended with everything in it."""
        self.close()
        self.socket += "'"  # the old one may still be going
        self.tmux("-f", "/dev/null", "new-session", "-d", "-x", str(columns), "-y", str(rows), "/bin/sh")
        self.addCleanup(self.close)
        self.wait_for(PROMPT)

    def close(self):
        subprocess.run(["tmux", "-S", self.socket, "kill-server"], capture_output=True, timeout=LIMIT)

    def tmux(self, *arguments):
        return subprocess.run(["tmux", "-u", "-S", self.socket, *arguments], check=True, capture_output=True, text=True,
                              encoding="utf-8", timeout=LIMIT).stdout

    def type(self, *command, after=""):
        self.tmux("send-keys", "-l", shlex.join(map(str, command)) + after)
        self.tmux("send-keys", "Enter")

    def replay(self, *options, environment=(), after=""):
        self.type("env", *environment, os.environ["OVSCTL"], "replay", "--app", self.app, *options, after=after)

    def screen(self, *options):
        return self.tmux("capture-pane", "-p", *options)

    def wait_for(self, pattern, *options):
        limit = time.monotonic() + LIMIT
        while time.monotonic() < limit:
            screen = self.screen(*options)
            if re.search(pattern, screen, re.M):
                return screen
        self.fail(f"never seen: {pattern}\n{screen}")

    def test_progress_fits_the_window_and_goes_away(self):
        many = self.many()
        for columns in (120, 40, 12):
            with self.subTest(columns):
                self.terminal(columns)
                self.type("cd", self.app)
                self.type("stty", "-a", after=" > before; clear")
                self.replay(many)
                bar = BAR if columns > 12 else r"^ *\d+% *$"
                seen = self.wait_for(bar, "-J")
                first = re.findall(bar, seen, re.M)
                self.assertEqual(len(first), 1, seen)
                self.wait_for(f"^(?!{re.escape(first[0])})" + bar[1:], "-J")  # it moves
                self.assertEqual(len(re.findall(bar, self.screen("-J"), re.M)), 1)  # on one line
                self.tmux("send-keys", "C-c")
                self.wait_for(r"\^\s*C\s*" + PROMPT)
                self.type("stty", "-a", after=" > after; echo don''e")
                self.wait_for("done$")
                self.assertEqual((self.app / "before").read_text(), (self.app / "after").read_text())

    def test_the_bar_is_gone_when_the_work_is_done(self):
        path = self.app / "some.jsonl"
        path.write_text("{broken\n" + LINE * 8_000)
        self.terminal(100)
        self.replay(path)
        screen = self.wait_for("Disk Event Alert .*never matched")
        self.assertNotRegex(screen, BAR)
        self.assertIn("8000 records, 8000 alerts", screen)

    def test_colours_on_a_terminal_alone(self):
        escape = "\x1b\\["
        for environment, after, coloured in (((), "", True), (["NO_COLOR=1"], "", False), (["NO_COLOR="], "", True),
                                             (["TERM=dumb"], "", False), ((), " | cat", False)):
            with self.subTest(environment, after=after):
                self.terminal(100)
                self.replay(self.few, environment=environment, after=after)
                self.wait_for("never matched")
                self.assertEqual(re.search(escape, self.screen("-e", "-S", "0")) is not None, coloured)

    def test_a_narrow_window_breaks_no_line(self):
        self.terminal(40, 60)
        self.type("cd", self.app)
        self.replay(self.few.name, after="; echo ended $?")
        self.wait_for("^ended 0")
        # The same with and without the joining of broken lines.
        result = [self.screen(*options).split("3 records, 3 alerts", 1)[1].rstrip() for options in ((), ("-J",))]
        self.assertEqual(*[re.sub(" +$", "", each, flags=re.M) for each in result])
        self.assertIn("  3 matches, 100.0%", result[0])

    def test_mails_are_asked_for(self):
        self.write(
            self.ini, "[Monitoring]\nEventEmails=1\n[EmailConfig]\nAdminEmail=jane@example.com\n[EmailOptions]\nEmailAdminEvents=1\n")
        self.terminal(100)
        self.replay(self.few, "--send-mails", after="; echo ended $?")
        self.assertIn("mailed to jane@example.com", self.wait_for('Type "yes"'))
        self.type("no")
        self.assertIn("nothing was sent", self.wait_for("^ended 2"))


if __name__ == "__main__":
    unittest.main()
