"""Certificates for the mail servers of the tests, made by the openssl program."""

import pathlib
import subprocess

NEW_KEY = ["-newkey", "rsa:2048", "-nodes"]


def _openssl(folder, *arguments):
    subprocess.run(["openssl", *arguments], cwd=folder, check=True, capture_output=True, timeout=60)


class Certificates:
    """good, expired, wrong_name and self_signed are pairs (certificate, key); ca is the authority of the first three,
    other_ca one that has signed nothing."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.ca, self.other_ca = self._authority("ca"), self._authority("other")
        self.good = self._signed("good", "localhost", 30)
        self.expired = self._signed("expired", "localhost", -1)
        self.wrong_name = self._signed("wrong_name", "elsewhere.invalid", 30)
        self.self_signed = self._pair("self")
        _openssl(folder, "req", "-x509", *NEW_KEY, "-days", "30", "-subj", "/CN=localhost", "-addext",
                 "subjectAltName=DNS:localhost", "-keyout", "self.key", "-out", "self.pem")

    def _pair(self, name):
        return self.folder / f"{name}.pem", self.folder / f"{name}.key"

    def _authority(self, name):
        _openssl(self.folder, "req", "-x509", *NEW_KEY, "-days", "30", "-subj", f"/CN=Test authority {name}",
                 "-addext", "basicConstraints=critical,CA:TRUE", "-addext", "keyUsage=critical,keyCertSign,cRLSign",
                 "-keyout", f"{name}.key", "-out", f"{name}.pem")
        return self._pair(name)[0]

    def _signed(self, name, host, days):
        (self.folder / f"{name}.ext").write_text(
            f"subjectAltName=DNS:{host}\nextendedKeyUsage=serverAuth\nbasicConstraints=CA:FALSE\n")
        _openssl(self.folder, "req", "-new", *NEW_KEY, "-subj", f"/CN={host}", "-keyout", f"{name}.key",
                 "-out", f"{name}.csr")
        _openssl(self.folder, "x509", "-req", "-in", f"{name}.csr", "-CA", "ca.pem", "-CAkey", "ca.key", "-CAcreateserial",
                 "-days", str(days), "-extfile", f"{name}.ext", "-out", f"{name}.pem")
        return self._pair(name)
