"""A Wine prefix in which the shipped service program runs: the service control manager, the stand-in that plays recorded
event records in place of Windows' own notification service, and the application folder.

Runs inside scripts/with-wine.sh, which makes the prefix and keeps it alive. OVS_BIN is the folder of the Windows programs.
"""

import os
import pathlib
import re
import shutil
import subprocess
import time

SERVICE = "OvsEventSvc"
PROGRAM = "OrvantaEventService.exe"
CLIENT_KEY = "HKLM\\Software\\Brindle Works\\Orvanta"
LIMIT = 60  # seconds; no step takes longer, even on a busy machine


def command_line(process):
    try:
        return (process / "cmdline").read_bytes()
    except OSError:  # it has ended meanwhile
        return b""


class ServiceBox:
    def __init__(self, app):
        self.bin = pathlib.Path(os.environ["OVS_BIN"])
        self.prefix = pathlib.Path(os.environ["WINEPREFIX"])
        self.app = pathlib.Path(app)
        self.name_feed(self.app.name + ".feed.jsonl")

    # --- programs

    def command(self, program, *arguments):
        """The command line of one of our programs (no folder in its name) or of Wine's own."""
        own = self.bin / (program + ".exe")
        return ["wine", str(own) if own.exists() else program, *arguments]

    def run(self, program, *arguments, expect=0, typed=""):
        done = self.run_command(self.command(program, *arguments), typed)
        output = done.stdout.replace("\r", "")
        if expect is not None and done.returncode != expect:
            raise AssertionError(f"{program} {' '.join(arguments)}: exit code {done.returncode}\n{output}{done.stderr}")
        return output

    @staticmethod
    def run_command(command, typed=""):
        for _ in range(3):
            done = subprocess.run(command, input=typed, capture_output=True, text=True, encoding="utf-8", timeout=LIMIT + 10)
            # On a busy machine Wine now and then fails to start a program, without a word; all of ours say something.
            if done.returncode != 1 or done.stdout or done.stderr:
                break
        return done

    @staticmethod
    def windows(path):
        return "Z:" + str(pathlib.Path(path).resolve()).replace("/", "\\")

    # --- application folder and feed

    def prepare(self, config=None):
        """A fresh application folder with the program, and a feed without records."""
        shutil.rmtree(self.app, ignore_errors=True)
        self.app.mkdir(parents=True)
        if config is not None:
            shutil.copytree(config, self.app, dirs_exist_ok=True)
        shutil.copy2(self.bin / PROGRAM, self.app / PROGRAM)
        self.take_new_feed(self.feed.name)

    def name_feed(self, name):
        self.feed = self.app.parent / name
        self.count = self.feed.with_name(name + ".count")

    def take_new_feed(self, name):
        """A feed without records for the next start; a service that runs stays with its own."""
        self.name_feed(name)
        self.feed.write_bytes(b"")
        self.count.unlink(missing_ok=True)
        self.set_standin("0", "0")

    def set_standin(self, fail_query, fail_connect):
        self.run("standin-setup", "register", "--feed", self.windows(self.feed), "--fail-query", fail_query,
                 "--fail-connect", fail_connect)

    def set_program_settings(self, **settings):
        """In a file of their own; read when the service starts. Of the names "_" stands for "."."""
        lines = (f"{key.replace('_', '.')}={value}\r\n" for key, value in settings.items())
        (self.app / "Mail.cfg").write_bytes("".join(lines).encode())

    def set_mail(self, server, **settings):
        """The settings with which alerts go to a mail server of the tests, both copies on, and the client's registry values.
        `settings` are further keys of section EmailConfig."""
        scrambled = self.run("ovsctl", "set-password", "--print", typed=server.password + "\n").strip()
        keys = {"AdminName": "Jane Doe", "AdminEmail": "jane@example.com", "SMTPServer": "localhost", "SMTPPort": server.port,
                "SMTPUserName": server.user, "SMTPPassword": scrambled, "UseSSL": 2} | settings
        ini = self.app / "Config" / "Orvanta.ini"
        ini.write_text("[Monitoring]\nDiskEvents=1\nEventEmails=1\n[Config]\nDisplayEventLogTimesInUTC=1\n"
                       "DisplayEventLogDateYearFirst=1\nDisplayEventLogTimeAs24Hour=1\n[EmailConfig]\n" +
                       "".join(f"{key}={value}\n" for key, value in keys.items()) +
                       "[EmailOptions]\nEmailAdminEvents=1\n[Branding]\nAppName=Orvanta\n", encoding="utf-8")
        for name, value in {"EmailClientEvents": "1", "ClientEmail": "client@example.org", "ClientIdentifier": "C-1042",
                            "ClientName": "Praxis Müller", "ClientPhone": "+49 30 555"}.items():
            self.run("reg", "add", CLIENT_KEY, "/v", name, "/d", value, "/f")

    def debug_files(self):
        """Debug logs and dumps; %ProgramData% is not the same folder in every version of Wine."""
        return sorted((self.prefix / "drive_c").rglob("Debug Logs/*/*.log"))

    def append(self, lines):
        """Lines of JSON, complete with their line ends."""
        with open(self.feed, "ab") as feed:
            feed.write(lines if isinstance(lines, bytes) else lines.encode())

    def progress(self):
        """Numbers of the stand-in: delivered, skipped, failed, calls; empty before the service has subscribed."""
        text = self.count.read_text() if self.count.exists() else ""
        return {name: int(number) for name, number in re.findall(r"(\w+) (\d+)", text)}

    def await_handled(self, delivered):
        """Waits until the service has handled that many records and has come back for the next one."""
        def handled():
            now = self.progress()
            return now.get("delivered", 0) >= delivered and now["calls"] > now["delivered"] + now["failed"]
        self.wait_until(handled, f"{delivered} records handled")

    def wait_until(self, condition, what, limit=LIMIT):
        end = time.monotonic() + limit
        while not condition():
            if time.monotonic() > end:
                raise AssertionError(f"not in {limit} s: {what}; {self.progress()}; {self.run('svcctl', 'query', expect=None)}")
            time.sleep(0.02)

    # --- service

    def install(self):
        self.forget()
        return self.run("svcctl", "install", self.windows(self.app / PROGRAM))

    def start(self, wait="RUNNING"):
        self.run("svcctl", "start")
        if wait:
            self.await_state(wait)

    def query(self):
        return self.run("svcctl", "query").strip()

    def state(self):
        return re.search(r"state \d+ (\w+)", self.query())[1]

    def await_state(self, state):
        # Asked again and again: on a busy machine Wine now and then fails to start a program.
        self.wait_until(lambda: f" {state}," in self.run("svcctl", "query", expect=None), f"state {state}")

    def stop(self, *options):
        """Both keys of the stop protocol, turned by the project's own command."""
        return self.run("ovsctl", "stop", "--wait", str(LIMIT), "--append-feed", self.windows(self.feed), *options)

    def runs(self):
        """Whether a process of the application folder's program is there. Wine's control manager does not notice when a
        service's process has ended, so its word does not count for that."""
        program = self.windows(self.app / PROGRAM).encode()
        return any(program in command_line(process) for process in pathlib.Path("/proc").glob("[0-9]*"))

    def await_end(self):
        self.wait_until(lambda: not self.runs(), "process ended")

    def remove(self):
        """Ends the service whatever it does, and forgets it."""
        found = re.search(r"process ([1-9]\d*)", self.run("svcctl", "query", expect=None))
        if found and self.runs():
            self.run("taskkill", "/f", "/pid", found[1], expect=None)
            self.await_end()
        self.forget()
        self.run("standin-setup", "unregister", expect=None)
        self.run("reg", "delete", CLIENT_KEY, "/f", expect=None)

    def forget(self):
        """Deletes the service; the control manager is done with it only some time after the deleting program has ended."""
        self.run("svcctl", "delete", expect=None)
        no_such_service = "error 1060"
        self.wait_until(lambda: no_such_service in self.run("svcctl", "query", expect=None), "service deleted")
