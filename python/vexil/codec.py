"""The agent's wire format: frames, QDataStream fields (version Qt_5_12, big-endian) and tagged values."""
import datetime
import struct
from collections import namedtuple

from .errors import ProtocolError

PROTOCOL_VERSION = 1
HEADER = struct.Struct(">IIH")  # length, id, kind
MIN_LENGTH = 6
MAX_LENGTH = 64 * 1024 * 1024

# Answer and push kinds.
OK = 0x8000
ERROR = 0x8001
PUSH_INVALIDATED = 0x4001
PUSH_RECORD = 0x4002

# Request kinds.
HELLO, PING, FIND, STEP, GET_PROPERTY, SET_PROPERTY, INVOKE, CALL, CHILDREN, PARENT, DESCRIBE, \
    CLASS_INFO, SCREENSHOT, RECORD, OBJECT_MAP, SETTING, RELEASE, QUIT, WAIT_FOR_PROPERTY = range(1, 20)

# Error codes.
BAD_REQUEST, UNKNOWN_REQUEST, NO_SUCH_OBJECT, STALE_OBJECT, OBJECT_NOT_FOUND, INVOCATION_ERROR, \
    TIMEOUT, UNSUPPORTED, VERSION_MISMATCH = range(1, 10)

# Step actions.
ACT_NONE, ACT_INVOKE, ACT_SET, ACT_CALL = range(4)

# Value tags.
T_NONE, T_BOOL, T_INT, T_DOUBLE, T_TEXT, T_LIST, T_MAP, T_OBJECT, T_POINT, T_RECT, T_DATETIME, T_BYTES = range(12)

Point = namedtuple("Point", "x y")
Rect = namedtuple("Rect", "x y width height")

NULL_LENGTH = 0xFFFFFFFF
_EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
_MS = datetime.timedelta(milliseconds=1)
_INT64 = (-(1 << 63), (1 << 63) - 1)


def frame(request_id, kind, body=b""):
    """One frame: the header in front of an already encoded body."""
    return HEADER.pack(MIN_LENGTH + len(body), request_id, kind) + body


class FrameBuffer:
    """Collects received bytes and cuts them into (id, kind, body) frames."""

    def __init__(self, max_length=MAX_LENGTH):
        self.data = bytearray()
        self.max_length = max_length

    def feed(self, chunk):
        self.data += chunk

    def next_frame(self):
        """The next complete frame, or None; ProtocolError for a length out of range."""
        if len(self.data) < 4:
            return None
        (length,) = struct.unpack_from(">I", self.data)
        if length < MIN_LENGTH or length > self.max_length:
            raise ProtocolError("frame length %d out of range" % length)
        if len(self.data) < 4 + length:
            return None
        _, request_id, kind = HEADER.unpack_from(self.data)
        body = bytes(self.data[HEADER.size:4 + length])
        del self.data[:4 + length]
        return request_id, kind, body


class Writer:
    """Writes QDataStream fields into a byte buffer."""

    def __init__(self):
        self.out = bytearray()

    def bytes(self):
        return bytes(self.out)

    def u8(self, v):
        self.out += struct.pack(">B", v)
        return self

    def u16(self, v):
        self.out += struct.pack(">H", v)
        return self

    def u32(self, v):
        self.out += struct.pack(">I", v)
        return self

    def i32(self, v):
        self.out += struct.pack(">i", v)
        return self

    def i64(self, v):
        self.out += struct.pack(">q", v)
        return self

    def u64(self, v):
        self.out += struct.pack(">Q", v)
        return self

    def f64(self, v):
        self.out += struct.pack(">d", v)
        return self

    def boolean(self, v):
        return self.u8(1 if v else 0)

    def string(self, s):
        if s is None:
            return self.u32(NULL_LENGTH)
        data = s.encode("utf-16-be", "surrogatepass")
        self.u32(len(data))
        self.out += data
        return self

    def bytearray(self, b):
        if b is None:
            return self.u32(NULL_LENGTH)
        self.u32(len(b))
        self.out += b
        return self

    def strings(self, items):
        self.u32(len(items))
        for s in items:
            self.string(s)
        return self

    def values(self, items):
        self.u32(len(items))
        for v in items:
            self.value(v)
        return self

    def value(self, v):
        # Order matters: bool is an int, Point and Rect are tuples.
        if v is None:
            self.u8(T_NONE)
        elif isinstance(v, bool):
            self.u8(T_BOOL).boolean(v)
        elif isinstance(v, int):
            if not _INT64[0] <= v <= _INT64[1]:
                raise ValueError("integer %d does not fit in 64 bits" % v)
            self.u8(T_INT).i64(v)
        elif isinstance(v, float):
            self.u8(T_DOUBLE).f64(v)
        elif isinstance(v, str):
            self.u8(T_TEXT).string(v)
        elif isinstance(v, Point):
            self.u8(T_POINT).i32(v.x).i32(v.y)
        elif isinstance(v, Rect):
            self.u8(T_RECT).i32(v.x).i32(v.y).i32(v.width).i32(v.height)
        elif isinstance(v, (list, tuple)):
            self.u8(T_LIST).values(v)
        elif isinstance(v, dict):
            self.u8(T_MAP).u32(len(v))
            for key, item in v.items():
                if not isinstance(key, str):
                    raise TypeError("map keys must be str, not %s" % type(key).__name__)
                self.string(key).value(item)
        elif isinstance(v, datetime.datetime):
            # A naive datetime is local time, as the agent gives them out.
            utc = v.astimezone(datetime.timezone.utc)
            self.u8(T_DATETIME).i64((utc - _EPOCH) // _MS)
        elif isinstance(v, (bytes, bytearray)):
            self.u8(T_BYTES).bytearray(v)
        elif hasattr(v, "_vexil_handle"):
            self.u8(T_OBJECT).u64(v._vexil_handle).string(v.class_name)
        else:
            raise TypeError("cannot send a value of type %s" % type(v).__name__)
        return self


class Reader:
    """Reads QDataStream fields from a body; ProtocolError when the body is short."""

    def __init__(self, data, make_object=None):
        self.data = memoryview(data)
        self.pos = 0
        self.make_object = make_object or (lambda handle, class_name: (handle, class_name))

    def _take(self, n):
        if self.pos + n > len(self.data):
            raise ProtocolError("body ends %d bytes early" % (self.pos + n - len(self.data)))
        chunk = self.data[self.pos:self.pos + n]
        self.pos += n
        return chunk

    def _unpack(self, fmt, n):
        return struct.unpack(fmt, self._take(n))[0]

    def end(self):
        """Checks that the whole body was read."""
        if self.pos != len(self.data):
            raise ProtocolError("%d bytes left over in the body" % (len(self.data) - self.pos))

    def u8(self):
        return self._unpack(">B", 1)

    def u16(self):
        return self._unpack(">H", 2)

    def u32(self):
        return self._unpack(">I", 4)

    def i32(self):
        return self._unpack(">i", 4)

    def i64(self):
        return self._unpack(">q", 8)

    def u64(self):
        return self._unpack(">Q", 8)

    def f64(self):
        return self._unpack(">d", 8)

    def boolean(self):
        return self.u8() != 0

    def string(self):
        n = self.u32()
        if n == NULL_LENGTH:
            return ""
        if n % 2:
            raise ProtocolError("odd QString byte count %d" % n)
        return bytes(self._take(n)).decode("utf-16-be", "surrogatepass")

    def bytearray(self):
        n = self.u32()
        return b"" if n == NULL_LENGTH else bytes(self._take(n))

    def _count(self, min_item_size):
        # A count larger than the bytes left could only be a lie: refuse it before allocating.
        n = self.u32()
        if n * min_item_size > len(self.data) - self.pos:
            raise ProtocolError("count %d exceeds the body" % n)
        return n

    def strings(self):
        return [self.string() for _ in range(self._count(4))]

    def values(self):
        return [self.value() for _ in range(self._count(1))]

    def value(self):
        tag = self.u8()
        if tag == T_NONE:
            return None
        if tag == T_BOOL:
            return self.boolean()
        if tag == T_INT:
            return self.i64()
        if tag == T_DOUBLE:
            return self.f64()
        if tag == T_TEXT:
            return self.string()
        if tag == T_LIST:
            return self.values()
        if tag == T_MAP:
            return {self.string(): self.value() for _ in range(self._count(5))}
        if tag == T_OBJECT:
            handle = self.u64()
            return self.make_object(handle, self.string())
        if tag == T_POINT:
            return Point(self.i32(), self.i32())
        if tag == T_RECT:
            return Rect(self.i32(), self.i32(), self.i32(), self.i32())
        if tag == T_DATETIME:
            ms = self.i64()
            try:
                return (_EPOCH + ms * _MS).astimezone().replace(tzinfo=None)
            except (OverflowError, ValueError):
                raise ProtocolError("date %d ms out of range" % ms) from None
        if tag == T_BYTES:
            return self.bytearray()
        raise ProtocolError("unknown value tag %d" % tag)
