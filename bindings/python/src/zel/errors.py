"""The library's result codes as exceptions.

Every failing call raises a :class:`ZelError` or one of its subclasses, one for each code that a program tells
apart. All carry the code, its name in ``zel.h``, the operation that failed and a sentence for people.
"""

from __future__ import annotations

from typing import Dict, Optional, Tuple, Type

# Names and sentences as in zel/zel_result.h; a test compares the two tables.
_RESULTS: Dict[int, Tuple[str, str]] = {
    0: ("ZEL_OK", "The function succeeded."),
    1: ("ZEL_ERR_INVALID_ARGUMENT", "An argument cannot be used, or the pen did not do what it was asked."),
    2: ("ZEL_ERR_PEN_LOCKED", "The pen is locked by its password."),
    3: ("ZEL_ERR_COMMUNICATION", "The connection to the pen failed or is lost."),
    4: ("ZEL_ERR_NOT_SUPPORTED", "The pen does not support this function."),
    5: ("ZEL_ERR_NOT_INITIALIZED", "The library is not initialised."),
    6: ("ZEL_ERR_ALREADY_INITIALIZED", "The library is already initialised."),
    8: ("ZEL_ERR_VALUE_OUT_OF_RANGE", "A number or a PIN is outside its range."),
    9: ("ZEL_ERR_SYNC_BUSY", "The pen is busy and did not begin a sync session; try again later."),
    10: ("ZEL_ERR_DEVICE_NOT_SUPPORTED", "The library does not support pens with this USB identity."),
    11: ("ZEL_ERR_UNEXPECTED", "The call failed unexpectedly: no memory, or an answer that makes no sense."),
}


def result_name(code: int) -> str:
    """Returns the code's constant in ``zel.h``, such as ``"ZEL_ERR_PEN_LOCKED"``, or ``"unknown"``."""
    return _RESULTS[code][0] if code in _RESULTS else "unknown"


def result_text(code: int) -> str:
    """Returns a sentence that explains the code."""
    return _RESULTS[code][1] if code in _RESULTS else "This number is not a result code of the library."


class ZelError(Exception):
    """A call of the library failed.

    :ivar code: the result code, an ``int``
    :ivar name: the code's constant, ``"ZEL_ERR_COMMUNICATION"``
    :ivar operation: what was called, ``"zelGetAllPages"``
    :ivar text: what happened, in a sentence
    """

    code: int
    name: str
    operation: str
    text: str

    def __init__(self, code: int, operation: str, text: Optional[str] = None) -> None:
        self.code = code
        self.name = result_name(code)
        self.operation = operation
        self.text = text if text is not None else result_text(code)
        super().__init__(code, operation, self.text)

    def __str__(self) -> str:
        return f"{self.operation}: {self.text} ({self.code}, {self.name})"


class InvalidArgumentError(ZelError, ValueError):
    """An argument cannot be used, or the pen did not do what it was asked (code 1)."""


class PenLockedError(ZelError):
    """The pen is locked by its password (code 2)."""


class CommunicationError(ZelError):
    """The connection to the pen failed or is lost (code 3)."""


class NotSupportedError(ZelError):
    """The pen does not support this function (code 4)."""


class NotInitializedError(ZelError):
    """The library or the pen was closed before the call (code 5)."""


class AlreadyInitializedError(ZelError):
    """Something else in this process uses the library already (code 6)."""


class ValueOutOfRangeError(ZelError, ValueError):
    """A number or a PIN is outside its range (code 8)."""


class SyncBusyError(ZelError):
    """The pen is busy and did not begin a sync session; try again later (code 9)."""


class DeviceNotSupportedError(ZelError):
    """The library does not support pens with this USB identity (code 10)."""


class UnexpectedError(ZelError):
    """No memory, or an answer that makes no sense (code 11)."""


_TYPES: Dict[int, Type[ZelError]] = {
    1: InvalidArgumentError,
    2: PenLockedError,
    3: CommunicationError,
    4: NotSupportedError,
    5: NotInitializedError,
    6: AlreadyInitializedError,
    8: ValueOutOfRangeError,
    9: SyncBusyError,
    10: DeviceNotSupportedError,
    11: UnexpectedError,
}


def error(code: int, operation: str, text: Optional[str] = None) -> ZelError:
    """Makes the exception that stands for a result code."""
    return _TYPES.get(code, ZelError)(code, operation, text)
