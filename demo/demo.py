"""Plays recorded event records to the installed service and shows what it makes of them. Run by scripts/demo.sh."""

import collections
import os
import pathlib
import re
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests" / "support"))

from certificates import Certificates  # noqa: E402 (the path must be set first)
from mailserver import MailServer  # noqa: E402
from servicebox import ServiceBox  # noqa: E402

DEMO = ROOT / "demo"
SHOWN_ENTRIES = 3
MAILED_RECORDS = 60
WIDTH = 118


def say(text):
    print(f"\n== {text}", flush=True)


def shorten(line):
    return line if len(line) <= WIDTH else line[:WIDTH - 3] + "..."


def read_log(box, name):
    path = box.app / name
    return path.read_bytes().decode("utf-8") if path.exists() else ""


def entries(log):
    """The entries of EventLogs.txt: each begins with its time and its rule."""
    starts = [found.start() for found in re.finditer(r"^\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\r\nRule: ", log, re.MULTILINE)]
    return [log[a:b] for a, b in zip(starts, starts[1:] + [len(log)])]


def show_alerts(box):
    alerts = entries(read_log(box, "EventLogs.txt"))
    names = read_log(box, "EventLogs_RuleNamesOnly.txt").splitlines()
    say(f"EventLogs.txt: {len(alerts)} alerts; the last of them")
    for entry in alerts[-SHOWN_ENTRIES:]:
        print("\n".join("  " + shorten(line) for line in entry.splitlines()[:6]) + "\n")
    say(f"EventLogs_RuleNamesOnly.txt: {len(names)} lines; the last of them")
    print("\n".join("  " + shorten(line) for line in names[-SHOWN_ENTRIES:]))
    say("Alerts by rule")
    count = collections.Counter(entry.splitlines()[1].removeprefix("Rule: ") for entry in alerts)
    for rule, number in count.most_common():
        print(f"  {number:5}  {rule}")
    return alerts, names


MAIL_PASSWORD = "mail account of the demo"
SHOWN_HEADERS = ("Date", "From", "Reply-To", "To", "Subject", "Message-ID", "X-Mailer", "Content-Type")


def show_mails(server):
    """All by their envelopes, and whole the two that the test record of the disk check became."""
    say(f"The mail server (aiosmtpd, STARTTLS, login) has {len(server.mails)} mails")
    for mail in server.mails:
        print(shorten(f"  {mail.tls}, login {mail.mechanism}: <{mail.sender}> to {', '.join(mail.recipients)}: "
                      f"{mail.message['Subject']}"))
    for mail in server.mails[-2:]:
        print(f"\n  To {', '.join(mail.recipients)}:\n")
        print("\n".join(f"    {name}: {mail.message[name]}" for name in SHOWN_HEADERS if mail.message[name]))
        print("\n" + "\n".join("    " + shorten(line) for line in
                               mail.message.get_body(("plain",)).get_content().rstrip("\n").splitlines()))


SETTINGS = "Env.WANAddress=203.0.113.5\r\nEmail.SMTP.Password=only for the demo"
DEBUG_SETTINGS = ("Debug.Log.Verbose=1\r\nDebug.Log.RealTime=1\r\nDebug.EnvDump=1\r\nDebug.ProcDump=1\r\n"
                  "Debug.ProcDump.IncludeProcTimers=1")


def show_debug_files(box):
    files = box.debug_files()
    say("Debug log and dumps, in " + ", ".join(sorted({str(path.parent.relative_to(ROOT)) for path in files})))
    for path in files:
        text = path.read_bytes().decode("utf-8")
        print(f"\n  {path.name}: {len(text.encode()):,} bytes, begins")
        print("\n".join("    " + shorten(line) for line in text.splitlines()[:14]))
    return len(files) == 3


def prepare(box, certificates, debug):
    say("A fresh application folder with the example rules")
    box.prepare(DEMO / "app")
    rules = sorted(path.stem for path in (box.app / "Config" / "Rules").glob("*.DAT"))
    print(f"  {box.app.relative_to(ROOT)}: {len(rules)} rules\n    " + "\n    ".join(rules))
    (box.app / "OrvantaEventService.cfg").write_bytes(SETTINGS.encode())
    box.set_program_settings(Email_SMTP_CAFile=box.windows(certificates.ca))
    if debug:
        for path in box.debug_files():
            path.unlink()
        (box.app / "OrvantaEventService_Debug.cfg").write_bytes(DEBUG_SETTINGS.encode())
    return rules


def start(box):
    say("Install and start through the service control manager (Wine's)")
    print("  " + box.install().strip())
    box.start()
    print("  " + box.query())
    print("  Wine has no event notification: a stand-in, registered in this throw-away prefix only, plays the records.")


def play(box, server):
    """All records without mail; then mail is switched on, and the last of them come once more."""
    records = (DEMO / "records.jsonl").read_bytes().splitlines(keepends=True)
    say(f"{len(records)} recorded real event records arrive")
    begin = time.monotonic()
    box.append(b"".join(records))
    box.await_handled(len(records))
    print(f"  handled in {time.monotonic() - begin:.1f} s")
    say("E-mail is switched on in Orvanta.ini while the service runs")
    box.set_mail(server)
    again = records[-MAILED_RECORDS:]
    begin = time.monotonic()
    box.append(b"".join(again) + (DEMO / "test-alert.jsonl").read_bytes())
    box.await_handled(len(records) + len(again) + 1)
    print(f"  The last {len(again)} records once more and the test record of the disk check: {len(server.mails)} mails in "
          f"{time.monotonic() - begin:.1f} s")


def stop(box):
    say("Stop: the control and the record with the stop phrase")
    print("".join("  " + line + "\n" for line in box.stop().splitlines()), end="")
    print("  " + box.query())
    stopped = box.state() == "STOPPED"
    box.await_end()
    return stopped


def show_settings(box):
    say("Its settings file, with the password encrypted that was typed into it in plain text")
    settings = (box.app / "OrvantaEventService.cfg").read_bytes().decode()
    print("\n".join("  " + shorten(line) for line in settings.splitlines()))
    return "only for the demo" not in settings and "WANAddress=203.0.113.5" in settings


def main():
    debug = "--debug" in sys.argv[1:]
    box = ServiceBox(pathlib.Path(os.environ["WINEPREFIX"]).parent / "app")
    with tempfile.TemporaryDirectory() as folder:
        certificates = Certificates(folder)
        with MailServer("starttls", certificates.good, auth_required=True, password=MAIL_PASSWORD) as server:
            rules = prepare(box, certificates, debug)
            try:
                start(box)
                play(box, server)
                alerts, names = show_alerts(box)
                show_mails(server)
                good = stop(box) and show_settings(box)
            finally:
                box.remove()
    if debug:
        good = show_debug_files(box) and good
    good = good and len(alerts) > len(rules) and "Disk Event Alert" in names[-1]
    good = good and len(server.mails) >= 4 and server.mails[-1].message["Subject"].startswith("Disk Alert! - ")
    say("Every record was handled, every alert mailed, the service stopped by its protocol" if good else "FAILED: see above")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
