"""ovsctl set-password and encrypt: what they write, that nothing else changes, and what they refuse."""

import shutil
import stat
import unittest

from ovsctl import OvsctlTest

KEY = b"4190726"
LINE = b"SMTPPassword="
MARK = "\ufeff"
TYPED = b"geheim99\n"


def plain(stored):
    pairs = enumerate(bytes.fromhex(stored.decode().strip()))
    return bytes(byte ^ KEY[i % len(KEY)] for i, byte in pairs)[1:-1].decode("cp1252")


class SecretsTest(OvsctlTest):
    def setUp(self):
        super().setUp()
        self.rules.rmdir()
        self.cfg = self.app / "OrvantaEventService.cfg"

    def set_password(self, typed=TYPED):
        return self.ovsctl(command="set-password", typed=typed, code=None)

    def encrypt(self, *arguments, typed=TYPED):
        return self.ovsctl(*arguments, command="encrypt", typed=typed, code=None)

    def test_prints_the_stored_form(self):
        for typed, password in ((b"geheim99\n", "geheim99"), (b"geheim99\r\nrest", "geheim99"), (b" a b ", " a b "),
                                ("Zürich €\n".encode("utf-8-sig"), "Zürich €"), (b"x" * 127, "x" * 127)):
            done = self.run_program("set-password", "--print", typed=typed)
            self.assertEqual((done.returncode, plain(done.stdout)), (0, password))
            self.assertIn(b"SMTPPassword=", done.stderr)

    def test_refuses_what_cannot_be_stored(self):
        self.ini.write_bytes(b"[EmailConfig]\r\n")
        for typed, reason in ((b"", b"no password"), (b"\n", b"empty"), (b"x" * 128, b"more than 127"), ("abΩ".encode(), b"position 3"),
                              (b"a\x1b[A", b"position 2"), (b"\xff\n", b"position 1"), (b"y" * 5000, b"too long")):
            for done in (self.run_program("set-password", "--print", typed=typed), self.set_password(typed)):
                self.assertEqual((done.returncode, done.stdout), (2, b""))
                self.assertIn(reason, done.stderr)
        self.assertEqual(self.ini.read_bytes(), b"[EmailConfig]\r\n")

    def test_writes_the_password_and_changes_no_other_byte(self):
        """What stands before the password and behind it; None: no file at first."""
        for name, before, head, tail in (
                ("value", b"; x\r\n[EmailConfig]\r\nSMTPPassword=old\r\nUseSSL=2\r\n", b"; x\r\n[EmailConfig]\r\nSMTPPassword=", b"\r\nUseSSL=2\r\n"),
                ("quotes, blanks, case", b"[emailconfig]\n smtppassword = \"old\" \t\n", b"[emailconfig]\n smtppassword = ", b" \t\n"),
                ("empty value", b"[EmailConfig]\r\nSMTPPassword=\r\n", b"[EmailConfig]\r\nSMTPPassword=", b"\r\n"),
                ("no equals sign", b"[EmailConfig]\r\nSMTPPassword\r\n", b"[EmailConfig]\r\nSMTPPassword=", b"\r\n"),
                ("the first counts", b"[EmailConfig]\nSMTPPassword=a\nSMTPPassword=b\n[EmailConfig]\nSMTPPassword=c\n",
                 b"[EmailConfig]\nSMTPPassword=", b"\nSMTPPassword=b\n[EmailConfig]\nSMTPPassword=c\n"),
                ("remark only", b"[EmailConfig]\n;SMTPPassword=x\n", b"[EmailConfig]\nSMTPPassword=", b"\n;SMTPPassword=x\n"),
                ("key missing", b"[EmailConfig] ; y\r\nUseSSL=2 \r\n\r\n; z\r\n[Branding]\r\n",
                 b"[EmailConfig] ; y\r\nUseSSL=2 \r\nSMTPPassword=", b"\r\n\r\n; z\r\n[Branding]\r\n"),
                ("key missing, no line end", b"[EmailConfig]", b"[EmailConfig]\r\nSMTPPassword=", b""),
                ("section missing", b"[Config]\nx=1", b"[Config]\nx=1\n[EmailConfig]\nSMTPPassword=", b"\n"),
                ("empty file", b"", b"[EmailConfig]\r\nSMTPPassword=", b"\r\n"),
                ("no file", None, b"[EmailConfig]\r\nSMTPPassword=", b"\r\n"),
                ("Windows-1252", b";\xe4\x81\n[EmailConfig]\nSMTPPassword=x\n;\xff", b";\xe4\x81\n[EmailConfig]\nSMTPPassword=", b"\n;\xff"),
                ("UTF-8 mark", b"\xef\xbb\xbf[EmailConfig]\nSMTPPassword=x\n;\xc3\xa4", b"\xef\xbb\xbf[EmailConfig]\nSMTPPassword=", b"\n;\xc3\xa4"),
                ("CR alone", b"[EmailConfig]\rUseSSL=2\r", b"[EmailConfig]\rUseSSL=2\rSMTPPassword=", b"\r")):
            with self.subTest(name):
                self.ini.unlink(missing_ok=True)
                if before is not None:
                    self.ini.write_bytes(before)
                done = self.set_password()
                self.assertEqual((done.returncode, done.stdout), (0, b""), done.stderr)
                after = self.ini.read_bytes()
                self.assertEqual((after[:len(head)], after[len(after) - len(tail):]), (head, tail))
                self.assertEqual(plain(after[len(head):len(after) - len(tail)]), "geheim99")
        self.assertEqual([path.name for path in self.ini.parent.iterdir()], ["Orvanta.ini"])

    def test_utf16_and_odd_bytes_stay(self):
        before = (MARK + "; \ud83d\ude00\r\n[EmailConfig]\r\nSMTPPassword=x\r\nAdminName=ä".encode("utf-16", "surrogatepass").decode("utf-16")
                  ).encode("utf-16-le", "surrogatepass") + b"\x00\xd8" + b"!"
        self.ini.write_bytes(before)
        self.assertEqual(self.set_password().returncode, 0)
        after = self.ini.read_bytes()
        head, tail = before.split("=x".encode("utf-16-le"))
        self.assertTrue(after.startswith(head + "=".encode("utf-16-le")) and after.endswith(tail))
        self.assertEqual(plain(after[len(head) + 2:len(after) - len(tail)].decode("utf-16-le").encode()), "geheim99")

    def test_makes_the_folder(self):
        shutil.rmtree(self.app / "Config")
        self.assertEqual(self.set_password().returncode, 0)
        self.assertEqual(stat.S_IMODE(self.ini.stat().st_mode), 0o600)

    def test_keeps_rights_and_links(self):
        real = self.app / "real.ini"
        real.write_bytes(b"[EmailConfig]\r\n")
        real.chmod(0o640)
        self.ini.symlink_to(real)
        self.assertEqual(self.set_password().returncode, 0)
        self.assertTrue(self.ini.is_symlink() and LINE in real.read_bytes())
        self.assertEqual(stat.S_IMODE(real.stat().st_mode), 0o640)

    def test_leaves_files_that_cannot_be_used(self):
        for name, content, reason in (("NUL", b"[EmailConfig]\0\r\n", b"NUL"), ("too large", b";" * ((16 << 20) + 1), b"left as it is"),
                                      ("UTF-16 without mark", "[EmailConfig]".encode("utf-16-le"), b"NUL")):
            with self.subTest(name):
                self.ini.write_bytes(content)
                done = self.set_password()
                self.assertEqual((done.returncode, self.ini.read_bytes()), (2, content))
                self.assertIn(reason, done.stderr)
        self.ini.write_bytes(b"[EmailConfig]\r\n")
        self.ini.chmod(0o400)
        self.assertEqual((self.set_password().returncode, self.ini.read_bytes()), (2, b"[EmailConfig]\r\n"))
        self.ini.unlink()
        self.ini.mkdir()
        self.assertEqual(self.set_password().returncode, 2)
        self.assertEqual([path.name for path in self.ini.parent.iterdir()], ["Orvanta.ini"])

    def test_encrypts_into_the_file_that_has_the_key(self):
        other = self.app / "sub" / "mail.cfg"
        other.parent.mkdir()
        key = b"Email.SMTP.Password="
        for name, before, head, tail in (
                ("default file", None, key, b"\r\n"),
                ("added", b"; x\r\nDebug.EnvDump=1", b"; x\r\nDebug.EnvDump=1\r\n" + key, b"\r\n"),
                ("replaced", b"; \xe4\r\nemail.smtp.password=old\r\nx=1\r\n", b"; \xe4\r\nemail.smtp.password=", b"\r\nx=1\r\n"),
                ("the last counts", key + b"a\r\n" + key + b"b\r\n", key + b"a\r\n" + key, b"\r\n")):
            for file in (self.cfg, other):
                with self.subTest(f"{name}, {file.name}"):
                    self.cfg.unlink(missing_ok=True)
                    other.unlink(missing_ok=True)
                    if before is not None:
                        file.write_bytes(before)
                    named = file is other and (before is None or b"assword" not in before)
                    done = self.encrypt("Email.SMTP.Password", *(["--file", file] if named else []))
                    self.assertEqual((done.returncode, done.stdout), (0, b""), done.stderr)
                    self.assertIn(b"set-password", done.stderr)
                    self.assertIn(b"writes back", done.stderr)
                    after = file.read_bytes()
                    self.assertEqual((after[:len(head)], after[len(after) - len(tail):]), (head, tail))
                    self.assertRegex(after[len(head):len(after) - len(tail)], rb"^<ev~>[0-9A-F]{32}$")
        self.assertIn(b"mail.cfg too", self.encrypt("Email.SMTP.Password", "--file", self.cfg).stderr)
        self.assertNotIn("decrypted", self.ovsctl(other, command="check", code=None).stdout)

    def test_encrypt_refuses(self):
        self.cfg.write_bytes(b"x=1\nEmail.SMTP.Password=old\n")
        for arguments, typed, reason in (
                (["Email.SMTP.Password"], b"geheim99", b"do not end in CR LF"), (["Debug.EnvDump"], b"geheim99", b"no key for a secret"),
                (["a=b.Password"], b"geheim99", b'no "="'), ([" x.Password"], b"geheim99", b"blanks"), (["x.Password"], b"", b"no secret"),
                (["x.Password"], b"a<NL>b", b"<NL>"), (["x.Password", "--file", self.app / "x.txt"], b"geheim99", b".cfg")):
            done = self.encrypt(*arguments, typed=typed)
            self.assertEqual(done.returncode, 2, done.stderr)
            self.assertIn(reason, done.stderr)
        self.assertEqual(self.cfg.read_bytes(), b"x=1\nEmail.SMTP.Password=old\n")
        self.cfg.write_bytes(b"")
        self.assertEqual(self.encrypt("Email.Chilkat.UnlockCode", "--any").returncode, 0)
        self.assertTrue(self.cfg.read_bytes().startswith(b"Email.Chilkat.UnlockCode=<ev~>"))


if __name__ == "__main__":
    unittest.main()
