"""ovsctl explain: the whole output for a set of records, and the same verdicts as the service's."""

import collections
import json
import unittest

from ovsctl import DATA, DEMO, RULE, OvsctlTest, lines_of

RULES = {
    "Any error.DAT": RULE,
    "Other log.DAT": RULE.replace("System", "Application") + "[LogFile]\nSecurity=1\n",
    "No log.DAT": "[LogFile]\nSystem=yes\n",
    "Other type.DAT": RULE.replace("Error=1", "Warning=1\nFailure=1"),
    "By number.DAT": RULE + "[EventDetail]\nEventID=8\n",
    "By source.DAT": RULE + "[EventDetail]\nEventSource=another \x1b[31m source\n",
    "Must have.DAT": RULE + "[EventDetail]\nEventDesc=bad block\n",
    "Must not have.DAT": RULE + "[EventDetail]\nEventDescEx=HARDDISK\n",
    "Überlauf.DAT": RULE + "[EventDetail]\nEventID=7\n",
    "Broken.DAT": "\0\1",
}
MESSAGE = "on Harddisk0\r\nmore"
RECORDS = [
    {},
    {"Logfile": "Setup", "Message": ""},
    {"EventCode": "77", "SourceName": "hidden source"},
    {"SourceName": "disk", "Message": "Harddisk0 has a bad block"},
    {"SourceName": "Disk", "Message": "Harddisk0: error during a paging operation"},
    {"SourceName": "disk", "Message": "Harddisk0 is fine"},
    {"SourceName": "disk", "Message": "a bad block"},
    {"SourceName": "Ntfs", "Message": "The file system is fine"},
    {"SourceName": "Ntfs", "Message": "The file system is corrupt, see KB77"},
    {"Message": "a fake disk alert \x1b]0;title\x07 of mine"},
    {"Message": "Orvanta - stopping event service..."},
    {"SourceName": "Service Control Manager", "Message": "The Orvanta Event Service service terminated unexpectedly."},
]


class ExplainTest(OvsctlTest):
    command = "explain"

    def setUp(self):
        super().setUp()
        self.settings(1)
        for name, text in RULES.items():
            self.write(self.rules / name, text)
        self.write(self.rules / "GlobalExclusion_EventSource_List.txt", "a\n\nHidden Source \n")
        self.write(self.rules / "GlobalExclusion_EventDesc_List.txt", "kb77\n")
        self.records.write_text(lines_of(*({"Message": MESSAGE} | change for change in RECORDS)))

    def settings(self, disk):
        self.write(self.ini, f"[Monitoring]\nDiskEvents={disk}\n[Config]\nDisplayEventLogTimesInUTC=1\n"
                   "DisplayEventLogDateYearFirst=1\nDisplayEventLogTimeAs24Hour=1\n")

    def test_the_whole_output(self):
        done = self.ovsctl(self.records)
        self.assertEqual(done.stdout, (DATA / "explain.txt").read_text(encoding="utf-8"))
        self.assertEqual(done.stderr.count("Broken.DAT"), 1)

    def test_one_record_one_rule_and_the_disk_check_off(self):
        self.settings("yes")
        done = self.ovsctl(self.records, "--record", "4", "--rule", "must HAVE")
        self.assertEqual(done.stdout.splitlines()[2:],
                         ["  Disk check: off; this record would be a disk event", "  Rules:", "    Must have  matches",
                          "  Exclusions: none applies", "  Result: alert Must have"])

    def test_verdicts_are_those_of_the_service(self):
        wanted = self.json(DATA / "records.jsonl", command="replay", app=DEMO)
        lines = self.ovsctl(DATA / "records.jsonl", "--all", "--json", app=DEMO).stdout.splitlines()
        alerts, hidden = collections.Counter(), collections.Counter()
        for explained in map(json.loads, lines):
            alerts.update(explained["alerts"])
            matching = sum(rule["matches"] for rule in explained["rules"]) + (explained["decidedBy"] == "disk event")
            if explained["excludedBy"] and matching:
                hidden[explained["excludedBy"]["list"]] += matching
        self.assertEqual(len(lines), wanted["records"])
        self.assertEqual(dict(alerts), {rule["rule"]: rule["matches"] for rule in wanted["rules"] if rule["matches"]})
        self.assertEqual(alerts.total(), wanted["alerts"])
        self.assertEqual(hidden, {name: count for name, count in wanted["hiddenByList"].items() if count})

    def test_rules_that_ship_are_not_hidden_by_what_an_outsider_writes(self):
        caller, path = "Caller Process Name:\tC:\\Windows\\System32\\consent.exe", "\\Windows Defender\\Definition Updates\\x.exe"
        logons = [{"EventType": 5, "EventCode": "4625", "Logfile": "Security", "Message": f"Account Name:\t\t{name}\r\n"}
                  for name in ("consent.exe", caller)]
        service = {"EventType": 3, "EventCode": "7045", "SourceName": "Service Control Manager"}
        services = [service | {"Message": f"Service Name:  {name}\r\nService File Name:  {file}"}
                    for name, file in (("x", "D:" + path), ("teamviewervpn.sys", path), ("y", "C:\\x\\OfficeClickToRun.exe"))]
        self.records.write_text(lines_of(*logons, *services))
        done = self.ovsctl("--json", self.records, app=DEMO)
        self.assertEqual([json.loads(line)["alerts"] for line in done.stdout.splitlines()],
                         [["Failed logon"]] * 2 + [["Service installed"]] * 3)

    def test_twenty_unless_all(self):
        done = self.ovsctl(DATA / "records.jsonl", "--json")
        self.assertEqual(len(done.stdout.splitlines()), 20)
        self.assertIn("--all", done.stderr)
        self.assertEqual(self.json(DATA / "records.jsonl", "--record", "700")["number"], 700)

    def test_what_cannot_be_done_says_why(self):
        self.refused(([], "either a file of records or --live LOG"),
                     ([self.records, "--live", "System"], "either a file of records or --live LOG"),
                     ([self.app / "none"], "cannot open"), ([self.records, "--record", "99"], "only 12 records"),
                     ([self.records, "--rule", "none"], "no rule is named none"),
                     (["--live", "System"], "no Windows event logs"), ([self.records, "--record", "0"], "--record"))


if __name__ == "__main__":
    unittest.main()
