"""The technician's first hour: every command of docs/getting-started.md, as it is written there, in its order."""

import datetime
import os
import pathlib
import re
import shutil
import tempfile
import unittest

from certificates import Certificates
from mailserver import MailServer
from ovsctl import ROOT, lines_of
from servicebox import LIMIT, ServiceBox

PAGE = (ROOT / "docs" / "getting-started.md").read_text(encoding="utf-8")
MESSAGE = "The Print Spooler service terminated unexpectedly. It has done this 1 time(s)."


def steps():
    """Commands (with None), and settings and rule files by name with their lines, in the page's order."""
    before = ""
    for part in re.findall(r"(?:^    .*\n|^\n(?=    ))+|(?:^\S.*\n)+", PAGE, re.M):
        lines = part.strip("\n").splitlines()
        if not lines[0].startswith("    "):
            before = " ".join(lines)
            continue
        block = [line.removeprefix("    ") for line in lines]
        named = re.search(r"`(Config\\[^`]+)`(:| with an editor and fill in:)$", before)
        if named:
            yield named[1], block
        else:
            yield from ((line[2:], None) for line in block if line.startswith("> "))


class GettingStartedTest(unittest.TestCase):
    def setUp(self):
        self.box = box = ServiceBox(pathlib.Path(os.environ["WINEPREFIX"]) / "First Hour" / "app")
        box.prepare()
        box.forget()
        box.run("reg", "delete", "HKLM\\Software\\Brindle Works\\Orvanta", "/f", expect=None)  # a client of other tests
        shutil.copy2(box.bin / "ovsctl.exe", box.app)
        self.addCleanup(box.remove)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.certificates = Certificates(folder.name)
        now = datetime.datetime.now(datetime.timezone.utc)
        box.append(lines_of({"EventCode": "7034", "Message": MESSAGE, "SourceName": "Service Control Manager",
                             "TimeGenerated": now.strftime("%Y%m%d%H%M%S.%f-000")}))

    def type_in(self, command, server):
        box, typed = self.box, server.password + "\n" if "set-password" in command else ""
        if re.search(r"test-alert|stop", command):  # Wine has no event log
            command += f' --wait {LIMIT} --append-feed "{box.windows(box.feed)}"'
        # The command must look where the service writes, whatever the environment says.
        script = box.app.with_name("step.cmd")
        script.write_text(f'@set ProgramData=C:\\elsewhere\n@cd /d "{box.windows(box.app)}"\n@{command}\n')
        done = box.run_command(["wine", "cmd", "/c", box.windows(script)], typed)
        printed = (done.stdout + done.stderr).replace("\r", "")
        self.assertEqual(done.returncode, 0, f"{command}\n{printed}")
        self.transcript.append(f"> {command}\n{printed}")
        return printed

    def fill_in(self, name, lines, server):
        path = self.box.app / name.replace("\\", "/")
        if not name.endswith(".ini"):
            return path.write_text("\n".join(lines))
        text = path.read_text()
        values = dict(line.split("=") for line in lines if "=" in line)
        values |= {"SMTPServer": "localhost", "SMTPPort": server.port, "SMTPUserName": server.user}
        for key, value in values.items():
            text, count = re.subn(rf"^{key}=.*$", f"{key}={value}", text, flags=re.M)
            self.assertEqual(count, 1, f"{key} is not in the default settings")
        return path.write_text(text)

    def test_every_command_as_it_is_written(self):
        self.transcript = []
        self.addCleanup(lambda: print("\n".join(self.transcript)))
        printed = {}
        with MailServer("starttls", self.certificates.good, auth_required=True, password="password") as server:
            self.box.set_program_settings(Email_SMTP_CAFile=self.box.windows(self.certificates.ca))
            for what, lines in steps():
                if lines is None:
                    printed[what] = self.type_in(what, server)
                else:
                    self.fill_in(what, lines, server)
        self.assertEqual(len([name for name in printed if name.startswith("ovsctl")]), 13)
        for command, part in {"ovsctl test-mail": "Accepted by the mail server", "ovsctl status": "jane@example.com",
                              "ovsctl test-alert": "1 of 1 accepted", "ovsctl stop": "Stopped.",
                              "ovsctl explain --live System --last 1": MESSAGE,
                              'ovsctl explain --live System --last 1 --rule "Service ended"': "matches",
                              "ovsctl events --count 1": "EventID:     7034"}.items():
            self.assertIn(part, printed[command])
        self.assertTrue((self.box.app / "report.html").read_text(encoding="utf-8").lower().startswith("<!doctype html>"))
        # What arrived before the service was started, and the trial.
        self.assertIn("Test mail", server.mails[0].message["Subject"])
        self.assertIn("Disk Alert!", server.mails[-1].message["Subject"])


if __name__ == "__main__":
    unittest.main()
