"""A connected pen."""

from __future__ import annotations

import datetime
from ctypes import c_uint16, c_uint32, c_uint64
from typing import Any, Callable, Iterable, List, NamedTuple, Optional, Sequence, Tuple, Union

from . import _native
from ._core import Connected
from .errors import error
from .page_data import PageData, normalized_address

Text = Union[str, bytes]
Progress = Callable[[int, int], object]

_EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)


class Revisions(NamedTuple):
    """Four of the pen's revision texts, by their place in the pen's list."""

    revision0: str
    hardware: str
    revision3: str
    revision5: str


class Memory(NamedTuple):
    """The pen's memory, in bytes."""

    used: int
    total: int


class Battery(NamedTuple):
    """The five numbers that describe the battery, in the pen's order; 65535 is unknown."""

    value0: int
    value1: int
    value2: int
    value3: int
    value4: int


class CertificateInfo(NamedTuple):
    """The three numbers that describe the certificate, in the pen's order."""

    number: int
    value1: int
    value2: int


class UserData(NamedTuple):
    """The three texts of the owner."""

    a: str
    b: str
    c: str


class PageList(NamedTuple):
    """The pages that hold strokes."""

    addresses: Tuple[str, ...]
    """Ascending."""
    total_bytes: int
    """Bytes of strokes that the pen holds, cut to 32 bits."""


def _time(millis: int, operation: str) -> datetime.datetime:
    try:
        return _EPOCH + datetime.timedelta(milliseconds=millis)
    except OverflowError:
        raise error(11, operation, f"The pen's clock says {millis} ms, which is no date.") from None


def _millis(moment: datetime.datetime) -> int:
    # A date without a zone is local time, as for datetime itself.
    return _native.ranged((moment.astimezone(datetime.timezone.utc) - _EPOCH) // datetime.timedelta(milliseconds=1),
                          64, "time in milliseconds since 1970")


class Pen(Connected):
    """A connected pen, made by :meth:`Library.connect`.

    Calls block until the pen's service answered; there is no time limit, so let a thread do what must not hold up
    your program. Other Python threads run meanwhile. A pen may be used by several threads; their calls take turns.
    Attributes such as :attr:`battery` ask the pen each time they are read.

    A pen that is lost raises :class:`zel.CommunicationError` from then on; close it, and connect anew when it has
    arrived again.
    """

    def _text(self, name: str) -> str:
        return self._connection.use(_native.text, name)

    def _numbers(self, name: str, *types: Any) -> Tuple[int, ...]:
        return self._connection.use(_native.numbers, name, *types)

    def _flag(self, name: str) -> bool:
        return self._connection.use(_native.flag, name)

    # ---- identity

    @property
    def serial(self) -> str:
        """The serial text, as announced. No exchange with the pen."""
        return self._text("zelGetPenSerial")

    @property
    def product_name(self) -> str:
        """The product name. A pen that has none raises :class:`zel.InvalidArgumentError`."""
        return self._text("zelGetPenProductName")

    @property
    def revisions(self) -> Revisions:
        """Four of the revision texts."""
        return Revisions(*self._connection.use(_native.texts, "zelGetPenRevisions", 4))

    # ---- settings

    @property
    def time(self) -> datetime.datetime:
        """The pen's clock, in UTC. Setting it takes any ``datetime``; one without a time zone is local time."""
        return _time(self._numbers("zelGetTime", c_uint64, c_uint64)[0], "zelGetTime")

    @time.setter
    def time(self, moment: datetime.datetime) -> None:
        self._call("zelSetTime", _millis(moment))

    @property
    def system_time(self) -> datetime.datetime:
        """The host's clock as the pen last saw it, in UTC."""
        return _time(self._numbers("zelGetTime", c_uint64, c_uint64)[1], "zelGetTime")

    @property
    def bluetooth_enabled(self) -> bool:
        """Whether Bluetooth is on."""
        return self._flag("zelGetBluetoothEnabled")

    @bluetooth_enabled.setter
    def bluetooth_enabled(self, on: bool) -> None:
        self._call("zelSetBluetoothEnabled", bool(on))

    @property
    def bluetooth_discoverable(self) -> bool:
        """Whether the pen may be discovered over Bluetooth."""
        return self._flag("zelGetBluetoothDiscoverableAllowed")

    @bluetooth_discoverable.setter
    def bluetooth_discoverable(self, allowed: bool) -> None:
        self._call("zelSetBluetoothDiscoverableAllowed", bool(allowed))

    @property
    def bluetooth_pin(self) -> str:
        """The Bluetooth PIN, empty when there is none. Setting takes 4 to 16 digits."""
        return self._text("zelGetBluetoothPin")

    @bluetooth_pin.setter
    def bluetooth_pin(self, pin: Text) -> None:
        self._call("zelSetBluetoothPin", _native.encoded(pin, "the PIN"))

    @property
    def auto_power_off(self) -> int:
        """After how long the pen switches itself off, in the pen's own unit."""
        return self._numbers("zelGetAutoPowerOff", c_uint16)[0]

    @auto_power_off.setter
    def auto_power_off(self, value: int) -> None:
        self._call("zelSetAutoPowerOff", _native.ranged(value, 16, "auto_power_off"))

    @property
    def wake_up_time(self) -> int:
        """After how many seconds the pen wakes by itself: 0 (never), or 60 to 86400."""
        return self._numbers("zelGetWakeUpTime", c_uint32)[0]

    @wake_up_time.setter
    def wake_up_time(self, seconds: int) -> None:
        self._call("zelSetWakeUpTime", _native.ranged(seconds, 32, "wake_up_time"))

    # ---- status

    @property
    def battery(self) -> Battery:
        """The battery's five numbers."""
        return Battery(*self._numbers("zelGetBatteryStatus", *[c_uint16] * 5))

    @property
    def memory(self) -> Memory:
        """How much of the memory is used. A pen that tells more free memory than it has gives a huge ``used``."""
        return Memory(*self._numbers("zelGetMemoryStatus", c_uint64, c_uint64))

    @property
    def secure_delete(self) -> bool:
        """Whether the pen deletes strokes securely."""
        return self._flag("zelGetSecureDeleteEnabled")

    @property
    def user_data(self) -> UserData:
        """The three texts of the owner. Setting takes three texts."""
        return UserData(*self._connection.use(_native.texts, "zelGetUserData", 3))

    @user_data.setter
    def user_data(self, texts: Sequence[Text]) -> None:
        if isinstance(texts, (str, bytes)) or len(texts) != 3:
            raise ValueError("user_data takes three texts")
        self._call("zelSetUserData", *(_native.encoded(text, "user data") for text in texts))

    # ---- lock and password

    @property
    def locked(self) -> bool:
        """Whether the pen is locked."""
        return self._flag("zelGetPenLockedStatus")

    def unlock(self, password: Text) -> None:
        """Unlocks the pen. A wrong password raises :class:`zel.InvalidArgumentError`."""
        self._call("zelUnlockPen", _native.encoded(password, "the password"))

    @property
    def password_hint(self) -> str:
        """The hint to the password."""
        return self._text("zelGetPasswordHint")

    def set_password(self, current: Text, new: Text, hint: Text = "") -> None:
        """Sets the password, 1 to 31 bytes, and its hint, at most 255 bytes.

        :param current: the password in force, empty when there is none
        """
        self._call("zelSetPasswordData", _native.encoded(current, "the password"),
                   _native.encoded(new, "the password"), _native.encoded(hint, "the hint"))

    def remove_password(self, current: Text) -> None:
        """Removes the password and its hint."""
        self._call("zelRemovePasswordData", _native.encoded(current, "the password"))

    # ---- pages

    @property
    def pages(self) -> PageList:
        """The pages that hold strokes."""
        text, total = self._connection.use(_page_list, "zelGetPageList")
        return PageList(tuple(address for address in text.split(";") if address), total)

    def fetch(self, addresses: Optional[Iterable[str]] = None, progress: Optional[Progress] = None) -> PageData:
        """Fetches pages with their strokes, the stylo pages and the properties that identify the pen.

        :param addresses: the pages to fetch; all of them when left out
        :param progress: called as ``progress(bytes_so_far, bytes_total)`` before the first page and after each, in
            this thread. It must not use this pen. Its exception is raised here, once the retrieval has ended.
        :raises ValueError: an address makes no sense, or the pen has no such page
        :raises SyncBusyError: another program fetches pages; try again later
        """
        if addresses is None:
            return PageData(self._fetch("zelGetAllPages", progress))
        wanted = _wanted_addresses(addresses)
        present = self.pages.addresses
        missing = [address for address in wanted if address not in set(present)]
        if missing:
            raise ValueError("the pen has no page " + ", ".join(missing))
        # The library takes each page whose address occurs anywhere in the list, and demands as many pages as are
        # listed: 1.2.3.4 comes along with 11.2.3.45. Such pages are asked for too, and taken out again.
        beside = [page for page in present if page not in wanted and any(page in one for one in wanted)]
        listed = ";".join([*wanted, *beside])
        data = PageData(self._fetch("zelGetPages", progress, listed.encode("ascii")))
        return data.without(beside) if beside else data

    def _fetch(self, name: str, progress: Optional[Progress], *arguments: Any) -> bytes:
        callback, failures = _native.progress(progress)
        data = self._connection.use(_native.block, name, *arguments, callback)
        if failures:
            raise failures[0]
        return data

    def remove_page(self, address: str) -> None:
        """Removes the strokes of a page from the pen. Trailing numbers may be ``*``: ``"1.2.*.*"``."""
        self._call("zelRemovePage", _native.encoded(address, "the address"))

    def remove_all_strokes(self) -> None:
        """Removes all strokes from the pen."""
        self._call("zelRemoveAllStrokes")

    # ---- certificates, signing key and encrypted data: pens with software 0x0503 or newer

    def install_certificate_authenticator(self, data1: bytes, data2: bytes) -> None:
        """Installs the certificate authenticator. The second part has at least one byte."""
        self._call("zelInstallCertificateAuthenticator", *_native.data_arguments([data1, data2]))

    @property
    def has_certificate_authenticator(self) -> bool:
        """Whether the pen holds a certificate authenticator."""
        return self._flag("zelHasCertificateAuthenticator")

    def install_signing_key(self, number: int, parts: Sequence[bytes]) -> None:
        """Installs the signing key: a number that is passed on to the pen, and eight parts, any of them empty."""
        if len(parts) != 8:
            raise ValueError(f"a signing key has eight parts, not {len(parts)}")
        self._call("zelInstallSigningKey", _native.ranged(number, 16, "number"), *_native.data_arguments(parts))

    @property
    def has_signing_key(self) -> bool:
        """Whether the pen holds a signing key."""
        return self._flag("zelHasSigningKey")

    def clear_signing_key(self) -> None:
        """Removes the signing key."""
        self._call("zelClearSigningKey")

    def install_certificate(self, data: bytes) -> None:
        """Installs the certificate."""
        self._call("zelInstallCertificate", *_native.data_arguments([data]))

    @property
    def certificate_info(self) -> CertificateInfo:
        """What describes the certificate. A pen without one raises :class:`zel.UnexpectedError`."""
        return CertificateInfo(*self._numbers("zelGetCertificateInfo", c_uint16, c_uint64, c_uint64))

    def clear_certificate(self) -> None:
        """Removes the certificate."""
        self._call("zelClearCertificate")

    @property
    def has_encrypted_data(self) -> bool:
        """Whether the pen holds encrypted data."""
        return self._flag("zelHasEncryptedData")

    def encrypted_data(self, argument: int = 0) -> bytes:
        """Fetches the encrypted data. Without any, raises :class:`zel.InvalidArgumentError`.

        :param argument: handed on to ``zelGetEncryptedData``, where it has no effect; 64 bits
        """
        argument = _native.ranged(argument, 64, "the argument")
        return self._connection.use(_native.block, "zelGetEncryptedData", argument)

    def clear_encrypted_data(self) -> None:
        """Removes the encrypted data."""
        self._call("zelClearEncryptedData")


def _page_list(_name: str, handle: Any) -> Tuple[str, int]:
    return _native.page_list(handle)


def _wanted_addresses(addresses: Iterable[str]) -> List[str]:
    if isinstance(addresses, str):
        raise TypeError("addresses takes several addresses, not one text")
    return list(dict.fromkeys(normalized_address(address) for address in addresses))
