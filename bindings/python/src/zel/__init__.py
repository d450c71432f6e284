"""Finds digital pens and fetches what was written with them.

::

    from zel import Library

    with Library() as lib:
        with lib.connect(lib.wait(timeout=30)) as pen:
            data = pen.fetch(progress=lambda done, total: print(done, "of", total))
            data.save("pages.zel")
            for page in data:
                print(page.address, len(page.strokes))

Beside :class:`Library`, :class:`Pen` and :class:`PageData` there are :mod:`zel.firmware` for upgrades and
:mod:`zel.testing`, a pytest plugin that runs a simulated pen service.
"""

from . import firmware
from ._core import Event, PenInfo
from .errors import (
    AlreadyInitializedError,
    CommunicationError,
    DeviceNotSupportedError,
    InvalidArgumentError,
    NotInitializedError,
    NotSupportedError,
    PenLockedError,
    SyncBusyError,
    UnexpectedError,
    ValueOutOfRangeError,
    ZelError,
    result_name,
    result_text,
)
from .discovery import Events, Library
from .page_data import Page, PageData, PageDataError, Property, Value, ValueType, read
from .pen import Battery, CertificateInfo, Memory, PageList, Pen, Revisions, UserData

__all__ = [
    "AlreadyInitializedError",
    "Battery",
    "CertificateInfo",
    "CommunicationError",
    "DeviceNotSupportedError",
    "Event",
    "Events",
    "InvalidArgumentError",
    "Library",
    "Memory",
    "NotInitializedError",
    "NotSupportedError",
    "Page",
    "PageData",
    "PageDataError",
    "PageList",
    "Pen",
    "PenInfo",
    "PenLockedError",
    "Property",
    "Revisions",
    "SyncBusyError",
    "UnexpectedError",
    "UserData",
    "Value",
    "ValueOutOfRangeError",
    "ValueType",
    "ZelError",
    "firmware",
    "read",
    "result_name",
    "result_text",
]
