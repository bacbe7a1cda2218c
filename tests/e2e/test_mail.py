"""Mails as real servers get them, sent through the message object by the program mailprobe.

Environment: MAILPROBE, the program; OVS_WINE=1 when it is a Windows program to be started with wine."""

import base64
import datetime
import email
import email.header
import email.policy
import email.utils
import hashlib
import io
import json
import os
import pathlib
import queue
import re
import shutil
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
import warnings
import zipfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
import eximserver  # noqa: E402
from certificates import Certificates  # noqa: E402
from eximserver import EximServer  # noqa: E402
from mailserver import MailServer  # noqa: E402
from scriptedserver import DROP, ENDLESS, STALL, ScriptedServer  # noqa: E402

WINE = os.environ.get("OVS_WINE") == "1"
CAP = 60  # seconds for any answer
USER, PASSWORD = "alarm", "pa:ss wörd"
CLEAR = "The password was sent over a connection without TLS."
UNTRUSTED = "Certificate and host name of the mail server were not verified."
METHODS = {0: None, 1: "LOGIN", 3: "PLAIN", 4: "CRAM-MD5", 5: "CRAM-MD5"}
PNG = base64.b64decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==")


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def registry(test, key, *value):
    """Sets a value in Wine's registry until the test ends."""
    reg = lambda *arguments: subprocess.run(["wine", "reg", *arguments, "/f"], check=True, capture_output=True, timeout=CAP)  # noqa: E731
    reg("add", key, *value)
    test.addCleanup(reg, "delete", key)


def base64_cores(secret):
    """What base64 makes of the bytes wherever they stand in a longer text."""
    for lead in range(3):
        first, last = (lead * 8 + 5) // 6, (lead + len(secret)) * 8 // 6
        yield base64.b64encode(bytes(lead) + secret).decode()[first:last]


class Probe:
    """One process that sends the mails it is told to."""

    def __init__(self, environment=None):
        self._process, self.output, self._environment = None, [], environment or {}

    def _start(self):
        command = (["wine"] if WINE else []) + [os.environ["MAILPROBE"]]
        # Natively nothing else names a temporary folder in the form in which programs for Windows know it.
        self._process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.DEVNULL if WINE else None,
                                         env=os.environ | {"TMP": windows_path(tempfile.gettempdir())} | self._environment)
        self._answers = queue.Queue()
        threading.Thread(target=self._read, args=(self._process.stdout, self._answers), daemon=True).start()

    @staticmethod
    def _read(pipe, answers):
        with pipe:
            for line in pipe:
                answers.put(line)
        answers.put(None)

    def ask(self, request):
        if self._process is None:
            self._start()
        self._process.stdin.write(json.dumps(request).encode() + b"\n")
        self._process.stdin.flush()
        try:
            line = self._answers.get(timeout=CAP)
        except queue.Empty:
            self.end()
            raise AssertionError(f"no answer within {CAP} s") from None
        if line is None:
            self.end()
            raise AssertionError("the probe has ended")
        answer = json.loads(line)
        self.output.append(json.dumps(answer, ensure_ascii=False))
        return answer

    def end(self):
        if self._process is not None:
            self._process.stdin.close()
            try:
                self._process.wait(10)
            except subprocess.TimeoutExpired:
                self._process.kill()
                self._process.wait(10)
            self._process = None


class MailTest(unittest.TestCase):
    maxDiff = 2000

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="ovs mail "))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.certificates = Certificates(cls.folder)
        cls.probe = Probe()
        cls.addClassCleanup(cls.probe.end)

    @classmethod
    def tearDownClass(cls):
        """Nothing the probe ever wrote holds a password, in clear or in base64."""
        for secret in (PASSWORD, eximserver.NTLM_PASSWORD):
            for form in (secret, *base64_cores(secret.encode())):
                assert not any(form in text for text in cls.probe.output), f"{form} in what the probe wrote"

    def send(self, server, store=None, ca="ca", attachments=(), request=None, **properties):
        """One mail: properties of the message over defaults, settings of the store, other parts of the request."""
        settings = {"Email.SMTP.CAFile": windows_path(self.folder / f"{ca}.pem")} if ca else {}
        settings.update(store or {})
        message = {"SmtpHost": "localhost", "SmtpPort": server if isinstance(server, int) else server.port,
                   "SmtpUsername": USER, "SmtpPassword": PASSWORD, "SmtpAuthMethod": 5, "EmailFrom": "sender@localhost",
                   "EmailTo": "one@localhost", "EmailSubject": "subject", "EmailBody": "body",
                   "EmailBodyAppendTailMsg": False}
        return self.probe.ask({
            "store": "".join(f"{key}={value}\r\n" for key, value in settings.items()), "set": message | properties,
            "attachments": [windows_path(path) if WINE else str(path) for path in attachments], **(request or {})})

    def sent(self, server, **arguments):
        """Sends one mail that must arrive; the mail."""
        answer = self.send(server, **arguments)
        self.assertTrue(answer["sent"], answer["log"])
        return server.mails[-1]

    def refused(self, answer, *words):
        """The mail was not sent, and the reason names these."""
        self.assertFalse(answer["sent"], answer["log"])
        for word in words:
            self.assertIn(word.lower(), answer["failReason"].lower())
        self.assertGreater(len(answer["failReason"]), 10)
        self.assertTrue(any(answer["failReason"] in entry for entry in answer["debug"]), answer["debug"])

    def assert_well_formed(self, raw):
        self.assertNotRegex(raw.replace(b"\r\n", b""), b"[\r\n\0]")
        lines = raw.split(b"\r\n")
        self.assertLessEqual(max(map(len, lines)), 998)
        raw.partition(b"\r\n\r\n")[0].decode("ascii")

    @staticmethod
    def mailboxes(raw, key):
        """Names and addresses of a header; the newer parser leaves blanks where a long name was folded."""
        header = email.message_from_bytes(raw, policy=email.policy.compat32)[key]
        decoded = lambda name: str(email.header.make_header(email.header.decode_header(name)))  # noqa: E731
        return [(decoded(name), address) for name, address in email.utils.getaddresses([header])]

    def entries(self, answer, text):
        return sum(text in entry for entry in answer["debug"])


class ArrivalTest(MailTest):
    def test_every_login_over_every_connection(self):
        modes = [  # what the server speaks, SSL type, auto-fix, whether TLS is the result
            ("none", 0, 0, False), ("none", 0, 1, False), ("none", 3, 1, False), ("starttls", 0, 0, False),
            ("starttls", 0, 1, True), ("starttls", 2, 0, True), ("starttls", 3, 1, True), ("starttls", 4, 0, True),
            ("implicit", 1, 0, True), ("implicit", 1, 1, True)]
        for tls, ssl_type, auto_fix, over_tls in modes:
            with MailServer(tls, self.certificates.good) as server:
                for method, mechanism in METHODS.items():
                    with self.subTest(tls=tls, ssl_type=ssl_type, auto_fix=auto_fix, method=method):
                        answer = self.send(server, SmtpSSLType=ssl_type, SmtpAutoFix=auto_fix, SmtpAuthMethod=method)
                        self.assertTrue(answer["sent"], answer["log"])
                        mail = server.mails.pop()
                        self.assertEqual(mail.mechanism, mechanism)
                        # Without a password to protect nothing asks for TLS.
                        self.assertEqual(mail.tls is not None, over_tls and not (ssl_type == 0 and method == 0))
                        self.assertEqual((mail.sender, mail.recipients), ("sender@localhost", ["one@localhost"]))
                        in_clear = not over_tls and mechanism in ("LOGIN", "PLAIN")
                        self.assertEqual(self.entries(answer, CLEAR), int(in_clear))
                        self.assertEqual(answer["usedComponent"], ssl_type >= 2 or method >= 3)
                        self.assertEqual(answer["asked"], [])

    def test_headers(self):
        subjects = ["plain", "Grüße: größer", "диск заполнен", "磁盘已满", "🔥 alarm 🔥", "=?UTF-8?Q?not=20coded?=", "two  blanks",
                    "word " * 399 + "end!", "x" * 2000, "ü" * 2000, "磁" * 2000]
        names = ["Jane Doe", 'Jane "JD" Doe', "Jörg Müller (Büro)", "李雷", "O'Neil; <x>",
                 "Дежурный " * 12 + "админ", "back\\slash"]
        ids = set()
        with MailServer() as server:
            for index, subject in enumerate(subjects):
                name = names[index % len(names)]
                with self.subTest(subject=subject[:20], name=name):
                    mail = self.sent(
                        server, EmailSubject=subject, EmailFrom=f'"Doe, {name}" <sender@localhost>',
                        EmailReplyTo=f'"{name}" <reply@localhost>', EmailTo=f'"{name}" <one@localhost> , <two@localhost>,,',
                        EmailCC=f"{name} <three@localhost>", EmailBCC="four@localhost", AddPriorityHeader=index % 2 == 0)
                    self.assert_well_formed(mail.raw)
                    message = mail.message
                    shown = lambda key: self.mailboxes(mail.raw, key)  # noqa: E731
                    self.assertEqual(message["Subject"], subject)
                    self.assertEqual(shown("From"), [("Doe, " + name, "sender@localhost")])
                    self.assertEqual(shown("Reply-To"), [(name, "reply@localhost")])
                    self.assertEqual(shown("To"), [(name, "one@localhost"), ("", "two@localhost")])
                    self.assertEqual(shown("Cc"), [(name, "three@localhost")])
                    self.assertEqual(mail.recipients, [f"{name}@localhost" for name in ("one", "two", "three", "four")])
                    self.assertNotIn(b"four@", mail.raw)
                    self.assertEqual(message["X-Priority"], "1" if index % 2 == 0 else None)
                    self.assertEqual(message["MIME-Version"], "1.0")
                    self.assertRegex(message["X-Mailer"], r"^Orvanta Event Service [\d.]+$")
                    self.assertRegex(message["Message-ID"], r"^<[\w.-]+@[\w.-]+>$")
                    ids.add(message["Message-ID"])
                    age = datetime.datetime.now(datetime.timezone.utc) - email.utils.parsedate_to_datetime(message["Date"])
                    self.assertLess(abs(age), datetime.timedelta(minutes=1))
                    once = [key.lower() for key in message.keys()]
                    self.assertEqual(len(once), len(set(once)), once)
        self.assertEqual(len(ids), len(subjects))

    def test_bodies(self):
        bodies = ["", "one line", "Grüße\r\n\r\nпривет 磁盘 🔥\r\n", ".\r\n..\r\n.leading\r\n.\r\n", "磁盘 🔥\r\n.\r\n" * 300,
                  "x" * 5000 + "\r\n" + "ü" * 5000, "lone\rreturn\nfeed\0nul\r\n",
                  "trailing blank \r\ntab\t\r\nFrom here", "\r\n"]
        with MailServer() as server:
            for html in (False, True):
                for body in bodies:
                    with self.subTest(html=html, body=body[:20]):
                        mail = self.sent(server, EmailBody=body, EmailBodyIsHTML=html)
                        self.assert_well_formed(mail.raw)
                        part = mail.message.get_body()
                        self.assertEqual(part.get_content_type(), "text/html" if html else "text/plain")
                        expected = re.sub("\r\n|\r|\n", "\r\n", body).replace("\0", " ")
                        self.assertEqual(part.get_payload(decode=True).decode(part.get_content_charset()), expected)

    def test_attachments_and_archive(self):
        names = ["random.bin", "empty.txt", "größe 磁盘 🔥.bin", "semi;colon's =x.txt", "long " * 30 + "name.bin"]
        contents = {name: b"" if name == "empty.txt" else os.urandom(100_000) for name in names}
        for name, content in contents.items():
            (self.folder / name).write_bytes(content)
        paths = [self.folder / name for name in contents]
        with MailServer() as server:
            mail = self.sent(server, attachments=[*paths, self.folder / "missing.bin"])
            self.assert_well_formed(mail.raw)
            got = {part.get_filename(): part.get_payload(decode=True) for part in mail.message.iter_attachments()}
            self.assertEqual(list(got), names)
            self.assertEqual(got, contents)

            mail = self.sent(server, attachments=paths, request={"zip": True}, ZipFileName=f"ovs {os.getpid()} Müll")
            [part] = mail.message.iter_attachments()
            self.assertEqual(part.get_filename(), f"ovs {os.getpid()} Müll.zip")
            with zipfile.ZipFile(io.BytesIO(part.get_payload(decode=True))) as archive:
                self.assertEqual({name: archive.read(name) for name in archive.namelist()}, contents)

    def test_html_with_logo(self):
        (self.folder / "app" / "Config").mkdir(parents=True)
        (self.folder / "app" / "Config" / "Logo.png").write_bytes(PNG)
        app = windows_path(self.folder / "app") if WINE else str(self.folder / "app")
        (self.folder / "more.txt").write_bytes(b"more")
        with MailServer() as server:
            mail = self.sent(server, EmailBody='<img src="cid:Logo.png">', EmailBodyIsHTML=True, request={"app": app},
                             attachments=[self.folder / "more.txt"])
        parts = {part.get_content_type(): part for part in mail.message.walk()}
        related = [part.get_content_type() for part in parts["multipart/related"].iter_parts()]
        self.assertEqual(related, ["text/html", "image/png"])
        self.assertEqual(parts["image/png"].get_payload(decode=True), PNG)
        reference = re.search('cid:([^"]+)"', parts["text/html"].get_content())[1]
        self.assertEqual(parts["image/png"]["Content-ID"], f"<{reference}>")
        self.assertIn("more.txt", [part.get_filename() for part in mail.message.iter_attachments()])

    def test_refused_recipients(self):
        with MailServer(refuse=("two@localhost", "three@localhost")) as server:
            answer = self.send(server, EmailTo="one@localhost,two@localhost, four@localhost")
            self.assertTrue(answer["sent"], answer["log"])
            self.assertEqual(server.mails.pop().recipients, ["one@localhost", "four@localhost"])
            self.assertIn("two@localhost", answer["log"])
            note = "refused a recipient: <two@localhost> (550 5.1.1 No such mailbox here)"
            self.assertEqual(self.entries(answer, note), 1)
            answer = self.send(server, EmailTo="two@localhost,three@localhost")
            self.refused(answer, "550 5.1.1 No such mailbox here")
            named = [self.entries(answer, f"<{name}@localhost>") for name in ("two", "three")]
            self.assertEqual((server.mails, named), ([], [1, 1]))

    def test_second_attempt_with_login(self):
        with MailServer(broken=("CRAM-MD5", "PLAIN")) as server:
            answer = self.send(server)
            self.assertTrue(answer["sent"], answer["log"])
            self.assertEqual([(login[0], login[2]) for login in server.logins], [("CRAM-MD5", False), ("LOGIN", True)])
            self.assertEqual(server.mails[-1].mechanism, "LOGIN")
            self.refused(self.send(server, SmtpAuthMethod=4), "login", "535")
        with MailServer(broken=("CRAM-MD5", "LOGIN", "PLAIN")) as server:
            self.refused(self.send(server), "login", "535")
        with MailServer(mechanisms=("LOGIN",)) as server:
            self.refused(self.send(server, SmtpAuthMethod=4), "login method")
        with MailServer(mechanisms=()) as server:  # a server that wants to know nobody gets no password
            self.assertIsNone(self.sent(server).mechanism)


class InjectionTest(MailTest):
    def test_line_breaks_add_nothing(self):
        evil = ["\r\nX-Evil: 1", "\nX-Evil: 1", "\rX-Evil: 1", "\0X-Evil: 1", "\r\n\r\nX-Evil: 1", "\u2028X-Evil: 1",
                "\x85X-Evil: 1", ">\r\nRCPT TO:<evil@localhost>", "\r\n.\r\nMAIL FROM:<evil@localhost>"]
        cases = [("EmailSubject", "s{}"), ("EmailFrom", '"n{}" <sender@localhost>'),
                 ("EmailReplyTo", '"n{}" <reply@localhost>'),
                 ("EmailTo", '"n{}" <one@localhost>'), ("EmailBody", "b{}"), ("SmtpUsername", USER + "{}")]
        with MailServer(refuse=("evil@localhost",)) as server:
            usual = set(self.sent(server).message.keys())
            for key, pattern in cases:
                for text in evil:
                    with self.subTest(key=key, text=text):
                        method = 3 if key == "SmtpUsername" else 0
                        answer = self.send(server, **{key: pattern.format(text), "SmtpAuthMethod": method})
                        self.assertEqual(answer["sent"], key != "SmtpUsername", answer["log"])
                        self.assertNotIn("RCPT TO:<evil", answer["session"])
                        if answer["sent"]:
                            mail = server.mails.pop()
                            self.assertLessEqual(set(mail.message.keys()), usual | {"Reply-To"})
                            self.assertEqual((mail.sender, mail.recipients), ("sender@localhost", ["one@localhost"]))
                            self.assertEqual(mail.message.defects, [])
        with ScriptedServer() as server:
            self.refused(self.send(server, SmtpHost="localhost\r\nRCPT TO:<evil@localhost>"), "name cannot be used")
            self.refused(self.send(server, SmtpHost="localhost/evil"), "name cannot be used")
            self.assertEqual(server.lines, [])

    def test_bad_addresses_are_named_and_the_others_arrive(self):
        bad = ["two@localhost\r\nRCPT TO:evil@localhost", "two@localhost> SIZE=1", "two @localhost", "two\0@localhost",
               "<two@localhost> <evil@localhost", "t" * 300 + "@localhost", "two;three@localhost"]
        with MailServer() as server:
            for address in bad:
                with self.subTest(address=address[:40]):
                    answer = self.send(server, EmailTo=f"one@localhost,{address}")
                    self.assertTrue(answer["sent"], answer["log"])
                    self.assertEqual(server.mails.pop().recipients, ["one@localhost"])
                    shown = re.sub("[\r\n\0]", " ", address).split(">")[0][:20]
                    self.assertEqual(self.entries(answer, f"no mail address: [{shown}"), 1, answer["debug"])
                    self.refused(self.send(server, EmailFrom=address), "sender", "no mail address")
            self.refused(self.send(server, EmailTo="a b@localhost, <>"), "no recipient")
            self.assertEqual(server.mails, [])


class TlsTest(MailTest):
    def certificate(self, answer):
        """What the steps say of the certificate."""
        return [detail for step, _, detail in answer["steps"] if step == "certificate"][0]

    def test_untrusted_servers_get_nothing(self):
        cases = [("good", "other", "trust"), ("expired", "ca", "time_valid" if WINE else "expired"),
                 ("wrong_name", "ca", "name"), ("self_signed", "ca", "trust"), ("good", None, "trust"),
                 ("self_signed", None, "trust")]
        for pair, ca, word in cases:
            for tls, ssl_type in (("starttls", 2), ("starttls", 0), ("implicit", 1)):
                with self.subTest(pair=pair, ca=ca, tls=tls), MailServer(tls, getattr(self.certificates, pair)) as server:
                    self.refused(self.send(server, ca=ca, SmtpSSLType=ssl_type), "certificate", word)
                    self.assertEqual((server.mails, server.logins), ([], []))
                    answer = self.send(server, store={"Email.SMTP.AllowUntrusted": "1"}, ca=ca, SmtpSSLType=ssl_type)
                    self.assertTrue(answer["sent"], answer["log"])
                    self.assertEqual(self.entries(answer, UNTRUSTED), 1)
                    self.assertRegex(self.certificate(answer), r"\(not verified\)$")
        with MailServer("implicit", self.certificates.self_signed) as server:
            answer = self.send(server, ca="self", SmtpSSLType=1)
            self.assertEqual((answer["sent"], answer["steps"][2][0]), (True, "TLS"), answer["log"])
            self.assertRegex(self.certificate(answer), r"\(verified\)$")
        for content in (b"no certificate", b""):
            (self.folder / "broken.pem").write_bytes(content)
            with self.subTest(content=content), MailServer("implicit", self.certificates.good) as server:
                self.refused(self.send(server, ca="broken", SmtpSSLType=1), "certificate")
        # Whoever says everything at once does not get a login before the certificate was looked at.
        at_once = {"greeting": b"220 localhost\r\n250-localhost\r\n250 AUTH PLAIN\r\n"}
        with ScriptedServer(at_once, self.certificates.good, implicit=True) as server:
            self.refused(self.send(server, ca=None, SmtpSSLType=1, SmtpAuthMethod=3, SmtpAutoFix=0), "certificate")
            self.assertEqual([line for line in server.secret_lines if not line.startswith((b"EHLO", b"QUIT"))], [])

    def test_tls_that_is_not_offered_is_not_done_without(self):
        for ssl_type in (2, 4):
            with self.subTest(ssl_type=ssl_type), ScriptedServer() as server:
                self.refused(self.send(server, SmtpSSLType=ssl_type), "STARTTLS")
                self.assertEqual({line[:4] for line in server.lines} - {b"EHLO", b"QUIT"}, set())
        with MailServer() as server:
            # Wine's TLS takes the greeting for the start of a long record and waits for the rest of it.
            answer = self.send(server, store={"Email.SMTP.SendTimeout": "3"}, SmtpSSLType=1)
            self.refused(answer, "in time" if WINE else "TLS")
            self.assertEqual(server.logins, [])

    def other_probe(self, environment=None):
        """From now on mails of this test are sent by a process of its own."""
        self.probe = Probe(environment)
        self.addCleanup(self.probe.end)

    @unittest.skipUnless(WINE, "no authority can be added to the system's for a test")
    def test_authorities_of_the_system(self):
        content = ssl.PEM_cert_to_DER_cert(self.certificates.ca.read_text())
        key = r"HKCU\Software\Microsoft\SystemCertificates\Root\Certificates" + "\\" + hashlib.sha1(content).hexdigest().upper()
        registry(self, key, "/v", "Blob", "/t", "REG_BINARY", "/d", (struct.pack("<III", 32, 1, len(content)) + content).hex())
        self.other_probe()
        for pair, word in (("good", ""), ("expired", "time_valid"), ("wrong_name", "name localhost"), ("self_signed", "authority")):
            for tls, ssl_type in (("starttls", 2), ("implicit", 1)):
                with self.subTest(pair, tls=tls), MailServer(tls, getattr(self.certificates, pair)) as server:
                    answer = self.send(server, ca=None, SmtpSSLType=ssl_type)
                    if word:
                        self.refused(answer, "certificate", word)
                        self.assertEqual((server.mails, server.logins), ([], []))
                    else:
                        self.assertTrue(answer["sent"], answer["log"])
                        self.assertRegex(self.certificate(answer), r"\(verified\)$")

    def test_versions_that_the_system_has_off_are_used_only_when_named(self):
        if WINE:
            version, named, environment = ssl.TLSVersion.TLSv1_1, 1, {}
        else:
            version, named, environment = ssl.TLSVersion.TLSv1_2, 2, {"OPENSSL_CONF": str(self.folder / "openssl.cnf")}
            (self.folder / "openssl.cnf").write_text(
                "openssl_conf = a\n[a]\nssl_conf = b\n[b]\nsystem_default = c\n[c]\nMinProtocol = TLSv1.3\n")

        def speak_only_that(context):
            context.set_ciphers("DEFAULT@SECLEVEL=0")
            with warnings.catch_warnings():  # of how old it is
                warnings.simplefilter("ignore")
                context.minimum_version = context.maximum_version = version

        def ask(protocol):
            with ScriptedServer({}, self.certificates.good, implicit=True, prepare=speak_only_that) as server:
                return self.send(server, SmtpSSLType=1, SmtpSSLProtocol=protocol, SmtpAuthMethod=3, SmtpAutoFix=0)

        self.assertTrue(ask(0)["sent"])
        for name in ("TLS 1.0", "TLS 1.1") if WINE else ():
            registry(self, rf"HKLM\SYSTEM\CurrentControlSet\Control\SecurityProviders\SCHANNEL\Protocols\{name}\Client",
                     "/v", "DisabledByDefault", "/t", "REG_DWORD", "/d", "1")
        self.other_probe(environment)
        for protocol in (0, 7):
            self.refused(ask(protocol), "TLS")
        self.assertTrue(ask(named)["sent"])

    def test_tls_versions(self):
        with MailServer("starttls", self.certificates.good) as server:
            self.assertIn(self.sent(server, SmtpSSLType=2, SmtpSSLProtocol=2).tls, ("TLSv1.2", "TLSv1.3"))
            self.assertEqual(self.sent(server, SmtpSSLType=2, SmtpSSLProtocol=3).tls, "TLSv1.2")
            self.refused(self.send(server, SmtpSSLType=2, SmtpSSLProtocol=6), "SSL 3.0", "no longer")
            self.refused(self.send(server, SmtpSSLType=2, SmtpSSLProtocol=5), "TLS")
            self.assertEqual(len(server.mails), 2)


class FaultTest(MailTest):
    # What the reason says of a step at which the server falls silent or breaks off.
    STEPS = {"greeting": "before the first command", "EHLO": "EHLO", "STARTTLS": "STARTTLS", "TLS": "TLS", "AUTH": "AUTH",
             "password": "AUTH", "MAIL": "MAIL", "RCPT": "RCPT", "DATA": "DATA", "dot": "DATA"}

    def fault(self, step, action, *words, sent=False, seconds=1, ssl_type=None):
        """What one job does; sent=None when either result will do. With an SSL type the fault comes under TLS. The next job on
        the same probe succeeds."""
        with self.subTest(step=step, action=action if isinstance(action, str) else action[:30], ssl_type=ssl_type):
            tls = ssl_type is not None or step in ("STARTTLS", "TLS")
            with ScriptedServer({step: action}, self.certificates.good if tls else None, implicit=ssl_type == 1,
                                inside=ssl_type is not None) as server:
                answer = self.send(server, store={"Email.SMTP.SendTimeout": str(seconds)}, SmtpSSLType=ssl_type or (2 if tls else 0),
                                   SmtpAuthMethod=5 if action == STALL else 3, SmtpAutoFix=0)
                if sent is False:
                    self.refused(answer, *words)
                elif sent:
                    self.assertTrue(answer["sent"], answer["log"])
                self.assertLess(len(answer["log"]), 200_000)
                self.assertLess(answer["seconds"], 20)
                if tls:
                    self.assertFalse([line for line in server.lines if line.startswith((b"AUTH", b"MAIL"))])
        with MailServer() as server:
            self.assertTrue(self.send(server)["sent"])

    def test_stalls_and_drops(self):
        for step, words in self.STEPS.items():
            self.fault(step, STALL, "did not answer in time", words, seconds=2)
            self.fault(step, DROP, words, seconds=CAP)
        for step in ("EHLO", "password", "dot"):
            self.fault(step, STALL, "did not answer in time", self.STEPS[step], seconds=2, ssl_type=2)
        for ssl_type in (1, 2):
            for step in ("greeting",) * (ssl_type == 1) + ("EHLO", "AUTH", "password", "MAIL", "RCPT", "DATA", "dot"):
                self.fault(step, DROP, self.STEPS[step], seconds=CAP, ssl_type=ssl_type)
        # Nothing matters after the mail was taken, and a server that keeps its goodbye to itself is not waited for.
        for ssl_type in (None, 2):
            self.fault("QUIT", STALL, sent=True, seconds=CAP, ssl_type=ssl_type)
            for action in (DROP, b"500 never\r\n", ENDLESS):
                self.fault("QUIT", action, sent=True, ssl_type=ssl_type)

    def test_limits_of_connection_and_mail(self):
        """Both attempts of an automatic login end at the limit for connections, the second one earlier: at the mail's."""
        limits = {"Email.SMTP.ConnectTimeout": "5", "Email.SMTP.SendTimeout": "6"}
        with ScriptedServer({"TLS": STALL}, self.certificates.good, implicit=True) as server:
            answer = self.send(server, store=limits, SmtpSSLType=1)
            self.refused(answer, "did not answer in time")
            self.assertEqual(server.connections, 2)
            self.assertLess(answer["seconds"], 9)

    def test_the_greeting_names_this_machine(self):
        name = socket.gethostname()
        with ScriptedServer() as server:
            self.send(server)
            said = server.lines[0].decode().split()
            self.assertEqual(said[0], "EHLO")
            usual = re.fullmatch(r"[A-Za-z0-9.-]+", name)
            # Windows names have 15 characters at most.
            self.assertTrue(name.lower().startswith(said[1].lower()) if usual else said[1] == "localhost", said)

    def test_error_replies(self):
        for reply in (b"421 4.3.2 Come back later\r\n", b"554-5.7.1 Go\r\n554 5.7.1 away\r\n"):
            for step in ("greeting", "STARTTLS", "AUTH", "password", "MAIL", "RCPT", "DATA", "dot"):
                for ssl_type in (None, 1) if step != "STARTTLS" else (None,):
                    words = "STARTTLS" if step == "STARTTLS" else reply.decode().split("\r\n")[-2]
                    self.fault(step, reply, words, seconds=CAP, ssl_type=ssl_type)

    def test_broken_replies(self):
        replies = [b"hello there\r\n", b"\0\0\0\r\n", bytes(range(128, 256)) + b"\r\n", b"25\r\n", b"999 what\r\n",
                   b"250-a\r\n550 b\r\n"]
        for reply in replies:
            for step in ("greeting", "MAIL", "dot"):
                self.fault(step, reply, sent=None if reply[:3] == b"250" else False)
            self.fault("MAIL", reply, sent=None if reply[:3] == b"250" else False, ssl_type=2)
        self.fault("TLS", b"this is no handshake\r\n" * 20, "TLS")
        # Bytes behind STARTTLS are no reply.
        self.fault("STARTTLS", b"220 go\r\n250-localhost\r\n250 AUTH PLAIN\r\n")

    def test_overlong_replies(self):
        for step in ("greeting", "EHLO", "dot"):
            self.fault(step, ENDLESS)
            self.fault(step, b"250 " + b"x" * 1_000_000 + b"\r\n", sent=None)
            self.fault(step, b"x" * 1_000_000 + b"\r\n")
            self.fault(step, b"554 " + b"x" * 1_000_000 + b"\r\n")

    def test_servers_that_are_not_there(self):
        with ScriptedServer() as server:
            port = server.port
        self.refused(self.send(port), "connection", "localhost")
        self.refused(self.send(port, SmtpHost="nowhere.invalid"), "nowhere.invalid")
        for bad in (0, -1, 65536):
            self.refused(self.send(bad), "port")

    def test_credentials_that_a_server_repeats_are_not_kept(self):
        for method, mechanism in ((1, "LOGIN"), (3, "PLAIN")):
            plain = base64.b64encode(f"\0{USER}\0{PASSWORD}".encode() if method == 3 else PASSWORD.encode())
            reply = b"535 bad: " + plain + b"\r\n"
            for inside in (False, True):
                with self.subTest(mechanism, inside=inside), \
                        ScriptedServer({"password": reply}, self.certificates.good if inside else None, mechanism) as server:
                    answer = self.send(server, SmtpAuthMethod=method, SmtpSSLType=2 * inside)
                    self.assertFalse(answer["sent"])
                    self.assertNotIn(plain.decode(), json.dumps(answer))
        # What looks like the end of the login and is none.
        login = base64.b64encode(USER.encode()).decode()
        odd = {"AUTH": b"250_odd\r\n250\n334 \r\n", "password": b"250_odd\r\n535 no\r\n"}
        with ScriptedServer(odd, mechanism="LOGIN") as server:
            answer = self.send(server, SmtpAuthMethod=1)
            self.assertIn(login, b"".join(server.lines).decode())
            self.assertNotIn(login, json.dumps(answer))


@unittest.skipIf(eximserver.unavailable(), eximserver.unavailable())
class EximTest(MailTest):
    def test_every_login(self):
        methods = [(1, "LOGIN"), (3, "PLAIN"), (4, "CRAM-MD5"), (2, "NTLM")]
        with EximServer(self.certificates.good) as server:
            for method, mechanism in methods:
                for port, ssl_type in ((server.port, 2), (server.port, 0), (server.tls_port, 1)):
                    with self.subTest(mechanism=mechanism, ssl_type=ssl_type):
                        if mechanism == "NTLM" and WINE:
                            self.skipTest("NTLM under Wine needs Samba's ntlm_auth")
                        password = eximserver.NTLM_PASSWORD if mechanism == "NTLM" else PASSWORD
                        domain = "DOMAIN" if (mechanism, ssl_type) == ("NTLM", 1) else ""
                        answer = self.send(port, SmtpSSLType=ssl_type, SmtpAuthMethod=method, SmtpPassword=password,
                                           SmtpLoginDomain=domain, EmailSubject="Größe",
                                           EmailTo="one@localhost,two@localhost")
                        self.assertTrue(answer["sent"], answer["log"])
                        message = email.message_from_bytes(server.take_mail(), policy=email.policy.default)
                        self.assertEqual((message["X-Login"], message["Subject"]), (mechanism, "Größe"))
                        self.assertRegex(message["X-TLS"], r"^TLS1\.[23]$")
                        self.assertEqual(message["Envelope-to"], "one@localhost, two@localhost")
                        self.assertEqual(message.get_body().get_content().strip(), "body")
            self.refused(self.send(server, SmtpAuthMethod=1, SmtpPassword=PASSWORD + "x"), "login", "535")
            self.refused(self.send(server, SmtpAuthMethod=0), "RCPT", "550 authentication required")


if __name__ == "__main__":
    unittest.main()
