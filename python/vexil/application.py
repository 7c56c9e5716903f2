"""Application and Object: the program under test and its objects, driven through one agent connection."""
import builtins
import collections
import os
import shutil
import signal
import subprocess
import weakref

from . import codec
from .codec import Reader, Writer
from .connection import Connection, ConnectionClosed, connect
from .errors import (ApplicationGone, Error, InvocationError, LaunchError, ObjectNotFound, ProtocolError,
                     StaleObject, TimeoutError, WaitTimeout, exit_text)

CLIENT_NAME = "vexil-python"
# Handles no object uses any more are given back to the agent this many at a time (one round trip each batch).
RELEASE_BATCH = 64


def timeout_factor():
    try:
        return max(float(os.environ.get("VEXIL_TIMEOUT_FACTOR", "1")), 0.01)
    except ValueError:
        return 1.0


class Record:
    """One recorded user action; str() is its debug text."""

    __slots__ = ("text", "type", "object", "name", "data")

    def __init__(self, fields):
        self.text = fields.get("text", "")
        self.type = fields.get("type", -1)
        self.object = fields.get("object", "")
        self.name = fields.get("name", "")
        self.data = fields.get("data", b"")

    def __str__(self):
        return self.text

    def __repr__(self):
        return "<vexil.Record %r>" % self.text


class Object:
    """An object of the program. Properties and methods are also reachable as attributes."""

    __slots__ = ("_app", "_vexil_handle", "class_name", "__weakref__")

    def __init__(self, app, handle, class_name):
        object.__setattr__(self, "_app", app)
        object.__setattr__(self, "_vexil_handle", handle)
        object.__setattr__(self, "class_name", class_name)

    def property(self, name):
        return self._app._request(codec.GET_PROPERTY, Writer().u64(self._vexil_handle).string(name),
                                  read=Reader.value)

    def set_property(self, name, value):
        self._app._request(codec.SET_PROPERTY, Writer().u64(self._vexil_handle).string(name).value(value))

    def invoke(self, method, *args):
        body = Writer().u64(self._vexil_handle).string(method).i32(-1).values(args)
        return self._app._request(codec.INVOKE, body, read=_result)

    @builtins.property
    def real_name(self):
        return self._describe()[1]

    @builtins.property
    def symbolic_name(self):
        return self._describe()[2]

    def _describe(self):
        return self._app._request(codec.DESCRIBE, Writer().u64(self._vexil_handle),
                                  read=lambda r: (r.string(), r.string(), r.string()))

    def parent(self):
        return self._app._request(codec.PARENT, Writer().u64(self._vexil_handle), read=Reader.value)

    def children(self):
        return self._app._children(self._vexil_handle)

    def exists(self):
        if self._vexil_handle in self._app._invalidated:
            return False
        try:
            self._describe()
        except StaleObject:
            return False
        return True

    def __getattr__(self, name):
        if name.startswith("_"):
            raise AttributeError(name)
        properties, methods = self._app._members(self.class_name)
        if name in properties:
            return self.property(name)
        if name in methods:
            return lambda *args: self.invoke(name, *args)
        raise AttributeError("%s has no property or method %r" % (self.class_name, name))

    def __setattr__(self, name, value):
        if name in Object.__slots__:
            raise AttributeError("%s is read-only" % name)
        self.set_property(name, value)

    def __dir__(self):
        properties, methods = self._app._members(self.class_name)
        return sorted(set(object.__dir__(self)) | properties | methods)

    def __eq__(self, other):
        return (isinstance(other, Object) and other._app is self._app
                and other._vexil_handle == self._vexil_handle)

    def __hash__(self):
        return hash((id(self._app), self._vexil_handle))

    def __repr__(self):
        return "<vexil.Object %s #%d>" % (self.class_name, self._vexil_handle)

    def __del__(self):
        try:
            self._app._drop_handle(self._vexil_handle)
        except Exception:  # an interpreter shutting down may have torn the application down first
            pass


def _result(reader):
    # Invoke and Call answer the result and whether the call completed; a call that entered a modal
    # dialog's event loop answers early with None, which is what a script should see.
    value = reader.value()
    reader.boolean()
    return value


def _target(writer, obj):
    if isinstance(obj, Object):
        return writer.u8(1).u64(obj._vexil_handle)
    if isinstance(obj, str):
        return writer.u8(0).string(obj)
    raise TypeError("expected a vexil.Object or a name, not %s" % type(obj).__name__)


class Application:
    """A program running under the agent. Use as a context manager, or call close()."""

    def __init__(self, sock, *, process=None, socket_dir=None, address=None, token=None, timeout=10.0):
        self._proc = process
        self._socket_dir = socket_dir
        self._address = address
        self.token = token
        self._gone = None
        self._classes = {}
        self._invalidated = set()
        # Objects alive per handle; handles none of them holds any more go back to the agent in batches.
        self._handle_users = collections.Counter()
        self._unused_handles = set()
        self._recorded = []
        self.recording = False
        self.call_timeout = 20.0 * timeout_factor()
        self._conn = Connection(sock, self._on_push, max_length=4096 + 6)
        self._finalizer = weakref.finalize(self, _reap, process, socket_dir, self._conn)
        hello = Writer().u32(codec.PROTOCOL_VERSION).string(token or "").string(CLIENT_NAME)
        version, self.qt_version, self.pid, self.program, self.tcp_address = self._request(
            codec.HELLO, hello, timeout=timeout, read=lambda r: (r.u32(), r.string(), r.i64(), r.string(),
                                                                 r.string()))
        self._conn.buffer.max_length = codec.MAX_LENGTH
        if version != codec.PROTOCOL_VERSION:
            raise ProtocolError("the agent speaks protocol %d, this client %d"
                                % (version, codec.PROTOCOL_VERSION))

    # Requests

    def _request(self, kind, body, *, timeout=None, read=None, name=None, waiting=False):
        if self._gone:
            raise ApplicationGone(str(self._gone), self._gone.exit_code)
        if isinstance(body, Writer):
            body = body.bytes()
        if len(self._unused_handles) >= RELEASE_BATCH and kind != codec.RELEASE:
            self._release_unused()
        try:
            answer, data = self._conn.request(kind, body, self.call_timeout if timeout is None else timeout)
        except ConnectionClosed:
            raise self._went_away() from None
        if answer == codec.OK:
            reader = Reader(data, self._make_object)
            result = read(reader) if read else None
            reader.end()
            return result
        if answer != codec.ERROR:
            raise ProtocolError("unexpected answer kind 0x%04x" % answer)
        reader = Reader(data)
        code, text = reader.u16(), reader.string()
        raise _error(code, text, name, waiting)

    def _went_away(self):
        code = None
        if self._proc is not None:
            try:
                code = self._proc.wait(5 * timeout_factor())
            except subprocess.TimeoutExpired:
                pass
        self._gone = ApplicationGone(exit_text(code), code)
        return self._gone

    def _make_object(self, handle, class_name):
        self._handle_users[handle] += 1
        self._unused_handles.discard(handle)
        return Object(self, handle, class_name)

    def _drop_handle(self, handle):
        self._handle_users[handle] -= 1
        if self._handle_users[handle] <= 0:
            del self._handle_users[handle]
            self._unused_handles.add(handle)

    def _release_unused(self):
        handles = list(self._unused_handles)
        self._unused_handles.clear()
        self._invalidated.difference_update(handles)
        body = Writer().u32(len(handles))
        for handle in handles:
            body.u64(handle)
        self._request(codec.RELEASE, body)

    def _on_push(self, kind, body):
        reader = Reader(body, self._make_object)
        if kind == codec.PUSH_INVALIDATED:
            self._invalidated.add(reader.u64())
        elif kind == codec.PUSH_RECORD:
            self._recorded.append(Record(reader.value()))
            return True

    def _members(self, class_name):
        """(property names, method names) of a class and its superclasses, asked once per class."""
        if class_name not in self._classes:
            properties, methods = set(), set()
            name = class_name
            while name:
                reader_result = self._request(codec.CLASS_INFO, Writer().string(name), read=_class_info)
                superclass, own_properties, own_methods = reader_result
                properties |= own_properties
                methods |= own_methods
                name = superclass
            self._classes[class_name] = (properties, methods)
        return self._classes[class_name]

    def _children(self, handle):
        return self._request(codec.CHILDREN, Writer().u64(handle), read=Reader.values)

    def _step(self, target, action, member, args=(), properties=(), wait_ms=-1):
        body = _target(Writer(), target).i32(wait_ms).u8(action).string(member).values(args).strings(properties)
        name = target if isinstance(target, str) else None
        return self._request(codec.STEP, body, name=name, waiting=wait_ms >= 0,
                             timeout=self.call_timeout + max(wait_ms, 0) / 1000.0,
                             read=lambda r: (r.value(), r.value(), r.values(), r.boolean()))

    # Public surface

    def find_object(self, name):
        """The object of that name (symbolic, multi-property or dotted); ObjectNotFound otherwise."""
        return self._request(codec.FIND, Writer().string(name).i32(-1), name=name, read=Reader.value)

    def wait_for_object(self, name, timeout=None):
        """Waits until the object exists, is visible and enabled; TimeoutError (also an ObjectNotFound)."""
        seconds = self.call_timeout if timeout is None else timeout
        wait_ms = max(0, min(int(seconds * 1000), 0x7FFFFFFF))
        return self._request(codec.FIND, Writer().string(name).i32(wait_ms), name=name, waiting=True,
                             timeout=self.call_timeout + seconds, read=Reader.value)

    def wait_for_property(self, obj, name, value, timeout=None):
        """Waits until the property equals `value`; the value reached."""
        seconds = self.call_timeout if timeout is None else timeout
        if isinstance(obj, str):
            obj = self.find_object(obj)
        body = Writer().u64(obj._vexil_handle).string(name).value(value).i32(int(seconds * 1000))
        return self._request(codec.WAIT_FOR_PROPERTY, body, timeout=self.call_timeout + seconds,
                             read=Reader.value)

    def top_level_objects(self):
        return self._children(0)

    def _input(self, function, obj, *args):
        self._step(obj, codec.ACT_CALL, function, args)

    def mouse_click(self, obj, x=None, y=None, *, button="left", modifiers=""):
        """Clicks at (x, y) relative to the object, its centre by default."""
        self._input("mouseClick", obj, _coord(x), _coord(y), button, modifiers)

    def double_click(self, obj, x=None, y=None, *, button="left", modifiers=""):
        self._input("doubleClick", obj, _coord(x), _coord(y), button, modifiers)

    def mouse_press(self, obj, x=None, y=None, *, button="left", modifiers=""):
        self._input("mousePress", obj, _coord(x), _coord(y), button, modifiers)

    def mouse_release(self, obj, x=None, y=None, *, button="left", modifiers=""):
        self._input("mouseRelease", obj, _coord(x), _coord(y), button, modifiers)

    def mouse_move(self, obj, x=None, y=None):
        self._input("mouseMove", obj, _coord(x), _coord(y))

    def mouse_drag(self, obj, x, y, dx, dy, *, button="left", modifiers=""):
        self._input("mouseDrag", obj, x, y, dx, dy, button, modifiers)

    def type(self, obj, text):
        """Types text into the object; `<Return>`, `<Ctrl+A>` are keys, `<<` a literal `<`."""
        self._input("type", obj, text)

    def key_press(self, obj, key):
        self._input("keyPress", obj, key)

    def key_release(self, obj, key):
        self._input("keyRelease", obj, key)

    def activate_menu_item(self, obj, path):
        """Opens the menus of a window, menu bar or menu and clicks the item: "File|Save &As..."."""
        self._input("activateMenuItem", obj, path)

    def screenshot(self, obj=None):
        """PNG bytes of the object, or of the active window."""
        if isinstance(obj, str):
            obj = self.find_object(obj)
        handle = obj._vexil_handle if obj is not None else 0
        return self._request(codec.SCREENSHOT, Writer().u64(handle), read=Reader.bytearray)

    def call(self, function, *args):
        """Calls a global function of the model, e.g. "_vexil_window_close"."""
        return self._request(codec.CALL, Writer().string(function).values(args), read=_result)

    def ping(self, payload=b""):
        return self._request(codec.PING, Writer().bytearray(payload), read=Reader.bytearray)

    def start_recording(self):
        self._recorded = []
        self._request(codec.RECORD, Writer().boolean(True), read=lambda r: r.values() if r.pos < len(r.data) else [])
        self.recording = True

    def stop_recording(self):
        """The records made since start_recording()."""
        records = self._request(codec.RECORD, Writer().boolean(False), read=Reader.values)
        self.recording = False
        self._recorded = []
        return [Record(r) for r in records]

    def pushed_records(self, timeout=0.0):
        """Records pushed so far while recording, waiting up to `timeout` for the next; they are kept."""
        if timeout > 0 and not self._gone:
            try:
                self._conn.pump(timeout)
            except ConnectionClosed:
                self._went_away()
        return list(self._recorded)

    def object_map(self, operation, *args):
        """An operation on the program's object map: load, realName, symbolicName, add, save, names."""
        return self._request(codec.OBJECT_MAP, Writer().string(operation).strings(args), read=Reader.strings)

    def load_object_map(self, path):
        """Loads a map file of this machine into the program (entry by entry when it runs elsewhere)."""
        if self._proc is not None or (self._address or "").startswith("local:"):
            self.object_map("load", os.path.abspath(path))
            return
        from .objectmap import read_object_map
        for symbolic, real in read_object_map(path).items():
            self.object_map("add", symbolic, real)

    def setting(self, operation, *args):
        return self._request(codec.SETTING, Writer().string(operation).values(args), read=Reader.value)

    def is_running(self):
        if self._gone or self._conn.closed:
            return False
        if self._proc is not None:
            return self._proc.poll() is None
        try:
            self.ping()
        except Error:
            return False
        return True

    def close(self):
        """Ends the program (Quit, then SIGTERM, then SIGKILL); its exit code, negative for a signal."""
        grace = 3 * timeout_factor()
        if not self._gone and not self._conn.closed:
            try:
                self._request(codec.QUIT, Writer().i32(0), timeout=grace)
            except Error:
                pass
        code = None
        if self._proc is not None:
            code = _end_process(self._proc, grace)
        elif not self._conn.closed:
            try:  # wait for the agent to hang up, so the program really went
                self._conn.pump(grace)
            except ConnectionClosed:
                pass
        self._conn.close()
        self._finalizer()
        if not self._gone:
            self._gone = ApplicationGone(exit_text(code), code)
        return code

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __repr__(self):
        return "<vexil.Application %s pid %d>" % (self.program, self.pid)


def _coord(v):
    return -1 if v is None else int(v)


def _class_info(r):
    r.string()  # name
    r.string()  # namespace
    superclass = r.string()
    methods = set()
    for _ in range(r.u32()):
        methods.add(r.string())
        r.string(), r.boolean(), r.strings(), r.strings()
    properties = set()
    for _ in range(r.u32()):
        properties.add(r.string())
        r.string(), r.boolean(), r.boolean(), r.boolean()
    for _ in range(r.u32()):
        r.string(), r.boolean()
        for _ in range(r.u32()):
            r.string(), r.i32()
    return superclass, properties, methods


def _error(code, text, name, waiting):
    if code == codec.OBJECT_NOT_FOUND:
        return ObjectNotFound(text, name)
    if code == codec.TIMEOUT:
        return WaitTimeout(text, name) if waiting else TimeoutError(text)
    if code in (codec.STALE_OBJECT, codec.NO_SUCH_OBJECT):
        return StaleObject(text)
    if code == codec.INVOCATION_ERROR:
        return InvocationError(text)
    if code == codec.UNSUPPORTED:
        return LaunchError(text)
    return ProtocolError("agent error %d: %s" % (code, text))


def _end_process(proc, grace):
    try:
        return proc.wait(grace)
    except subprocess.TimeoutExpired:
        pass
    for sig in (signal.SIGTERM, signal.SIGKILL):
        try:
            proc.send_signal(sig)
            return proc.wait(grace)
        except subprocess.TimeoutExpired:
            pass
    return proc.wait()


def _reap(proc, socket_dir, conn):
    # Runs at close() or when the Application is dropped or the interpreter exits: no program outlives us.
    conn.close()
    if proc is not None and proc.poll() is None:
        proc.kill()
        proc.wait()
    if socket_dir:
        shutil.rmtree(socket_dir, ignore_errors=True)
