"""An SMTP server in a thread of this process that keeps the mails it gets (Debian: python3-aiosmtpd)."""

import asyncio
import dataclasses
import email
import email.policy
import hmac
import logging
import ssl
import threading
import warnings

from aiosmtpd.smtp import MISSING, SMTP, AuthResult

ALL_MECHANISMS = ("CRAM-MD5", "LOGIN", "PLAIN")
# What the server thinks of broken connections is no news to a test.
logging.getLogger("mail.log").setLevel(logging.CRITICAL)


@dataclasses.dataclass
class Mail:
    sender: str
    recipients: list
    mechanism: str | None  # of the login; None without one
    tls: str | None  # version, such as "TLSv1.3"; None without TLS
    smtputf8: bool
    raw: bytes

    @property
    def message(self):
        return email.message_from_bytes(self.raw, policy=email.policy.default)


class MailServer:
    """Listens on a free port of "localhost" while it is used as a context manager.

    tls: "none", "starttls" or "implicit", the latter two with certificate = (file, key file). mechanisms: those offered;
    of them those in `broken` refuse every login. refuse: recipients that are refused.
    After a mail was answered to its sender it stands in `mails`; `logins` holds (mechanism, TLS version, accepted)."""

    def __init__(self, tls="none", certificate=None, mechanisms=ALL_MECHANISMS, auth_required=False, broken=(), refuse=(),
                 user="alarm", password="pa:ss wörd"):
        self.mechanisms, self.broken, self.refuse = mechanisms, broken, refuse
        self.user, self.password = user, password
        self.mails, self.logins, self.port = [], [], None
        context = None
        if tls != "none":
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(*map(str, certificate))
        self._implicit = context if tls == "implicit" else None
        self._options = dict(
            hostname="localhost", enable_SMTPUTF8=True, auth_require_tls=False, auth_required=auth_required,
            authenticator=self._authenticate, auth_exclude_mechanism=set(ALL_MECHANISMS) - set(mechanisms),
            tls_context=context if tls == "starttls" else None)
        self._ready = threading.Event()
        self._thread = threading.Thread(target=lambda: asyncio.run(self._serve()), daemon=True)

    def __enter__(self):
        self._thread.start()
        if not self._ready.wait(20):
            raise RuntimeError("the mail server did not start")
        return self

    def __exit__(self, *_):
        self._loop.call_soon_threadsafe(self._stop.set)
        self._thread.join(20)

    async def _serve(self):
        self._loop, self._stop = asyncio.get_running_loop(), asyncio.Event()
        self._loop.set_exception_handler(lambda *_: None)  # clients that break off are what many tests are about
        server = await self._loop.create_server(self._session, "127.0.0.1", 0, ssl=self._implicit)
        self.port = server.sockets[0].getsockname()[1]
        self._ready.set()
        await self._stop.wait()
        server.close()

    def _session(self):
        with warnings.catch_warnings():  # it warns of passwords without TLS, which is what many tests are about
            warnings.simplefilter("ignore")
            return SMTP(self, loop=self._loop, **self._options)

    # --- what the SMTP class calls

    async def handle_EHLO(self, server, session, envelope, hostname, responses):
        session.host_name = hostname
        return [line for line in responses if self.mechanisms or not line.startswith("250-AUTH")]

    async def handle_RCPT(self, server, session, envelope, address, options):
        if address in self.refuse:
            return "550 5.1.1 No such mailbox here"
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        self.mails.append(Mail(envelope.mail_from, list(envelope.rcpt_tos), session.auth_data, self._tls_version(server),
                               envelope.smtp_utf8, envelope.original_content))
        return "250 OK"

    async def auth_CRAM__MD5(self, server, args):
        nonce = b"<1.2@localhost>"
        reply = await server.challenge_auth(nonce)
        digest = hmac.new(self.password.encode(), nonce, "md5").hexdigest()
        return self._judge(server, "CRAM-MD5", reply is not MISSING and reply == f"{self.user} {digest}".encode())

    def _authenticate(self, server, session, envelope, mechanism, data):
        return self._judge(server, mechanism, (data.login, data.password) == (self.user.encode(), self.password.encode()))

    def _judge(self, server, mechanism, right):
        right = right and mechanism not in self.broken
        self.logins.append((mechanism, self._tls_version(server), right))
        return AuthResult(success=right, handled=False, auth_data=mechanism)

    @staticmethod
    def _tls_version(server):
        layer = server.transport.get_extra_info("ssl_object")
        return layer.version() if layer else None
