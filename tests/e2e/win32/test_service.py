"""The shipped service program, installed and started by the service control manager, over recorded event records."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
from certificates import Certificates  # noqa: E402 (the path must be set first)
from mailserver import MailServer  # noqa: E402
from scriptedserver import STALL, ScriptedServer  # noqa: E402
from servicebox import LIMIT, PROGRAM, ServiceBox  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[3]
STOP_PHRASE = "Orvanta - STOPPING Event Service..."
CHANNELS = [
    "Microsoft-Windows-Windows Defender/Operational",
    "Microsoft-Windows-Windows Firewall With Advanced Security/Firewall",
    "Microsoft-Windows-WindowsUpdateClient/Operational",
]
RULE = b"[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n"


def record(message, **values):
    fields = {"EventType": 1, "Type": "Error", "EventCode": "7", "SourceName": "src", "Message": message,
              "Logfile": "System", "TimeGenerated": "20240307130509.000000-000"}
    return json.dumps(fields | values) + "\n"


class ServiceTest(unittest.TestCase):
    def setUp(self):
        self.box = ServiceBox(pathlib.Path(os.environ["WINEPREFIX"]) / "Test App" / self.id().split(".")[-1])
        self.box.prepare()
        (self.box.app / "Config").mkdir()
        (self.box.app / "Config" / "Orvanta.ini").write_bytes(b"[Config]\r\nDisplayEventLogTimesInUTC=1\r\n")
        self.box.install()
        self.addCleanup(self.box.remove)

    def add_rule(self, name="A.DAT", content=RULE):
        rules = self.box.app / "Config" / "Rules"
        rules.mkdir(exist_ok=True)
        (rules / name).write_bytes(content)

    def log(self, name="EventLogs.txt"):
        path = self.box.app / name
        return path.read_bytes().decode() if path.exists() else ""

    def test_life_from_start_to_both_keys(self):
        box = self.box
        box.start()
        self.assertIn("type 16, accepts 5, exit code 0, service exit code 0, checkpoint 0, wait hint 0", box.query())
        box.run("svcctl", "interrogate")
        self.assertEqual(box.state(), "RUNNING")
        box.wait_until((box.app / "Config" / "Rules").is_dir, "rules folder made at start")
        self.add_rule("Low Disk.DAT")
        box.append(record("one"))
        box.await_handled(1)
        self.assertEqual(self.log(), "03/07/2024 01:05:09 PM\r\nRule: Low Disk\r\n"
                         "Event ID: 7 / Event Type: Error (1) / Source Name: src / Event Log: System\r\nMessage: one\r\n")
        self.assertEqual(self.log("EventLogs_RuleNamesOnly.txt"), "03/07/2024 01:05:09 PM  -  Low Disk\r\n")
        self.assertIn("Stopped.", box.stop())
        self.assertIn("state 1 STOPPED", box.query())
        self.assertIn("exit code 0", box.query())

    def test_control_before_phrase(self):
        box = self.box
        self.add_rule()
        box.start()
        box.run("svcctl", "stop")
        box.await_state("STOP_PENDING")
        box.append(record("still handled"))
        box.await_handled(1)
        self.assertIn("still handled", self.log())
        self.assertEqual(box.state(), "STOP_PENDING")
        box.append(record(STOP_PHRASE))
        box.await_state("STOPPED")

    def test_phrase_before_control(self):
        box = self.box
        self.add_rule()
        box.start()
        box.append(record("xx " + STOP_PHRASE.lower() + " xx") + record("no longer handled"))
        box.wait_until(lambda: box.progress().get("delivered") == 1, "phrase delivered")
        self.assertEqual(box.state(), "RUNNING")
        box.run("svcctl", "stop")
        box.await_state("STOPPED")
        self.assertEqual(box.progress()["calls"], 1)
        self.assertEqual(self.log(), "")

    def test_started_by_hand_it_says_so(self):
        # Wine's dispatcher call offers the program to the pipe of the service that was started last, which this value
        # counts, and waits for ever when that one still runs, as Wine's own services do. Nobody has pipe 9999.
        self.box.run("reg", "add", "HKLM\\SYSTEM\\CurrentControlSet\\Control\\ServiceCurrent", "/ve", "/t", "REG_DWORD", "/d",
                     "9999", "/f")
        command = self.box.command(str(self.box.app / PROGRAM))
        with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as hand:
            try:
                shown = self.box.run("press", "Orvanta Event Service", "1", str(LIMIT))
                self.assertEqual(hand.wait(LIMIT), 0)
            finally:
                hand.kill()
        self.assertIn('"This program must be started as a service."', shown)
        self.assertEqual(self.box.progress(), {}, "no connection was made")

    def test_it_starts_again_at_once_while_the_process_before_still_writes_its_dump(self):
        box = self.box
        (box.app / "X_Debug.cfg").write_bytes(b"Debug.ProcDump=1\r\n")
        for number in range(10):
            self.add_rule(f"{number}.DAT")
        overlaps, times = 0, int(os.environ.get("OVS_RESTARTS", "2"))
        box.start()
        for number in range(times):
            box.append(record("x" * 20_000) * int(os.environ.get("OVS_RECORDS", "30")))
            box.await_handled(len(box.feed.read_text().splitlines()))
            box.run("svcctl", "stop")
            ending = box.feed
            box.take_new_feed(f"{number}.feed.jsonl")
            with subprocess.Popen(box.command("svcctl", "restart"), stdout=subprocess.PIPE, text=True) as restart:
                restart.stdout.readline()  # now it waits
                with open(ending, "a", encoding="utf-8") as feed:
                    feed.write(record(STOP_PHRASE))
                said = restart.communicate(timeout=LIMIT * 2)[0]
            self.assertEqual(restart.returncode, 0, said)
            overlaps += "still running" in said
        print(f"{times} restarts, {overlaps} while the process before still ran")
        self.assertGreater(overlaps, 0, said)
        box.stop()
        box.await_end()

    def test_a_server_that_is_registered_by_its_bare_file_name_comes_from_the_system_folder(self):
        box = self.box
        library = box.prefix / "drive_c" / "windows" / "system32" / "wmi_standin.dll"
        shutil.copy2(box.bin / library.name, library)
        self.addCleanup(library.unlink)
        name = re.search(r"\{.*\}", box.run("reg", "query", "HKCR\\winmgmts\\CLSID", "/ve"))[0]
        box.run("reg", "add", f"HKCR\\CLSID\\{name}\\InprocServer32", "/ve", "/d", library.name, "/f")
        self.add_rule()
        box.append(record("one"))
        box.start()
        box.await_handled(1)
        self.assertIn("Message: one", self.log())
        box.stop()

    def test_channel_keys_are_made_once(self):
        box = self.box
        keys = ["HKLM\\SYSTEM\\CurrentControlSet\\services\\eventlog\\" + channel for channel in CHANNELS]
        for key in keys:
            box.run("reg", "delete", key, "/f", expect=None)
        box.start()
        box.stop()
        for key in keys:
            self.assertIn("REG_SZ", box.run("reg", "query", key, "/ve"), key)
        box.run("reg", "add", keys[1], "/ve", "/d", "kept", "/f")
        box.start()
        box.stop()
        self.assertIn("kept", box.run("reg", "query", keys[1], "/ve"))

    def test_a_source_that_fails_ends_the_process_without_a_stopped_report(self):
        box = self.box
        self.add_rule()
        for fail_query, fail_connect in (("1", "0"), ("0", "1")):
            box.set_standin(fail_query, fail_connect)
            self.start_and_die()
        box.set_standin("0", "0")
        for order in ({"standin": "fail-nextevent"}, {"standin": "fail-property", "name": "Message"}):
            box.feed.write_text(record("before") + json.dumps(order) + "\n" + record("after"))
            self.start_and_die()
        self.assertEqual(self.log().count("before"), 2)
        self.assertNotIn("after", self.log())

    def start_and_die(self):
        self.box.start(wait=None)
        self.box.await_end()
        self.assertEqual(self.box.state(), "RUNNING", "the last state that was reported")
        self.box.install()

    def test_odd_values_and_files_are_survived(self):
        box = self.box
        self.add_rule()
        self.add_rule("Binary.DAT", bytes(range(256)))
        self.add_rule("Empty.DAT", b"")
        (box.app / "Config" / "Rules" / "Folder.DAT").mkdir()
        box.start()
        nulls = dict.fromkeys(["Type", "EventCode", "SourceName", "Message", "TimeGenerated"])
        box.append(record(None, **nulls, EventType=1) + record(" a\0b ") + record("x" * 1_000_000) +
                   record({"date": 45358.5}) + record("last", EventType=None))
        box.await_handled(5)
        log = self.log()
        self.assertIn("Event ID:  / Event Type:  (1) / Source Name:  / Event Log: System\r\nMessage: \r\n", log)
        self.assertIn("Message: ab\r\n", log)
        self.assertIn("Message: " + "x" * 1_000_000 + "\r\n", log)
        self.assertIn("Message: 3/7/2024 12:00:00 PM\r\n", log)
        self.assertIn("Event Type: Error (0) / Source Name: src / Event Log: System\r\nMessage: last\r\n", log)
        box.stop()

    def test_settings_files_are_used_and_passwords_kept_encrypted(self):
        box = self.box
        for path in box.debug_files():
            path.unlink()
        settings = box.app / "OrvantaEventService.cfg"
        settings.write_bytes(b"Other.Setting=stays\r\nEmail.SMTP.Password=geheim99\r\n")
        (box.app / "X_Debug.cfg").write_bytes(b"Debug.Log.RealTime=1\r\nDebug.Log.Verbose=1\r\nDebug.ProcDump=1")
        stored = []
        for _ in range(2):
            box.start()
            box.stop()
            box.await_end()
            stored.append(settings.read_bytes())
        self.assertRegex(stored[0], rb"^Other\.Setting=stays\r\nEmail\.SMTP\.Password=<ev~>[0-9A-F]{32}$")
        self.assertEqual(stored[0], stored[1])
        written = [path.read_bytes() for path in box.debug_files()]
        self.assertEqual(len(written), 6, "log and both dumps of two runs")
        self.assertIn(b"Verbose Event", b"".join(written))
        self.assertNotIn(b"geheim99", b"".join(written))

    def test_a_record_becomes_a_mail_to_the_client_and_one_to_the_technician(self):
        box = self.box
        self.add_rule("Low Disk.DAT")
        (box.app / "X_Debug.cfg").write_bytes(b"Debug.Log.RealTime=1\r\nDebug.Log.Verbose=1\r\nDebug.ProcDump=1")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        certificates = Certificates(folder.name)
        for path in box.debug_files():
            path.unlink()
        with MailServer("starttls", certificates.good, auth_required=True, password="pa:ss wörd") as server:
            box.set_program_settings(Email_SMTP_CAFile=box.windows(certificates.ca))
            box.set_mail(server)
            box.start()
            box.append(record("Grüße\r\n.\r\nBcc: evil@example.com"))
            box.await_handled(1)
            box.append(record("fake disk alert"))
            box.await_handled(2)
            box.stop()
            box.await_end()
            client, technician, disk_client, disk_technician = server.mails
        self.assertEqual([mail.recipients for mail in server.mails],
                         [["client@example.org"], ["jane@example.com"]] * 2)
        self.assertTrue(all(mail.tls and mail.mechanism for mail in server.mails))
        self.assertEqual(client.message["Subject"], "Event Alert! - C-1042 (Praxis Müller)")
        self.assertEqual(disk_client.message["Subject"], "Disk Alert! - C-1042 (Praxis Müller)")
        self.assertEqual((client.message["From"], client.sender), ("Jane Doe <jane@example.com>", "jane@example.com"))
        self.assertEqual((technician.message["From"], technician.message["Reply-To"]),
                         ("C-1042 <client@example.org>",) * 2)
        alert = ("Time: 2024/03/07 13:05:09\nRule: Low Disk\nEvent Log: System\nEvent Type: Error (1)\nEvent ID: 7\n"
                 "Source Name: src\nMessage: Grüße\n.\nBcc: evil@example.com\n\n---\nThis message sent by ")
        head = "Orvanta Event Service - Auto Generated Email\n\n"
        self.assertEqual(self.body(client), head + alert)
        self.assertRegex(self.body(technician), "^" + head + "-----Client Details-----\nID:  C-1042\nName:  Praxis Müller\n"
                         r"Phone:  \+49 30 555\nEmail:  client@example.org\nComputer Name:  \S+\nLAN IP:  .*\nWAN IP:  \n"
                         "vt/vtII Name:  \n\nEmail NOT sent to client follows:\n\nTime: ")
        self.assertTrue(self.body(technician).endswith(alert))
        self.assertIn("Rule: Disk Event Alert\n", self.body(disk_technician))
        self.assert_nowhere("pa:ss w")

    @staticmethod
    def body(mail):
        return mail.message.get_body(("plain",)).get_content().replace("\r\n", "\n").removesuffix("\n")

    def assert_nowhere(self, secret):
        written = [path for path in self.box.app.rglob("*") if path.is_file()] + self.box.debug_files()
        self.assertGreaterEqual(len(self.box.debug_files()), 3)
        for path in written:
            self.assertNotIn(secret.encode(), path.read_bytes(), path)

    def test_a_mail_server_that_never_answers_holds_up_one_mail_and_no_record(self):
        box = self.box
        self.add_rule("A.DAT")
        with ScriptedServer({"greeting": STALL}) as server:
            server.user, server.password = "user", "password"
            box.set_program_settings(Email_SMTP_SendTimeout=1)
            box.set_mail(server, UseSSL=0)
            box.start()
            box.append(record("one") + record("two"))
            box.await_handled(2)
            box.stop()
        self.assertEqual([line for line in self.log().splitlines() if line.startswith("Message")],
                         ["Message: one", "Message: two"])

    def test_all_sample_records_give_the_logs_of_the_native_replay(self):
        box = self.box
        samples = ROOT / "tests" / "data" / "records.jsonl"
        shutil.copytree(ROOT / "demo" / "app", box.app, dirs_exist_ok=True)
        for log in ("System", "Application", "Security"):
            self.add_rule(f"All of {log}.DAT", b"[LogFile]\n" + log.encode() + b"=1\n[EventType]\nError=1\nWarning=1\n"
                          b"Info=1\nSuccess=1\nFailure=1\n")
        replayed = box.app.with_name("replayed")
        shutil.rmtree(replayed, ignore_errors=True)
        shutil.copytree(box.app, replayed)
        subprocess.run([os.environ["OVS_NATIVE_OVSCTL"], "replay", "--app", replayed, "--write-logs", samples], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=LIMIT)
        box.append(samples.read_bytes())
        box.start()
        box.await_handled(len(samples.read_bytes().splitlines()))
        box.stop()
        for name in ("EventLogs.txt", "EventLogs_RuleNamesOnly.txt"):
            written = (box.app / name).read_bytes()
            self.assertGreater(len(written), 10_000)
            self.assertEqual(written, (replayed / name).read_bytes(), name)


if __name__ == "__main__":
    unittest.main()
