"""ovsctl replay as a command: what it prints, writes, mails and answers."""

import csv
import datetime
import io
import unittest

from mailserver import MailServer
from ovsctl import OvsctlTest, lines_of

LIST = "GlobalExclusion_Event%s_List.txt"


def record(message="one", time="20240307130509.000000-000", **changes):
    return lines_of({"Message": message, "TimeGenerated": time} | changes)


def spread(count, minutes):
    """Records that are so many minutes apart, each of a source of its own."""
    start = datetime.datetime(1990, 1, 1)
    return "".join(record(time=(start + datetime.timedelta(minutes=i * minutes)).strftime("%Y%m%d%H%M%S.000000-000"),
                          SourceName=f"source {i}") for i in range(count))


class ReplayTest(OvsctlTest):
    command = "replay"

    def setUp(self):
        super().setUp()
        self.settings()
        self.rule("Low Disk", "System=1")

    def settings(self, monitoring="", mail=""):
        self.write(self.ini, f"[Config]\nDisplayEventLogTimesInUTC=1\n[Monitoring]\n{monitoring}\n[EmailConfig]\n{mail}\n"
                   "[EmailOptions]\nEmailAdminEvents=1\n")

    def rule(self, name, logs, detail=""):
        self.write(self.rules / f"{name}.dat", f"[LogFile]\n{logs}\n[EventType]\nError=1\n[EventDetail]\n{detail}\n")

    def replay(self, records, *options, code=0):
        self.records.write_text(records, encoding="utf-8")
        return self.ovsctl(*options, self.records, code=code)

    def report(self, records):
        self.records.write_text(records, encoding="utf-8")
        return self.json(self.records)

    def test_prints_what_became_of_the_records_and_writes_nothing_unless_asked(self):
        self.rule("Never", "Application=1")
        done = self.replay(record() + record("orvanta - stopping event service...") + record("two", "20240307150000"))
        self.assertEqual(done.stderr, "")
        self.assertEqual(done.stdout, """\
3 records, 2 alerts by 1 of 3 rules.
From 03/07/2024 01:05:09 PM to 03/07/2024 03:00:00 PM.
1 record carries the stop phrase; the service would have handled nothing behind it until its next
start.
The disk check is off: DiskEvents in [Monitoring] is not 1.
No mails: nobody is named who gets alerts (EmailAdminEvents in [EmailOptions] is not 1, or
AdminEmail in [EmailConfig] is empty, and the client has not asked for any).

Rule              Matches  Share  Mails  Peak/h  First                   Last
Low Disk                2  66.7%      0       1  03/07/2024 01:05:09 PM  03/07/2024 03:00:00 PM
  src 7: one
Never                   0     0%      0       0  never matched
Disk Event Alert        0     0%      0       0  never matched
""")
        self.assertEqual(list(self.app.glob("EventLogs*")), [])

    def test_counts_for_each_rule_and_for_the_records_as_a_whole(self):
        self.settings("DiskEvents=1\nDiskEventsRuleName=Disks")
        self.rule("Two", "Application=1", "EventID=7")
        for name, line in (("ID", "99"), ("Source", "loud"), ("Desc", "of no use")):
            self.write(self.rules / (LIST % name), line + "\n")
        records = [record("\r\n  \r\nfirst read\r\nmore", "20240307130509"), record("b", "20240307130000"),
                   record("c", "20240307125959"), record("d", "20240308000000", Logfile="Application"),
                   record("e", "20230101000000", Logfile="Setup"), record("f", "", Logfile="application"),
                   record("g", "20241301000000"), record(EventCode="99"), record(SourceName="LOUD"),
                   record("is Of No Use at all"), record("fake disk alert", "20240309000000", SourceName="loud"),
                   record("fake disk alert", "20240309000000")]
        report = self.report("".join(records))
        whole = {"records": 12, "bad": 0, "otherLogs": 1, "withoutTime": 2, "first": "01/01/2023 12:00:00 AM",
                 "last": "03/09/2024 12:00:00 AM", "alerts": 7}
        self.assertEqual({name: report[name] for name in whole}, whole)
        self.assertEqual(report["hiddenByList"], {LIST % "ID": 1, LIST % "Source": 2, LIST % "Desc": 1})
        rules = [[rule[name] for name in ("rule", "diskCheck", "matches", "hidden", "first", "last")] +
                 list((rule["busiestHour"] or {}).values()) for rule in report["rules"]]
        self.assertEqual(rules, [
            ["Low Disk", False, 4, 3, "03/07/2024 12:59:59 PM", "03/07/2024 01:05:09 PM", "03/07/2024 01:00:00 PM", 2, True],
            ["Two", False, 2, 0, "03/08/2024 12:00:00 AM", "03/08/2024 12:00:00 AM", "03/08/2024 12:00:00 AM", 1, True],
            ["Disks", True, 1, 1, "03/09/2024 12:00:00 AM", "03/09/2024 12:00:00 AM", "03/09/2024 12:00:00 AM", 1, True]])
        self.assertEqual(report["rules"][0]["sample"], {"source": "src", "eventId": "7", "message": "first read"})
        self.assertEqual([sum(rule["timeLine"]) for rule in report["rules"]], [3, 1, 1])
        self.assertEqual(len(report["rules"][0]["timeLine"]), len(report["timeLine"]["starts"]))
        self.assertEqual([source["source"] for source in report["sources"]], ["src", "LOUD", "loud"])

    def test_counts_stay_within_bounds_and_say_so(self):
        report = self.report(spread(20_000, 61))
        rule = report["rules"][0]
        self.assertEqual((rule["matches"], sum(rule["timeLine"])), (20_000, 20_000))
        self.assertEqual(rule["busiestHour"]["exact"], False)
        self.assertEqual(report["sourcesExact"], False)
        self.assertLessEqual(len(report["timeLine"]["starts"]), 160)
        # As many in each piece as it is long: nothing is counted into its neighbour.
        expected = report["timeLine"]["minutes"] / 61
        self.assertTrue(all(abs(count - expected) <= 1 for count in rule["timeLine"][1:-1]), rule["timeLine"])

    def test_time_lines_fit_any_span(self):
        for first, last, minutes in (("20240307130509", "20240307130559", 1), ("20240307130509", "20240307234509", 5),
                                     ("20240307130509", "20240607130509", 1440),
                                     ("01000101000000", "99991231235959", 10080 * 4096)):
            report = self.report(record(time=last) + record(time=first))
            line = report["rules"][0]["timeLine"]
            ends = line[0] + (line[-1] if len(line) > 1 else 0)
            self.assertEqual((report["timeLine"]["minutes"], ends), (minutes, 2), first)

    def test_says_how_many_mails_an_alert_makes(self):
        for on, mails in ((1, 2), (0, 0)):
            self.settings(f"EventEmails={on}", "AdminEmail=jane@example.com")
            report = self.report(record() * 2)
            self.assertEqual(report["mail"], {"on": on == 1, "mails": mails, "mailsIfOn": 2,
                                              "to": [{"address": "jane@example.com", "client": False}]})
            self.assertEqual(report["rules"][0]["mails"], mails)
            sentence = "2 mails would have gone, to jane@example.com (the technician)."
            done = self.replay(record() * 2)
            self.assertIn(sentence, " ".join(done.stdout.split()))
            self.assertEqual(done.stderr, "")

    def test_sends_mails_only_when_they_are_asked_for_and_can_go(self):
        with MailServer() as server:
            scrambled = self.scrambled(server.password)
            mail = (f"AdminEmail=jane@example.com\nSMTPServer=localhost\nSMTPPort={server.port}\nAutoFix=0\n"
                    f"SMTPUserName={server.user}\nSMTPPassword={scrambled}")
            for on, options, code, mails in ((1, [], 0, 0), (0, ["--send-mails", "--yes"], 2, 0), (1, ["--send-mails"], 2, 0),
                                             (1, ["--send-mails", "--yes"], 0, 2)):
                self.settings(f"EventEmails={on}", mail)
                done = self.replay(record() * 2, *options, code=code)
                self.assertEqual(len(server.mails), mails, (on, options, done.stderr))
        self.assertIn("2 mails were taken by the mail server, 0 not.", done.stderr)
        done = self.replay(record() * 20, "--send-mails", "--yes", code=1)
        self.assertIn("0 mails were taken by the mail server, 20 not.", done.stderr)
        self.assertLess(len(done.stderr), 3000)  # what went wrong, once

    def test_tables_for_spreadsheets_hold_no_formula(self):
        self.rule("=SUM(A1)", "Application=1")
        texts = ("=1+1", "+1", "-1", "@x", 'say "hi", you', "größer\u202e\x07")
        for text in texts:
            lines = self.replay(record(text, SourceName=text), "--csv").stdout
            rows = list(csv.DictReader(io.StringIO(lines, newline="")))
            safe = ("'" if text[0] in "=+-@" else "") + text.replace("\u202e", "\\u202e").replace("\x07", "\\u0007")
            self.assertEqual((rows[0]["sample_message"], rows[0]["sample_source"], rows[0]["matches"]), (safe, safe, "1"))
            self.assertEqual(rows[1]["rule"], "'=SUM(A1)")
        out = self.ovsctl("--csv", self.records, typed=b"").stdout
        self.assertEqual((out.count(b"\r\n"), out.count(b"\n"), out.endswith(b"\r\n")), (4, 4, True))  # as the standard wants

    def test_text_fits_its_width_and_harms_no_terminal(self):
        self.rule("A rule with a name " + "that is far too long " * 6, "System=1")
        done = self.replay(record("\x1b[2J\u202eevil " + "x" * 300, SourceName="s" * 300))
        wide = [line for line in done.stdout.splitlines() if len(line) > 100 and "far too long" not in line]
        self.assertEqual(wide, [])
        self.assertNotRegex(done.stdout, "[\x1b\u202e]")

    def test_writes_both_logs_as_the_service_would(self):
        for _ in range(2):
            self.replay(record("größer"), "--write-logs")
        entry = ("03/07/2024 01:05:09 PM\r\nRule: Low Disk\r\nEvent ID: 7 / Event Type: Error (1) / Source Name: src / "
                 "Event Log: System\r\nMessage: größer\r\n")
        self.assertEqual((self.app / "EventLogs.txt").read_bytes().decode(), entry * 2)
        self.assertEqual((self.app / "EventLogs_RuleNamesOnly.txt").read_bytes(),
                         b"03/07/2024 01:05:09 PM  -  Low Disk\r\n")

    def test_a_log_that_cannot_be_written_is_no_success(self):
        (self.app / "EventLogs.txt").mkdir()
        done = self.replay(record() * 2, "--write-logs", code=2)
        self.assertIn("2 log entries could not be written", done.stderr)
        self.assertTrue((self.app / "EventLogs_RuleNamesOnly.txt").is_file())

    def test_broken_lines_are_named_and_the_rest_is_done(self):
        done = self.replay(record() + "\n{broken\n[1]\n" + record("two").rstrip("\n"), "--repeat", "2", code=1)
        self.assertTrue(done.stdout.startswith("2 records, 2 alerts"), done.stdout)
        for text in ("2 pieces were no records.", "matched 4 records again, "):
            self.assertIn(text, done.stdout)
        for line in (3, 4):
            self.assertRegex(done.stderr, f"line {line}: .*; skipped")

    def test_unusable_files_are_named_once(self):
        self.write(self.rules / "Broken.DAT", b"\0\1\2")
        (self.rules / "Folder.DAT").mkdir()
        done = self.replay(record() * 2)
        self.assertTrue(done.stdout.startswith("2 records, 2 alerts"))
        for name in ("Broken.DAT", "Folder.DAT"):
            self.assertEqual(done.stderr.count(name), 1, done.stderr)

    def test_what_cannot_be_done_says_why(self):
        records = self.write("records", record())
        self.refused(([], "name either"), ([self.app / "none"], "cannot open"), (["--live", records], "name either"),
                     (["--live"], "no Windows event logs"), (["--live", "--since", "soon"], "--since needs"),
                     (["--since", "3d", records], "requires --live"), (["--json", "--csv", records], "excludes"))
        self.refused(([records], "no such folder"), app=self.app / "none")
        self.assertIn("cannot write", self.ovsctl(records, "--html", self.app, code=2).stderr)


if __name__ == "__main__":
    unittest.main()
