"""ovsctl explain: the whole output for a set of records, and the same verdicts as the service's."""

import collections
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
DATA = ROOT / "tests" / "data"
BOTH = "[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n"
RULES = {
    "Any error.DAT": BOTH,
    "Other log.DAT": BOTH.replace("System", "Application") + "[LogFile]\r\nSecurity=1\r\n",
    "No log.DAT": "[LogFile]\r\nSystem=yes\r\n",
    "Other type.DAT": BOTH.replace("Error=1", "Warning=1\r\nFailure=1"),
    "By number.DAT": BOTH + "[EventDetail]\r\nEventID=8\r\n",
    "By source.DAT": BOTH + "[EventDetail]\r\nEventSource=another \x1b[31m source\r\n",
    "Must have.DAT": BOTH + "[EventDetail]\r\nEventDesc=bad block\r\n",
    "Must not have.DAT": BOTH + "[EventDetail]\r\nEventDescEx=HARDDISK\r\n",
    "Überlauf.DAT": BOTH + "[EventDetail]\r\nEventID=7\r\n",
    "Broken.DAT": "\0\1",
}
RECORD = {"EventType": 1, "Type": "Error", "EventCode": "7", "SourceName": "src", "Message": "on Harddisk0\r\nmore",
          "Logfile": "System", "TimeGenerated": "20240307130509.000000-000"}
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


class ExplainTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ovs explain "))
        self.addCleanup(shutil.rmtree, self.folder)
        self.rules = self.folder / "Config" / "Rules"
        self.rules.mkdir(parents=True)
        self.ini(1)
        for name, text in RULES.items():
            (self.rules / name).write_bytes(text.encode())
        (self.rules / "GlobalExclusion_EventSource_List.txt").write_bytes(b"a\r\n\r\nHidden Source \r\n")
        (self.rules / "GlobalExclusion_EventDesc_List.txt").write_bytes(b"kb77\r\n")
        self.records = self.folder / "records.jsonl"
        self.records.write_text("".join(json.dumps(RECORD | change) + "\n" for change in RECORDS))

    def ini(self, disk):
        (self.folder / "Config" / "Orvanta.ini").write_text(
            f"[Monitoring]\nDiskEvents={disk}\n[Config]\nDisplayEventLogTimesInUTC=1\nDisplayEventLogDateYearFirst=1\n"
            "DisplayEventLogTimeAs24Hour=1\n")

    def explain(self, *options, code=0, app=None):
        done = subprocess.run([os.environ["OVSCTL"], "explain", "--app", app or self.folder, *options], capture_output=True,
                              text=True, timeout=120)
        self.assertEqual(done.returncode, code, done.stderr)
        return done

    def test_the_whole_output(self):
        done = self.explain(self.records)
        self.assertEqual(done.stdout, (DATA / "explain.txt").read_text(encoding="utf-8"))
        self.assertEqual(done.stderr.count("Broken.DAT"), 1)

    def test_one_record_one_rule_and_the_disk_check_off(self):
        self.ini("yes")
        done = self.explain(self.records, "--record", "4", "--rule", "must HAVE")
        self.assertEqual(done.stdout.splitlines()[2:],
                         ["  Disk check: off; this record would be a disk event", "  Rules:", "    Must have  matches",
                          "  Exclusions: none applies", "  Result: alert Must have"])

    def test_verdicts_are_those_of_the_service(self):
        replayed = subprocess.run([os.environ["OVSCTL"], "replay", "--json", "--app", ROOT / "demo" / "app",
                                   DATA / "records.jsonl"], capture_output=True, check=True, timeout=120)
        wanted = json.loads(replayed.stdout)
        lines = self.explain(DATA / "records.jsonl", "--all", "--json", app=ROOT / "demo" / "app").stdout.splitlines()
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

    def test_twenty_unless_all(self):
        done = self.explain(DATA / "records.jsonl", "--json")
        self.assertEqual(len(done.stdout.splitlines()), 20)
        self.assertIn("--all", done.stderr)
        self.assertEqual(json.loads(self.explain(DATA / "records.jsonl", "--json", "--record", "700").stdout)["number"], 700)

    def test_what_cannot_be_done_says_why(self):
        for options, said in (([], "either a file of records or --live LOG"),
                              ([self.records, "--live", "System"], "either a file of records or --live LOG"),
                              ([self.folder / "none"], "cannot open"), ([self.records, "--record", "99"], "only 12 records"),
                              ([self.records, "--rule", "none"], "no rule is named none"),
                              (["--live", "System"], "no Windows event logs"), ([self.records, "--record", "0"], "--record")):
            self.assertIn(said, self.explain(*options, code=2).stderr)


if __name__ == "__main__":
    unittest.main()
