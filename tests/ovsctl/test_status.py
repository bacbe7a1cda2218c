"""ovsctl status without a service control manager: settings in force, problems, last alerts, sizes."""

import json
import unittest

from ovsctl import RULE, OvsctlTest

INI = "[Monitoring]\nDiskEvents=1\nEventEmails={mails}\n[Config]\nDisplayEventLogTimesInUTC=1\n" \
      "[EmailConfig]\nAdminEmail=jane@example.com\nSMTPServer=mail.example.com\nSMTPPort={port}\nSMTPUserName=acc\n" \
      "SMTPPassword={password}\n[EmailOptions]\nEmailAdminEvents={technician}\n"


class StatusTest(OvsctlTest):
    command = "status"

    def setUp(self):
        super().setUp()
        self.write(self.rules / "Good.DAT", RULE)
        self.password = self.scrambled()

    def facts(self, code=0):
        done = self.ovsctl("--json", code=code)
        self.assertNotIn(self.password, done.stdout + done.stderr)
        return json.loads(done.stdout)

    def settings(self, mails=1, port=587, technician=1, password=None):
        self.write(self.ini, INI.format(mails=mails, port=port, technician=technician, password=password or self.password))

    def test_tells_the_settings_in_force_and_no_password(self):
        self.settings()
        self.write("EventLogs.txt", b"x" * 1234)
        self.write("Data/Debug Logs/OrvantaEventService/a.log", b"12345")
        facts = self.facts()
        self.assertEqual((facts["rules"], facts["diskEvents"], facts["timesInUTC"], facts["problems"]), (1, True, True, []))
        self.assertEqual(facts["mail"]["to"], [{"to": "jane@example.com", "who": "technician"}])
        self.assertEqual({name: facts["mail"][name] for name in ("on", "server", "port", "security", "password", "engine")},
                         {"on": True, "server": "mail.example.com", "port": "587", "security": "STARTTLS required",
                          "password": "set", "engine": "built-in engine"})
        self.assertEqual(([log["bytes"] for log in facts["logs"]], facts["debugLogs"]["bytes"]), ([1234, None], 5))
        shown = self.ovsctl()
        for part in ("on, to jane@example.com (technician)", "mail.example.com, port 587, STARTTLS required", "1,234 bytes",
                     "acc, password set", "no service control manager", "1 file, 5 bytes"):
            self.assertIn(part, shown.stdout)

    def test_names_what_is_wrong_with_files_and_settings(self):
        bad_files = {self.rules / "No section.DAT": b"x\n", self.rules / "Binary.DAT": b"[LogFile]\0",
                     self.rules / "GlobalExclusion_EventID_List.txt": b"7\0", self.app / "x.cfg": b"k=\0", self.ini: b"\0"}
        for path, content in bad_files.items():
            self.write(path, content)
        facts = self.facts(1)
        self.assertEqual((facts["rules"], len(facts["problems"])), (3, 5), facts["problems"])
        for path in bad_files:
            self.assertEqual(sum(f"\\{path.name}]: it" in problem for problem in facts["problems"]), 1, path)
            path.unlink()
        for settings, reason in ((dict(port=""), "lacks: SMTPPort"), (dict(technician=0), "nobody is named"),
                                 (dict(password="zz"), "SMTPPassword"), (dict(port="25x"), "no number")):
            self.settings(**settings)
            problems = self.facts(1)["problems"]
            self.assertEqual([reason in problem for problem in problems], [True], problems)
            self.settings(**settings, mails=0)
            self.assertEqual(self.facts()["problems"], [], "it does not matter while nothing is mailed")

    def test_last_alerts_come_from_the_end_of_a_large_log(self):
        cases = (("one  -  Grüße\r\ntwo\r\n", "utf-8", ["one  -  Grüße", "two"]),
                 ("".join(f"{i}  -  Ü{'x' * 50}\r\n" for i in range(40_000)), "utf-8",
                  [f"{i}  -  Ü{'x' * 50}" for i in range(39_995, 40_000)]),
                 ("".join(f"{i}  -  Ü\r\n" for i in range(40_000)), "cp1252", [f"{i}  -  Ü" for i in range(39_995, 40_000)]),
                 ("".join(f"{i}  -  Ж\r\n" for i in range(40_000)), "utf-16", [f"{i}  -  Ж" for i in range(39_995, 40_000)]),
                 ("y" * 200_000, "utf-8", []), ("a\x1b[2Jb\r\n", "utf-8", ["a\x1b[2Jb"]))
        for text, encoding, last in cases:
            (self.app / "EventLogs_RuleNamesOnly.txt").write_bytes(text.encode(encoding))
            self.assertEqual(self.facts()["lastAlerts"], last, encoding)
        self.assertIn("a\\u001b[2Jb", self.ovsctl().stdout)

    def test_whoever_may_not_read_config_is_told_so(self):
        self.settings()
        self.records.write_text("{}")
        for closed in (self.app / "Config", self.rules, self.ini):
            mode = closed.stat().st_mode
            closed.chmod(0)
            for command, *options in (["status"], ["status", "--json"], ["check"], ["replay", self.records],
                                      ["explain", self.records], ["test-mail"], ["set-password"]):
                done = self.ovsctl(*options, code=2, command=command, rights=False)
                self.assertEqual((done.stdout, "administrator's console" in done.stderr, closed.name in done.stderr),
                                 ("", True, True), (command, done.stderr))
            closed.chmod(mode)
        self.assertEqual(self.ovsctl(self.rules / "Good.DAT", command="check", rights=False).stdout, "")

    def test_a_folder_that_is_not_there(self):
        self.refused(([], "no such folder"), app=self.app / "none")


if __name__ == "__main__":
    unittest.main()
