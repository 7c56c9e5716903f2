"""Starting a program under the agent (LD_PRELOAD, a private socket directory) and attaching to one."""
import os
import re
import secrets
import shlex
import shutil
import subprocess
import sysconfig
import tempfile
import time
from pathlib import Path

from .application import Application, timeout_factor
from .connection import connect
from .errors import ApplicationGone, Error, LaunchError, TimeoutError

AGENT = "libvexil_agent.so"


def agent_library():
    """Path of the agent: $VEXIL_AGENT_LIBRARY, an installed copy, or a build directory of the checkout."""
    explicit = os.environ.get("VEXIL_AGENT_LIBRARY")
    if explicit:
        if not os.path.isfile(explicit):
            raise LaunchError("VEXIL_AGENT_LIBRARY names no file: %s" % explicit)
        return os.path.abspath(explicit)
    here = Path(__file__).resolve().parent
    multiarch = sysconfig.get_config_var("MULTIARCH") or "x86_64-linux-gnu"
    candidates = []
    # Installed: <prefix>/lib/python3/dist-packages/vexil or <prefix>/lib/python3.X/site-packages/vexil.
    for prefix in here.parents:
        candidates += [prefix / "lib" / multiarch / "vexil" / AGENT, prefix / "lib" / "vexil" / AGENT]
    # A source checkout: <repo>/python/vexil.
    repo = here.parent.parent
    candidates += [repo / build / "src" / "agent" / AGENT for build in ("build", "build-test")]
    for path in candidates:
        if path.is_file():
            return str(path)
    raise LaunchError("agent library %s not found: set VEXIL_AGENT_LIBRARY or build it "
                      "(cmake --build build --target vexil_agent)" % AGENT)


def check_program(path):
    """LaunchError unless an ELF program links Qt 5 (other files, e.g. scripts, are not checked)."""
    with open(path, "rb") as f:
        if f.read(4) != b"\x7fELF":
            return
    try:
        out = subprocess.run(["readelf", "-d", "-W", path], capture_output=True, text=True, timeout=30).stdout
    except (OSError, subprocess.TimeoutExpired):
        return  # no binutils: the handshake will tell
    needed = re.findall(r"\(NEEDED\)\s+Shared library: \[([^\]]+)\]", out)
    if any(lib.startswith("libQt5Core") for lib in needed):
        return
    if any(lib.startswith("libQt6Core") for lib in needed):
        raise LaunchError("%s is a Qt 6 program; Vexil drives Qt 5 programs" % path)
    if any(lib.startswith("libQt5") for lib in needed):
        return  # Qt 5 reached through another Qt library
    raise LaunchError("%s is not a Qt 5 program (it does not link libQt5Core)" % path)


def resolve_program(program, env, cwd):
    if "/" in program:
        path = os.path.join(cwd or os.getcwd(), program)
        if not os.path.exists(path):
            raise LaunchError("program not found: %s" % program)
        if not os.access(path, os.X_OK) or os.path.isdir(path):
            raise LaunchError("program is not executable: %s" % program)
        return path
    found = shutil.which(program, path=env.get("PATH"))
    if not found:
        raise LaunchError("program not found: %s" % program)
    return found


def _socket_dir():
    # mkdtemp makes the directory 0700. Unix socket paths are short (108 bytes), so fall back to /tmp
    # when TMPDIR is deep.
    base = tempfile.gettempdir()
    if len(base) > 60:
        base = "/tmp"
    return tempfile.mkdtemp(prefix="vexil-", dir=base)


def launch(argv, *, object_map=None, env=None, cwd=None, timeout=30.0, listen=None, token=None):
    """Starts a Qt 5 program under the agent and connects to it; LaunchError names why it could not.

    `listen` ("tcp:HOST:PORT", port 0 for any) makes the agent accept TCP connections too, with `token`
    (a random one by default, then in `app.token`); `app.tcp_address` tells where it listens.
    """
    if isinstance(argv, str):
        argv = shlex.split(argv)
    argv = [os.fspath(a) for a in argv]
    if not argv:
        raise LaunchError("no program given")
    full_env = dict(os.environ)
    full_env.update(env or {})
    program = resolve_program(argv[0], full_env, cwd)
    check_program(program)
    library = agent_library()

    socket_dir = _socket_dir()
    socket_path = os.path.join(socket_dir, "agent")
    preload = full_env.get("LD_PRELOAD", "")
    full_env["LD_PRELOAD"] = library + (" " + preload if preload else "")
    full_env["VEXIL_AGENT_SOCKET"] = socket_path
    full_env.setdefault("QT_QPA_PLATFORM", "offscreen")
    # Qt Quick finds no OpenGL there: its software renderer draws, unless the user chose a renderer.
    if full_env["QT_QPA_PLATFORM"].startswith("offscreen") and not (
            full_env.get("QT_QUICK_BACKEND") or full_env.get("QMLSCENE_DEVICE")):
        full_env["QT_QUICK_BACKEND"] = "software"
    if listen:
        token = token or secrets.token_hex(16)
        full_env["VEXIL_AGENT_LISTEN"] = listen
        full_env["VEXIL_AGENT_TOKEN"] = token
    try:
        # Own session: Ctrl+C in a shell or a recording stops us, not the program behind our back.
        proc = subprocess.Popen([program] + argv[1:], env=full_env, cwd=cwd, start_new_session=True)
    except OSError as e:
        shutil.rmtree(socket_dir, ignore_errors=True)
        raise LaunchError("cannot start %s: %s" % (argv[0], e.strerror or e)) from None

    try:
        app = _handshake(proc, socket_path, socket_dir, timeout * timeout_factor(), argv[0], token)
        if object_map:
            app.load_object_map(object_map)
        return app
    except BaseException:
        if proc.poll() is None:
            proc.kill()
        proc.wait()
        shutil.rmtree(socket_dir, ignore_errors=True)
        raise


def _handshake(proc, socket_path, socket_dir, timeout, name, token):
    deadline = time.monotonic() + timeout
    # The agent makes its socket once the program's event loop runs: look for it until then.
    while True:
        code = proc.poll()
        if code is not None:
            raise LaunchError(_early(name, code))
        if os.path.exists(socket_path):
            try:
                sock = connect("local:" + socket_path, max(deadline - time.monotonic(), 0.1))
                break
            except Error:
                pass
        if time.monotonic() > deadline:
            raise LaunchError("%s: no handshake in %g s" % (name, timeout))
        time.sleep(0.01)
    try:
        return Application(sock, process=proc, socket_dir=socket_dir, address="local:" + socket_path,
                           token=token, timeout=max(deadline - time.monotonic(), 1.0))
    except LaunchError as e:
        raise LaunchError("%s: %s" % (name, e)) from None
    except ApplicationGone as e:
        raise LaunchError(_early(name, proc.wait())) from None
    except TimeoutError:
        raise LaunchError("%s: no handshake in %g s" % (name, timeout)) from None


def _early(name, code):
    if code < 0:
        return "%s was killed by signal %d before the handshake" % (name, -code)
    return "%s exited early with code %d" % (name, code)


def attach(address, *, token=None, timeout=10.0):
    """Connects to a program started with `vexil launch --listen ...` (or to `local:PATH`)."""
    sock = connect(address, timeout)
    try:
        app = Application(sock, address=address, token=token, timeout=timeout)
    except ApplicationGone:
        raise Error("the agent at %s closed the connection during the handshake (wrong token?)"
                    % address) from None
    return app
