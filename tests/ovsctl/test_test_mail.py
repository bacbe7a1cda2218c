"""ovsctl test-mail against a real mail server: what each step tells, and what it says when a step fails."""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from certificates import Certificates  # noqa: E402
from mailserver import MailServer  # noqa: E402

WINE = os.environ.get("OVS_WINE") == "1"
RUN_WINDOWS = [str(pathlib.Path(__file__).resolve().parents[2] / "scripts" / "run-windows-program.sh"), "wine"]
LIMIT = 60
TO = "jane@example.com"


def shown_path(path):
    return "Z:" + str(path).replace("/", "\\") if WINE else str(path)


class TestMailTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="ovs test-mail "))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.certificates = Certificates(cls.folder)

    def setUp(self):
        self.app = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        (self.app / "Config").mkdir()

    def ovsctl(self, *arguments, typed=None):
        command = (RUN_WINDOWS if WINE else []) + [os.environ["OVSCTL"], *arguments]
        done = subprocess.run(command, input=typed, capture_output=True, text=True, encoding="utf-8", timeout=LIMIT)
        done.stdout = done.stdout.replace("\r", "")
        return done

    def settings(self, server, ca="ca", **changes):
        """Writes settings that suit the server; a value of None leaves the key out."""
        scrambled = self.ovsctl("set-password", "--print", typed=server.password + "\n").stdout.strip()
        values = {"AdminEmail": TO, "SMTPServer": "localhost", "SMTPPort": server.port, "SMTPUserName": server.user,
                  "SMTPPassword": scrambled, "UseSSL": 2, "AutoFix": 0} | changes
        lines = [f"{key}={value}" for key, value in values.items() if value is not None]
        text = "[Monitoring]\r\nEventEmails=1\r\n[EmailOptions]\r\nEmailAdminEvents=1\r\n[EmailConfig]\r\n"
        (self.app / "Config" / "Orvanta.ini").write_bytes((text + "\r\n".join(lines) + "\r\n").encode())
        path = shown_path(getattr(self.certificates, ca)) if ca else ""
        (self.app / "OrvantaEventService.cfg").write_bytes(f"Email.SMTP.CAFile={path}\r\nEmail.SMTP.ConnectTimeout=5\r\n".encode())

    def send(self, *options):
        return self.ovsctl("test-mail", "--app", shown_path(self.app), *options)

    def test_tells_each_step_of_a_mail_that_is_taken(self):
        with MailServer("starttls", self.certificates.good) as server:
            self.settings(server)
            done = self.send("--session")
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            self.assertEqual(server.mails[0].recipients, [TO])
            self.assertIn("Alerts go to jane@example.com (the technician).", done.stderr)
            for step, detail in (("name", "localhost"), ("connection", f"port {server.port}"), ("greeting", "220"), ("TLS", "TLS"),
                                 ("certificate", "CN=localhost"), ("login", "alarm, CRAM-MD5"), ("sender", f"<{TO}>"),
                                 ("recipient", f"<{TO}>"), ("mail", "250")):
                self.assertRegex(done.stdout, rf"(?m)^  {step} +ok +.*{detail}")
            self.assertIn("Accepted by the mail server.", done.stdout)
            self.assertNotIn(server.password, done.stdout + done.stderr)
            self.assertTrue(self.send("--to", "other@example.com").returncode == 0)
            self.assertEqual(server.mails[1].recipients, ["other@example.com"])

    def test_names_the_step_that_failed_and_what_to_change(self):
        for name, server, changes, step, advice in (
                ("wrong password", MailServer("starttls", self.certificates.good), {"SMTPUserName": "who"}, "login", "SMTPUserName"),
                ("no STARTTLS", MailServer(), {}, "TLS", "UseSSL"),
                ("other authority", MailServer("starttls", self.certificates.good), {"ca": "other_ca"}, "certificate", "clock"),
                ("recipient refused", MailServer("starttls", self.certificates.good, refuse=[TO]), {}, "recipient", "address"),
                ("TLS expected at once", MailServer(), {"UseSSL": 1}, "TLS", "UseSSL")):
            with self.subTest(name), server:
                self.settings(server, **changes)
                done = self.send("--json")
                self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
                mail, = json.loads(done.stdout)["mails"]
                self.assertFalse(mail["accepted"])
                failed = [each["step"] for each in mail["steps"] if not each["ok"]]
                self.assertEqual(failed[0], step, mail)
                self.assertRegex(self.send().stdout, rf"(?m)^  {step} +FAILED .+\n    .*{advice}")

    def test_a_port_where_nobody_listens(self):
        with MailServer() as server:
            self.settings(server)
        done = self.send()
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stdout, r"(?m)^  connection +FAILED No connection to the mail server.*\n    Check SMTPPort")

    def test_settings_from_which_no_mail_can_be_made(self):
        with MailServer() as server:
            for changes, said in (({"SMTPServer": None}, "lacks: SMTPServer"), ({"SMTPPassword": "clear"}, "SMTPPassword"),
                                  ({"SMTPPort": "none"}, "SMTPPort is no number"), ({"SMTPUserName": None}, "a setting is missing"),
                                  ({"AdminEmail": None}, "AdminEmail is not set")):
                with self.subTest(said):
                    self.settings(server, **changes)
                    done = self.send()
                    self.assertEqual((done.returncode, done.stdout), (2, ""))
                    self.assertIn(said, done.stderr)


if __name__ == "__main__":
    unittest.main()
