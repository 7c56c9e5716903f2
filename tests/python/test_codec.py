"""Wire format against golden bytes, and the malformed input a peer could send."""
import datetime

import pytest

from vexil import Point, ProtocolError, Rect
from vexil.codec import MAX_LENGTH, FrameBuffer, Reader, Writer, frame
from vexil.objectmap import format_object_map, parse_object_map

STAMP = 1709622489123  # ms since the epoch

VALUES = {
    "none": (None, "00"),
    "true": (True, "01 01"),
    "negative_int": (-2, "02 fffffffffffffffe"),
    "double": (0.5, "03 3fe0000000000000"),
    "text_outside_bmp": ("a\U0001F600", "04 00000006 0061 d83dde00"),
    "empty_text": ("", "04 00000000"),
    "list": ([1, "x"], "05 00000002 02 0000000000000001 04 00000002 0078"),
    "map": ({"k": False}, "06 00000001 00000002 006b 01 00"),
    "point": (Point(-1, 2), "08 ffffffff 00000002"),
    "rect": (Rect(1, 2, 30, 40), "09 00000001 00000002 0000001e 00000028"),
    "datetime": (datetime.datetime.fromtimestamp(STAMP / 1000), "0a %016x" % STAMP),
    "bytes": (b"\x89PNG", "0b 00000004 89504e47"),
}


@pytest.mark.parametrize("value,golden", VALUES.values(), ids=VALUES.keys())
def test_value_round_trip(value, golden):
    data = bytes.fromhex(golden)
    assert Writer().value(value).bytes() == data
    reader = Reader(data)
    decoded = reader.value()
    reader.end()
    assert decoded == value and type(decoded) is type(value)


def test_object_value_goes_through_the_factory():
    data = bytes.fromhex("07 000000000000002a 00000004 00510057")
    assert Reader(data, lambda handle, cls: (cls, handle)).value() == ("QW", 42)


def test_frame_layout():
    assert frame(7, 2, b"\x00\x00\x00\x01z") == bytes.fromhex("0000000b 00000007 0002 000000017a")


def test_frames_arrive_in_pieces():
    data = frame(1, 0x8000, b"ab") + frame(0, 0x4001, b"")
    buffer = FrameBuffer()
    got = []
    for byte in data:
        buffer.feed(bytes([byte]))
        f = buffer.next_frame()
        got += [f] if f else []
    assert got == [(1, 0x8000, b"ab"), (0, 0x4001, b"")]


@pytest.mark.parametrize("length", [0, 5, MAX_LENGTH + 1], ids=["zero", "below_header", "over_limit"])
def test_length_out_of_range_is_refused(length):
    buffer = FrameBuffer()
    buffer.feed(length.to_bytes(4, "big") + b"\0" * 6)
    with pytest.raises(ProtocolError, match="frame length %d out of range" % length):
        buffer.next_frame()


MALFORMED = {
    "truncated_int": ("02 0000", "body ends 6 bytes early"),
    "truncated_text": ("04 00000004 0061", "body ends 2 bytes early"),
    "odd_text": ("04 00000003 006100", "odd QString byte count 3"),
    "unknown_tag": ("0c", "unknown value tag 12"),
    "lying_count": ("05 7fffffff 00", "count 2147483647 exceeds the body"),
    "date_out_of_range": ("0a 7fffffffffffffff", "out of range"),
}


@pytest.mark.parametrize("golden,message", MALFORMED.values(), ids=MALFORMED.keys())
def test_malformed_value_is_a_protocol_error(golden, message):
    with pytest.raises(ProtocolError, match=message):
        Reader(bytes.fromhex(golden)).value()


def test_leftover_bytes_and_null_string():
    reader = Reader(bytes.fromhex("ffffffff 00"))
    assert reader.string() == ""
    with pytest.raises(ProtocolError, match="1 bytes left over"):
        reader.end()


@pytest.mark.parametrize("value,error", [(1 << 63, ValueError), ({1: 2}, TypeError), (object(), TypeError)],
                         ids=["int_too_big", "non_text_key", "unknown_type"])
def test_unsendable_values(value, error):
    with pytest.raises(error):
        Writer().value(value)


def test_object_map_text_form():
    text = "# comment\nno tab here\n:b\\tc\t{text='x\\\\y'}\textra\n:a\tplain\\q\n"
    entries = parse_object_map(text)
    assert entries == {":b\tc": "{text='x\\y'}\textra", ":a": "plain\\q"}
    assert parse_object_map(format_object_map(entries)) == entries
    assert format_object_map(entries).startswith(":a\t")
