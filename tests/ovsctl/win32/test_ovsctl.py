"""The commands of ovsctl that install, start, stop and remove the service, with Wine's service control manager."""

import json
import os
import pathlib
import re
import unittest

from ovsctl import DEMO, ROOT, lines_of
from servicebox import LIMIT, PROGRAM, ServiceBox

DEFAULTS = ROOT / "tools" / "ovsctl" / "defaults"
RULES = {path.name: path.read_bytes() for path in (DEMO / "Config" / "Rules").glob("*.DAT")}
SERVICE_KEY = "HKLM\\SYSTEM\\CurrentControlSet\\Services\\OvsEventSvc"
SOURCE_KEY = "HKLM\\SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\OrvantaEventService"
RECORD = {"EventType": 5, "Type": "Failure", "EventCode": "4625", "Logfile": "Security"}


class OvsctlTest(unittest.TestCase):
    def setUp(self):
        self.box = ServiceBox(pathlib.Path(os.environ["WINEPREFIX"]) / "Ovsctl Test" / self.id().split(".")[-1])
        self.box.prepare()
        self.box.forget()
        for path in self.box.debug_files():  # of other tests, which purging would delete
            path.unlink()
        self.addCleanup(self.box.remove)

    def ovsctl(self, *arguments, expect=0):
        """What it printed; for another exit code than 0, what it said."""
        command = self.box.command("ovsctl", *arguments)
        done = self.box.run_command(command)
        self.assertEqual(done.returncode, expect, f"{arguments}\n{done.stdout}{done.stderr}")
        return (done.stdout if expect == 0 else done.stdout + done.stderr).replace("\r", "")

    def with_app(self, command, *options, expect=0):
        return self.ovsctl(command, "--app", self.box.windows(self.box.app), *options, expect=expect)

    def stop_options(self):
        return "--wait", str(LIMIT), "--append-feed", self.box.windows(self.box.feed)

    def status(self, expect=None):
        done = self.box.run_command(self.box.command("ovsctl", "status", "--json", "--app", self.box.windows(self.box.app)))
        self.assertEqual(done.returncode, done.returncode if expect is None else expect, done.stdout + done.stderr)
        return json.loads(done.stdout)

    def data_folder(self):
        folder = self.status()["debugLogs"]["folder"][3:].replace("\\", "/")
        return (self.box.prefix / "drive_c" / folder).parents[1]

    def rules(self):
        return {path.name: path.read_bytes() for path in (self.box.app / "Config" / "Rules").iterdir()}

    def test_life_of_an_installation(self):
        box, program = self.box, self.box.windows(self.box.app / PROGRAM)
        self.assertEqual(self.status(2)["service"], {"state": "not installed"})
        printed = self.with_app("install")
        for part in (f'"{program}"', "5, 30 and 60 seconds", "Event source", "Application folder", "Debug logs", "10 examples", "Installed."):
            self.assertIn(part, printed)
        entry = box.run("reg", "query", SERVICE_KEY)
        for name, value in (("ImagePath", f'"{program}"'), ("Start", "0x2"), ("Type", "0x10"), ("DependOnService", "EventLog"),
                            ("DisplayName", "Orvanta Event Service"), ("Description", "Watches the Windows event logs")):
            self.assertRegex(entry, rf"{name} +REG_\w+ +" + re.escape(value))
        self.assertIn(program, box.run("reg", "query", SOURCE_KEY, "/v", "EventMessageFile"))
        self.assertEqual((box.app / "Config" / "Orvanta.ini").read_bytes(), (DEFAULTS / "Orvanta.ini").read_bytes())
        self.assertEqual((box.app / "OrvantaEventService.cfg").read_bytes(), b"Email.SMTP.SSLProtocol=2\r\n")
        self.assertEqual(self.rules(), RULES)
        self.assertIn(f"already installed, its program is {program}", self.with_app("install", expect=2))
        facts = self.status(1)
        self.assertEqual((facts["service"]["state"], facts["service"]["startType"], facts["service"]["program"]),
                         ("stopped", "automatic", program))

        self.assertIn("Running.", self.ovsctl("start"))
        self.assertIn("started before", self.ovsctl("start"))
        box.append(lines_of(RECORD))
        box.await_handled(1)
        facts = self.status(0)
        self.assertEqual((facts["rules"], facts["diskEvents"], facts["mail"]["on"], facts["problems"]), (10, True, False, []))
        self.assertEqual([line[-12:] for line in facts["lastAlerts"]], ["Failed logon"])
        self.assertGreater(facts["service"]["process"], 0)
        self.assertIn("the stop control is missing", self.ovsctl("stop", "--wait", "0", "--record-only", expect=1))
        said = self.ovsctl("stop", "--wait", "0", "--control-only", expect=1)
        self.assertIn("the record with the stop phrase is missing", said)
        self.assertIn("is stopping", self.ovsctl("start", expect=2))
        printed = self.ovsctl("stop", *self.stop_options())
        self.assertEqual([line in printed for line in ("had been sent before", "appended to the feed", "Stopped.")], [True] * 3)
        self.assertIn("not running", self.ovsctl("stop"))
        box.await_end()

        self.assertIn("stay in", self.with_app("uninstall"))
        box.forget()
        self.assertEqual(self.rules(), RULES)
        self.assertNotIn("EventMessageFile", box.run("reg", "query", SOURCE_KEY, expect=None))
        self.assertRegex(self.with_app("uninstall", "--purge", "--yes"), r"there is none\.\n(.*\n)*Files deleted: 1[0-9]\.")
        self.assertEqual([path.name for path in box.app.iterdir()], [PROGRAM])

    def test_uninstall_stops_the_service_and_purge_deletes_only_its_own_files(self):
        box = self.box
        (box.app / "notes.txt").write_text("mine")
        self.with_app("install")
        self.ovsctl("start")
        box.append(lines_of(RECORD))
        box.await_handled(1)
        folder = self.data_folder() / "Debug Logs" / "OrvantaEventService"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "OrvantaEventService (1).log").touch()
        (folder / "notes.txt").touch()
        self.assertIn("--yes is needed", self.with_app("uninstall", "--purge", expect=2))
        self.assertEqual(self.status(0)["service"]["state"], "running")
        (box.app / "Config" / "Rules" / "keep.txt").write_text("mine")
        (box.app / "Config" / "Rules" / "GlobalExclusion_EventID_List.txt").write_text("7\r\n")
        printed = self.with_app("uninstall", "--purge", "--yes", *self.stop_options())
        self.assertRegex(printed, r"Stopped\.\n(.*\n)*Service entry: deleted\.\nEvent source: deleted\.\nFiles deleted: \d+\.\n")
        left = sorted(str(path.relative_to(box.app)) for path in box.app.rglob("*") if path.is_file())
        self.assertEqual(left, ["Config/Rules/keep.txt", PROGRAM, "notes.txt"])
        self.assertEqual([path.name for path in folder.iterdir()], ["notes.txt"])

    def test_what_exists_is_kept_and_a_failure_takes_the_service_entry_back(self):
        box = self.box
        rules, ini = box.app / "Config" / "Rules", box.app / "Config" / "Orvanta.ini"
        rules.mkdir(parents=True)
        (rules / "Mine.dat").write_bytes(b"[LogFile]\nSystem=1\n")
        ini.mkdir()
        said = self.with_app("install", expect=2)
        for part in ("Event source:", "not done: settings and rules", "The service entry was taken back"):
            self.assertIn(part, said)
        box.forget()
        ini.rmdir()
        ini.write_bytes(b"[Monitoring]\nEventEmails=1\n")
        self.assertRegex(self.with_app("install"), r"Settings: kept.*\nRules: kept")
        self.assertEqual((list(self.rules()), ini.read_bytes()), (["Mine.dat"], b"[Monitoring]\nEventEmails=1\n"))
        self.assertFalse((box.app / "OrvantaEventService.cfg").exists())

    def test_refusals(self):
        no_program = self.box.app.with_name("empty")
        no_program.mkdir(exist_ok=True)
        (self.box.app / "family.jpg").touch()
        self.assertIn("family.jpg; put the service into a folder of its own", self.with_app("install", expect=2))
        (self.box.app / "family.jpg").unlink()
        other = self.box.app.with_name("other name")
        other.unlink(missing_ok=True)
        os.link(self.box.app / PROGRAM, other)
        self.assertIn(f"{PROGRAM} is a file that has another name elsewhere", self.with_app("install", expect=2))
        other.unlink()
        if os.geteuid() == 0:  # a folder for the debug logs that somebody else has prepared
            logs = self.data_folder() / "Debug Logs"
            logs.mkdir(parents=True, exist_ok=True)
            os.chown(logs, 65534, 65534)
            said = self.with_app("install", expect=2)
            os.chown(logs, 0, 0)
            self.assertIn("Debug Logs belongs to somebody else than the administrators", said)
            self.assertNotIn("Service entry", said)
        for arguments, reason in ((["start"], "not installed"), (["stop"], "not installed"), (["uninstall"], "not installed"),
                                  (["install", "--app", self.box.windows(no_program)], "there is no " + PROGRAM),
                                  (["install", "--app", "Z:\\no\\such"], "no such folder"),
                                  (["stop", "--control-only", "--record-only"], "excludes"), (["stop", "--wait", "x"], "--wait")):
            self.assertIn(reason, self.ovsctl(*arguments, expect=2), arguments)
        self.with_app("install")
        (self.box.app / PROGRAM).unlink()
        self.assertIn("its program is not there", self.ovsctl("start", expect=2))


if __name__ == "__main__":
    unittest.main()
