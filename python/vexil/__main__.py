"""python3 -m vexil: `shell` to explore a program, `record` to turn a session into a test, `launch` to serve one."""
import argparse
import code
import os
import signal
import sys

from . import Error, attach, launch
from .objectmap import extend_object_map
from .recorder import generate_test, nested_names, used_names


def _start(args, env=None):
    if getattr(args, "attach", None):
        app = attach(args.attach, token=args.token)
        if args.objectmap:
            app.load_object_map(args.objectmap)
        return app
    if not args.app:
        raise Error("give --app 'PROGRAM ARGS' (or --attach ADDRESS)")
    return launch(args.app, object_map=args.objectmap, env=env)


def shell(args):
    app = _start(args, env={"QT_QPA_PLATFORM": os.environ.get("QT_QPA_PLATFORM", "offscreen")})
    import vexil
    banner = ("Vexil shell: `app` is %s (pid %d). Try app.top_level_objects(), app.find_object(NAME).\n"
              "Leave with Ctrl+D; the program is closed then." % (app.program, app.pid))
    with app:
        code.interact(banner=banner, local={"app": app, "vexil": vexil}, exitmsg="")
    return 0


def record(args):
    if not os.environ.get("DISPLAY") and not os.environ.get("WAYLAND_DISPLAY") \
            and "QT_QPA_PLATFORM" not in os.environ:
        raise Error("recording shows the program: set DISPLAY, or run under xvfb-run")
    env = {"QT_QPA_PLATFORM": os.environ.get("QT_QPA_PLATFORM", "xcb")}
    app = _start(args, env=env)
    object_map = args.objectmap or os.path.splitext(args.output)[0] + ".objectmap"
    real_names = {}
    records = []
    print("Recording %s: use the program, then close it or press Ctrl+C here." % app.program, file=sys.stderr)
    app.start_recording()

    def resolve():
        # Ask while the program lives: the next record may be the one that closes it.
        pending = used_names(records)
        while pending:
            name = pending.pop()
            if name not in real_names:
                real_names[name] = app.object_map("realName", name)[0]
                pending += nested_names(real_names[name])
                print("  " + name, file=sys.stderr)

    try:
        while app.is_running():
            records = app.pushed_records(timeout=0.5)
            resolve()
        records = app.pushed_records()
    except KeyboardInterrupt:
        try:
            records = app.stop_recording()
        except Error:
            records = app.pushed_records()
    except Error:
        pass
    try:
        resolve()
    except Error:
        pass
    app.close()
    unknown = [n for n in used_names(records) if n not in real_names]
    if unknown:
        print("the program closed before these names could be looked up; add them to the map by hand: "
              + ", ".join(unknown), file=sys.stderr)
    added = extend_object_map(object_map, real_names)
    with open(args.output, "w", encoding="utf-8") as f:
        f.write(generate_test(records, app_command=args.app,
                              object_map=os.path.relpath(object_map, os.path.dirname(args.output) or ".")))
    print("wrote %s (%d steps) and %d new names to %s" % (args.output, len(records), len(added), object_map),
          file=sys.stderr)
    return 0


def serve(args):
    argv = args.program[1:] if args.program[:1] == ["--"] else args.program
    app = launch(argv, object_map=args.objectmap, listen=args.listen)
    print("address: %s" % (app.tcp_address or app._address), flush=True)
    if app.token:
        print("token: %s" % app.token, flush=True)
    print("pid: %d" % app.pid, flush=True)

    def stop(*_):
        raise KeyboardInterrupt

    signal.signal(signal.SIGTERM, stop)
    try:
        while app._proc.poll() is None:
            app.pushed_records(timeout=1.0)  # drains pushes so they do not pile up in the agent
        code = app._proc.returncode
    except KeyboardInterrupt:
        code = app.close()
    app.close()
    return code if code >= 0 else 128 - code


def main(argv=None):
    parser = argparse.ArgumentParser(prog="python3 -m vexil", description=__doc__)
    sub = parser.add_subparsers(dest="command", required=True)
    for name, helptext in (("shell", "interactive Python console with `app` bound"),
                           ("record", "record what a person does into a pytest test")):
        p = sub.add_parser(name, help=helptext)
        p.add_argument("--app", metavar="'PROGRAM ARGS'", help="program to start under the agent")
        p.add_argument("--objectmap", metavar="FILE", help="object map to load (record: to extend)")
        if name == "shell":
            p.add_argument("--attach", metavar="ADDRESS", help="a program started with `launch --listen`")
            p.add_argument("--token", help="the token `launch --listen` printed")
        else:
            p.add_argument("-o", "--output", default="test_recorded.py", help="test file to write")
    p = sub.add_parser("launch", help="start a program under the agent and wait until it ends")
    p.add_argument("--listen", metavar="tcp:HOST:PORT", help="also accept TCP clients (they need the token)")
    p.add_argument("--objectmap", metavar="FILE")
    p.add_argument("program", nargs=argparse.REMAINDER, help="-- PROGRAM ARGS...")
    args = parser.parse_args(argv)
    try:
        return {"shell": shell, "record": record, "launch": serve}[args.command](args)
    except Error as e:
        print("vexil: %s" % e, file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
