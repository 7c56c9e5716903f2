"""Debian's widget examples, unmodified: a modal dialog opened with exec() by a real click does not block the
agent (standarddialogs), a drag is over when its call returns (sliders), and a replayed gesture reaches a
touch program as real touch events (fingerpaint)."""
import os

import pytest

import vexil
from conftest import agent_or_skip, pinch

EXAMPLES = "/usr/lib/x86_64-linux-gnu/qt5/examples/widgets/"


def example(path):
    agent_or_skip()
    if not os.path.exists(EXAMPLES + path):
        pytest.skip("qtbase5-examples is not installed")
    return EXAMPLES + path


def test_click_into_a_modal_dialog_and_out():
    with vexil.launch(example("dialogs/standarddialogs/standarddialogs")) as app:
        app.mouse_click(app.find_object("{type='QPushButton' text='QInputDialog::get&Int()'}"))
        # The click is answered from inside QInputDialog::getInt(); the dialog is served from its own loop.
        app.wait_for_object("{type='QInputDialog'}", timeout=5)
        app.type(app.find_object("{type='QInputDialogSpinBox'}"), "<Ctrl+A>42")
        app.mouse_click(app.find_object("{type='QPushButton' text='OK' window={type='QInputDialog'}}"))
        assert app.wait_for_object("{type='QLabel' text='42%'}", timeout=5).text == "42%"
        assert not app.find_object("{type='QPushButton' text='QInputDialog::get&Int()'}").down


def test_gesture_replayed_on_fingerpaint_draws(tmp_path):
    with vexil.launch(example("touch/fingerpaint/fingerpaint")) as app:
        area = app.find_object("{type='ScribbleArea'}")
        blank = app.screenshot(area)
        assert app.screenshot(area) == blank  # nothing changes it but the gesture
        gesture = pinch(tmp_path / "pinch.xml", area.width, area.height, area.width / 2, area.height / 2, 10, 100)
        app.call("replayGestureFile", area, gesture)
        assert app.screenshot(area) != blank


def test_drag_is_over_when_the_call_returns():
    # The drag paces its moves from an event loop of its own: that loop must not count as the program's.
    with vexil.launch(example("widgets/sliders/sliders")) as app:
        slider = app.find_object("{type='QSlider' visible='1'}")
        handle_x = slider.width * slider.value // slider.maximum + 2
        app.mouse_drag(slider, handle_x, slider.height // 2, slider.width, 0)
        assert slider.value == slider.maximum


def test_editor_by_keys_and_menus():
    with vexil.launch(example("mainwindows/application/application")) as app:
        edit = app.find_object("{type='QPlainTextEdit'}")
        app.type(edit, "hello<Return>wrold<Backspace><Backspace><Backspace><Backspace>orld<Shift+Home>")
        app.activate_menu_item(app.find_object("{type='MainWindow'}"), "&Edit|Cu&t")
        assert edit.plainText == "hello\n"
        with pytest.raises(vexil.InvocationError, match="there is no item 'Nothing' in '&Edit'"):
            app.activate_menu_item(app.find_object("{type='MainWindow'}"), "&Edit|Nothing")


def test_tree_view_items_by_text():
    with vexil.launch(example("itemviews/simpletreemodel/simpletreemodel")) as app:
        name = "{container={type='QTreeView'} type='QModelIndex' text='%s'}"
        item = app.find_object(name % "Getting Started")
        assert (item.row, item.selected) == (0, False)
        app.mouse_click(item)
        assert item.selected
        child = app.find_object(name % "Creating a Dialog")  # in a collapsed branch: the click opens it
        app.mouse_click(child)
        assert child.selected and not item.selected
