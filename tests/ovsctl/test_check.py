"""ovsctl check over files with seeded mistakes: each is named with its file, its line and what is wrong, and hides no other."""

import shutil
import unittest

from ovsctl import DEMO, RULE, SECRET, OvsctlTest

# What is added to RULE begins with line 5, to this with line 6.
DETAIL = RULE + "[EventDetail]\n"
INI, RULES, CFG = "Config/Orvanta.ini", "Config/Rules/", "OrvantaEventService.cfg"
IDS, SOURCES, TEXTS = (RULES + f"GlobalExclusion_Event{kind}_List.txt" for kind in ("ID", "Source", "Desc"))
R = RULES + "R.DAT"
MAIL = ("[Monitoring]\nEventEmails=1\n[EmailOptions]\nEmailAdminEvents=1\n[EmailConfig]\nAdminEmail=a@example.com\n"
        "SMTPServer=mail\nSMTPPort=587\nSMTPUserName=u\nSMTPPassword=4190726f\n")  # 10 lines
MAIL_ON = "[EmailConfig]\n"

# What the mistake is called; the files (line ends become CR LF); where it must be found: file, line (None for the whole
# file), a piece of what is said and of how to mend it.
SEEDED = (
    # lines of rules
    ("misspelt section", {R: RULE.replace("LogFile", "LogFiles")}, (R, 1, "unknown section [LogFiles]", "[LogFile]")),
    ("section missing beside it", {R: RULE.replace("LogFile", "LogFiles")}, (R, None, "no section [LogFile]", "System=1")),
    ("unknown section", {R: RULE + "[Zebra]\nx=1\n"}, (R, 5, "unknown section [Zebra]", "[EventDetail]")),
    ("misspelt key", {R: DETAIL + "EventDecs=x\n"}, (R, 6, 'unknown key "EventDecs"', '"EventDesc"')),
    ("key of another section", {R: RULE + "EventID=7\n"}, (R, 5, 'unknown key "EventID" in [EventType]', "[EventDetail]")),
    ("unknown key", {R: DETAIL + "Comment=x\n"}, (R, 6, 'unknown key "Comment"', "EventSource")),
    ("true", {R: RULE + "Warning=true\n"}, (R, 5, '"true"', "Warning=1")),
    ("01", {R: RULE + "Warning=01\n"}, (R, 5, '"01"', "Warning=1")),
    ("1 with a remark", {R: RULE + "Warning=1 ; too\n"}, (R, 5, '"1 ; too"', "nothing behind")),
    ("2", {R: RULE + "Warning=2\n"}, (R, 5, '"2", which counts as off', "Warning=0")),
    ("two equals signs", {R: RULE + "Warning==1\n"}, (R, 5, '"=1"', "Warning=1")),
    ("false", {R: RULE + "Warning=false\n"}, (R, 5, "warning: ", "leave the line out")),
    ("no log", {R: RULE.replace("System=1", "System=0")}, (R, 1, "no log is on", "System=1")),
    ("type section missing", {R: "[LogFile]\nSystem=1\n"}, (R, None, "no section [EventType]", "Error=1")),
    ("key before any section", {R: "EventID=7\n" + RULE}, (R, 1, "before the first section", "[EventDetail]")),
    ("key without =", {R: RULE + "Warning\n"}, (R, 5, '"Warning" has no "="', "Warning=")),
    ("colon for =", {R: DETAIL + "EventID: 7\n"}, (R, 6, '"EventID" has no "="', "EventID=")),
    ("section without [", {R: "[LogFile]\nSystem=1\nEventType]\nError=1\n"}, (R, 3, "opens no section", "[")),
    ("# remark", {R: "# x\n" + RULE}, (R, 1, "not a remark", ";")),
    ("# before a key", {R: RULE + "#Warning=1\n"}, (R, 5, "not a remark", ";")),
    ("section twice", {R: RULE + "[LogFile]\nSecurity=1\n"}, (R, 5, "only the one in line 1", "line 1")),
    ("key twice", {R: RULE + "Error=0\n"}, (R, 5, "only line 4 is read", "one of the two")),
    ("empty key", {R: RULE + "=1\n"}, (R, 5, 'no key before the "="', "Write the key")),
    ("text excludes itself", {R: DETAIL + "EventDesc=a disk\nEventDescEx=DISK\n"}, (R, 7, "part of EventDesc (line 6)", "occur")),
    ("text hides a logon", {R: DETAIL.replace("System", "Security") + "EventDescEx=Name:  x\n"}, (R, 6, "warning: whoever can write", "Leave")),
    ("text hides a service", {R: DETAIL + "EventID=7045\nEventDescEx=C:\\x\\\n"}, (R, 7, "warning: whoever installs", "File Name:")),
    ("stop phrase", {R: DETAIL + "EventDesc=Orvanta - stopping event service...\n"}, (R, 6, "stops the service", "another text")),
    ("ID is a word", {R: DETAIL + "EventID=any\n"}, (R, 6, "no event ID", "4625")),
    ("ID list", {R: DETAIL + "EventID=4625,4624\n"}, (R, 6, "more than one number", "one ID a rule")),
    ("ID hexadecimal", {R: DETAIL + "EventID=0x1211\n"}, (R, 6, "hexadecimal", "decimal")),
    ("ID with zeros", {R: DETAIL + "EventID=007\n"}, (R, 6, "begins with 0", "without zeros")),
    ("ID too large", {R: DETAIL + "EventID=70000\n"}, (R, 6, "end at 65535", "event viewer")),
    ("source wildcard", {R: DETAIL + "EventSource=Disk*\n"}, (R, 6, "no wildcards", "whole name")),
    ("text wildcard", {R: DETAIL + "EventDesc=*failed*\n"}, (R, 6, "wildcard", "anywhere")),
    ("line break in a text", {R: DETAIL + "EventDesc=failed\\r\\nagain\n"}, (R, 6, "line break", "one line")),
    ("remark behind a text", {R: DETAIL + "EventDesc=failed ; a remark\n"}, (R, 6, '" ;"', "lines of their own")),
    ("too long", {R: DETAIL + "EventDesc=" + "x" * 9000 + "\n"}, (R, 6, "too long", "Shorten")),
    ("lost characters", {R: DETAIL + "EventDesc=gr\ufffd\ufffder\n"}, (R, 6, "were lost", "UTF-8")),
    ("wrong encoding", {R: DETAIL + "EventDesc=gr\u00c3\u00b6\u00c3\u0178er\n"}, (R, 6, "wrong encoding", "UTF-8")),
    # rules together
    ("hidden by ID", {R: DETAIL + "EventID=7\n", IDS: "1\n7\n"}, (R, 6, "GlobalExclusion_EventID_List.txt, line 2", "Remove")),
    ("hidden by source", {R: DETAIL + "EventSource=disk\n", SOURCES: " Disk \n"}, (R, 6, "EventSource_List.txt, line 1", "Remove")),
    ("hidden by text", {R: DETAIL + "EventDesc=it failed\n", TEXTS: "\nFAILED\n"}, (R, 6, "EventDesc_List.txt, line 2", "Remove")),
    ("same rule", {R: DETAIL + "EventDesc=x\n", RULES + "S.dat": "[eventtype]\nError=1\n[logfile]\nSystem=1\n[EventDetail]\neventdesc=X\n"},
     (RULES + "S.dat", None, "means the same as Config\\Rules\\R.DAT", "Remove one")),
    ("rule within another", {R: RULE, RULES + "S.DAT": DETAIL + "EventID=7\n"},
     (RULES + "S.DAT", None, "warning: every record of this rule is one of Config\\Rules\\R.DAT", "narrow")),
    # lists
    ("blanks exclude all", {TEXTS: "abc\n \n"}, (TEXTS, 2, "one blank excludes every message", "Remove")),
    ("very short text", {TEXTS: "e\n"}, (TEXTS, 1, "nearly all", "longer")),
    ("bare LF", {TEXTS: b"abc\ndef\nghi\r\n"}, (TEXTS, 1, "lines 1 to 3 do not end in CR LF", "Windows line ends")),
    ("beside bare LF", {TEXTS: b"abc\ndef\n;ghi\r\n"}, (TEXTS, 3, "lists have no remarks", "Remove")),
    ("outer blanks", {TEXTS: "abc \n"}, (TEXTS, 1, "blanks at its ends", "meant")),
    ("remark in a list", {IDS: "; mine\n7\n"}, (IDS, 1, "lists have no remarks", "Remove")),
    ("entry twice", {SOURCES: "Disk\n\ndisk \n"}, (SOURCES, 3, "in line 1 already", "one of the two")),
    ("ID line is a word", {IDS: "7\nDisk\n"}, (IDS, 2, "no event ID", "decimal")),
    ("damaged list", {TEXTS: b"\0\0"}, (TEXTS, None, "NUL", "UTF-8")),
    # files
    ("UTF-16 without mark", {R: RULE.encode("utf-16-le")}, (R, None, "NUL", "byte-order mark")),
    ("too large", {R: b";" * (16 << 20) + b"\r\n"}, (R, None, "cannot be used", "16 MB")),
    ("folder as a rule", {RULES + "F.DAT/x": "x"}, (RULES + "F.DAT", None, "cannot be used", "another name")),
    ("two endings", {RULES + "A.dat.txt": RULE}, (RULES + "A.dat.txt", None, "does not end in .DAT", "Rename")),
    ("rule in a folder", {RULES + "sub/A.DAT": RULE}, (RULES + "sub/A.DAT", None, "not read", "Move it")),
    ("rule a level too high", {"Config/A.DAT": RULE}, ("Config/A.DAT", None, "not read", "Move it")),
    ("misspelt list", {RULES + "GlobalExclusions_EventID_List.txt": "7\n"},
     (RULES + "GlobalExclusions_EventID_List.txt", None, "wrong name", "GlobalExclusion_EventID_List.txt")),
    ("list with two endings", {TEXTS + ".txt": "x\n"}, (TEXTS + ".txt", None, "wrong name", "EventDesc_List.txt")),
    ("settings with two endings", {INI + ".txt": "[Config]\n"}, (INI + ".txt", None, "wrong name", "Orvanta.ini")),
    # main settings
    ("settings key", {INI: "[Monitoring]\nDiskEvent=1\n"}, (INI, 2, 'unknown key "DiskEvent"', "DiskEvents")),
    ("settings key elsewhere", {INI: "[Config]\nDiskEvents=1\n"}, (INI, 2, 'unknown key "DiskEvents"', "[Monitoring]")),
    ("settings switch", {INI: "[Monitoring]\nDiskEvents=true\n"}, (INI, 2, '"true"', "DiskEvents=1")),
    ("port is a word", {INI: MAIL_ON + "SMTPPort=smtp\n"}, (INI, 2, "no number", "65535")),
    ("port too large", {INI: MAIL_ON + "SMTPPort=99999\n"}, (INI, 2, "out of range", "65535")),
    ("TLS code", {INI: MAIL_ON + "UseSSL=5\n"}, (INI, 2, "out of range", "0 to 4")),
    ("addresses with semicolon", {INI: MAIL_ON + "AdminEmail=a@example.com;b@example.com\n"}, (INI, 2, "no mail server", "commas")),
    ("address without @", {INI: "[Branding]\nSupportEmail=jane\n"}, (INI, 2, 'without "@"', "whole address")),
    ("password in plain text", {INI: MAIL_ON + "SMTPPassword=geheim99\n"}, (INI, 2, "not in its scrambled form", "set-password")),
    ("no TLS", {INI: MAIL.replace("587", "25") + "UseSSL=0\nAutoFix=0\n"}, (INI, 11, "connection without TLS", "UseSSL=2")),
    ("TLS if offered", {INI: MAIL.replace("587", "25")}, (INI, 8, "does not offer STARTTLS", "UseSSL=2")),
    ("465 with STARTTLS", {INI: MAIL.replace("587", "465") + "UseSSL=2\nAutoFix=0\n"}, (INI, 11, "port 465 speaks TLS", "587")),
    ("587 with TLS at once", {INI: MAIL + "UseSSL=1\n"}, (INI, 11, "port 587 does not speak; AutoFix", "UseSSL=2")),
    *((f"no {key}", {INI: "".join(line + "\n" for line in MAIL.split("\n") if line and not line.startswith(key))},
       (INI, 2, f"no alert can be mailed: [EmailConfig] has no {key}", key))
      for key in ("AdminEmail", "SMTPServer", "SMTPPort", "SMTPUserName")),
    ("empty password", {INI: MAIL.replace("4190726f", "")}, (INI, 10, "has no SMTPPassword", "set-password")),
    ("no recipient", {INI: MAIL.replace("AdminEvents=1", "AdminEvents=0")}, (INI, 2, "nobody would get one", "EmailAdminEvents=1")),
    ("settings file missing", {INI: None}, (INI, None, "no main settings file", "Make the file")),
    # program settings
    ("cfg key", {CFG: "Debug.ProcDumb=1\n"}, (CFG, 1, 'unknown setting "Debug.ProcDumb"', '"Debug.ProcDump"')),
    ("cfg unknown", {CFG: "Window.Left=1\n"}, (CFG, 1, "warning: unknown setting", "Remove")),
    ("cfg blanks", {CFG: "Debug.ProcDump = 1\n"}, (CFG, 1, "blanks belong to it", "without blanks")),
    ("cfg switch", {CFG: "Debug.EnvDump=yes\n"}, (CFG, 1, '"yes"', "Debug.EnvDump=1")),
    ("cfg number", {CFG: "x\nEmail.SMTP.ConnectTimeout=1 min\n"}, (CFG, 2, "no number", "3600")),
    ("cfg beside it", {CFG: "x\nEmail.SMTP.ConnectTimeout=1 min\n"}, (CFG, 1, '"x" has no "="', ";")),
    ("cfg strict switch", {CFG: "Email.SMTP.AllowUntrusted=2\n"}, (CFG, 1, '"2"', "AllowUntrusted=1")),
    ("cfg file missing", {CFG: "Email.SMTP.CAFile=C:\\none.pem\n"}, (CFG, 1, "no file here", "full path")),
    ("cfg secret", {CFG: "Email.SMTP.Password=<ev~>00ff\n"}, (CFG, 1, "cannot be decrypted", "encrypt Email.SMTP.Password")),
    ("cfg secret in plain text", {"x_Debug.cfg": "Email.SMTP.Password=x\n"}, ("x_Debug.cfg", 1, "stays in plain text", "encrypt Email")),
    ("cfg section", {CFG: "[Debug]\n"}, (CFG, 1, "section lines count for nothing", "whole keys")),
    ("cfg twice", {CFG: "Debug.EnvDump=1\ndebug.envdump=0\n"}, (CFG, 2, "line 1 too; this later one counts", "one of the two")),
    ("cfg in two files", {CFG: "Debug.EnvDump=1\n", "sub/x.cfg": "Debug.EnvDump=0\n"}, ("*.cfg", 1, "rests on the order", "one of the two")),
    ("cfg bare LF", {CFG: b"Debug.EnvDump=1\nDebug.ProcDump=yes\n"}, (CFG, 1, "do not end in CR LF", "Windows line ends")),
    ("cfg within bare LF", {CFG: b"Debug.EnvDump=1\nDebug.ProcDump=yes\n"}, (CFG, 2, '"yes"', "ProcDump=1")),
)


class CheckTest(OvsctlTest):
    command = "check"

    def lay_out(self, files):
        """A folder without mistakes but for these files."""
        shutil.rmtree(self.app)
        for name, content in ({INI: "[Config]\n", RULES + "Good.DAT": "[LogFile]\nSecurity=1\n[EventType]\nFailure=1\n"} | files).items():
            if content is not None:
                self.write(name, content)

    def test_each_seeded_mistake_is_named_with_its_place(self):
        self.assertGreaterEqual(len(SEEDED), 60)
        for name, files, (file, line, what, mend) in SEEDED:
            with self.subTest(name):
                self.lay_out(files)
                done = self.ovsctl(code=1)
                place = file.replace("/", "\\") + ("" if line is None else f":{line}") + ": "
                lines = done.stdout.splitlines()
                found = [(said, lines[i + 1]) for i, said in enumerate(lines)
                         if (said.startswith(place) or file == "*.cfg") and what in said]
                self.assertEqual(len(found), 1, done.stdout)
                self.assertTrue(found[0][1].startswith("    ") and mend in found[0][1], found)

    def test_a_mistake_hides_no_other(self):
        """All mistakes that fit into one folder, at once: every one is still told."""
        text = "[LogFil]\nSistem=1\n" + DETAIL + "EventID=0x7\nEventDesc=*a\nEventDescEx=a\nEventDesc=b\nEventSource\nfoo=1\n[LogFile]\n"
        self.lay_out({R: text, INI: "DiskEvents=1\n[Monitoring]\nDiskEvents=yes\nx\n[EmailConfig]\nUseSSL=9\nUseSSL=1\n"})
        report = self.json(code=1)
        places = sorted((each["file"].split("\\")[-1], each["line"] or 0) for each in report["findings"])
        self.assertEqual(places, [("Orvanta.ini", line) for line in (1, 3, 4, 6, 7)] +
                         [("R.DAT", line) for line in (1, 2, 8, 9, 10, 11, 12, 13, 14)])
        self.assertEqual((report["errors"] + report["warnings"], report["files"]), (len(places), 3))

    def test_nothing_is_wrong_where_nothing_is(self):
        for app in (DEMO, None):
            self.lay_out({CFG: "; made by the service\nDebug.EnvDump=1\nDebug.SystemOutput.Prefix=\n", INI: MAIL, IDS: "7\n\n8",
                          RULES + "S.DAT": DETAIL + "EventDesc=C:\\new\\x?y w\nEventDescEx=C:\\new\\x?y z more\nEventSource=Disk\n",
                          R: "; x\n" + DETAIL + "EventDesc=C:\\new\\x?y\nEventDescEx=C:\\new\\x?y z\nEventSource= \"Disk\" \n"})
            done = self.ovsctl(app=app)
            self.assertEqual(done.stdout, "")
            self.assertRegex(done.stderr, r"^\d+ files checked: nothing is wrong\.\n$")

    def test_single_files(self):
        self.lay_out({R: DETAIL + "EventID=7\n", IDS: "7\n", "a.txt": RULE, "b.txt": "hello", CFG: "Debug.EnvDump=1\n",
                      "other/Orvanta.ini": MAIL.replace("587", "25") + "UseSSL=0\nAutoFix=0\n"})
        for file, code, what in ((R, 1, "EventID_List.txt, line 1"), (IDS, 0, ""), (CFG, 0, ""), (INI, 0, ""), ("a.txt", 1, ".DAT"),
                                 ("other/Orvanta.ini", 1, "without TLS"), ("b.txt", 1, "no file of this name"), ("none.DAT", 1, "no such file")):
            self.assertIn(what, self.ovsctl(self.app / file, code=code).stdout)
        self.refused(([], "no such folder"), app=self.app / "none")

    def test_texts_are_safe_and_secrets_stay_secret(self):
        self.lay_out({R: DETAIL + "Event\x1b[2JDesc\x7f\x9b\u202e=x\n", INI: MAIL_ON + f"SMTPPasswort={SECRET}\nSMTPPassword {SECRET}\nSMTPPassword={SECRET}\n",
                      CFG: f"Email.SMTP.Passwort={SECRET}\n"})
        done = self.ovsctl(code=1)
        self.assertNotIn("\x1b", done.stdout)
        self.assertIn("\\u001b[2JDesc\\u007f\\u009b\\u202e", done.stdout)
        self.assertIn(done.stdout.split(chr(10))[0].split(": ")[2], self.json(code=1)["findings"][0]["what"])


if __name__ == "__main__":
    unittest.main()
