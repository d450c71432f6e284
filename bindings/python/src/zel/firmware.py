"""Upgrading a pen's firmware.

The main job is one call::

    zel.firmware.download(Path("pen.img").read_bytes(), progress=lambda sent, total: print(sent, total))

A pen must be in firmware-upgrade mode for it; in that mode it is not among :attr:`Library.pens`, but among
:attr:`Upgrades.pens` here.
"""

from __future__ import annotations

import contextlib
import enum
import struct
import threading
import time
from ctypes import c_int32
from typing import Callable, NamedTuple, Optional

from . import _core, _native
from ._core import Connected, PenInfo
from .errors import CommunicationError, NotSupportedError, ZelError, error
from .discovery import Finder

Progress = Callable[[int, int], object]

# For a pen that names no size.
_USUAL_BLOCK = 1024


class State(enum.IntEnum):
    """The states of USB's device firmware upgrade class."""

    APP_IDLE = 0
    APP_DETACH = 1
    IDLE = 2
    DOWNLOAD_SYNC = 3
    DOWNLOAD_BUSY = 4
    DOWNLOAD_IDLE = 5
    MANIFEST_SYNC = 6
    MANIFEST = 7
    MANIFEST_WAIT_RESET = 8
    UPLOAD_IDLE = 9
    ERROR = 10


# As in zel/firmware.hpp; a test compares the two tables.
STATUS_TEXTS = (
    "no error",
    "the image is not meant for this device",
    "the image failed a check of its origin or content",
    "the memory cannot be written",
    "the memory cannot be erased",
    "the memory is not empty after it was erased",
    "the memory cannot be programmed",
    "what was programmed reads back differently",
    "an address is out of range",
    "the image ended too early",
    "the firmware is damaged; the device cannot leave this mode",
    "a fault of the maker's own kind",
    "an unexpected USB reset",
    "an unexpected power-on reset",
    "something unknown went wrong",
    "an unexpected request",
)


class Status(NamedTuple):
    """The status record of an upgrade."""

    status: int
    """0, or the number of a fault; see :data:`STATUS_TEXTS`."""
    poll_timeout: float
    """Seconds to wait before the next request."""
    state: int
    """A :class:`State`, or a number that the class does not define."""
    string_index: int

    @property
    def failed(self) -> bool:
        """Whether the pen reports a fault."""
        return self.status != 0 or self.state == State.ERROR

    @property
    def text(self) -> str:
        """The status in words."""
        return STATUS_TEXTS[self.status] if self.status < len(STATUS_TEXTS) else f"unknown fault {self.status}"


class Descriptor(NamedTuple):
    """What the pen can do in this mode."""

    attributes: int
    detach_timeout: float
    """Seconds."""
    transfer_size: int
    """Bytes in a block; 0 if the pen names none."""

    @property
    def can_download(self) -> bool:
        """Whether the pen takes images."""
        return self.attributes & 1 != 0

    @property
    def manifestation_tolerant(self) -> bool:
        """Whether the pen answers while it puts an image to use."""
        return self.attributes & 4 != 0


class UpgradePen(Connected):
    """A connected pen in firmware-upgrade mode, made by :meth:`Upgrades.connect`. Used like :class:`zel.Pen`."""

    @property
    def state(self) -> int:
        """The state; a :class:`State`, or a number that the class does not define."""
        return _state(self._connection.use(_native.numbers, "zelDfuGetState", c_int32)[0])

    @property
    def status(self) -> Status:
        """The status record."""
        record = self._connection.use(_native.record_bytes, "zelDfuGetStatus", 6)
        return Status(record[0], int.from_bytes(record[1:4], "little") / 1000, _state(record[4]), record[5])

    @property
    def descriptor(self) -> Descriptor:
        """The functional descriptor."""
        record = self._connection.use(_native.record_bytes, "zelDfuGetFunctionalDescriptor", 7)
        # With length and type in front it ends before the version, without them it has it at its end.
        fields = record[2:] if record[0] == len(record) and record[1] == 0x21 else record
        attributes, detach, size = struct.unpack_from("<BHH", fields)
        return Descriptor(attributes, detach / 1000, size)

    def send_block(self, number: int, data: bytes) -> None:
        """Sends one block of an image; an empty one ends it."""
        head = struct.pack("=HH", number & 0xFFFF, _native.ranged(len(data), 16, "the length of a block"))
        self._call("zelDfuDownload", head + data)

    def clear_status(self) -> None:
        """Clears an error status."""
        self._call("zelDfuClearStatus")

    def abort(self) -> None:
        """Aborts the upgrade that is under way."""
        self._call("zelDfuAbort")

    def reset_port(self) -> None:
        """Resets the pen's USB port."""
        self._call("zelDfuResetPort")

    def detach(self) -> None:
        """Lets the pen leave its application for firmware-upgrade mode."""
        self._call("zelDfuDetach")

    def detach_boot(self) -> None:
        """Detaches the pen's boot loader."""
        self._call("zelDfuDetachBoot")

    def download(
        self, image: bytes, progress: Optional[Progress] = None, stop: Optional[threading.Event] = None
    ) -> None:
        """Sends a whole image and lets the pen put it to use.

        :param progress: called as ``progress(bytes_sent, bytes_total)``. If it raises, the pen is told to give the
            image up, and the exception passes on; so Ctrl-C ends a download between two requests.
        :param stop: ends the download once it is set, from whichever thread, also in a pause that the pen asked for;
            the pen is told to give the image up, unless it has the whole image. While the pen leaves a request
            unanswered, this has to wait.
        :raises DownloadStopped: ``stop`` was set
        :raises NotSupportedError: the pen takes no images
        :raises UnexpectedError: the pen reports a fault, named in the text
        """
        _Download(self, bytes(image), progress or (lambda sent, total: None), stop or threading.Event()).run()


class DownloadStopped(Exception):
    """A download was given up because its ``stop`` was set."""


def _state(number: int) -> int:
    return State(number) if number in State.__members__.values() else number


class _Download:
    def __init__(self, pen: UpgradePen, image: bytes, progress: Progress, stop: threading.Event) -> None:
        self._pen = pen
        self._image = image
        self._progress = progress
        self._stop = stop
        self._descriptor = pen.descriptor
        if not self._descriptor.can_download:
            raise NotSupportedError(4, "zel.firmware.download", "The pen takes no images.")
        self._sent = 0

    def run(self) -> None:
        self._make_idle()
        size = self._descriptor.transfer_size or _USUAL_BLOCK
        number = 0
        try:
            self._report()
            while self._sent < len(self._image):
                block = self._image[self._sent:self._sent + size]
                self._send(number, block, State.DOWNLOAD_IDLE)
                self._sent += len(block)
                number += 1
                self._report()
        except BaseException as reason:
            self._give_up(clears=not isinstance(reason, ZelError))
            raise
        self._manifest(number)

    def _make_idle(self) -> None:
        """A download begins in dfuIDLE; what an earlier one left behind is cleared away."""
        state = self._pen.status.state
        if state == State.ERROR:
            self._pen.clear_status()
        elif state in (State.DOWNLOAD_IDLE, State.UPLOAD_IDLE):
            self._pen.abort()
        state = self._pen.status.state
        if state != State.IDLE:
            raise error(11, "zel.firmware.download", f"The pen is not ready for an image: its state is {state!r}.")

    def _send(self, number: int, data: bytes, expected: State) -> Status:
        self._pen.send_block(number, data)
        status = self._settled()
        if data and status.state != expected:
            self._fail(status)
        return status

    def _manifest(self, number: int) -> None:
        status = self._send(number, b"", State.IDLE)
        if status.state in (State.MANIFEST, State.MANIFEST_WAIT_RESET):
            self._pause(status)
            try:
                self._pen.reset_port()
            except CommunicationError:
                pass  # the pen has the whole image, and one that restarts at once may not answer any more
        elif status.state != State.IDLE:
            self._fail(status)

    def _settled(self) -> Status:
        """Asks until the pen has done what it is at, waiting in between as long as it says."""
        while True:
            status = self._pen.status
            if status.failed:
                self._fail(status)
            busy = (State.DOWNLOAD_SYNC, State.DOWNLOAD_BUSY, State.MANIFEST_SYNC)
            # A pen that is not tolerant of manifestation cannot be asked after it, only be reset.
            if status.state not in busy and not (
                status.state == State.MANIFEST and self._descriptor.manifestation_tolerant
            ):
                return status
            self._pause(status)

    def _report(self) -> None:
        self._progress(self._sent, len(self._image))
        self._check(self._stop.is_set())

    def _pause(self, status: Status) -> None:
        """As long as the pen says, and at least a moment. A wait may end a little early, and a pen that is asked too
        early takes that for a fault."""
        end = time.perf_counter() + max(status.poll_timeout, 0.001)
        while (left := end - time.perf_counter()) > 0:
            self._check(self._stop.wait(left))

    def _check(self, stopped: bool) -> None:
        if stopped:
            raise DownloadStopped(f"stopped after {self._sent} of {len(self._image)} bytes")

    def _fail(self, status: Status) -> None:
        raise error(11, "zel.firmware.download",
                    f"The pen stopped after {self._sent} bytes: {status.text} "
                    f"(status {status.status}, {status.state!r}).")

    def _give_up(self, clears: bool) -> None:
        """A fault of the pen's own is left to be asked for. One that is busy takes the abort for an error."""
        with contextlib.suppress(Exception):  # the reason that led here counts
            try:
                self._pen.abort()
            except ZelError:
                if clears:
                    self._pen.clear_status()


class Upgrades(Finder):
    """Finds pens in firmware-upgrade mode; used like :class:`Library`.

    When the pen service goes away, this mode stops listening: then close it and make another.
    """

    _shared = _core.UPGRADE

    def connect(self, info: PenInfo) -> UpgradePen:
        """Connects to a pen in firmware-upgrade mode."""
        self._require_open("Upgrades.connect")
        return UpgradePen(
            info, self._shared.connect(info, "zelDfuConnectPen", "zelDfuDisconnectPen", handle_first=True)
        )


def download(
    image: bytes,
    serial: Optional[str] = None,
    progress: Optional[Progress] = None,
    timeout: Optional[float] = 10,
    stop: Optional[threading.Event] = None,
) -> PenInfo:
    """Waits for a pen in firmware-upgrade mode, sends it an image and lets it put the image to use.

    :param serial: which pen; any when left out
    :param progress: as for :meth:`UpgradePen.download`
    :param timeout: how long to wait for the pen, in seconds
    :param stop: as for :meth:`UpgradePen.download`
    :returns: the pen
    :raises TimeoutError: no such pen
    """
    with Upgrades() as upgrades:
        info = upgrades.wait(serial, timeout)
        with upgrades.connect(info) as pen:
            pen.download(image, progress, stop)
        return info
