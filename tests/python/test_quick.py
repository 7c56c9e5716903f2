"""Qt Quick programs through the same client calls as widget programs: the project's QML demo (in a window of
its own and in a QQuickWidget beside widgets) and unmodified QML examples from Debian."""
import re
import struct

import pytest

import vexil
from conftest import pinch

COUNT = "{type='DemoButton' text='Count'}"


@pytest.fixture(params=[[], ["--widgets"]], ids=["quick_window", "quick_widget"])
def quick(request, quickdemo_path):
    with vexil.launch([quickdemo_path] + request.param) as app:
        yield app


def test_clicks_and_typing_reach_qml_handlers(quick):
    quick.mouse_click(quick.find_object(COUNT))
    quick.mouse_click(quick.find_object(COUNT), 5, 5)
    assert quick.find_object("{type='Text' name='countLabel'}").text == "Clicks: 2"
    quick.type(quick.find_object("{type='TextInput' name='nameInput'}"), "Adx<Backspace>a")
    assert quick.find_object("{type='Text' id='greeting'}").text == "Hello, Ada!"


TYPE_NAMES = {
    "qml_type_of_a_component_file": ("{type='DemoButton' text='Count'}", "{name='countButton'}"),
    "cpp_class_a_component_extends": ("{type='QQuickRectangle' text='Count'}", "{name='countButton'}"),
    "qt_quick_type": ("{type='Rectangle' name='photo'}", "{type='QQuickRectangle' name='photo'}"),
    "qml_id": ("{type='Text' id='greeting'}", "{type='QQuickText' text=''}"),
}


@pytest.mark.parametrize("name,same", TYPE_NAMES.values(), ids=TYPE_NAMES.keys())
def test_type_names_and_ids_find_items(quick, name, same):
    assert quick.find_object(name) == quick.find_object(same)


def test_qml_declared_members_and_colours(quick):
    content = quick.find_object("{name='content'}")
    assert content.greet("Ada", 2) == "Hi, Ada x2" and content.note == "first"
    content.note = 42
    content.color = "#ff0000"
    assert (content.note, content.color) == (42, "#ff0000")

def test_items_hang_below_their_window(quick):
    button = quick.find_object(COUNT)
    chain = [button]
    while chain[-1].parent() is not None:
        chain.append(chain[-1].parent())
    assert chain[-1] in quick.top_level_objects() and button in chain[1].children()
    # In a window of their own right below it; next to widgets, through the QQuickWidget that shows them.
    assert [re.sub(r"_QMLTYPE_\d+$", "", o.class_name) for o in chain] in (
        ["DemoButton", "QQuickColumn", "DemoContent", "QQuickWindowQmlImpl"],
        ["DemoButton", "QQuickColumn", "DemoContent", "QQuickWidget", "QWidget"])

def test_window_functions_on_a_quick_window(quick):
    window = quick.top_level_objects()[0]
    quick.call("_vexil_window_resizeto", window, 500, 400)
    assert (window.width, window.height) == (500, 400)
    assert quick.call("_vexil_window_focused") == window
    quick.call("_vexil_window_close", window)
    assert quick.close() == 0  # closing the last window ends the program

def test_wait_for_an_item_that_appears_later(quick):
    quick.mouse_click(quick.find_object("{type='DemoButton' text='Show later'}"))
    late = quick.wait_for_object("{type='Rectangle' name='lateItem'}", timeout=5)
    assert (late.width, late.height) == (60, 20)


def test_screenshot_of_an_item_is_a_png_of_its_size(quick):
    png = quick.screenshot(quick.find_object(COUNT))
    assert png[:8] == b"\x89PNG\r\n\x1a\n" and struct.unpack(">II", png[16:24]) == (120, 32)


def test_a_disabled_item_refuses_the_click(quick):
    with pytest.raises(vexil.InvocationError, match="the item is disabled"):
        quick.mouse_click(quick.find_object("{name='offButton'}"))
    assert quick.find_object("{name='countLabel'}").text == "Clicks: 0"


def test_recorded_input_names_items_the_map_finds_again(quick):
    quick.start_recording()
    quick.mouse_click(quick.find_object(COUNT))
    quick.type(quick.find_object("{name='nameInput'}"), "B")
    records = quick.stop_recording()
    window = ":" + quick.top_level_objects()[0].objectName
    assert [(r.name, r.object) for r in records] == [
        ("mouseClick", window + ".countButton_DemoButton"),
        ("keyPress", window + ".nameInput_TextInput"), ("textChanged", window + ".nameInput_TextInput")]
    assert quick.find_object(records[0].object) == quick.find_object(COUNT)
    assert quick.find_object(records[1].object) == quick.find_object("{name='nameInput'}")

def test_pinch_gesture_scales_the_target(quickdemo_path, tmp_path):
    # In a window of its own: a QQuickWidget takes touch as mouse input unless the program asks for touch.
    with vexil.launch([quickdemo_path]) as app:
        area = app.find_object("{type='PinchArea'}")
        app.call("replayGestureFile", area, pinch(tmp_path / "pinch.xml", 150, 110, 75, 55, 10, 60))
        assert app.find_object("{name='photo'}").scale > 2

def test_debian_accessibility_example_buttons_and_text(quick_example):
    with vexil.launch(quick_example("quick-accessibility")) as app:
        app.mouse_click(app.find_object("{type='Button' text='Discard'}"))
        assert app.find_object("{type='Text' id='status'}").text == "Discard"
        subject = app.find_object("{type='TextInput' id='subjectEdit'}")
        app.type(subject, "<Ctrl+A>Trip<Home><Shift+End>")
        assert subject.text == "Trip" and subject.selectedText == "Trip"


def test_debian_touch_example_pinch_after_the_page_appears(quick_example, tmp_path):
    with vexil.launch(quick_example("touchinteraction")) as app:
        app.mouse_click(app.find_object("{type='Text' text='Flick Resize'}"))
        area = app.wait_for_object("{type='PinchArea'}", timeout=5)
        flick = app.find_object("{type='Flickable'}")
        app.call("replayGestureFile", area, pinch(tmp_path / "pinch.xml", 640, 360, 200, 150, 20, 100))
        assert flick.contentWidth > 1000
