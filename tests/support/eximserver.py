"""Exim on free ports of "localhost" as a mail server for tests (Debian: exim4-daemon-heavy; needs root)."""

import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time

USER, PASSWORD, NTLM_PASSWORD = "alarm", "pa:ss wörd", "ntlmpass"

CONFIGURATION = r"""
primary_hostname = localhost
spool_directory = {folder}/spool
log_file_path = {folder}/log/%slog
pid_file_path =
local_interfaces = <; 127.0.0.1
daemon_smtp_ports = {port} : {tls_port}
tls_on_connect_ports = {tls_port}
tls_advertise_hosts = *
tls_certificate = {folder}/server.pem
tls_privatekey = {folder}/server.key
deliver_drop_privilege = true
keep_environment =
host_lookup =
rfc1413_query_timeout = 0s
acl_smtp_rcpt = rcpt
begin acl
rcpt:
  accept authenticated = *
  deny message = authentication required
begin routers
all:
  driver = accept
  transport = keep
begin transports
keep:
  driver = appendfile
  directory = {folder}/mail
  maildir_format
  batch_max = 100
  user = Debian-exim
  envelope_to_add
  headers_add = X-Login: $authenticated_id\nX-TLS: $tls_in_ver
begin authenticators
plain:
  driver = plaintext
  public_name = PLAIN
  server_prompts = :
  server_condition = ${{if and{{{{eq{{$auth2}}{{{user}}}}}{{eq{{$auth3}}{{{password}}}}}}}}}
  server_set_id = PLAIN
login:
  driver = plaintext
  public_name = LOGIN
  server_prompts = Username:: : Password::
  server_condition = ${{if and{{{{eq{{$auth1}}{{{user}}}}}{{eq{{$auth2}}{{{password}}}}}}}}}
  server_set_id = LOGIN
cram:
  driver = cram_md5
  public_name = CRAM-MD5
  server_secret = ${{if eq{{$auth1}}{{{user}}}{{{password}}}fail}}
  server_set_id = CRAM-MD5
ntlm:
  driver = spa
  public_name = NTLM
  server_password = ${{if eq{{$auth1}}{{{user}}}{{{ntlm_password}}}fail}}
  server_set_id = NTLM
"""


def unavailable():
    """Why no Exim can be run here; empty when it can."""
    if not shutil.which("exim4"):
        return "exim4 is not installed (Debian: exim4-daemon-heavy)"
    if not hasattr(os, "geteuid") or os.geteuid() != 0:
        return "Exim must be started by root"
    version = subprocess.run(["exim4", "-bV"], capture_output=True, text=True, timeout=20).stdout
    return "" if " spa" in version else "this Exim has no NTLM (Debian: exim4-daemon-heavy)"


def _free_ports(count):
    listeners = [socket.create_server(("127.0.0.1", 0)) for _ in range(count)]
    ports = [listener.getsockname()[1] for listener in listeners]
    for listener in listeners:
        listener.close()
    return ports


class EximServer:
    """While it is used as a context manager: port (STARTTLS offered) and tls_port (implicit TLS); both want a login."""

    def __init__(self, certificate):
        self._certificate = certificate

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ovs-exim-"))
        for name in ("spool", "log", "mail"):
            (self.folder / name).mkdir()
        for source, name in zip(self._certificate, ("server.pem", "server.key")):
            shutil.copy(source, self.folder / name)
        self.port, self.tls_port = _free_ports(2)
        password = "".join(chr(byte) if byte < 128 else rf"\x{byte:02X}" for byte in PASSWORD.encode())
        (self.folder / "exim.conf").write_text(CONFIGURATION.format(
            folder=self.folder, port=self.port, tls_port=self.tls_port, user=USER, password=password,
            ntlm_password=NTLM_PASSWORD))
        self.folder.chmod(0o755)
        for path in [self.folder, *self.folder.iterdir()]:
            if path.name != "exim.conf":
                shutil.chown(path, "Debian-exim")
        self._daemon = subprocess.Popen(["exim4", "-C", self.folder / "exim.conf", "-bdf"], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self._wait(self._answers, "Exim does not answer")
        return self

    def __exit__(self, *_):
        self._daemon.terminate()
        self._daemon.wait(20)
        shutil.rmtree(self.folder, ignore_errors=True)

    def _answers(self):
        try:
            socket.create_connection(("127.0.0.1", self.tls_port), 5).close()
            return True
        except OSError:
            return False

    def _wait(self, condition, complaint):
        end = time.monotonic() + 20
        while not (found := condition()):
            if time.monotonic() > end:
                raise RuntimeError(complaint + ": " + self.log())
            time.sleep(0.02)
        return found

    def log(self):
        return "".join(path.read_text(errors="replace") for path in (self.folder / "log").glob("*log"))

    def take_mail(self):
        """The bytes of the one mail that has been accepted since the last call; Exim delivers it a moment later."""
        path = self._wait(lambda: next((self.folder / "mail").glob("new/*"), None), "no mail was delivered")
        raw = path.read_bytes()
        path.unlink()
        return raw
