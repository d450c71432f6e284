"""Page data, byte by byte. Every expected byte is written by hand."""

import json
import struct
from pathlib import Path

import pytest

import zel
from zel.page_data import address_text, normalized_address, serial_text

# Without pages and properties: 26 bytes.
EMPTY = bytes.fromhex(
    "01 00"  # version 1.0
    "0018"  # header length, counted from here
    "ffffffffffffffff 0225"  # every page, pidget 549
    "000f 0002 0002 0001"  # lengths of a page's header, an entry's, a property's, a value's
    "0000 0000"  # pages, properties
)

PAGE = bytes.fromhex(
    "0000010002003004"  # 1.2.3.4
    "00000003 00 0000"  # 3 bytes of strokes, no stylo page, no entries
    "aabbcc"
)


def with_property(value, key="0024"):
    return EMPTY[:-2] + bytes.fromhex("0001" + key + value)


def value_of(text):
    return zel.PageData(with_property(text)).find(0x24).value


def test_no_pages_and_no_properties():
    data = zel.PageData(EMPTY)
    assert (len(data), data.properties, data.pen_id) == (0, (), None)


def test_a_page_is_its_address_and_its_strokes():
    data = zel.PageData(EMPTY[:-4] + b"\0\1\0\0" + PAGE)
    assert len(data) == 1
    page = data[0]
    assert (page.address, page.raw_address, page.stylo) == ("1.2.3.4", 0x0000010002003004, False)
    assert page.strokes == b"\xaa\xbb\xcc"
    assert page.strokes.readonly


def test_a_page_whose_flag_is_set_is_a_stylo_page():
    stylo = bytes.fromhex("0000000002003004 00000000 01 0001 0225 0107")
    data = zel.PageData(EMPTY[:-4] + b"\0\1\0\0" + stylo)
    assert data[0].stylo
    assert data[0].entries == (zel.Property(0x225, "0x0225", zel.Value(zel.ValueType.BOOL, True)),)


def test_strokes_are_views_of_the_data_not_copies():
    block = bytearray(EMPTY[:-4] + b"\0\1\0\0" + PAGE)
    page = zel.PageData(block)[0]
    block[-1] = 0x11
    assert page.strokes == b"\xaa\xbb\x11"


def test_pages_that_are_taken_out_leave_page_data():
    second = bytes.fromhex("0000010002003005 00000001 00 0000 dd")
    data = zel.PageData(EMPTY[:-4] + b"\0\2\0\0" + PAGE + second)
    assert bytes(data.without(["1.2.3.4"]).data) == EMPTY[:-4] + b"\0\1\0\0" + second
    assert bytes(data.without(["1.2.3.5"]).data) == EMPTY[:-4] + b"\0\1\0\0" + PAGE
    assert bytes(data.without([]).data) == bytes(data.data)


@pytest.mark.parametrize(
    ("encoded", "kind", "value"),
    [
        ("00", "NULL", None),
        ("01 00", "BOOL", False),
        ("01 02", "BOOL", True),
        ("02 ff", "BYTE", 255),
        ("03 fffe", "SHORT16", -2),
        ("04 00000007", "INT32", 7),
        ("05 0000000000000007", "LONG64", 7),
        ("06 0004 61626300", "STRING", "abc"),
        ("06 0001 00", "STRING", ""),
        ("06 0003 610062", "STRING", "a"),
        ("06 0002 61ff", "STRING", "a\udcff"),
        ("07 00000003 010203", "BINARY", b"\1\2\3"),
        ("0b", "TERMINATOR", None),
        ("0e dbdc dbdd 41 c0", "ESCAPED_BINARY", b"\xc0\xdb\x41"),
        ("0f", "ANY", None),
    ],
)
def test_values(encoded, kind, value):
    assert value_of(encoded) == zel.Value(zel.ValueType[kind], value)


def test_arrays():
    seven = zel.Value(zel.ValueType.INT32, 7)
    assert value_of("08 0002 0400000007 00").value == [seven, zel.Value(zel.ValueType.NULL, None)]
    assert value_of("09 0002 04 00000007 00000007").value == [seven, seven]
    assert value_of("09 0000 00").value == []
    assert value_of("0a 0400000007 0b").value == [seven]
    assert value_of("0a 0400000007 0f").value == [seven]
    nested = value_of("09 0002 08 0001 0107 0000").value
    assert [inner.value for inner in nested] == [[zel.Value(zel.ValueType.BOOL, True)], []]


def test_arrays_may_be_nested_256_deep_and_no_deeper():
    value = value_of("080001" * 256 + "00")
    for _ in range(256):
        value = value.value[0]
    assert value.type == zel.ValueType.NULL
    with pytest.raises(zel.PageDataError, match="nested more than 256 deep") as failure:
        value_of("080001" * 257 + "00")
    assert failure.value.offset == len(EMPTY) + 2 + 256 * 3


def test_the_first_of_two_properties_with_one_key_counts():
    data = zel.PageData(EMPTY[:-2] + bytes.fromhex("0002 0000 05 0000000000000001 0000 05 0000000000000002"))
    assert data.pen_id == 1


def test_serial_texts():
    assert serial_text(0) == "AAA-AAA-AAA-AA"
    assert serial_text(0x12300ABCDEF) == "AKZ-AQ7-APS-AC"
    assert serial_text(0x69772B73A83F) == "999-999-999-AF"
    assert serial_text(0x80000000) == "AAA-EXU-ZCJ-B8"
    assert serial_text((1 << 64) - 1) == "INVALID-PEN-ID"


CORPUS = Path(__file__).resolve().parents[3] / "tests" / "data" / "page_data"


def corpus_bytes(path):
    data = b""
    for line in path.read_text(encoding="utf-8").splitlines():
        times, star, digits = line.split("#")[0].rpartition("*")
        data += bytes.fromhex(digits) * (int(times) if star else 1)
    return data


def reading(value):
    """A value as the corpus writes it."""
    content = value.value
    if isinstance(content, list):
        content = [reading(element) for element in content]
    elif isinstance(content, bytes):
        content = content.hex()
    elif isinstance(content, str):
        content = content.encode("utf-8", "surrogateescape").decode("latin-1")
    return {"type": value.type.name.replace("ANY", "any type").replace("_", " ").lower(), "value": content}


@pytest.mark.parametrize("path", sorted(CORPUS.glob("*.hex")), ids=lambda path: path.stem)
def test_the_corpus_that_all_readers_share(path):
    expected = json.loads(path.with_suffix(".json").read_text(encoding="utf-8"))
    data = corpus_bytes(path)
    if "refusedAt" in expected:
        with pytest.raises(zel.PageDataError) as failure:
            zel.PageData(data)
        assert failure.value.offset == expected["refusedAt"], expected["why"]
        return
    read = zel.PageData(data)
    starts = expected.pop("fieldStarts", [])
    assert {
        "request": {"address": read.request_address, "pidget": read.request_pidget},
        "penId": None if read.pen_id is None else f"0x{read.pen_id:016x}",
        "serial": read.serial,
        "pages": [
            {
                "address": page.address,
                "stylo": page.stylo,
                "strokes": page.strokes.hex(),
                "entries": [{"key": entry.key, **reading(entry.value)} for entry in page.entries],
            }
            for page in read
        ],
        "properties": [{"key": one.key, **reading(one.value)} for one in read.properties],
    } == expected
    for length in range(len(data) if starts else 0):
        with pytest.raises(zel.PageDataError) as failure:
            zel.PageData(data[:length])
        assert failure.value.offset == max(start for start in starts if start <= length)


def test_longer_headers_are_skipped():
    data = (
        bytes.fromhex("0100 001a ffffffffffffffff 0225 0010 0003 0003 0002 0001 0001 eeee")
        + bytes.fromhex("0000010002003004 00000001 00 0001 ee aa")
        + bytes.fromhex("0001 ee 01 ee 01")
        + bytes.fromhex("0024 ee 09 ee 0001 04 ee 00000007")
    )
    read = zel.PageData(data)
    assert read[0].strokes == b"\xaa"
    assert read[0].entries[0].value == zel.Value(zel.ValueType.BOOL, True)
    assert read.find(0x24).value.value == [zel.Value(zel.ValueType.INT32, 7)]


def test_every_cut_is_refused_at_a_byte_within_it():
    whole = EMPTY[:-4] + b"\0\1\0\1" + PAGE + bytes.fromhex("0024 08 0002 06 0002 6100 0e dbdc c0")
    assert len(zel.PageData(whole)) == 1
    for length in range(len(whole)):
        with pytest.raises(zel.PageDataError) as failure:
            zel.PageData(whole[:length])
        assert failure.value.offset <= length


def test_a_terminator_ends_no_array_that_is_counted():
    value = zel.PageData(with_property("08 0002 0b 02 05")).properties[0].value
    assert [(one.type, one.value) for one in value.value] == [(zel.ValueType.TERMINATOR, None), (zel.ValueType.BYTE, 5)]


@pytest.mark.parametrize(
    ("data", "offset", "what"),
    [
        (b"", 0, "the major version should take 1 byte, but 0 are left"),
        (b"\1\1" + EMPTY[2:], 1, "the minor version is 1, not 0"),
        (EMPTY[:2] + b"\0\x17" + EMPTY[4:], 2, "the header's length is 23, less than 24"),
        (EMPTY + b"\0", 26, "1 byte after the end of the page data"),
        (with_property("0c"), 28, "there is no value type 12"),
        (with_property("10"), 28, "there is no value type 16"),
        (with_property("0e db41"), 30, "41 after an escape in an escaped binary"),
        (with_property("07 ffffffff 00"), 33, "a binary should take 4294967295 bytes, but 1 is left"),
    ],
)
def test_what_is_no_page_data_is_refused_at_its_byte(data, offset, what):
    with pytest.raises(zel.PageDataError) as failure:
        zel.PageData(data)
    assert (failure.value.offset, failure.value.what) == (offset, what)
    assert str(failure.value) == f"byte {offset}: {what}"


def test_a_few_bytes_that_stand_for_millions_of_values_are_refused():
    row = "09 ffff 00"  # 65,535 nulls in four bytes
    with pytest.raises(zel.PageDataError, match="more than 1000000 values"):
        value_of("08 0010" + row * 16)


def test_mangled_bytes_never_raise_anything_else():
    whole = bytearray(EMPTY[:-4] + b"\0\1\0\1" + PAGE + bytes.fromhex("0024 0a 06 0002 6100 0e dbdc c0 0b"))
    for at in range(len(whole)):
        for byte in (0x00, 0x01, 0x0A, 0x7F, 0x80, 0xC0, 0xDB, 0xFF):
            mangled = bytearray(whole)
            mangled[at] = byte
            try:
                zel.PageData(mangled)
            except zel.PageDataError:
                pass


def test_address_texts():
    assert address_text(0) == "0.0.0.0"
    assert address_text(1 << 52) == "1.0.0.0.0"
    assert address_text((1 << 64) - 1) == "*.*.*.*.*"
    assert address_text(0x001_002_0003_004_005) == "1.2.3.4.5"
    assert address_text(0x000_002_0003_FFF_FFF) == "2.3.*.*"


def test_addresses_are_normalised():
    assert normalized_address("0.1.2.3.4") == normalized_address("1.2.3.4") == "1.2.3.4"
    assert normalized_address("1.2.3.4.5") == "1.2.3.4.5"
    assert normalized_address("4094.65534.4094.4094") == "4094.65534.4094.4094"
    for wrong in ("", "1.2.3", "1.2.3.4.5.6", "1.2.3.+4", "1.2.3.4 ", "4095.1.1.1", "1.65535.1.1", "1.2.3.٤"):
        with pytest.raises(ValueError):
            normalized_address(wrong)


def test_a_file_that_cannot_be_written_leaves_nothing(tmp_path):
    data = zel.PageData(EMPTY)
    with pytest.raises(OSError):
        data.save(tmp_path / "no folder" / "a")
    (tmp_path / "folder").mkdir()
    with pytest.raises(OSError):
        data.save(tmp_path / "folder")
    assert [entry.name for entry in tmp_path.iterdir()] == ["folder"]


def test_a_file_that_is_no_page_data(tmp_path):
    (tmp_path / "a").write_bytes(struct.pack(">H", 0x4D5A))
    with pytest.raises(zel.PageDataError):
        zel.read(tmp_path / "a")
