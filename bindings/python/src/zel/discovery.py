"""Finding pens: :class:`Library` and its events."""

from __future__ import annotations

import asyncio
import collections
import threading
import time
import weakref
from types import TracebackType
from typing import AsyncIterator, Deque, Iterator, List, Optional, Set, Tuple, Type, TypeVar

from . import _core
from ._core import Event, PenInfo
from .errors import error
from .pen import Pen

F = TypeVar("F", bound="Finder")

# A wait without a limit would keep Ctrl-C out on Windows.
_LONGEST_NAP = 0.5


def _closed(operation: str) -> Exception:
    return error(5, operation, "The library is closed.")


class Events(Iterator[Event], AsyncIterator[Event]):
    """Arrivals and departures, one after another: the pens present first, then what happens.

    Made by :meth:`Library.events`. Iterates in the thread, or on the asyncio loop, that asks for the next event; no
    code of yours runs anywhere else. Ends when the library is closed, or when no event came within ``timeout``.
    """

    def __init__(self, timeout: Optional[float] = None) -> None:
        self._timeout = timeout
        self._events: Deque[Event] = collections.deque()
        self._changed = threading.Condition()
        self._wakers: Set[Tuple[asyncio.AbstractEventLoop, asyncio.Event]] = set()
        self._ended = False

    def put(self, event: Event) -> None:
        """Adds an event; called by the library's own thread."""
        with self._changed:
            self._events.append(event)
            self._wake()

    def close(self) -> None:
        """Ends the iteration behind the events that are there already."""
        with self._changed:
            self._ended = True
            self._wake()

    def _wake(self) -> None:
        self._changed.notify_all()
        for loop, event in self._wakers:
            try:
                loop.call_soon_threadsafe(event.set)
            except RuntimeError:  # that loop is closed
                pass

    def get(self, timeout: Optional[float] = None) -> Optional[Event]:
        """Returns the next event, or ``None`` when none came within ``timeout`` seconds or the library was closed."""
        ends = None if timeout is None else time.monotonic() + timeout
        with self._changed:
            while not self._events and not self._ended:
                left = _LONGEST_NAP if ends is None else min(_LONGEST_NAP, ends - time.monotonic())
                if left <= 0:
                    return None
                self._changed.wait(left)
            return self._events.popleft() if self._events else None

    def __iter__(self) -> "Events":
        return self

    def __next__(self) -> Event:
        event = self.get(self._timeout)
        if event is None:
            raise StopIteration
        return event

    def __aiter__(self) -> "Events":
        return self

    async def __anext__(self) -> Event:
        waker = (asyncio.get_running_loop(), asyncio.Event())
        with self._changed:
            self._wakers.add(waker)
        try:
            while True:
                with self._changed:
                    waker[1].clear()
                    if self._events:
                        return self._events.popleft()
                    if self._ended:
                        raise StopAsyncIteration
                try:
                    await asyncio.wait_for(waker[1].wait(), self._timeout)
                except asyncio.TimeoutError:
                    raise StopAsyncIteration from None
        finally:
            with self._changed:
                self._wakers.discard(waker)


class Finder:
    """What finding pens has in common in both modes."""

    _shared: _core.Core

    def __init__(self) -> None:
        self._open = False
        self._subscriptions: "weakref.WeakSet[Events]" = weakref.WeakSet()
        self._shared.acquire()
        self._open = True
        self._finalizer = weakref.finalize(self, self._shared.post, self._shared.release)
        self._finalizer.atexit = False  # the core ends by itself then

    def close(self) -> None:
        """Ends the search for pens and every iteration over :meth:`events`. Closing twice does no harm."""
        if self._finalizer.detach() is None:
            return
        self._open = False
        for events in list(self._subscriptions):
            self._shared.unsubscribe(events)
            events.close()
        self._shared.release()

    def __enter__(self: F) -> F:
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], value: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        self.close()

    def _require_open(self, operation: str) -> None:
        if not self._open or self._shared.has_forked:
            raise _closed(operation)

    @property
    def pens(self) -> List[PenInfo]:
        """The pens present, in the order in which they arrived. Right after the start it may still be empty: the
        pen service is asked in the background. :meth:`wait` waits."""
        self._require_open(f"{type(self).__name__}.pens")
        return self._shared.pens()

    def wait(self, serial: Optional[str] = None, timeout: Optional[float] = 10) -> PenInfo:
        """Waits for a pen, any or the one with this serial text, and returns it.

        :param serial: upper or lower case
        :param timeout: seconds; ``None`` for no limit
        :raises TimeoutError: no such pen within that time
        """
        wanted = None if serial is None else serial.upper()
        ends = None if timeout is None else time.monotonic() + timeout
        changed = self._shared.changed
        with changed:
            while True:
                self._require_open(f"{type(self).__name__}.wait")
                for info in self._shared.pens():
                    if wanted is None or info.serial == wanted:
                        return info
                left = _LONGEST_NAP if ends is None else min(_LONGEST_NAP, ends - time.monotonic())
                if left <= 0:
                    raise TimeoutError(f"{'no pen' if serial is None else 'no pen ' + serial} within {timeout} s")
                changed.wait(left)

    def events(self, timeout: Optional[float] = None) -> Events:
        """Iterates over arrivals and departures, with ``for`` or ``async for``: the pens present come first.

        :param timeout: the iteration ends when no event came for so many seconds
        """
        self._require_open(f"{type(self).__name__}.events")
        events = Events(timeout)
        self._subscriptions.add(events)
        self._shared.subscribe(events)
        return events


class Library(Finder):
    """Finds pens::

        with Library() as lib:
            with lib.connect(lib.wait()) as pen:
                pen.fetch().save("pages.zel")

    Several may exist at once; they share what the process has only once. Pens that are connected stay usable after
    :meth:`close`, until they are closed themselves. Every method may be called by any thread.

    After ``os.fork()`` the child's libraries and pens are closed and cannot be opened again.
    """

    _shared = _core.ORDINARY

    def connect(self, info: PenInfo) -> Pen:
        """Connects to a pen that is present. Blocks for up to three exchanges with the pen.

        :raises DeviceNotSupportedError: the pen's USB identity is not among the accepted ones
        :raises CommunicationError: connected, but the pen's service does not answer
        :raises UnexpectedError: the pen's service cannot be reached
        """
        self._require_open("Library.connect")
        return Pen(info, self._shared.connect(info, "zelConnectPen", "zelDisconnectPen", handle_first=False))

    def refresh(self) -> None:
        """Has the pen service announce all its pens once more. Pens that it does not repeat within a second are
        dropped from :attr:`pens`. Waits until no pen is in use."""
        self._require_open("Library.refresh")
        self._shared.refresh()
