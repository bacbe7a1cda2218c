"""ovsctl as the tests run it: an application folder for each test, rules, settings and records in it."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
DATA = ROOT / "tests" / "data"
DEMO = ROOT / "demo" / "app"
RULE = "[LogFile]\nSystem=1\n[EventType]\nError=1\n"  # 4 lines
RECORD = {"EventType": 1, "Type": "Error", "EventCode": "7", "SourceName": "src", "Message": "one", "Logfile": "System",
          "TimeGenerated": "20240307130509.000000-000"}
SECRET = "geheim99"  # never to be printed
WINE = os.environ.get("OVS_WINE") == "1"  # ovsctl is a Windows program
PROGRAM = [str(ROOT / "scripts" / "run-windows-program.sh"), "wine"] * WINE + [os.environ["OVSCTL"]]


def shown_path(path):
    """As ovsctl itself names it."""
    return "Z:" + str(path).replace("/", "\\") if WINE else str(path)


def lines_of(*records):
    """JSON lines, one for each change of RECORD."""
    return "".join(json.dumps(RECORD | record) + "\n" for record in records)


class OvsctlTest(unittest.TestCase):
    """`command` is what the tests of the class give; None when each names its own."""

    command = None
    maxDiff = None

    def setUp(self):
        self.app = pathlib.Path(tempfile.mkdtemp(prefix=f"ovs {type(self).__name__} "))
        self.addCleanup(shutil.rmtree, self.app)
        self.rules = self.app / "Config" / "Rules"
        self.rules.mkdir(parents=True)
        self.ini = self.app / "Config" / "Orvanta.ini"
        self.records = self.app / "records"

    def write(self, path, content):
        """A file below the application folder; texts get line ends of CR LF."""
        path = self.app / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.replace("\n", "\r\n").encode())
        return path

    def run_program(self, *arguments, typed="", rights=True):
        """Bytes that are typed give bytes. Without `rights` root may open no more than its files' modes allow."""
        text = {} if isinstance(typed, bytes) else {"encoding": "utf-8"}
        # Not where a real installation keeps its debug logs.
        environment = {name: value for name, value in os.environ.items() if name.lower() != "programdata"}
        without = [] if rights or os.geteuid() else ["setpriv", "--bounding-set", "-dac_override,-dac_read_search"]
        done = subprocess.run([*without, *PROGRAM, *arguments], input=typed, capture_output=True, timeout=120, env=environment, **text)
        if WINE:
            done.stdout = done.stdout.replace("\r", "")
        self.assertNotIn(SECRET.encode() if isinstance(typed, bytes) else SECRET, done.stdout + done.stderr)
        return done

    def ovsctl(self, *options, code=0, app=None, typed="", command=None, rights=True):
        """Runs the command over the application folder; `code` is what it must end with, None for whatever."""
        done = self.run_program(command or self.command, "--app", shown_path(app or self.app), *options, typed=typed, rights=rights)
        if code is not None:
            self.assertEqual(done.returncode, code, (options, done.stdout, done.stderr))
        if "--json" in options:
            self.assertNotRegex(done.stdout, "[^\n -~]")
        return done

    def json(self, *options, **how):
        return json.loads(self.ovsctl("--json", *options, **how).stdout)

    def scrambled(self, password=SECRET):
        return self.run_program("set-password", "--print", typed=password + "\n").stdout.strip()

    def refused(self, *cases, app=None):
        """Each case: the options, and what must be said; nothing is done."""
        for options, said in cases:
            done = self.ovsctl(*options, code=2, app=app)
            self.assertEqual(done.stdout, "", options)
            self.assertIn(said, done.stderr, options)
