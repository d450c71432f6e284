"""Whatever a program forgets: the native library ends last, nothing is left, nothing hangs."""

import gc
import os
import subprocess
import sys
import textwrap
import time

import pytest
from conftest import SERIAL

import zel
from zel import Library


def run(code, expected=0):
    """Runs a program of its own and returns what it printed."""
    prelude = "import zel, time, threading, os, sys, gc\nfrom zel import Library\n"
    done = subprocess.run(
        [sys.executable, "-X", "faulthandler", "-W", "error", "-c", prelude + textwrap.dedent(code)],
        capture_output=True,
        text=True,
        timeout=60,
    )
    assert done.returncode == expected, done.stderr
    assert done.stderr == ""
    return done.stdout


def test_a_pen_outlives_its_library(library):
    pen = library.connect(library.wait(SERIAL))
    library.close()
    assert pen.battery.value0 == 87
    pen.close()


def test_a_forgotten_pen_is_disconnected(library):
    pen = library.connect(library.wait(SERIAL))
    connections = library._shared._connections
    assert len(connections) == 1
    del pen
    gc.collect()
    ends = time.monotonic() + 10
    while connections and time.monotonic() < ends:
        time.sleep(0.01)
    assert not connections


def test_a_forgotten_library_with_a_forgotten_pen_ends(pensim):
    library = Library()
    pen = library.connect(library.wait(SERIAL))
    library.me, pen.me = pen, library  # a cycle, which only the collector ends
    del library, pen
    gc.collect()  # the fixture then sees that everything is gone


def test_ten_times_over(pensim):
    for _ in range(10):
        with Library() as library, library.connect(library.wait(SERIAL)) as pen:
            assert pen.battery
            gc.collect()


def test_a_program_that_ends_while_connected_ends_at_once(pensim):
    began = time.monotonic()
    assert run(f"lib = Library(); pen = lib.connect(lib.wait('{SERIAL}')); print(pen.battery.value0)") == "87\n"
    assert time.monotonic() - began < 5


def test_a_program_that_ends_in_an_exception_says_only_that(pensim):
    code = f"""
        sys.excepthook = lambda kind, value, trace: print(kind.__name__)
        lib = Library(); pen = lib.connect(lib.wait('{SERIAL}'))
        1 / 0
        """
    assert run(code, expected=1) == "ZeroDivisionError\n"


def test_a_program_ends_while_a_thread_waits_for_a_pen_that_never_answers(pensim):
    pensim.fault(SERIAL, instruction="R1GL", occurrence=2, delay_ms=3000)
    code = f"""
        lib = Library(); pen = lib.connect(lib.wait('{SERIAL}'))
        threading.Thread(target=lambda: pen.locked, daemon=True).start()
        time.sleep(0.3)
        print('over')
        """
    began = time.monotonic()
    assert run(code) == "over\n"
    assert time.monotonic() - began < 3


def test_a_program_ends_while_an_iteration_runs_in_a_thread(pensim):
    code = """
        lib = Library()
        threading.Thread(target=lambda: list(lib.events()), daemon=True).start()
        lib.wait(); print('over')
        """
    assert run(code) == "over\n"


def test_the_native_library_ends_before_python_does(pensim):
    code = f"""
        from zel import _native
        disconnect, end = _native.disconnect, _native.end
        _native.disconnect = lambda name, handle: (print(name), disconnect(name, handle))
        _native.end = lambda name: (print(name), end(name))
        lib = Library(); pen = lib.connect(lib.wait('{SERIAL}'))
        """
    assert run(code) == "zelDisconnectPen\nzelExit\n"


@pytest.mark.skipif(not sys.platform.startswith("linux"), reason="limits descriptors")
def test_a_start_that_fails_for_want_of_descriptors_can_be_repeated(pensim):
    code = f"""
        import resource
        from zel import _native
        _native.loaded_library()
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (0, hard))
        try:
            Library()
        except zel.ZelError as failure:
            print('failed')
        resource.setrlimit(resource.RLIMIT_NOFILE, (soft, hard))
        with Library() as lib:
            print(lib.wait('{SERIAL}'))
        """
    assert run(code) == f"failed\n{SERIAL}\n"


@pytest.mark.skipif(not sys.platform.startswith("linux"), reason="asks the C library for absurd stacks")
def test_a_start_that_fails_for_want_of_a_thread_can_be_repeated(pensim):
    code = f"""
        import ctypes
        from zel import _native
        _native.loaded_library()
        libc = ctypes.CDLL(None)
        usual, absurd = ctypes.create_string_buffer(256), ctypes.create_string_buffer(256)
        libc.pthread_getattr_default_np(usual)
        libc.pthread_attr_init(absurd)
        libc.pthread_attr_setstacksize(absurd, ctypes.c_size_t(1 << 47))
        libc.pthread_setattr_default_np(absurd)
        try:
            Library()
        except zel.ZelError as failure:
            print(failure.operation)
        libc.pthread_setattr_default_np(usual)
        with Library() as lib:
            print(lib.wait('{SERIAL}'))
        """
    assert run(code) == f"zelInitialize\n{SERIAL}\n"


@pytest.mark.skipif(not sys.platform.startswith("linux"), reason="reads /proc")
def test_retrievals_leave_no_memory_behind(pensim):
    code = f"""
        def resident():
            with open('/proc/self/statm') as file:
                return int(file.read().split()[1]) * 4096
        with Library() as lib, lib.connect(lib.wait('{SERIAL}')) as pen:
            sizes = []
            for _ in range(60):
                assert len(pen.fetch().data) > 1200000
                sizes.append(resident())
            print(sizes[-1] - sizes[9] < 20000000)
        """
    assert run(code) == "True\n"


def test_page_data_outlives_everything(pensim):
    with Library() as library, library.connect(library.wait(SERIAL)) as pen:
        strokes = pen.fetch()[2].strokes
    gc.collect()
    assert len(bytes(strokes)) == 200


def test_pens_that_come_and_go_while_the_collector_runs(pensim, library):
    gc.set_threshold(1)
    try:
        library.wait(SERIAL)
        for _ in range(30):
            pensim.command(f"undock {SERIAL}")
            pensim.command(f"dock {SERIAL}")
            gc.collect()
        events = list(library.events(timeout=0.5))
        assert SERIAL in [event.pen.serial for event in events]
    finally:
        gc.set_threshold(700, 10, 10)


@pytest.mark.skipif(not hasattr(os, "fork"), reason="this system has no fork")
def test_after_a_fork_the_childs_library_is_closed_and_the_parents_goes_on(pensim):
    code = f"""
        lib = Library(); pen = lib.connect(lib.wait('{SERIAL}'))
        child = os.fork()
        if child == 0:
            answers = [pen.closed]
            for attempt in (lambda: pen.battery, lambda: lib.pens, Library):
                try:
                    attempt()
                except zel.NotInitializedError:
                    answers.append(True)
            pen.close(); lib.close(); gc.collect()
            os._exit(0 if answers == [True] * 4 else 1)
        assert os.waitpid(child, 0)[1] == 0
        print(pen.battery.value0)
        """
    assert run(code) == "87\n"


@pytest.mark.skipif(not hasattr(os, "fork"), reason="this system has no fork")
def test_a_child_that_leaves_by_the_interpreters_end_ends(pensim):
    code = f"""
        lib = Library(); pen = lib.connect(lib.wait('{SERIAL}'))
        child = os.fork()
        if child != 0:
            assert os.waitpid(child, 0)[1] == 0
            print(pen.battery.value0)
        """
    assert run(code) == "87\n"


def test_another_user_of_the_native_library_is_reported(pensim):
    code = """
        from zel import _native
        arrived = _native.RecordCallback(lambda record, context: _native.free_record(record))
        _native.call('zelInitialize', arrived, arrived, None)
        try:
            Library()
        except zel.AlreadyInitializedError as failure:
            print(failure.code)
        try:
            _native.call('zelInitialize', arrived, arrived, None)
        except zel.AlreadyInitializedError:
            print('left alone')
        _native.call('zelExit')
        """
    assert run(code) == "6\nleft alone\n"


def test_a_library_that_cannot_be_found_says_what_was_tried():
    code = """
        os.environ['ZEL_LIBRARY'] = '/nowhere/libzel.so'
        try:
            Library()
        except ImportError as failure:
            print(failure)
        """
    assert run(code).startswith("The zel library was not found. Tried:\n  /nowhere/libzel.so: ")
