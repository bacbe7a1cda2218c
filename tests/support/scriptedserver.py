"""A mail server that does at one step what no mail server should."""

import contextlib
import socket
import ssl
import threading
import time

STALL, DROP, ENDLESS = "stall", "drop", "endless"
STEPS = ("greeting", "EHLO", "STARTTLS", "TLS", "AUTH", "password", "MAIL", "RCPT", "DATA", "dot", "QUIT")
LIMIT = 120  # seconds after which every connection ends; the tests' clients must give up sooner


class ScriptedServer:
    """Listens on a free port of "localhost" while it is used as a context manager.

    faults: what happens at a step instead of the usual reply: STALL (nothing more, until the client goes), DROP, ENDLESS
    (lines of a reply that never ends) or the bytes of a reply. With a certificate = (file, key file) STARTTLS is offered, or
    with `implicit` TLS spoken from the first byte; with `inside` only steps under TLS are faulty.
    `lines` are those that clients have sent outside of TLS, `secret_lines` those within; `connections` counts."""

    def __init__(self, faults=None, certificate=None, mechanism="PLAIN", implicit=False, inside=False, prepare=None):
        offers = [b"localhost", b"SIZE 1000000", *([b"STARTTLS"] if certificate and not implicit else []),
                  b"AUTH " + mechanism.encode()]
        ehlo = b"".join(b"250-%s\r\n" % offer for offer in offers[:-1]) + b"250 %s\r\n" % offers[-1]
        usual = {"greeting": b"220 localhost\r\n", "EHLO": ehlo, "STARTTLS": b"220 go\r\n", "TLS": None, "AUTH": b"334 \r\n",
                 "password": b"235 welcome\r\n", "DATA": b"354 go\r\n", "QUIT": b"221 bye\r\n"}
        self._usual = {step: usual.get(step, b"250 OK\r\n") for step in STEPS}
        self._faults, self._implicit, self._inside = faults or {}, implicit, inside
        self.lines, self.secret_lines, self.connections = [], [], 0
        self._context = None
        if certificate:
            self._context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self._context.load_cert_chain(*map(str, certificate))
            if prepare:
                prepare(self._context)

    def __enter__(self):
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        self._threads = []
        self._accepting = threading.Thread(target=self._accept, daemon=True)
        self._accepting.start()
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        for thread in [self._accepting, *self._threads]:
            thread.join(LIMIT + 10)

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:
                return
            self.connections += 1
            self._threads.append(threading.Thread(target=self._play, args=(client,), daemon=True))
            self._threads[-1].start()

    def _play(self, client):
        client.settimeout(LIMIT)
        with contextlib.suppress(OSError, EOFError), contextlib.closing(client):
            if self._implicit:
                self._talk_under_tls(client)
            else:
                self._talk(client, self.lines)

    def _talk_under_tls(self, client):
        self._reply(client, "TLS", self.lines)
        with self._context.wrap_socket(client, server_side=True) as secret:
            if self._implicit:
                self._talk(secret, self.secret_lines)
            else:
                self._converse(secret, self.secret_lines)

    def _talk(self, client, lines):
        self._reply(client, "greeting", lines)
        self._converse(client, lines)

    def _converse(self, client, lines):
        with client.makefile("rb") as reader:
            for line in iter(reader.readline, b""):
                lines.append(line)
                step = {b"HELO": "EHLO", b"STAR": "STARTTLS"}.get(line[:4].upper(), line[:4].decode("latin-1").upper())
                reply = self._reply(client, step if step in STEPS else "password", lines)
                if step == "STARTTLS" and reply.startswith(b"220"):
                    return self._talk_under_tls(client)
                if step == "DATA" and reply.startswith(b"354"):
                    while reader.readline() not in (b".\r\n", b""):
                        pass
                    self._reply(client, "dot", lines)
                if step == "QUIT":
                    return None

    def _reply(self, client, step, lines):
        faulty = step in self._faults and (lines is self.secret_lines or not self._inside)
        reply = self._faults[step] if faulty else self._usual[step]
        if reply == DROP:
            raise EOFError
        if reply == STALL:
            while client.recv(65536):
                pass
            raise EOFError
        end = time.monotonic() + LIMIT
        while reply == ENDLESS and time.monotonic() < end:
            client.sendall((b"220-more\r\n" if step == "greeting" else b"250-more\r\n") * 1000)
        if isinstance(reply, bytes):
            client.sendall(reply)
        return reply
