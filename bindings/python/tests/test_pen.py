"""Everything that a connected pen can do, and how it fails."""

import datetime
import threading
import time

import pytest
from conftest import LOCKED, PASSWORD, SERIAL

import zel
from zel import Library

UTC = datetime.timezone.utc


def test_identity(pen):
    assert pen.serial == SERIAL == pen.info.serial
    assert pen.product_name == "Notebook pen"
    assert pen.revisions == zel.Revisions("2.10", "R2_3D", "3.4", "5.2")
    assert (pen.info.vendor_id, pen.info.product_id) == (0x1209, 1)
    assert str(pen.info) == SERIAL
    assert repr(pen) == f"<zel.Pen {SERIAL}>"


def test_settings_are_read_as_they_were_written(pen):
    moment = datetime.datetime(2026, 5, 4, 3, 2, 1, 500000, tzinfo=UTC)
    pen.time = moment
    assert datetime.timedelta(0) <= pen.time - moment < datetime.timedelta(seconds=30)
    assert pen.system_time.tzinfo is UTC
    for value in (False, True):
        pen.bluetooth_enabled = value
        pen.bluetooth_discoverable = value
        assert (pen.bluetooth_enabled, pen.bluetooth_discoverable) == (value, value)
    pen.bluetooth_pin = "471147"
    assert pen.bluetooth_pin == "471147"
    pen.auto_power_off = 65535
    assert pen.auto_power_off == 65535
    pen.wake_up_time = 86400
    assert pen.wake_up_time == 86400
    pen.user_data = ("Grüße", b"\xff", "")
    assert pen.user_data == zel.UserData("Grüße", "\udcff", "")


def test_a_time_without_a_zone_is_local_time(pen):
    pen.time = datetime.datetime(2026, 5, 4)
    assert abs(pen.time - datetime.datetime(2026, 5, 4).astimezone()) < datetime.timedelta(seconds=30)


def test_a_clock_beyond_every_calendar_is_an_error_and_no_crash(pensim, pen):
    pensim.fault(SERIAL, instruction="R1GP", argument=0x2021, value={"long64": "0xffffffffffffffff"})
    with pytest.raises(zel.UnexpectedError, match="which is no date"):
        pen.time  # noqa: B018


@pytest.mark.parametrize(
    "change",
    [
        lambda pen: setattr(pen, "auto_power_off", 65536),
        lambda pen: setattr(pen, "auto_power_off", -1),
        lambda pen: setattr(pen, "wake_up_time", 1 << 32),
        lambda pen: setattr(pen, "time", datetime.datetime(1969, 12, 31, tzinfo=UTC)),
        lambda pen: setattr(pen, "user_data", ("a", "b\0", "c")),
        lambda pen: setattr(pen, "user_data", ("a" * 65535, "", "")),
        lambda pen: setattr(pen, "user_data", "abc"),
        lambda pen: pen.unlock("a\0b"),
        lambda pen: pen.install_signing_key(1, [b""] * 7),
        lambda pen: pen.install_signing_key(65536, [b""] * 8),
    ],
)
def test_arguments_that_c_would_cut_are_refused(pen, change):
    with pytest.raises(ValueError):
        change(pen)
    assert pen.locked is False


def test_a_text_of_the_greatest_length_arrives_whole(pen):
    pen.user_data = ("a" * 65534, "", "")
    assert pen.user_data.a == "a" * 65534


def test_values_out_of_range_have_a_type_of_their_own(pen):
    for wrong in (59, 86401):
        with pytest.raises(zel.ValueOutOfRangeError) as failure:
            pen.wake_up_time = wrong
        assert (failure.value.code, failure.value.name) == (8, "ZEL_ERR_VALUE_OUT_OF_RANGE")
        assert failure.value.operation == "zelSetWakeUpTime"
    with pytest.raises(zel.ValueOutOfRangeError):
        pen.bluetooth_pin = "12a4"


def test_status(pen):
    assert pen.battery == zel.Battery(87, 3912, 0, 24, 65535)
    assert 0 < pen.memory.used < pen.memory.total
    assert pen.secure_delete in (True, False)


def test_password_lock_and_hint(pen):
    assert pen.locked is False
    pen.set_password("", "sesame", "open")
    assert pen.password_hint == "open"
    with pytest.raises(zel.InvalidArgumentError):
        pen.remove_password("wrong")
    pen.remove_password("sesame")
    with pytest.raises(zel.InvalidArgumentError):
        pen.set_password("", "x" * 32)


def test_a_locked_pen_says_so_and_opens_with_its_password(library):
    with library.connect(library.wait(LOCKED)) as pen:
        assert pen.locked
        with pytest.raises(zel.PenLockedError) as failure:
            pen.battery  # noqa: B018
        assert str(failure.value) == (
            "zelGetBatteryStatus: The pen is locked by its password. (2, ZEL_ERR_PEN_LOCKED)"
        )
        with pytest.raises(zel.InvalidArgumentError):
            pen.unlock("wrong")
        pen.unlock(PASSWORD)
        assert not pen.locked
        assert pen.battery


def test_certificates_keys_and_encrypted_data(pen):
    pen.install_certificate_authenticator(b"\0\1", b"\2")
    assert pen.has_certificate_authenticator
    with pytest.raises(zel.InvalidArgumentError):
        pen.install_certificate_authenticator(b"1", b"")
    pen.install_signing_key(7, [b"", b"\0", b"22", b"333", b"", b"", b"", b"8"])
    assert pen.has_signing_key
    pen.clear_signing_key()
    assert not pen.has_signing_key
    pen.install_certificate(bytes(range(16)))
    assert pen.certificate_info == zel.CertificateInfo(1, 0x0001020304050607, 0x08090A0B0C0D0E0F)
    pen.clear_certificate()
    with pytest.raises(zel.UnexpectedError):
        pen.certificate_info  # noqa: B018
    assert pen.has_encrypted_data
    assert len(pen.encrypted_data()) > 0
    assert pen.encrypted_data(2**64 - 1) == pen.encrypted_data()
    with pytest.raises(ValueError):
        pen.encrypted_data(2**64)
    pen.clear_encrypted_data()
    assert not pen.has_encrypted_data
    with pytest.raises(zel.InvalidArgumentError):
        pen.encrypted_data()


def test_old_software_supports_no_certificates(library):
    with library.connect(library.wait("AAB-AAA-AAB-D7")) as pen:
        with pytest.raises(zel.NotSupportedError):
            pen.has_signing_key  # noqa: B018


def test_pages_are_listed_and_removed(pen):
    assert pen.pages.addresses == ("1.2.3.4", "1.2.3.5", "1.2.3.6", "11.2.3.45", "70.300.1.0", "3.70.300.1.0")
    pen.remove_page("1.2.3.*")
    assert pen.pages.addresses == ("11.2.3.45", "70.300.1.0", "3.70.300.1.0")
    pen.remove_all_strokes()
    assert pen.pages == zel.PageList((), 0)
    assert len(pen.fetch()) == 0


STYLO = ["1.2.3.100", "1.2.3.101"]


@pytest.mark.parametrize(
    "asked",
    [["1.2.3.4"], ["11.2.3.45"], ["70.300.1.0", "3.70.300.1.0"], ["3.70.300.1.0"], ["11.2.3.45", "1.2.3.4"]],
)
def test_exactly_the_pages_that_are_asked_for_come(pen, asked):
    data = pen.fetch(asked)
    assert sorted(page.address for page in data) == sorted(STYLO + asked)
    whole = {page.address: bytes(page.strokes) for page in pen.fetch()}
    assert all(bytes(page.strokes) == whole[page.address] for page in data)


def test_asking_twice_or_in_the_long_form_fetches_once(pen):
    assert [page.address for page in pen.fetch(["1.2.3.4", "0.1.2.3.4", "1.2.3.4"])] == STYLO + ["1.2.3.4"]


@pytest.mark.parametrize("asked", [["9.9.9.9"], ["1.2.3"], ["1.2.3.*"], ["01.2.3.4"], ["4096.2.3.4"], ["1.2.3.4;"]])
def test_pages_that_cannot_be_fetched_are_named(pen, asked):
    with pytest.raises(ValueError, match=asked[0].replace("*", r"\*")):
        pen.fetch(asked)


def test_one_text_in_place_of_addresses_is_a_mistake(pen):
    with pytest.raises(TypeError):
        pen.fetch("1.2.3.4")


def test_no_addresses_are_no_pages(pen):
    with pytest.raises(zel.InvalidArgumentError):
        pen.fetch([])


def test_an_exception_in_a_progress_report_is_raised_when_the_retrieval_has_ended(pen):
    calls = []

    def report(done, total):
        calls.append(done)
        raise KeyError("mine")

    with pytest.raises(KeyError, match="mine"):
        pen.fetch(progress=report)
    assert calls == [0]
    assert len(pen.fetch()) == 8


def test_a_progress_report_must_not_use_its_pen(pen):
    with pytest.raises(RuntimeError, match="in use by the call"):
        pen.fetch(progress=lambda done, total: pen.battery)
    with pytest.raises(RuntimeError, match="cannot be closed"):
        pen.fetch(progress=lambda done, total: pen.close())
    assert pen.battery


def test_a_busy_pen_says_so(pensim, pen):
    pensim.command(f"busy {SERIAL} on")
    with pytest.raises(zel.SyncBusyError):
        pen.fetch()
    pensim.command(f"busy {SERIAL} off")
    assert len(pen.fetch()) == 8


def test_a_pen_that_leaves_during_a_fetch_is_an_error_and_can_be_connected_anew(pensim, library, pen):
    def leave(done, total):
        if done == 0:
            pensim.command(f"undock {SERIAL}")

    with pytest.raises(zel.ZelError):
        pen.fetch(progress=leave)
    with pytest.raises(zel.CommunicationError):
        pen.battery  # noqa: B018
    while pen.info in library.pens:
        time.sleep(0.01)
    pensim.command(f"dock {SERIAL}")
    with library.connect(library.wait(SERIAL)) as again:
        assert len(again.fetch()) == 8


@pytest.mark.parametrize("damage", [{"bytes": "ff"}, {"cut_after": 3}, {"ending": "reset", "bytes": ""}])
def test_a_damaged_answer_is_an_error(pensim, pen, damage):
    pensim.fault(SERIAL, instruction="R1GP", **damage)
    with pytest.raises(zel.ZelError) as failure:
        pen.battery  # noqa: B018
    assert failure.value.code in (3, 11)


def test_a_connection_that_fails_leaves_nothing(pensim, library):
    info = library.wait(SERIAL)
    pensim.command(f"undock {SERIAL}")
    time.sleep(0.2)
    with pytest.raises(zel.ZelError):
        library.connect(info)
    assert library._shared._users == 1


@pytest.mark.pensim([{"id": "0x1", "software_version": 0}])
def test_a_connection_that_is_lost_while_it_is_made_leaves_nothing(pensim, library):
    info = library.wait()
    pensim.fault("1", instruction="R1GP", cut_after=2, occurrence=1)
    with pytest.raises(zel.CommunicationError):
        library.connect(info)  # the descriptor would be missed at the end of the test
    with library.connect(library.wait()) as pen:
        assert pen.locked is False


def test_a_foreign_usb_device_is_refused():
    with zel.testing.Pensim({"pens": [{"id": "0x1", "vendor_id": 1, "product_id": 1}]}), Library() as library:
        with pytest.raises(zel.DeviceNotSupportedError):
            library.connect(library.wait())


def test_two_threads_take_turns_on_one_pen(pen):
    failures = []

    def ask():
        try:
            for _ in range(200):
                assert pen.battery.value0 == 87
        except BaseException as failure:
            failures.append(failure)

    threads = [threading.Thread(target=ask) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []


def test_other_threads_run_while_a_pen_is_waited_for(pensim, pen):
    pensim.fault(SERIAL, instruction="R1GL", delay_ms=1000)
    thread = threading.Thread(target=lambda: pen.locked)
    thread.start()
    turns = 0
    while thread.is_alive():
        time.sleep(0.01)
        turns += 1
    assert turns > 20


def test_closing_waits_for_a_call_in_another_thread(pensim, pen):
    pensim.fault(SERIAL, instruction="R1GL", delay_ms=500)
    answers = []
    thread = threading.Thread(target=lambda: answers.append(pen.locked))
    thread.start()
    time.sleep(0.1)
    pen.close()
    thread.join()
    assert answers == [False]


def test_a_closed_pen_says_so(pen):
    pen.close()
    pen.close()
    assert pen.closed
    with pytest.raises(zel.NotInitializedError, match="The pen is closed"):
        pen.battery  # noqa: B018
