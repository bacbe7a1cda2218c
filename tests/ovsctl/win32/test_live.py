"""The commands that take records of the machine's own logs, with the stand-in that plays recorded ones."""

import datetime
import json
import os
import pathlib
import signal
import subprocess
import unittest

from ovsctl import RECORD, lines_of
from servicebox import LIMIT, ServiceBox


def record(message, log="System", minutes_ago=0, **change):
    time = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(minutes=minutes_ago)
    return RECORD | {"Message": message, "Logfile": log, "TimeGenerated": time.strftime("%Y%m%d%H%M%S.%f-000")} | change


class LiveTest(unittest.TestCase):
    def setUp(self):
        self.box = ServiceBox(pathlib.Path(os.environ["WINEPREFIX"]) / "live")
        self.box.prepare()
        (self.box.app / "Config" / "Rules").mkdir(parents=True)
        self.addCleanup(self.box.run, "standin-setup", "unregister", expect=None)

    def feed(self, *records):
        self.box.append(lines_of(*records))

    def ovsctl(self, *arguments, code=0):
        done = subprocess.run(self.box.command("ovsctl", *arguments, "--app", self.box.windows(self.box.app)),
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, encoding="utf-8", timeout=LIMIT)
        self.assertEqual(done.returncode, code, done.stderr)
        return done

    def explained(self, *options):
        lines = self.ovsctl("explain", "--json", *options).stdout.splitlines()
        return [json.loads(line)["record"]["Message"] for line in lines]

    def test_the_newest_of_a_log_oldest_first(self):
        self.feed(record("one", minutes_ago=9), record("other", "Application", 8), record("größer\r\n", minutes_ago=7),
                  record("three", minutes_ago=6), record("quoted", "It's a\\log", 5))
        self.assertEqual(self.explained("--live", "system", "--last", "2"), ["größer\r\n", "three"])
        self.assertEqual(self.explained("--live", "System", "--last", "9"), ["one", "größer\r\n", "three"])
        self.assertEqual(self.explained("--live", "It's a\\log"), ["quoted"])
        self.assertIn("no record in the log Setup", self.ovsctl("explain", "--live", "Setup", code=2).stderr)

    def test_records_of_all_logs_since_a_time_in_the_order_of_time(self):
        self.feed(record("old", minutes_ago=200), record("b", "Application", 50), record("a", minutes_ago=60),
                  record("d", minutes_ago=10), record("c", "Application", 40))
        done = self.ovsctl("replay", "--live", "--since", "90m", "--json")
        self.assertEqual(json.loads(done.stdout)["records"], 4)

    def test_refusals_and_missing_services_say_what_to_do(self):
        self.box.set_standin("1", "0")
        for command in (["explain", "--live", "Security"], ["events"]):
            self.assertIn("Run as administrator", self.ovsctl(*command, code=2).stderr)
        self.assertIn("log Security", self.ovsctl("explain", "--live", "Security", code=2).stderr)

    def test_events_are_printed_as_they_come_and_read_back(self):
        entries = [record("größer\r\nmore \x1b[31m"), record("other", "Application"), record(None, EventCode=4711)]
        self.feed(*entries)
        done = self.ovsctl("events", "--count", "2", "--log", "system")
        self.assertIn("EventID:     7\n  EventSource: src\n  Message:     größer\n               more \\u001b[31m\n", done.stdout)
        self.assertNotIn("other", done.stdout)
        lines = self.ovsctl("events", "--count", "3", "--json").stdout
        taken = self.box.app / "taken.jsonl"
        taken.write_text(lines, encoding="utf-8")
        again = self.ovsctl("explain", "--json", self.box.windows(taken)).stdout
        self.assertEqual([json.loads(line)["record"] for line in again.splitlines()],
                         [json.loads(line) for line in lines.splitlines()])
        self.assertEqual(json.loads(lines.splitlines()[2]), entries[2] | {"Message": "", "EventCode": "4711"})

    def test_control_c_ends_the_wait_cleanly(self):
        self.feed(record("one"))
        command = self.box.command("ovsctl", "events", "--json", "--app", self.box.windows(self.box.app))
        with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as events:
            try:
                self.assertEqual(json.loads(events.stdout.readline())["Message"], "one")
                events.send_signal(signal.SIGINT)
                self.assertEqual(events.wait(LIMIT), 0)
            finally:
                events.kill()


if __name__ == "__main__":
    unittest.main()
