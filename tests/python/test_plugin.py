"""The pytest plugin in a pytest of its own: the app fixture, failure artefacts, crashes, -n 2, replay."""
import xml.etree.ElementTree as ET

import pytest

from conftest import ROOT
from vexil.recorder import generate_test

SUITE = '''
import os, signal

def test_passes(app):
    assert app.find_object(":mainWindow.nameEdit_QLineEdit").text == ""

def test_crash(app):
    os.kill(app.pid, signal.SIGSEGV)
    app.find_object(":mainWindow.nameEdit_QLineEdit")

def test_next_runs_normally(app):
    app.find_object(":mainWindow.nameEdit_QLineEdit").text = "x"

def test_fails(app):
    app.find_object("{type='QLineEdit' name='missing' window=':mainWindow_VexilDemo::DemoMainWindow'}")
'''


def run(pytester, demo_path, *extra):
    pytester.makepyfile(test_suite=SUITE)
    result = pytester.runpytest_subprocess(
        "-p", "vexil.pytest_plugin", "--vexil-app", demo_path, "--junitxml=junit.xml",
        "--vexil-objectmap", str(ROOT / "examples" / "scripts" / "demo.objectmap"), *extra)
    outcomes = {case.get("name"): [child.tag for child in case if child.tag in ("failure", "error")]
                for case in ET.parse(pytester.path / "junit.xml").iter("testcase")}
    return result, outcomes


@pytest.mark.parametrize("extra", [(), ("-n", "2")], ids=["serial", "xdist"])
def test_suite_outcomes_and_failure_artefacts(pytester, demo_path, extra):
    result, outcomes = run(pytester, demo_path, *extra)
    assert outcomes == {"test_passes": [], "test_crash": ["failure"], "test_next_runs_normally": [],
                        "test_fails": ["failure"]}
    result.stdout.fnmatch_lines(["*ApplicationGone: application killed by signal 11*"])
    properties = {p.get("name"): p.get("value") for p in ET.parse(pytester.path / "junit.xml").iter("property")}
    assert open(properties["vexil_screenshot"], "rb").read(4) == b"\x89PNG"
    tree = open(properties["vexil_object_tree"]).read()
    assert "QLineEdit  {name='nameEdit'" in tree and "{name='fileMenu'" not in tree  # the window only


def test_recorded_session_replays(pytester, demo_path):
    from vexil import launch
    with launch([demo_path], object_map=str(ROOT / "examples" / "scripts" / "demo.objectmap")) as app:
        app.start_recording()
        app.find_object(":mainWindow.nameEdit_QLineEdit").setText("Ada")
        app.find_object(":mainWindow.okButton_QPushButton").click()
        records = app.stop_recording()
    code = generate_test(records, app_command=demo_path, object_map=str(ROOT / "examples/scripts/demo.objectmap"))
    pytester.makepyfile(test_replay=code + '    assert app.find_object(":mainWindow.statusLabel_QLabel")'
                                           '.text == "Submitted: Ada"\n')
    pytester.runpytest_subprocess("-p", "vexil.pytest_plugin").assert_outcomes(passed=1)
