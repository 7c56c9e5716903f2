"""An example pytest suite for the demo program. Run it with scripts/run-example.sh, or:

    python3 -m pytest -p vexil.pytest_plugin --vexil-app build/examples/demoapp/vexil-demo \
        --vexil-objectmap examples/scripts/demo.objectmap examples/python
"""
import vexil

STATUS = ":mainWindow.statusLabel_QLabel"


def test_submit_the_form(app):
    # As a person would: type into the field, click the check box and the button.
    app.type(app.find_object(":mainWindow.nameEdit_QLineEdit"), "Ada Lovelace")
    app.mouse_click(app.find_object(":mainWindow.subscribeCheck_QCheckBox"))
    app.mouse_click(app.find_object(":mainWindow.okButton_QPushButton"))
    assert app.find_object(STATUS).text == "Submitted: Ada Lovelace"
    assert app.find_object(":mainWindow_VexilDemo::DemoMainWindow").submitCount == 1


def test_slots_and_values(app):
    window = app.find_object(":mainWindow_VexilDemo::DemoMainWindow")
    assert window.greeting("Ada") == "Hello, Ada!"
    window.addItem("Cherries")
    assert window.items == ["Apples", "Pears", "Cherries"]
    assert window.offsetBy(vexil.Point(10, 20), 1, 2) == vexil.Point(11, 22)


def test_settings_dialog(app):
    app.find_object(":mainWindow.settingsButton_QPushButton").click()
    app.wait_for_object(":settingsDialog.portSpin_QSpinBox").value = 9090
    app.find_object(":settingsDialog.okButton_QPushButton").click()
    assert app.find_object(STATUS).text == "Settings saved: localhost:9090"
