"""The object map file: one `symbolic<TAB>real` line per entry, escaped, sorted by symbolic name."""

_ESCAPES = {"n": "\n", "r": "\r", "t": "\t", "\\": "\\"}


def escape(text):
    return text.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r").replace("\t", "\\t")


def unescape(text):
    out, i = [], 0
    while i < len(text):
        c = text[i]
        if c == "\\":
            if i + 1 == len(text):
                break  # a trailing backslash is dropped
            nxt = text[i + 1]
            out.append(_ESCAPES.get(nxt, "\\" + nxt))
            i += 2
        else:
            out.append(c)
            i += 1
    return "".join(out)


def parse_object_map(text):
    """{symbolic: real} of a map's text; comments and lines without a tab are skipped."""
    entries = {}
    for line in text.split("\n"):
        if not line or line.startswith("#") or "\t" not in line:
            continue
        symbolic, real = line.split("\t", 1)
        entries[unescape(symbolic)] = unescape(real)
    return entries


def format_object_map(entries):
    return "".join("%s\t%s\n" % (escape(s), escape(entries[s])) for s in sorted(entries))


def read_object_map(path):
    with open(path, encoding="utf-8") as f:
        return parse_object_map(f.read())


def extend_object_map(path, entries):
    """Adds entries to the map file (made if missing), keeping its existing names; the names added."""
    try:
        current = read_object_map(path)
    except FileNotFoundError:
        current = {}
    added = [s for s in entries if s not in current]
    for s in added:
        current[s] = entries[s]
    with open(path, "w", encoding="utf-8") as f:
        f.write(format_object_map(current))
    return added
