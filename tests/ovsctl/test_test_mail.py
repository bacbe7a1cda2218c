"""ovsctl test-mail against a real mail server: what each step tells, and what it says when a step fails."""

import pathlib
import shutil
import tempfile
import unittest

from certificates import Certificates
from mailserver import MailServer
from ovsctl import OvsctlTest, shown_path

TO = "jane@example.com"


class TestMailTest(OvsctlTest):
    command = "test-mail"

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="ovs test-mail "))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.certificates = Certificates(cls.folder)

    def settings(self, server, ca="ca", **changes):
        """Writes settings that suit the server; a value of None leaves the key out."""
        scrambled = self.scrambled(server.password)
        values = {"AdminEmail": TO, "SMTPServer": "localhost", "SMTPPort": server.port, "SMTPUserName": server.user,
                  "SMTPPassword": scrambled, "UseSSL": 2, "AutoFix": 0} | changes
        lines = [f"{key}={value}" for key, value in values.items() if value is not None]
        self.write(self.ini, "[Monitoring]\nEventEmails=1\n[EmailOptions]\nEmailAdminEvents=1\n[EmailConfig]\n" + "\n".join(lines))
        path = shown_path(getattr(self.certificates, ca)) if ca else ""
        self.write("OrvantaEventService.cfg", f"Email.SMTP.CAFile={path}\nEmail.SMTP.ConnectTimeout=5\n")

    def test_tells_each_step_of_a_mail_that_is_taken(self):
        with MailServer("starttls", self.certificates.good) as server:
            self.settings(server)
            done = self.ovsctl("--session")
            self.assertEqual(server.mails[0].recipients, [TO])
            self.assertIn("Alerts go to jane@example.com (the technician).", done.stderr)
            for step, detail in (("name", "localhost"), ("connection", f"port {server.port}"), ("greeting", "220"), ("TLS", "TLS"),
                                 ("certificate", "CN=localhost"), ("login", "alarm, CRAM-MD5"), ("sender", f"<{TO}>"),
                                 ("recipient", f"<{TO}>"), ("mail", "250")):
                self.assertRegex(done.stdout, rf"(?m)^  {step} +ok +.*{detail}")
            self.assertIn("Accepted by the mail server.", done.stdout)
            self.assertNotIn(server.password, done.stdout + done.stderr)
            self.ovsctl("--to", "other@example.com")
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
                mail, = self.json(code=1)["mails"]
                self.assertFalse(mail["accepted"])
                failed = [each["step"] for each in mail["steps"] if not each["ok"]]
                self.assertEqual(failed[0], step, mail)
                self.assertRegex(self.ovsctl(code=1).stdout, rf"(?m)^  {step} +FAILED .+\n    .*{advice}")

    def test_a_port_where_nobody_listens(self):
        with MailServer() as server:
            self.settings(server)
        self.assertRegex(self.ovsctl(code=1).stdout, r"(?m)^  connection +FAILED No connection to the mail server.*\n    Check SMTPPort")

    def test_settings_from_which_no_mail_can_be_made(self):
        with MailServer() as server:
            for changes, said in (({"SMTPServer": None}, "lacks: SMTPServer"), ({"SMTPPassword": "clear"}, "SMTPPassword"),
                                  ({"SMTPPort": "none"}, "SMTPPort is no number"), ({"SMTPUserName": None}, "a setting is missing"),
                                  ({"AdminEmail": None}, "AdminEmail is not set")):
                with self.subTest(said):
                    self.settings(server, **changes)
                    self.refused(([], said))


if __name__ == "__main__":
    unittest.main()
