"""Turning recorded user actions into a pytest test: decoding records and generating the code."""
import re

from .codec import Reader
from .errors import ProtocolError

EVENT, METHOD, COMMENT, FUNCTION, STARTED = range(5)

# Recorded input functions and the client calls that replay them.
INPUT_CALLS = {"mouseClick": "mouse_click", "doubleClick": "double_click", "mousePress": "mouse_press",
               "mouseRelease": "mouse_release", "mouseMove": "mouse_move", "mouseDrag": "mouse_drag",
               "type": "type", "keyPress": "key_press", "keyRelease": "key_release"}
_MOUSE = {"mouse_click", "double_click", "mouse_press", "mouse_release"}
_BUTTONS = {1: "left", 2: "right", 4: "middle"}
_MODIFIERS = ((0x04000000, "Ctrl"), (0x02000000, "Shift"), (0x08000000, "Alt"), (0x10000000, "Meta"))


def modifier_text(modifiers):
    """"Ctrl+Shift" of Qt's modifier bits (texts pass unchanged)."""
    if not isinstance(modifiers, int):
        return modifiers or ""
    return "+".join(name for bit, name in _MODIFIERS if modifiers & bit)


def key_text(key, modifiers):
    """A recorded key as `type` writes it: chords and special keys in angle brackets, "<" doubled."""
    mods = modifier_text(modifiers)
    if key.startswith("<") and len(key) > 2:
        return "<%s+%s" % (mods, key[1:]) if mods and mods != "Shift" else key
    if mods and mods != "Shift":
        return "<%s+%s>" % (mods, key.upper())
    return key.replace("<", "<<")
_INT_CLASSES = {0, 1, 2, 6}  # short, int, long, int64
_BOOL, _CHAR, _DOUBLE = 3, 4, 5
_FIND_PREFIX = re.compile(r'^\[findObject "(.*)"\] (.+)$', re.S)


def _argument(r):
    """(name, value) of one recorded argument; an object's properties become a dict."""
    return r.string(), _argument_value(r)


def _argument_value(r):
    class_id, kind = r.i32(), r.i32()
    if kind == 0:
        text, type_id = r.string(), r.i32()
        type_id = type_id if type_id >= 0 else class_id
        try:
            if type_id in _INT_CLASSES:
                return int(text)
            if type_id == _DOUBLE:
                return float(text)
        except ValueError:
            return text
        if type_id == _BOOL:
            return text in ("true", "1")
        return text
    if kind == 1:
        return dict(_argument(r) for _ in range(r.i32()))
    if kind == 2:
        r.string()  # enumeration name
        value = r.string()
        r.strings()  # keys
        return int(value) if value.lstrip("-").isdigit() else value
    return None


def decode_event_data(data):
    """(type, name, object id, arguments) of a record's stream form; ProtocolError if it does not read."""
    r = Reader(data)
    kind = r.i32()
    name = r.string() if kind in (EVENT, METHOD, FUNCTION) else ""
    object_id = r.string()
    r.u32()  # time of day
    r.string()
    argument_texts = r.strings()
    count = r.i32()
    if count < 0 or count > len(data):
        raise ProtocolError("bad argument count %d" % count)
    arguments = [_argument(r)[1] for _ in range(count)] or list(argument_texts)
    r.i32()
    r.string()  # item text
    return kind, name, object_id, arguments


def _step(kind, name, obj, args):
    """(client call, object, arguments) of one record, or a comment line."""
    match = _FIND_PREFIX.match(name)
    if match:
        obj, name = match.groups()
    if name in INPUT_CALLS and obj:
        return INPUT_CALLS[name], obj, list(args)
    if name in INPUT_CALLS and args and isinstance(args[0], str) and args[0].startswith(":"):
        return INPUT_CALLS[name], args[0], list(args[1:])
    if kind == COMMENT:
        return "#", obj, []
    if name == "textChanged":
        return "#", "%s: text is now %r" % (obj, args[0] if args else ""), []
    if kind == EVENT:
        return "#", "event %s on %s" % (name, obj), []
    if kind == STARTED:
        return None
    if obj:
        return "invoke", obj, [name] + list(args)
    return "call", None, [name] + list(args)


def _line(call, obj, args):
    target = "app.wait_for_object(%r)" % obj
    if call == "#":
        return "# %s" % obj.replace("\n", " ")
    if call == "call":
        return "app.call(%s)" % ", ".join(map(repr, args))
    if call == "invoke":
        return "%s.invoke(%s)" % (target, ", ".join(map(repr, args)))
    if call in _MOUSE:
        x, y, button, modifiers = (list(args) + [None, None, "left", ""])[:4]
        button, modifiers = _BUTTONS.get(button, button), modifier_text(modifiers)
        parts = [target] + ([repr(x), repr(y)] if x is not None and x != -1 else [])
        if button and button != "left":
            parts.append("button=%r" % button)
        if modifiers:
            parts.append("modifiers=%r" % modifiers)
        return "app.%s(%s)" % (call, ", ".join(parts))
    return "app.%s(%s)" % (call, ", ".join([target] + [repr(a) for a in args]))


def generate_test(records, *, app_command, object_map=None, test_name="test_recorded"):
    """Text of a pytest module that replays the records (Record objects or their maps)."""
    steps = []
    for record in records:
        fields = record if isinstance(record, dict) else {
            "type": record.type, "name": record.name, "object": record.object, "data": record.data}
        try:
            kind, name, obj, args = decode_event_data(fields["data"])
        except (ProtocolError, KeyError):
            kind, name, obj, args = fields.get("type"), fields.get("name", ""), fields.get("object", ""), []
        step = _step(kind, name, obj or fields.get("object", ""), args)
        if not step:
            continue
        if step[0] == "key_press":  # keys replay as typed text
            step = ("type", step[1], [key_text(str(step[2][0]), step[2][1] if len(step[2]) > 1 else 0)])
        # Keys typed one by one into one object replay as one text.
        if step[0] == "type" and steps and steps[-1][0] == "type" and steps[-1][1] == step[1]:
            steps[-1] = ("type", step[1], [steps[-1][2][0] + step[2][0]])
            continue
        steps.append(step)
    body = [_line(*s) for s in steps] or ["pass"]
    run = 'python3 -m pytest -p vexil.pytest_plugin THIS_FILE'
    head = [
        '"""Recorded with `python3 -m vexil record`. Replay: %s"""' % run,
        "",
        "VEXIL_APP = %r" % app_command,
    ]
    if object_map:
        head.append("VEXIL_OBJECTMAP = %r" % object_map)
    return "\n".join(head + ["", "", "def %s(app):" % test_name] + ["    " + b for b in body]) + "\n"


def used_names(records):
    """Symbolic names the records refer to, in order of first use."""
    names = []
    for record in records:
        for name in (record.object if not isinstance(record, dict) else record.get("object", ""),):
            if name.startswith(":") and name not in names:
                names.append(name)
    return names


def nested_names(real_name):
    """Symbolic names a real name refers to (window=':Main_QMainWindow'), which the map must hold too."""
    return re.findall(r"='(:(?:[^'\\]|\\.)*)'", real_name)
