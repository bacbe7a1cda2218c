"""ovsctl replay as a command: what it prints, writes and answers."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
RECORD = ('{"EventType": 1, "Type": "Error", "EventCode": "7", "SourceName": "src", "Message": "%s", "Logfile": "System", '
          '"TimeGenerated": "20240307130509.000000-000"}\n')


class ReplayTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ovs replay "))
        self.addCleanup(shutil.rmtree, self.folder)
        self.rules = self.folder / "Config" / "Rules"
        self.rules.mkdir(parents=True)
        (self.folder / "Config" / "Orvanta.ini").write_bytes(b"[Config]\r\nDisplayEventLogTimesInUTC=1\r\n")
        (self.rules / "Low Disk.dat").write_bytes(b"[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n")

    def replay(self, records, *options, app=None):
        path = self.folder / "records.jsonl"
        path.write_text(records)
        return subprocess.run([os.environ["OVSCTL"], "replay", "--app", app or self.folder, *options, path],
                              capture_output=True, text=True, timeout=60)

    def test_counts_alerts_and_writes_nothing_unless_asked(self):
        done = self.replay(RECORD % "one" + RECORD % "orvanta - stopping event service..." + RECORD % "two")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "3 records, 2 alerts\n       2  Low Disk\n", ""))
        self.assertEqual(list(self.folder.glob("EventLogs*")), [])

    def test_writes_both_logs_as_the_service_would(self):
        for _ in range(2):
            self.assertEqual(self.replay(RECORD % "größer", "--write-logs").returncode, 0)
        entry = ("03/07/2024 01:05:09 PM\r\nRule: Low Disk\r\nEvent ID: 7 / Event Type: Error (1) / Source Name: src / "
                 "Event Log: System\r\nMessage: größer\r\n")
        self.assertEqual((self.folder / "EventLogs.txt").read_bytes().decode(), entry * 2)
        self.assertEqual((self.folder / "EventLogs_RuleNamesOnly.txt").read_bytes(),
                         b"03/07/2024 01:05:09 PM  -  Low Disk\r\n")

    def test_broken_lines_are_named_and_the_rest_is_done(self):
        done = self.replay(RECORD % "one" + "\n{broken\n[1]\n" + (RECORD % "two").rstrip("\n"))
        self.assertEqual(done.returncode, 1)
        self.assertTrue(done.stdout.startswith("2 records, 2 alerts\n"))
        self.assertIn("line 3: not valid JSON; skipped", done.stderr)
        self.assertIn("line 4: not a JSON object; skipped", done.stderr)

    def test_unusable_files_are_named_once(self):
        (self.rules / "Broken.DAT").write_bytes(b"\0\1\2")
        (self.rules / "Folder.DAT").mkdir()
        done = self.replay(RECORD % "one" + RECORD % "two")
        self.assertTrue(done.stdout.startswith("2 records, 2 alerts\n"))
        for name in ("Broken.DAT", "Folder.DAT"):
            self.assertEqual(done.stderr.count(name), 1, done.stderr)

    def test_what_cannot_be_done_says_why(self):
        self.assertIn("no such folder", self.replay("", app=self.folder / "none").stderr)
        self.assertEqual(self.replay("", app=self.folder / "none").returncode, 2)
        done = subprocess.run([os.environ["OVSCTL"], "replay", "--app", self.folder, self.folder / "none.jsonl"],
                              capture_output=True, text=True, timeout=60)
        self.assertEqual(done.returncode, 2)
        self.assertIn("cannot open", done.stderr)


if __name__ == "__main__":
    unittest.main()
