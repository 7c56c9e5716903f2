"""A modal dialog opened with exec() by a real click does not block the agent: Debian's standarddialogs."""
import os

import pytest

import vexil
from conftest import agent_or_skip

PROGRAM = "/usr/lib/x86_64-linux-gnu/qt5/examples/widgets/dialogs/standarddialogs/standarddialogs"


def test_click_into_a_modal_dialog_and_out():
    agent_or_skip()
    if not os.path.exists(PROGRAM):
        pytest.skip("qtbase5-examples is not installed")
    with vexil.launch(PROGRAM) as app:
        app.mouse_click(app.find_object("{type='QPushButton' text='QInputDialog::get&Int()'}"))
        # The click is answered from inside QInputDialog::getInt(); the dialog is served from its own loop.
        app.wait_for_object("{type='QInputDialog'}", timeout=5)
        app.type(app.find_object("{type='QInputDialogSpinBox'}"), "<Ctrl+A>42")
        app.mouse_click(app.find_object("{type='QPushButton' text='OK' window={type='QInputDialog'}}"))
        assert app.wait_for_object("{type='QLabel' text='42%'}", timeout=5).text == "42%"
        assert not app.find_object("{type='QPushButton' text='QInputDialog::get&Int()'}").down
