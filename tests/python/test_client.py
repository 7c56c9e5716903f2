"""The client against real programs under the agent: the demo program and Debian's calculator."""
import datetime
import os
import signal
import struct

import pytest

import vexil
from conftest import ROOT

DEMO_MAP = str(ROOT / "examples" / "scripts" / "demo.objectmap")
NAME_EDIT = ":mainWindow.nameEdit_QLineEdit"
WINDOW = ":mainWindow_VexilDemo::DemoMainWindow"


@pytest.fixture
def demo(demo_path):
    with vexil.launch([demo_path], object_map=DEMO_MAP) as app:
        yield app


@pytest.fixture
def calculator(calculator_path):
    with vexil.launch(calculator_path) as app:
        yield app


def test_objects_properties_and_methods(demo):
    edit = demo.find_object(NAME_EDIT)
    assert (edit.class_name, edit.real_name) == ("QLineEdit", demo.find_object(NAME_EDIT).real_name)
    assert edit == demo.find_object("{type='QLineEdit' name='nameEdit'}") and edit != demo.find_object(WINDOW)
    edit.set_property("text", "Ada")
    assert edit.property("text") == "Ada"
    edit.text = "Grace"
    assert edit.text == "Grace"
    demo.find_object(":mainWindow.okButton_QPushButton").click()
    assert demo.find_object(":mainWindow.statusLabel_QLabel").text == "Submitted: Grace"
    window = demo.find_object(WINDOW)
    assert window.invoke("greeting", "Bob") == window.greeting("Bob") == "Hello, Bob!"
    assert edit.parent().parent().parent() == window and edit in edit.parent().children()
    assert window in demo.top_level_objects()


def test_values(demo):
    window = demo.find_object(WINDOW)
    assert window.offsetBy(vexil.Point(1, 2), 3, 4) == vexil.Point(4, 6)
    assert isinstance(window.formGeometry(), vexil.Rect)
    assert window.items == ["Apples", "Pears"] and window.submitCount == 0
    demo.find_object(":mainWindow.okButton_QPushButton").click()
    assert window.lastSubmit == datetime.datetime(2024, 3, 5, 7, 8, 9)
    assert window.setStatus("x", True) is None
    assert demo.find_object(":mainWindow.subscribeCheck_QCheckBox").checked is False


def test_wait_recording_and_stale_objects(demo):
    demo.start_recording()
    demo.find_object(":mainWindow.settingsButton_QPushButton").click()
    dialog = demo.wait_for_object(":settingsDialog_VexilDemo::SettingsDialog", timeout=5)
    records = demo.stop_recording()
    assert [str(r) for r in records] == ["Type method/function: methodName: 'click' objectId: "
                                         "':mainWindow.settingsButton_QPushButton' numArguments: 0: [ ]"]
    assert dialog.exists()
    demo.call("_vexil_window_close", dialog)
    demo.wait_for_property(demo.find_object(WINDOW), "visible", True, timeout=5)
    assert not dialog.exists()
    with pytest.raises(vexil.StaleObject):
        dialog.property("windowTitle")


def test_handles_go_back_to_the_agent_when_no_object_uses_them(demo, monkeypatch):
    monkeypatch.setattr(vexil.application, "RELEASE_BATCH", 1)
    edit, again = demo.find_object(NAME_EDIT), demo.find_object(NAME_EDIT)
    handle = edit._vexil_handle
    del edit
    assert demo.find_object(NAME_EDIT) == again and again.text == ""  # another object still uses it
    del again
    demo.ping()  # gives it back
    assert demo.find_object(NAME_EDIT)._vexil_handle != handle  # handles are never reused


def test_screenshot_is_a_png_of_the_object(demo):
    label = demo.find_object(":mainWindow.statusLabel_QLabel")
    for png, obj in ((demo.screenshot(label), label), (demo.screenshot(), demo.find_object(WINDOW))):
        assert png[:8] == b"\x89PNG\r\n\x1a\n"
        assert struct.unpack(">II", png[16:24]) == (obj.width, obj.height)


ERRORS = {
    "not_found": (lambda app: app.find_object("{type='QLineEdit' name='nope'}"), vexil.ObjectNotFound,
                  "Object '{type='QLineEdit' name='nope'}' not found."),
    "wait_times_out": (lambda app: app.wait_for_object(":nope", timeout=0.2), vexil.TimeoutError,
                       "Object ':nope' not found."),
    "no_property": (lambda app: app.find_object(NAME_EDIT).property("nope"), vexil.InvocationError,
                    "class QLineEdit has no property 'nope'"),
    "no_method": (lambda app: app.find_object(NAME_EDIT).invoke("nope"), vexil.InvocationError,
                  "class QLineEdit has no method 'nope'"),
    "no_attribute": (lambda app: app.find_object(NAME_EDIT).nope, AttributeError,
                     "QLineEdit has no property or method 'nope'"),
}


@pytest.mark.parametrize("action,error,text", ERRORS.values(), ids=ERRORS.keys())
def test_errors_carry_the_model_text(demo, action, error, text):
    with pytest.raises(error) as info:
        action(demo)
    assert str(info.value).startswith(text)


def test_a_hung_program_times_out_and_the_connection_recovers(demo):
    demo.call_timeout = 0.3
    os.kill(demo.pid, signal.SIGSTOP)
    try:
        with pytest.raises(vexil.TimeoutError, match=r"did not answer in 0.3 s"):
            demo.find_object(NAME_EDIT)
    finally:
        os.kill(demo.pid, signal.SIGCONT)
    demo.call_timeout = 20
    assert demo.find_object(WINDOW).greeting("again") == "Hello, again!"


@pytest.mark.parametrize("sig,text", [(signal.SIGSEGV, "application killed by signal 11"),
                                      (None, "application exited with code 0")], ids=["crash", "quit"])
def test_program_gone(demo_path, sig, text):
    app = vexil.launch([demo_path])
    if sig:
        os.kill(app.pid, sig)
    else:
        assert app.is_running() and app.close() == 0
    with pytest.raises(vexil.ApplicationGone, match="^%s$" % text):
        app.top_level_objects()
    assert not app.is_running()
    assert app.close() == (-sig if sig else 0)


def test_close_kills_a_program_that_ignores_quit(demo_path):
    app = vexil.launch([demo_path])
    os.kill(app.pid, signal.SIGSTOP)
    os.environ["VEXIL_TIMEOUT_FACTOR"] = "0.1"
    try:
        assert app.close() == -signal.SIGKILL
    finally:
        del os.environ["VEXIL_TIMEOUT_FACTOR"]


def test_attach_over_tcp_with_the_token(demo_path):
    with vexil.launch([demo_path], listen="tcp:127.0.0.1:0") as app:
        assert app.tcp_address.startswith("tcp:127.0.0.1:")
        with pytest.raises(vexil.Error, match="closed the connection during the handshake"):
            vexil.attach(app.tcp_address, token="wrong")
        remote = vexil.attach(app.tcp_address, token=app.token)
        assert remote.pid == app.pid and remote.find_object("{name='nameEdit'}").class_name == "QLineEdit"


def script(tmp_path, text):
    path = tmp_path / "prog"
    path.write_text("#!/bin/sh\n" + text + "\n")
    path.chmod(0o755)
    return str(path)


LAUNCH_ERRORS = {
    "not_found": (lambda tmp: ["no-such-program-here"], "program not found: no-such-program-here"),
    "not_qt": (lambda tmp: ["/bin/true"], "/bin/true is not a Qt 5 program"),
    "no_qapplication": (lambda tmp: ["/usr/lib/x86_64-linux-gnu/qt5/examples/gui/analogclock/analogclock"],
                        "analogclock: not a Qt Widgets or Qt Quick program: the application object is a "
                        "QGuiApplication and no Qt Quick window was made"),
    "exits_early": (lambda tmp: [script(tmp, "exit 3")], "prog exited early with code 3"),
    "no_handshake": (lambda tmp: [script(tmp, "sleep 5")], "prog: no handshake in 0.3 s"),
}


@pytest.mark.parametrize("argv,text", LAUNCH_ERRORS.values(), ids=LAUNCH_ERRORS.keys())
def test_launch_errors_name_the_cause(demo_path, tmp_path, argv, text):
    with pytest.raises(vexil.LaunchError) as info:
        vexil.launch(argv(tmp_path), timeout=0.3 if "no handshake" in text else 10)
    assert text in str(info.value)


def test_calculator_by_mouse(calculator):
    display = calculator.find_object("{type='QLineEdit'}")
    for key in "7+8=":
        calculator.mouse_click(calculator.find_object("{type='Button' text='%s'}" % key))
    calculator.double_click(display, 2, 2, button="left", modifiers="")
    assert display.text == "15"


def test_typing_edits_as_keys_would(demo):
    name = demo.find_object("{type='QLineEdit' name='nameEdit'}")
    demo.type(name, "Ada<Ctrl+A><Backspace>Grace<<")
    assert name.text == "Grace<"
