"""One connection to an agent: requests with ids, answers matched by id, pushes handed to a callback."""
import itertools
import socket
import time

from . import codec
from .errors import Error, ProtocolError, TimeoutError


class ConnectionClosed(Exception):
    """The peer closed the connection (internal: the application turns it into ApplicationGone)."""


def parse_address(address):
    """(family, sockaddr) of an address written `local:PATH` or `tcp:HOST:PORT`."""
    scheme, _, rest = address.partition(":")
    if scheme == "local" and rest:
        return socket.AF_UNIX, rest
    if scheme == "tcp":
        host, _, port = rest.rpartition(":")
        host = host[1:-1] if host.startswith("[") and host.endswith("]") else host
        if host and port.isdigit():
            return None, (host, int(port))
    raise Error("bad address %r: expected local:PATH or tcp:HOST:PORT" % address)


def connect(address, timeout):
    family, where = parse_address(address)
    try:
        if family == socket.AF_UNIX:
            sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            sock.settimeout(timeout)
            sock.connect(where)
        else:
            sock = socket.create_connection(where, timeout=timeout)
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    except OSError as e:
        raise Error("cannot connect to %s: %s" % (address, e.strerror or e)) from None
    return sock


class Connection:
    def __init__(self, sock, on_push, max_length=codec.MAX_LENGTH):
        self.sock = sock
        self.on_push = on_push
        self.buffer = codec.FrameBuffer(max_length)
        self.ids = itertools.count(1)
        self.closed = False

    def close(self):
        if not self.closed:
            self.closed = True
            self.sock.close()

    def send(self, kind, body):
        """Sends a request; its id."""
        if self.closed:
            raise ConnectionClosed()
        request_id = next(self.ids) & 0xFFFFFFFF or next(self.ids)
        try:
            self.sock.sendall(codec.frame(request_id, kind, body))
        except OSError:
            self.close()
            raise ConnectionClosed() from None
        return request_id

    def request(self, kind, body, timeout):
        """(answer kind, body) of one request. Answers to earlier requests that timed out are dropped."""
        request_id = self.send(kind, body)
        deadline = time.monotonic() + timeout
        while True:
            got = self._next_frame(deadline, timeout)
            if got is None or got is True:
                continue
            answer_id, answer_kind, answer_body = got
            if answer_id == request_id:
                return answer_kind, answer_body

    def pump(self, timeout):
        """Handles pushes until one the callback answers True for, or `timeout` seconds passed."""
        deadline = time.monotonic() + timeout
        try:
            while self._next_frame(deadline, timeout) is not True:
                pass
        except TimeoutError:
            pass

    def _next_frame(self, deadline, timeout):
        try:
            got = self.buffer.next_frame()
        except ProtocolError:
            self.close()
            raise
        if got is None:
            self._receive(deadline, timeout)
            return None
        if got[0] == 0:
            return self.on_push(got[1], got[2]) or None
        return got

    def _receive(self, deadline, timeout):
        if self.closed:
            raise ConnectionClosed()
        remaining = deadline - time.monotonic()
        if remaining <= 0:
            raise TimeoutError("the application did not answer in %g s" % timeout)
        self.sock.settimeout(remaining)
        try:
            chunk = self.sock.recv(1 << 16)
        except socket.timeout:
            raise TimeoutError("the application did not answer in %g s" % timeout) from None
        except OSError:
            chunk = b""
        if not chunk:
            self.close()
            raise ConnectionClosed()
        self.buffer.feed(chunk)
