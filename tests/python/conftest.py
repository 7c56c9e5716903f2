"""Shared set-up: the package from the source tree, and the programs the end-to-end tests drive."""
import os
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))
# pytest runs started by the plugin tests import the package from here too.
os.environ["PYTHONPATH"] = os.pathsep.join(filter(None, [str(ROOT / "python"), os.environ.get("PYTHONPATH")]))

import vexil  # noqa: E402

CALCULATOR = "/usr/lib/x86_64-linux-gnu/qt5/examples/widgets/widgets/calculator/calculator"
DEMO_CANDIDATES = [ROOT / b / "examples" / "demoapp" / n for b in ("build", "build-test")
                   for n in ("vexil-demo", "demoapp")]
QUICK_EXAMPLES = "/usr/lib/x86_64-linux-gnu/qt5/examples/quick"
pytest_plugins = ["pytester"]


def agent_or_skip():
    try:
        return vexil.agent_library()
    except vexil.LaunchError as e:
        pytest.skip(str(e))


def pinch(path, width, height, x, y, spread_from, spread_to, steps=10):
    """A gesture file: two fingers moving apart horizontally around (x, y), 20 ms a step."""
    samples = []
    for i in range(steps + 1):
        d = spread_from + (spread_to - spread_from) * i / steps
        points = "".join("  <point pointer='%d' x='%g' y='%g' pressure='1' size='0.01' state='move'/>\n"
                         % (n, x + side * d, y) for n, side in ((0, -1), (1, 1)))
        samples.append("<sample timestamp='%d'>\n%s</sample>\n" % (i * 20, points))
    path.write_text("<gestures version='1.0'>\n  <multi-point area-width='%d' area-height='%d' unit='px'>\n%s"
                    "</multi-point>\n</gestures>\n" % (width, height, "".join(samples)))
    return str(path)


@pytest.fixture
def demo_path():
    agent_or_skip()
    found = [os.environ["VEXIL_DEMO_APP"]] if os.environ.get("VEXIL_DEMO_APP") else \
        [str(p) for p in DEMO_CANDIDATES if p.is_file()]
    if not found:
        pytest.skip("demo program not built (cmake --build build --target demoapp)")
    return found[0]


@pytest.fixture
def calculator_path():
    agent_or_skip()
    if not os.access(CALCULATOR, os.X_OK):
        pytest.skip("Debian's qtbase5-examples is not installed")
    return CALCULATOR


@pytest.fixture
def quickdemo_path(demo_path):
    # Built beside the widget demo.
    path = Path(demo_path).parents[1] / "quickdemo" / "vexil-quickdemo"
    if not path.is_file():
        pytest.skip("Qt Quick demo program not built (cmake --build build --target vexil-quickdemo)")
    return str(path)


@pytest.fixture
def quick_example():
    """The path of one of Debian's Qt Quick example programs, by its directory under the examples."""
    agent_or_skip()

    def find(name):
        path = os.path.join(QUICK_EXAMPLES, name, os.path.basename(name))
        if not os.access(path, os.X_OK):
            pytest.skip("Debian's qtdeclarative5-examples is not installed")
        return path
    return find
