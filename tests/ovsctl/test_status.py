"""ovsctl status without a service control manager: settings in force, problems, last alerts, sizes."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

INI = "[Monitoring]\nDiskEvents=1\nEventEmails={mails}\n[Config]\nDisplayEventLogTimesInUTC=1\n" \
      "[EmailConfig]\nAdminEmail=jane@example.com\nSMTPServer=mail.example.com\nSMTPPort={port}\nSMTPUserName=acc\n" \
      "SMTPPassword={password}\n[EmailOptions]\nEmailAdminEvents={technician}\n"
GOOD_RULE = "[LogFile]\nSystem=1\n[EventType]\nError=1\n"


class StatusTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ovs status ")
        self.addCleanup(folder.cleanup)
        self.app = pathlib.Path(folder.name)
        self.rules = self.app / "Config" / "Rules"
        self.rules.mkdir(parents=True)
        (self.rules / "Good.DAT").write_text(GOOD_RULE)
        self.password = self.ovsctl("set-password", "--print", typed="geheim99\n").stdout.strip()

    @staticmethod
    def ovsctl(*arguments, typed=""):
        # Not where a real installation keeps its debug logs.
        environment = {name: value for name, value in os.environ.items() if name.lower() != "programdata"}
        return subprocess.run([os.environ["OVSCTL"], *arguments], input=typed, capture_output=True, text=True, encoding="utf-8",
                              timeout=60, env=environment)

    def status(self, *options):
        return self.ovsctl("status", "--app", str(self.app), *options)

    def facts(self, expect):
        done = self.status("--json")
        self.assertEqual(done.returncode, expect, done.stdout + done.stderr)
        self.assertNotIn("geheim99", done.stdout + done.stderr)
        self.assertNotIn(self.password, done.stdout + done.stderr)
        return json.loads(done.stdout)

    def settings(self, mails=1, port=587, technician=1, password=None):
        text = INI.format(mails=mails, port=port, technician=technician,
                          password=self.password if password is None else password)
        (self.app / "Config" / "Orvanta.ini").write_text(text)

    def test_tells_the_settings_in_force_and_no_password(self):
        self.settings()
        (self.app / "EventLogs.txt").write_bytes(b"x" * 1234)
        debug = self.app / "Data" / "Debug Logs" / "OrvantaEventService"
        debug.mkdir(parents=True)
        (debug / "a.log").write_bytes(b"12345")
        facts = self.facts(0)
        self.assertEqual((facts["rules"], facts["diskEvents"], facts["timesInUTC"], facts["problems"]), (1, True, True, []))
        self.assertEqual(facts["mail"]["to"], [{"to": "jane@example.com", "who": "technician"}])
        self.assertEqual({name: facts["mail"][name] for name in ("on", "server", "port", "security", "password", "engine")},
                         {"on": True, "server": "mail.example.com", "port": "587", "security": "STARTTLS required",
                          "password": "set", "engine": "built-in engine"})
        self.assertEqual(([log["bytes"] for log in facts["logs"]], facts["debugLogs"]["bytes"]), ([1234, None], 5))
        shown = self.status()
        self.assertEqual(shown.returncode, 0)
        for part in ("on, to jane@example.com (technician)", "mail.example.com, port 587, STARTTLS required", "1,234 bytes",
                     "acc, password set", "no service control manager", "1 file, 5 bytes"):
            self.assertIn(part, shown.stdout)

    def test_names_what_is_wrong_with_files_and_settings(self):
        bad_files = {"No section.DAT": b"x\n", "Binary.DAT": b"[LogFile]\0", "GlobalExclusion_EventID_List.txt": b"7\0"}
        for name, content in bad_files.items():
            (self.rules / name).write_bytes(content)
        self.settings()
        facts = self.facts(1)
        self.assertEqual((facts["rules"], len(facts["problems"])), (3, 3), facts["problems"])
        for name in bad_files:
            self.assertEqual(sum(name in problem for problem in facts["problems"]), 1, name)
            (self.rules / name).unlink()
        for settings, reason in ((dict(port=""), "lacks: SMTPPort"), (dict(technician=0), "nobody is named"),
                                 (dict(password="zz"), "SMTPPassword"), (dict(port="25x"), "no number")):
            self.settings(**settings)
            problems = self.facts(1)["problems"]
            self.assertEqual([reason in problem for problem in problems], [True], problems)
            self.settings(**settings, mails=0)
            self.assertEqual(self.facts(0)["problems"], [], "it does not matter while nothing is mailed")

    def test_last_alerts_come_from_the_end_of_a_large_log(self):
        cases = (("one  -  Grüße\r\ntwo\r\n", "utf-8", ["one  -  Grüße", "two"]),
                 ("".join(f"{i}  -  Ü{'x' * 50}\r\n" for i in range(40_000)), "utf-8",
                  [f"{i}  -  Ü{'x' * 50}" for i in range(39_995, 40_000)]),
                 ("".join(f"{i}  -  Ü\r\n" for i in range(40_000)), "cp1252", [f"{i}  -  Ü" for i in range(39_995, 40_000)]),
                 ("".join(f"{i}  -  Ж\r\n" for i in range(40_000)), "utf-16", [f"{i}  -  Ж" for i in range(39_995, 40_000)]),
                 ("y" * 200_000, "utf-8", []), ("a\x1b[2Jb\r\n", "utf-8", ["a\x1b[2Jb"]))
        for text, encoding, last in cases:
            (self.app / "EventLogs_RuleNamesOnly.txt").write_bytes(text.encode(encoding))
            self.assertEqual(self.facts(0)["lastAlerts"], last, encoding)
        self.assertIn("a\\u001b[2Jb", self.status().stdout)

    def test_a_folder_that_is_not_there(self):
        done = self.ovsctl("status", "--app", str(self.app / "none"))
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("no such folder", done.stderr)


if __name__ == "__main__":
    unittest.main()
