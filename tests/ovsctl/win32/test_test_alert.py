"""ovsctl test-alert: the running service, its logs, a mail server."""

import os
import pathlib
import re
import tempfile
import unittest

from certificates import Certificates
from mailserver import MailServer
from servicebox import LIMIT, ServiceBox


class TestAlertTest(unittest.TestCase):
    def setUp(self):
        self.box = ServiceBox(pathlib.Path(os.environ["WINEPREFIX"]) / "Alert Test" / self.id().split(".")[-1])
        self.box.prepare()
        (self.box.app / "Config" / "Rules").mkdir(parents=True)
        self.addCleanup(self.box.remove)

    def settings(self, text):
        (self.box.app / "Config" / "Orvanta.ini").write_text(text)

    def run_it(self, expect, *options):
        done = self.box.run_command(
            self.box.command("ovsctl", "test-alert", "--append-feed", self.box.windows(self.box.feed), *options))
        self.assertEqual(done.returncode, expect, done.stdout + done.stderr)
        return (done.stdout + done.stderr).replace("\r", "")

    def test_what_keeps_an_alert_from_being_raised_is_said_first(self):
        box = self.box
        box.forget()
        self.assertIn("not installed", self.run_it(2))
        box.install()
        self.assertIn("the service is stopped; start it", self.run_it(2))
        box.start()
        self.settings("[Monitoring]\nDiskEvents=0\n")
        self.assertIn("DiskEvents is not 1", self.run_it(2))
        self.settings("[Monitoring]\nDiskEvents=1\n")
        excluding = box.app / "Config" / "Rules" / "GlobalExclusion_EventDesc_List.txt"
        excluding.write_bytes(b"fake disk\r\n")
        self.assertIn("GlobalExclusion_EventDesc_List.txt", self.run_it(2))
        excluding.unlink()
        self.assertEqual(box.feed.read_bytes(), b"", "nothing was written until now")
        printed = self.run_it(0)
        self.assertRegex(printed, r'Record: "Fake Disk Alert .* (\d+)" written')
        self.assertIn("in EventLogs.txt after", printed)
        self.assertIn("none is sent, EventEmails is not 1", printed)
        self.assertIn(re.search(r"number \d+", printed)[0], (box.app / "EventLogs.txt").read_text())
        box.stop()

    def test_the_mail_servers_answer_is_in_the_result(self):
        box = self.box
        box.install()
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        certificates = Certificates(folder.name)
        with MailServer("starttls", certificates.good, auth_required=True, password="password") as server:
            box.set_program_settings(Email_SMTP_CAFile=box.windows(certificates.ca))
            box.set_mail(server)
            box.start()
            self.assertIn("2 should have been sent. Whether they were accepted stands only in the service's debug log",
                          self.run_it(1, "--wait", str(LIMIT)))
            box.stop()
            box.feed.write_bytes(b"")  # a service that starts gets all that is in it
            (box.app / "X_Debug.cfg").write_bytes(b"Debug.Log.RealTime=1\r\n")
            box.start()
            self.assertIn("2 of 2 accepted", self.run_it(0, "--wait", str(LIMIT)))
        self.assertEqual(len(server.mails), 4)
        # Nobody answers at that port any more.
        self.assertIn("0 of 2 accepted", self.run_it(1, "--wait", str(LIMIT)))
        box.stop()


if __name__ == "__main__":
    unittest.main()
