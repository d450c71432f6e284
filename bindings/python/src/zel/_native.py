"""Everything that ctypes knows: the library file, its functions, and calls that raise.

Nothing outside this module sees a C type but handles, records and the two callback types.
"""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import sys
import threading
from ctypes import POINTER, byref, c_char_p, c_int32, c_uint8, c_uint16, c_uint32, c_uint64, c_void_p
from pathlib import Path
from typing import Any, Callable, Dict, List, Optional, Sequence, Tuple, Union

from .errors import error

API_VERSION = "1.0.0.0_6"

ARRIVED = 0


class DiscoveryHandle(ctypes.Structure):
    """The part of a record that a host may read."""

    _fields_ = [("kind", c_uint32), ("penId", c_uint64)]


RecordPointer = POINTER(DiscoveryHandle)
RecordCallback = ctypes.CFUNCTYPE(None, c_void_p, c_void_p)
ProgressCallback = ctypes.CFUNCTYPE(None, c_void_p, c_uint32, c_uint32)

_pen = c_void_p
_text_out = POINTER(c_void_p)
_flag_out = POINTER(c_uint8)
_bytes_out = [POINTER(c_void_p), POINTER(c_uint32)]

# Every function of zel.h and the types of its arguments; all return a result code.
PROTOTYPES: Dict[str, List[Any]] = {
    "zelInitialize": [RecordCallback, RecordCallback, c_void_p],
    "zelExit": [],
    "zelGetApiVersion": [_text_out],
    "zelEnumeratePens": [],
    "zelFreeString": [_text_out],
    "zelFreePageList": [_text_out],
    "zelFreePageData": [POINTER(c_void_p)],
    "zelFreeDiscoveryHandle": [POINTER(c_void_p)],
    "zelGetDevicePenSerial": [c_void_p, _text_out],
    "zelGetDeviceVidAndPid": [c_void_p, POINTER(c_uint16), POINTER(c_uint16)],
    "zelConnectPen": [c_void_p, POINTER(_pen)],
    "zelDisconnectPen": [POINTER(_pen)],
    "zelGetPenSerial": [_pen, _text_out],
    "zelGetPenProductName": [_pen, _text_out],
    "zelSetTime": [_pen, c_uint64],
    "zelGetTime": [_pen, POINTER(c_uint64), POINTER(c_uint64)],
    "zelSetBluetoothEnabled": [_pen, c_uint8],
    "zelGetBluetoothEnabled": [_pen, _flag_out],
    "zelSetBluetoothDiscoverableAllowed": [_pen, c_uint8],
    "zelGetBluetoothDiscoverableAllowed": [_pen, _flag_out],
    "zelSetBluetoothPin": [_pen, c_char_p],
    "zelGetBluetoothPin": [_pen, _text_out],
    "zelSetAutoPowerOff": [_pen, c_uint16],
    "zelGetAutoPowerOff": [_pen, POINTER(c_uint16)],
    "zelSetWakeUpTime": [_pen, c_uint32],
    "zelGetWakeUpTime": [_pen, POINTER(c_uint32)],
    "zelGetPenRevisions": [_pen] + [_text_out] * 4,
    "zelGetPageList": [_pen, _text_out, POINTER(c_uint32)],
    "zelGetPages": [_pen, c_char_p, ProgressCallback, *_bytes_out],
    "zelGetAllPages": [_pen, ProgressCallback, *_bytes_out],
    "zelRemovePage": [_pen, c_char_p],
    "zelRemoveAllStrokes": [_pen],
    "zelUnlockPen": [_pen, c_char_p],
    "zelSetPasswordData": [_pen, c_char_p, c_char_p, c_char_p],
    "zelRemovePasswordData": [_pen, c_char_p],
    "zelGetPasswordHint": [_pen, _text_out],
    "zelGetPenLockedStatus": [_pen, _flag_out],
    "zelInstallCertificateAuthenticator": [_pen] + [c_char_p, c_uint32] * 2,
    "zelHasCertificateAuthenticator": [_pen, _flag_out],
    "zelInstallSigningKey": [_pen, c_uint16] + [c_char_p, c_uint32] * 8,
    "zelHasSigningKey": [_pen, _flag_out],
    "zelClearSigningKey": [_pen],
    "zelInstallCertificate": [_pen, c_char_p, c_uint32],
    "zelGetCertificateInfo": [_pen, POINTER(c_uint16), POINTER(c_uint64), POINTER(c_uint64)],
    "zelClearCertificate": [_pen],
    "zelHasEncryptedData": [_pen, _flag_out],
    "zelGetEncryptedData": [_pen, c_uint64, *_bytes_out],
    "zelClearEncryptedData": [_pen],
    "zelSetUserData": [_pen, c_char_p, c_char_p, c_char_p],
    "zelGetUserData": [_pen] + [_text_out] * 3,
    "zelGetMemoryStatus": [_pen, POINTER(c_uint64), POINTER(c_uint64)],
    "zelGetBatteryStatus": [_pen] + [POINTER(c_uint16)] * 5,
    "zelGetSecureDeleteEnabled": [_pen, _flag_out],
    "zelDfuInit": [c_void_p, RecordCallback, RecordCallback],
    "zelDfuExit": [],
    "zelDfuConnectPen": [POINTER(_pen), c_void_p],
    "zelDfuDisconnectPen": [POINTER(_pen)],
    "zelDfuGetMode": [c_void_p, _flag_out],
    "zelDfuResetPort": [_pen],
    "zelDfuAbort": [_pen],
    "zelDfuClearStatus": [_pen],
    "zelDfuDetach": [_pen],
    "zelDfuDetachBoot": [_pen],
    "zelDfuGetState": [_pen, POINTER(c_int32)],
    "zelDfuGetStatus": [_pen, _flag_out],
    "zelDfuGetFunctionalDescriptor": [_pen, _flag_out],
    "zelDfuDownload": [_pen, c_char_p],
}


def candidates() -> List[str]:
    """Where the library is looked for, in this order."""
    windows = sys.platform == "win32"
    name = "zel.dll" if windows else "libzel.so"
    here = Path(__file__).resolve().parent
    places = [str(here / "_lib" / name)]
    # A checkout: bindings/python/src/zel beside build/.
    if len(here.parents) > 3:
        places.append(str(here.parents[3] / "build" / ("windows" if windows else "native") / name))
    chosen = os.environ.get("ZEL_LIBRARY")
    if chosen:
        return [chosen]
    return [place for place in places if os.path.exists(place)] + (["zel.dll"] if windows else ["libzel.so.1"])


def _open() -> ctypes.CDLL:
    tried: List[str] = []
    for place in candidates():
        try:
            return ctypes.CDLL(place)
        except OSError as failure:
            tried.append(f"{place}: {failure}")
    raise ImportError("The zel library was not found. Tried:\n  " + "\n  ".join(tried))


_library: Optional[ctypes.CDLL] = None
_loading = threading.Lock()


def loaded_library() -> ctypes.CDLL:
    """The library, loaded at its first use: reading page data needs none."""
    global _library
    if _library is not None:
        return _library
    with _loading:
        if _library is None:
            loaded = _open()
            for name, arguments in PROTOTYPES.items():
                function = getattr(loaded, name)
                function.argtypes = arguments
                function.restype = c_uint32
            _check_version(loaded)
            _library = loaded
        return _library


def _check_version(loaded: ctypes.CDLL) -> None:
    text = c_void_p()
    code = loaded.zelGetApiVersion(byref(text))
    if code != 0:
        raise error(code, "zelGetApiVersion")
    version = _taken_text(loaded, text, "zelFreeString")
    if version != API_VERSION:
        raise ImportError(f"The zel library found offers version {version}, not {API_VERSION}.")


def call(name: str, *arguments: Any) -> None:
    """Calls a function of the library; another thread may run meanwhile. Raises unless it returns ``ZEL_OK``."""
    code = getattr(loaded_library(), name)(*arguments)
    if code != 0:
        raise error(code, name)


def _taken_text(loaded: ctypes.CDLL, pointer: c_void_p, free: str) -> str:
    try:
        return decoded(ctypes.string_at(pointer)) if pointer.value is not None else ""
    finally:
        getattr(loaded, free)(byref(pointer))


def texts(name: str, handle: Any, count: int) -> Tuple[str, ...]:
    """Calls a function that hands out texts behind its first argument."""
    pointers = [c_void_p() for _ in range(count)]
    call(name, handle, *(byref(pointer) for pointer in pointers))
    taken = []
    for pointer in pointers:
        taken.append(_taken_text(loaded_library(), pointer, "zelFreeString"))
    return tuple(taken)


def text(name: str, handle: Any) -> str:
    """Calls a function that hands out one text."""
    return texts(name, handle, 1)[0]


def numbers(name: str, handle: Any, *types: Any) -> Tuple[int, ...]:
    """Calls a function that writes numbers of these C types behind its first argument."""
    outputs = [kind() for kind in types]
    call(name, handle, *(byref(output) for output in outputs))
    return tuple(int(output.value) for output in outputs)


def usb_ids(record: int) -> Tuple[int, int]:
    """The USB vendor and product id of a record; old pens have them too, although their code says otherwise."""
    vendor, product = c_uint16(), c_uint16()
    code = loaded_library().zelGetDeviceVidAndPid(record, byref(vendor), byref(product))
    if code not in (0, 4):
        raise error(code, "zelGetDeviceVidAndPid")
    return int(vendor.value), int(product.value)


def flag(name: str, handle: Any) -> bool:
    """Calls a function that writes one flag."""
    output = c_uint8()
    code = getattr(loaded_library(), name)(handle, byref(output))
    if code != 0:
        raise error(code, name)
    return output.value != 0


def page_list(handle: Any) -> Tuple[str, int]:
    """The page list's text and the total of its bytes."""
    pointer, total = c_void_p(), c_uint32()
    call("zelGetPageList", handle, byref(pointer), byref(total))
    return _taken_text(loaded_library(), pointer, "zelFreePageList"), int(total.value)


def block(name: str, *arguments: Any) -> bytes:
    """Calls a function that hands out a block of bytes; the block itself is released at once."""
    pointer, length = c_void_p(), c_uint32()
    call(name, *arguments, byref(pointer), byref(length))
    try:
        return ctypes.string_at(pointer, length.value) if pointer.value is not None else b""
    finally:
        loaded_library().zelFreePageData(byref(pointer))


def record_bytes(name: str, handle: Any, count: int) -> bytes:
    """Calls a function that fills a buffer of the caller's."""
    buffer = (c_uint8 * count)()
    call(name, handle, buffer)
    return bytes(buffer)


def connect(name: str, release: str, *arguments: Any, handle_first: bool = False) -> c_void_p:
    """Connects; a handle that comes with a failure is given back."""
    handle = c_void_p()
    output = byref(handle)
    try:
        call(name, *((output, *arguments) if handle_first else (*arguments, output)))
    except BaseException:
        disconnect(release, handle)
        raise
    return handle


def disconnect(name: str, handle: c_void_p) -> None:
    """Releases a handle, by the function of this name. It cannot fail while the library is initialised."""
    getattr(loaded_library(), name)(byref(handle))


def end(name: str) -> None:
    """Ends a mode of the library, by the function of this name; it succeeds also where nothing was started."""
    getattr(loaded_library(), name)()


def kind_and_id(record: int) -> Tuple[int, int]:
    """The two fields of a record that a host may read."""
    content = DiscoveryHandle.from_address(record)
    return int(content.kind), int(content.penId)


def free_record(record: int) -> None:
    """Releases a record."""
    loaded_library().zelFreeDiscoveryHandle(byref(c_void_p(record)))


# Pens do not tell their encoding. UTF-8 is what they are known to use; any other byte survives a round trip.
def decoded(data: bytes) -> str:
    """The text that a pen's bytes stand for."""
    return data.decode("utf-8", "surrogateescape")


# A text travels with 16 bits of length, its terminating NUL counted.
_LONGEST_TEXT = 65534


def encoded(value: Union[str, bytes], what: str) -> bytes:
    """A text argument: neither NUL nor more bytes than a text can carry."""
    data = value.encode("utf-8", "surrogateescape") if isinstance(value, str) else bytes(value)
    if b"\0" in data:
        raise ValueError(f"{what} must not contain a NUL")
    if len(data) > _LONGEST_TEXT:
        raise ValueError(f"{what} has {len(data)} bytes; {_LONGEST_TEXT} are the most")
    return data


def ranged(value: int, bits: int, what: str) -> int:
    """An unsigned number argument, which ctypes would silently cut."""
    if not 0 <= value < 1 << bits:
        raise ValueError(f"{what} must be from 0 to {(1 << bits) - 1}, not {value}")
    return value


def data_arguments(parts: Sequence[bytes]) -> List[Any]:
    """Runs of bytes as pairs of pointer and length."""
    arguments: List[Any] = []
    for part in parts:
        data = bytes(part)
        arguments += [data, len(data)]
    return arguments


def progress(report: Optional[Callable[[int, int], object]]) -> Tuple[Any, List[BaseException]]:
    """A C callback around ``report``, and where its exceptions are kept: none may pass through C."""
    failures: List[BaseException] = []
    if report is None:
        return ProgressCallback(0), failures  # null
    reported = report

    def forward(_serial: int, so_far: int, total: int) -> None:
        if failures:
            return
        try:
            reported(so_far, total)
        except BaseException as failure:  # raised again when the retrieval has returned
            failures.append(failure)

    return ProgressCallback(forward), failures
