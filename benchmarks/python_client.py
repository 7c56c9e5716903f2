"""Round trips through the Python client next to a bare Python socket ping-pong of the same size.

    /usr/bin/python3 benchmarks/python_client.py [--steps 1000] [--app build/examples/demoapp/vexil-demo]

Prints the median time of each operation, its ratio to the bare ping-pong, and the total time of the steps.
"""
import argparse
import os
import socket
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "python"))

import vexil  # noqa: E402
from vexil import codec  # noqa: E402
from vexil.codec import Reader, Writer  # noqa: E402

LABEL = "{type='QLabel' name='statusLabel'}"
BUTTON = "{type='QPushButton' name='clearButton'}"


def timed(fn, n):
    samples = []
    for _ in range(n):
        start = time.perf_counter()
        fn()
        samples.append(time.perf_counter() - start)
    return samples


def echo_server(sock):
    # Answers each frame with a frame of the answer's size, like the agent would.
    buffer = codec.FrameBuffer()
    while True:
        data = sock.recv(1 << 16)
        if not data:
            return
        buffer.feed(data)
        while True:
            got = buffer.next_frame()
            if got is None:
                break
            sock.sendall(codec.frame(got[0], codec.OK, ANSWER))


ANSWER = Writer().value("Submitted: Ada").bytes()


def bare_ping_pong(request_body):
    """A round trip of a frame of `request_body`'s size over a Unix socket to an echo process."""
    ours, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_STREAM)
    if os.fork() == 0:  # another process, as the program under test is
        ours.close()
        echo_server(theirs)
        os._exit(0)
    theirs.close()
    buffer = codec.FrameBuffer()
    ids = iter(range(1, 1 << 31))

    def once():
        request_id = next(ids)
        ours.sendall(codec.frame(request_id, codec.GET_PROPERTY, request_body))
        while True:
            got = buffer.next_frame()
            if got:
                Reader(got[2]).value()
                return
            buffer.feed(ours.recv(1 << 16))
    return once


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--steps", type=int, default=1000)
    root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
    parser.add_argument("--app", default=os.path.join(root, "build", "examples", "demoapp", "vexil-demo"))
    args = parser.parse_args()
    n = args.steps

    with vexil.launch([args.app]) as app:
        label = app.find_object(LABEL)
        read = lambda: label.property("text")  # noqa: E731
        step = lambda: app._step(BUTTON, codec.ACT_INVOKE, "click", (), ("text",))  # noqa: E731
        ping = lambda: app.ping()  # noqa: E731
        for fn in (read, step, ping):
            timed(fn, 50)  # warm up both sides
        results = {"property read": timed(read, n), "find+click+read step": timed(step, n),
                   "agent ping": timed(ping, n)}
    floor = bare_ping_pong(Writer().u64(label._vexil_handle).string("text").bytes())
    timed(floor, 50)
    results["bare socket ping-pong"] = timed(floor, n)

    base = statistics.median(results["bare socket ping-pong"])
    print("%-24s %12s %8s %12s" % ("operation", "median us", "ratio", "total ms"))
    for name, samples in results.items():
        median = statistics.median(samples)
        print("%-24s %12.1f %8.2f %12.1f" % (name, median * 1e6, median / base, sum(samples) * 1e3))
    total = sum(results["find+click+read step"])
    print("%d steps in %.3f s (target: under 1 s)" % (n, total))


if __name__ == "__main__":
    main()
