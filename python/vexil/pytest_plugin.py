"""pytest plugin: the `app` fixture, its options, and a screenshot plus object tree of every failure."""
import os
import re

import pytest

from . import launch
from .application import Application, Object
from .errors import Error, ObjectNotFound

TREE_LINES = 300


def pytest_addoption(parser):
    group = parser.getgroup("vexil", "Vexil: testing Qt 5 programs")
    group.addoption("--vexil-app", metavar="'PROGRAM ARGS'",
                    help="program the `app` fixture launches for each test")
    group.addoption("--vexil-objectmap", metavar="FILE", help="object map that symbolic names resolve through")
    group.addoption("--vexil-timeout-factor", metavar="F", type=float,
                    help="scale every default time-out (slow machines)")
    group.addoption("--vexil-artifacts", metavar="DIR", default="vexil-artifacts",
                    help="where screenshots and object trees of failures go (default: %(default)s)")


def pytest_configure(config):
    factor = config.getoption("vexil_timeout_factor", None)
    if factor:
        # Read by the client and handed to the programs it starts.
        os.environ["VEXIL_TIMEOUT_FACTOR"] = repr(factor)


@pytest.fixture
def app(request):
    """The program of --vexil-app (or the test module's VEXIL_APP), started for this test and closed after."""
    config = request.config
    command = config.getoption("vexil_app") or getattr(request.module, "VEXIL_APP", None)
    if not command:
        pytest.fail("no program to test: pass --vexil-app 'PROGRAM ARGS'", pytrace=False)
    object_map = config.getoption("vexil_objectmap") or getattr(request.module, "VEXIL_OBJECTMAP", None)
    if object_map and not os.path.isabs(object_map) and not config.getoption("vexil_objectmap"):
        object_map = os.path.join(os.path.dirname(str(request.module.__file__)), object_map)
    application = launch(command, object_map=object_map)
    yield application
    application.close()


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    outcome = yield
    report = outcome.get_result()
    application = getattr(item, "funcargs", {}).get("app")
    if not report.failed or not isinstance(application, Application):
        return
    directory = os.path.abspath(item.config.getoption("vexil_artifacts"))
    os.makedirs(directory, exist_ok=True)
    stem = os.path.join(directory, re.sub(r"[^\w.-]+", "_", item.nodeid).strip("_") + "-" + report.when)
    notes = []
    try:
        png = application.screenshot()
        with open(stem + ".png", "wb") as f:
            f.write(png)
        _property(item, report, "vexil_screenshot", stem + ".png")
        notes.append("screenshot: " + stem + ".png")
    except Error as e:
        notes.append("no screenshot: %s" % e)
    try:
        exc = call.excinfo.value if call.excinfo else None
        tree = object_tree(application, failing_name(exc))
        with open(stem + ".tree.txt", "w", encoding="utf-8") as f:
            f.write(tree)
        _property(item, report, "vexil_object_tree", stem + ".tree.txt")
        notes.append("object tree: " + stem + ".tree.txt")
    except Error as e:
        notes.append("no object tree: %s" % e)
    report.sections.append(("vexil", "\n".join(notes)))


def failing_name(exc):
    return getattr(exc, "name", None) if isinstance(exc, ObjectNotFound) else None


def object_tree(application, name=None):
    """Indented `class  real name` lines: below the nearest existing ancestor of `name`, else every window."""
    roots = None
    for candidate in _ancestors(name):
        try:
            roots = [application.find_object(candidate)]
            break
        except Error:
            continue
    lines = ["# object tree for %s" % (name or "all windows")]
    _walk(roots or application.top_level_objects(), 0, lines)
    return "\n".join(lines[:TREE_LINES] + (["..."] if len(lines) > TREE_LINES else [])) + "\n"


def _ancestors(name):
    # Dotted paths name their ancestors, multi-property names their container or window; symbolic
    # names fall back to every window.
    if not name or name.startswith(":"):
        return []
    if name.startswith("{"):
        return re.findall(r"\b(?:container|window)='((?:[^'\\]|\\.)*)'", name)
    parts = name.split(".")
    return [".".join(parts[:n]) for n in range(len(parts) - 1, 0, -1)]


def _walk(objects, depth, lines):
    for obj in objects:
        if not isinstance(obj, Object) or len(lines) > TREE_LINES:
            continue
        try:
            lines.append("%s%s  %s" % ("  " * depth, obj.class_name, obj.real_name))
            _walk(obj.children(), depth + 1, lines)
        except Error as e:
            lines.append("%s%s  (%s)" % ("  " * depth, obj.class_name, e))


def _property(item, report, name, value):
    # JUnit XML takes properties from the teardown report, which copies the item's list.
    item.user_properties.append((name, value))
    report.user_properties.append((name, value))
