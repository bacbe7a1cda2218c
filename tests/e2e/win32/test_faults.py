"""The process is killed at any moment, or its record source breaks: what is on disk stays whole, and the next start goes on.

OVS_KILLS is how often it is killed (10 by default), each time somewhere within fifty records.
"""

import os
import pathlib
import random
import re
import signal
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
from servicebox import ServiceBox, command_line
from test_service import RULE, record

RECORDS = 50
ENTRY = re.compile(r"\d\d/\d\d/\d{4} \d\d:\d\d:\d\d [AP]M\r\nRule: A\r\nEvent ID: 7 / Event Type: Error \(1\) / "
                   r"Source Name: src / Event Log: System\r\nMessage: <(\d+)>x*</\1>\r\n")
NAME_LINE = re.compile(r"\d\d/\d\d/\d{4} \d\d:\d\d:\d\d [AP]M  -  A\r\n")


def messages(round_number):
    """Texts of very different lengths, so that entries end anywhere in a block of the disk."""
    for i in range(RECORDS):
        number = round_number * RECORDS + i
        yield f"<{number}>{'x' * (number * 997 % 9000)}</{number}>"


class FaultsTest(unittest.TestCase):
    def setUp(self):
        self.box = ServiceBox(pathlib.Path(os.environ["WINEPREFIX"]) / "Test App" / self.id().split(".")[-1])
        self.box.prepare()
        rules = self.box.app / "Config" / "Rules"
        rules.mkdir(parents=True)
        (rules / "A.DAT").write_bytes(RULE)
        (self.box.app / "Config" / "Orvanta.ini").write_bytes(b"[Config]\r\nDisplayEventLogTimesInUTC=1\r\n")
        (self.box.app / "X_Debug.cfg").write_bytes(b"Debug.Log.RealTime=1\r\n")
        for path in self.box.debug_files():
            path.unlink()
        self.box.install()
        self.addCleanup(self.box.remove)

    def log(self, name):
        path = self.box.app / name
        return path.read_bytes().decode() if path.exists() else ""

    def process(self):
        program = self.box.windows(self.box.app / "OrvantaEventService.exe").encode()
        return next(int(path.name) for path in pathlib.Path("/proc").glob("[0-9]*") if program in command_line(path))

    def assert_whole(self, what, pattern, text):
        numbers = pattern.findall(text)
        self.assertEqual(pattern.sub("", text), "", f"{what} holds a torn entry")
        return numbers

    def test_killed_at_any_moment_it_leaves_whole_logs_and_starts_again(self):
        box = self.box
        chance = random.Random(7)
        for number in range(int(os.environ.get("OVS_KILLS", "10"))):
            box.feed.write_text("".join(map(record, messages(number))))
            box.count.unlink(missing_ok=True)
            box.start()
            process = self.process()
            moment = chance.randrange(RECORDS)
            box.wait_until(lambda: box.progress().get("delivered", 0) > moment, "the moment to be killed at")
            os.kill(process, signal.SIGKILL)
            box.await_end()
            logged = self.assert_whole("EventLogs.txt", ENTRY, self.log("EventLogs.txt"))
            # Of this round all records before the moment are there, in their order, and none twice.
            first = number * RECORDS
            mine = [int(each) for each in logged if int(each) >= first]
            self.assertEqual(mine, list(range(first, first + len(mine))))
            self.assertGreaterEqual(len(mine), moment)
            self.assert_whole("EventLogs_RuleNamesOnly.txt", NAME_LINE, self.log("EventLogs_RuleNamesOnly.txt"))
            box.install()
        box.feed.write_text(record("<99>after</99>"))
        box.count.unlink(missing_ok=True)
        box.start()
        box.await_handled(1)
        self.assertIn("<99>after</99>", self.log("EventLogs.txt"))
        self.assertIn("stopped", box.stop().lower())

    def test_a_source_that_breaks_leaves_its_error_and_the_gap_in_the_debug_log(self):
        box = self.box
        box.feed.write_text(record("<1>before</1>") + '{"standin": "fail-nextevent"}\n' + record("<2>lost</2>"))
        box.start(wait=None)
        box.await_end()
        self.assertEqual(box.state(), "RUNNING", "no STOPPED report: the control manager's recovery acts")
        box.feed.write_text(record("<3>after</3>"))
        box.count.unlink(missing_ok=True)
        box.install()
        box.start()
        box.await_handled(1)
        box.stop()
        broken, restarted = sorted((path.read_text() for path in box.debug_files() if "Dump" not in path.name),
                                   key=lambda text: "ErrorHandler" not in text)
        self.assertRegex(broken, r"(?s)\d\d/\d\d/\d{4} [\d:]+ [AP]M ErrorHandler.*Sample\.Main")
        self.assertRegex(restarted, r"\d\d/\d\d/\d{4} [\d:]+ [AP]M Normal")
        self.assertNotIn("ErrorHandler", restarted)
        self.assertEqual([each for each in re.findall(r"<(\d)>", self.log("EventLogs.txt"))], ["1", "3"])


if __name__ == "__main__":
    unittest.main()
