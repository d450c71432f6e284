"""Reading page data: what a pen's retrieval gives, from memory or from a file. Needs no native library."""

from __future__ import annotations

import copy
import enum
import os
import struct
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Dict, Iterable, Iterator, List, NamedTuple, Optional, Sequence, Tuple, Union, overload

_DEEPEST_NESTING = 256
_MOST_VALUES = 1_000_000

# The shortest that each header can be; a longer one has fields that a later writer added, which are skipped.
_HEADER, _PAGE_HEADER, _ENTRY_HEADER, _VALUE_HEADER = 24, 15, 2, 1

_PAGE_FIELDS = struct.Struct(">QIBH")  # address, length of the strokes, flag, number of entries

PEN_ID = 0x0000

PROPERTY_NAMES: Dict[int, str] = {
    0x0000: "PEN_ID",
    0x0001: "PEN_SOFTWARE_VERSION",
    0x0003: "PEN_FREE_MEMORY",
    0x000E: "BATTERY_LEVEL_VERBOSE",
    0x0010: "PEN_REVISIONS",
    0x001A: "PEN_PROPERTIES_RANGE",
    0x001F: "DAS_DIFF",
    0x0021: "SYSTEM_TIME",
    0x0022: "PGC_VERSION",
    0x0023: "MANUFACTURER_DATA",
    0x0024: "PEN_BRAND",
    0x002A: "SEC_SDE",
    0x2009: "PEN_OWNER_LOCALE",
    0x200A: "PEN_OWNER_VCARD",
    0x200B: "PEN_OWNER_EMAIL",
    0x200C: "PEN_OWNER_CELL_PHONE",
    0x2021: "PEN_TIME",
    0x202A: "AUTO_POWER_OFF",
    0x202E: "BT_ENABLED",
    0x2203: "BT_PIN",
    0x2204: "DISCOVERABLE_ALLOWED",
    0x2207: "PEN_WAKE_UP_TIME",
    0x2208: "CERTIFICATE_AUTHENTICATOR",
    0x2209: "CERTIFICATE",
    0x220A: "SIGNING_KEY",
}
"""Names of the properties that are known; others are written as ``0x1234``."""


class PageDataError(ValueError):
    """These bytes are no page data.

    :ivar offset: the byte at which they stop making sense
    """

    def __init__(self, offset: int, what: str) -> None:
        self.offset = offset
        self.what = what
        super().__init__(f"byte {offset}: {what}")


class ValueType(enum.IntEnum):
    """The types of values, as they are numbered in the data."""

    NULL = 0
    BOOL = 1
    BYTE = 2
    SHORT16 = 3
    INT32 = 4
    LONG64 = 5
    STRING = 6
    BINARY = 7
    VALUE_ARRAY = 8
    DATA_ARRAY = 9
    TERMINATED_ARRAY = 10
    TERMINATOR = 11
    ESCAPED_BINARY = 14
    ANY = 15


class Value(NamedTuple):
    """A typed value."""

    type: ValueType
    value: Any
    """``None``, ``bool``, ``int`` (signed, but for bytes), ``str``, ``bytes``, or a list of :class:`Value`."""


class Property(NamedTuple):
    """A property of the pen, or an entry of a page."""

    key: int
    name: str
    value: Value


@dataclass(frozen=True)
class Page:
    """A page with its strokes."""

    address: str
    """``"1.2.3.4"``, with five numbers where the first is not 0."""
    raw_address: int
    """The address as one 64-bit number."""
    strokes: memoryview = field(repr=False)
    """The strokes' bytes; no copy, valid as long as it is referred to."""
    stylo: bool
    """Whether this is a stylo page, which belongs to no paper."""
    entries: Tuple[Property, ...] = field(repr=False)
    """Further values of the page; the library's own retrievals have none."""


_FIELDS = ((52, 12), (40, 12), (24, 16), (12, 12), (0, 12))


def address_text(raw: int) -> str:
    """The text form of a page address: numbers that are missing are ``*``, and a first 0 is left out."""
    numbers = []
    for shift, width in _FIELDS:
        missing = (1 << width) - 1
        number = raw >> shift & missing
        numbers.append("*" if number == missing else str(number))
    return ".".join(numbers[1:] if numbers[0] == "0" else numbers)


def normalized_address(text: str) -> str:
    """The address as pens list it: ``"0.1.2.3.4"`` is ``"1.2.3.4"``.

    :raises ValueError: it is no address of one page
    """
    parts = text.split(".")
    widths = [width for _, width in _FIELDS][5 - len(parts):] if len(parts) in (4, 5) else []
    good = widths and all(
        part.isascii() and part.isdigit() and str(int(part)) == part and int(part) < (1 << width) - 1
        for part, width in zip(parts, widths)
    )
    if not good:
        raise ValueError(f"{text!r} is no page address; it should look like 1.2.3.4 or 1.2.3.4.5")
    return ".".join(parts[1:] if len(parts) == 5 and parts[0] == "0" else parts)


_DIGITS = "ABCDEFGHJKMNPQRSTUWXYZ23456789"


def _in_digits(number: int, width: int) -> str:
    number = ((number ^ 1 << 31) - (1 << 31)) & (1 << 64) - 1  # a signed 32-bit number, widened
    digits = ""
    for _ in range(width):
        number, digit = divmod(number, len(_DIGITS))
        digits = _DIGITS[digit] + digits
    return digits


def serial_text(pen_id: int) -> str:
    """The serial text of a pen's 64-bit identity: ``"AKZ-AQ7-APS-AC"``."""
    if pen_id == (1 << 64) - 1:
        return "INVALID-PEN-ID"
    middle = _in_digits(pen_id & (1 << 32) - 1, 6)
    return "-".join([_in_digits(pen_id >> 32, 3), middle[:3], middle[3:], _in_digits(pen_id % 877, 2)])


class PageData(Sequence[Page]):
    """What a retrieval gives: a sequence of pages, and the properties of the pen that they come from."""

    def __init__(self, data: Union[bytes, bytearray, memoryview]) -> None:
        """Reads page data.

        :raises PageDataError: it is no page data
        """
        self.data: memoryview = memoryview(data).toreadonly().cast("B")
        """The bytes themselves; what :meth:`save` writes."""
        reader = _Reader(self.data)
        reader.read()
        self._reader = reader
        self._starts = reader.starts
        self._page_count_at = reader.page_count_at
        self.request_address: str = address_text(reader.request_address)
        """The page address that the data was requested for; retrievals write ``"*.*.*.*"``."""
        self.request_pidget: int = reader.request_pidget
        """The pidget that the data was requested for; retrievals write 549."""
        self.properties: Tuple[Property, ...] = tuple(reader.properties)
        """The pen's properties, in the order in which they stand."""

    @overload
    def __getitem__(self, index: int) -> Page: ...

    @overload
    def __getitem__(self, index: slice) -> Sequence[Page]: ...

    def __getitem__(self, index: Union[int, slice]) -> Union[Page, Sequence[Page]]:
        # Pages are made when they are asked for: a pen may hold thousands.
        if isinstance(index, slice):
            return [self._reader.page(start)[0] for start in self._starts[index]]
        return self._reader.page(self._starts[index])[0]

    def __len__(self) -> int:
        return len(self._starts)

    def __iter__(self) -> Iterator[Page]:
        return (self._reader.page(start)[0] for start in self._starts)

    def __repr__(self) -> str:
        return f"<zel.PageData, {len(self)} pages, {len(self.data)} bytes>"

    def find(self, key: int) -> Optional[Property]:
        """The first property with this key, or ``None``."""
        return next((one for one in self.properties if one.key == key), None)

    @property
    def pen_id(self) -> Optional[int]:
        """The 64-bit identity of the pen, or ``None`` if the data does not tell."""
        found = self.find(PEN_ID)
        if found is None or found.value.type != ValueType.LONG64:
            return None
        number: int = found.value.value
        return number & (1 << 64) - 1

    @property
    def serial(self) -> Optional[str]:
        """The serial text of the pen, or ``None`` if the data does not tell."""
        return None if self.pen_id is None else serial_text(self.pen_id)

    def save(self, path: Union[str, "os.PathLike[str]"]) -> None:
        """Writes the data to a file, which is complete or not there at all."""
        target = Path(path)
        part = target.with_name(target.name + ".part")
        try:
            with open(part, "wb") as file:
                file.write(self.data)
            os.replace(part, target)
        except BaseException:
            part.unlink(missing_ok=True)
            raise

    def without(self, addresses: Iterable[str]) -> "PageData":
        """Page data that lacks the pages with these addresses."""
        dropped = set(addresses)
        kept = bytearray()
        at = left = 0
        for start in self._starts:
            page, end = self._reader.page(start)
            if page.address in dropped:
                kept += self.data[at:start]
                at = end
            else:
                left += 1
        kept += self.data[at:]
        struct.pack_into(">H", kept, self._page_count_at, left)
        return PageData(bytes(kept))


def read(path: Union[str, "os.PathLike[str]"]) -> PageData:
    """Reads a file that :meth:`PageData.save` wrote, or any other that holds page data.

    :raises PageDataError: it holds no page data
    """
    return PageData(Path(path).read_bytes())


_ARRAYS = (ValueType.VALUE_ARRAY, ValueType.DATA_ARRAY, ValueType.TERMINATED_ARRAY)
_NUMBERS = {
    ValueType.BYTE: (1, "a byte"),
    ValueType.SHORT16: (2, "a short16"),
    ValueType.INT32: (4, "an int32"),
    ValueType.LONG64: (8, "a long64"),
}


def _bytes_text(count: int) -> str:
    return "1 byte" if count == 1 else f"{count} bytes"


class _OpenArray:
    """An array whose elements are being read."""

    def __init__(self, kind: ValueType, left: int, element_type: Optional[ValueType], type_at: int) -> None:
        self.kind = kind
        self.left = left  # elements to come; below 0 when only a terminator tells the end
        self.element_type = element_type
        self.type_at = type_at  # where the elements' type stands
        self.elements: List[Value] = []

    def add(self, value: Value) -> None:
        if self.left < 0 and value.type in (ValueType.TERMINATOR, ValueType.ANY):
            self.left = 0
        else:
            self.elements.append(value)
            self.left -= 1


class _Reader:
    """Reads one run of bytes, once. Knows at every moment which byte it is at."""

    def __init__(self, data: memoryview) -> None:
        self._data = data
        self._at = 0
        self._type_at = 0  # where the type was read last
        self._values = 0
        self._page_header = _PAGE_HEADER
        self._page_entry_header = _ENTRY_HEADER
        self._value_header = _VALUE_HEADER
        self.request_address = 0
        self.request_pidget = 0
        self.page_count_at = 0
        self.starts: List[int] = []
        self.properties: List[Property] = []

    def read(self) -> None:
        for expected, what in ((1, "the major version"), (0, "the minor version")):
            at = self._at
            found = self._number(1, what)
            if found != expected:
                raise PageDataError(at, f"{what} is {found}, not {expected}")
        header = self._length(_HEADER, "the header's length")
        self.request_address = self._number(8, "the request's address")
        self.request_pidget = self._number(2, "the request's pidget")
        self._page_header = self._length(_PAGE_HEADER, "the length of a page's header")
        self._page_entry_header = self._length(_ENTRY_HEADER, "the length of a page entry's header")
        entry_header = self._length(_ENTRY_HEADER, "the length of a property's header")
        self._value_header = self._length(_VALUE_HEADER, "the length of a value's header")
        self.page_count_at = self._at
        page_count = self._number(2, "the number of pages")
        property_count = self._number(2, "the number of properties")
        self._skip(header - _HEADER, "the header")
        for _ in range(page_count):
            self.starts.append(self._at)
            self._check_page()
        for _ in range(property_count):
            self.properties.append(self._entry(entry_header))
        if self._at != len(self._data):
            raise PageDataError(self._at, f"{_bytes_text(len(self._data) - self._at)} after the end of the page data")

    def _check_page(self) -> None:
        data, at = self._data, self._at
        if at + _PAGE_HEADER <= len(data):
            _, size, _, entry_count = _PAGE_FIELDS.unpack_from(data, at)
            end = at + self._page_header + size
            if end <= len(data) and entry_count == 0:
                self._at = end
                return
        self._read_page()  # entries, or the field that is cut

    def page(self, start: int) -> Tuple[Page, int]:
        """The page that begins at a byte, and the byte behind it."""
        reader = copy.copy(self)
        reader._at = start
        page = reader._read_page()
        return page, reader._at

    def _read_page(self) -> Page:
        raw = self._number(8, "a page's address")
        size = self._number(4, "a page's length")
        flag = self._number(1, "a page's flag")
        entry_count = self._number(2, "the number of a page's entries")
        self._skip(self._page_header - _PAGE_HEADER, "a page's header")
        strokes = self._bytes(size, "a page's strokes")
        entries = tuple(self._entry(self._page_entry_header) for _ in range(entry_count))
        return Page(address_text(raw), raw, strokes, flag != 0, entries)

    def _entry(self, header: int) -> Property:
        key = self._number(2, "an entry's key")
        self._skip(header - _ENTRY_HEADER, "an entry's header")
        return Property(key, PROPERTY_NAMES.get(key, f"0x{key:04x}"), self._value())

    def _value(self) -> Value:
        """Reads a value. A loop with a stack of its own: arrays may be nested deeper than Python may call."""
        stack: List[_OpenArray] = []
        kind, type_at = self._type(), self._type_at
        while True:
            value: Optional[Value] = None
            if kind in _ARRAYS:
                if len(stack) == _DEEPEST_NESTING:
                    raise PageDataError(type_at, f"arrays nested more than {_DEEPEST_NESTING} deep")
                self._count_value()
                stack.append(self._array(kind))
            else:
                value = self._scalar(kind)
            while value is not None or stack[-1].left == 0:
                if value is None:
                    done = stack.pop()
                    value = Value(done.kind, done.elements)
                if not stack:
                    return value
                stack[-1].add(value)
                value = None
            top = stack[-1]
            if top.element_type is None:
                kind, type_at = self._type(), self._type_at
            else:
                kind, type_at = top.element_type, top.type_at

    def _type(self) -> ValueType:
        self._type_at = self._at
        code = self._number(1, "a value's type")
        try:
            kind = ValueType(code)
        except ValueError:
            raise PageDataError(self._type_at, f"there is no value type {code}") from None
        self._skip(self._value_header - 1, "a value's header")
        return kind

    def _array(self, kind: ValueType) -> "_OpenArray":
        if kind == ValueType.TERMINATED_ARRAY:
            return _OpenArray(kind, -1, None, 0)
        count = self._number(2, "an array's count")
        element_type = self._type() if kind == ValueType.DATA_ARRAY else None
        return _OpenArray(kind, count, element_type, self._type_at)

    def _count_value(self) -> None:
        self._values += 1
        if self._values > _MOST_VALUES:
            raise PageDataError(self._at, f"more than {_MOST_VALUES} values")

    def _scalar(self, kind: ValueType) -> Value:
        self._count_value()
        if kind in _NUMBERS:
            width, what = _NUMBERS[kind]
            return Value(kind, int.from_bytes(self._bytes(width, what), "big", signed=kind != ValueType.BYTE))
        if kind == ValueType.BOOL:
            return Value(kind, self._number(1, "a bool") != 0)
        if kind == ValueType.STRING:
            text = bytes(self._bytes(self._number(2, "a string's length"), "a string")).split(b"\0", 1)[0]
            return Value(kind, text.decode("utf-8", "surrogateescape"))
        if kind == ValueType.BINARY:
            return Value(kind, bytes(self._bytes(self._number(4, "a binary's length"), "a binary")))
        if kind == ValueType.ESCAPED_BINARY:
            return Value(kind, self._escaped())
        return Value(kind, None)

    def _escaped(self) -> bytes:
        found = bytearray()
        while True:
            byte = self._number(1, "an escaped binary")
            if byte == 0xC0:
                return bytes(found)
            if byte == 0xDB:
                at = self._at
                byte = self._number(1, "an escaped binary")
                if byte not in (0xDC, 0xDD):
                    raise PageDataError(at, f"{byte:02X} after an escape in an escaped binary")
                byte = 0xC0 if byte == 0xDC else 0xDB
            found.append(byte)

    def _length(self, least: int, what: str) -> int:
        at = self._at
        length = self._number(2, what)
        if length < least:
            raise PageDataError(at, f"{what} is {length}, less than {least}")
        return length

    def _number(self, width: int, what: str) -> int:
        return int.from_bytes(self._bytes(width, what), "big")

    def _skip(self, count: int, what: str) -> None:
        left = len(self._data) - self._at
        if count > left:
            raise PageDataError(self._at, f"{what} should take {_bytes_text(count)}, but {left} {'is' if left == 1 else 'are'} left")
        self._at += count

    def _bytes(self, count: int, what: str) -> memoryview:
        self._skip(count, what)
        return self._data[self._at - count:self._at]

