"""A firmware upgrade, from the wait for the pen to the image that it was given."""

import threading
import time

import pytest

import zel
from zel import Library
from zel.firmware import State, Upgrades
from zel.testing import Pensim

SERIAL = "ABZ-ASW-Q4M-D3"
IMAGE = bytes(range(256)) * 40 + b"end"


@pytest.fixture
def upgrade_pen(pensim):
    with Upgrades() as upgrades, upgrades.connect(upgrades.wait(SERIAL)) as pen:
        yield pen


def test_a_whole_image_arrives_in_one_call(pensim, tmp_path):
    reports = []
    info = zel.firmware.download(IMAGE, serial=SERIAL, progress=lambda sent, total: reports.append((sent, total)))
    assert info.serial == SERIAL
    assert (info.vendor_id, info.product_id) == (None, None)
    assert reports[0] == (0, len(IMAGE)) and reports[-1] == (len(IMAGE), len(IMAGE))
    pensim.command(f"image {SERIAL} {tmp_path / 'image'}")
    assert (tmp_path / "image").read_bytes() == IMAGE


def test_no_pen_in_this_mode_is_a_timeout():
    with Pensim({"pens": []}), pytest.raises(TimeoutError):
        zel.firmware.download(IMAGE, timeout=0.2)


def test_the_pen_tells_its_state_status_and_descriptor(upgrade_pen):
    assert upgrade_pen.state == State.IDLE
    status = upgrade_pen.status
    assert (status.status, status.state, status.failed, status.text) == (0, State.IDLE, False, "no error")
    descriptor = upgrade_pen.descriptor
    assert descriptor.can_download
    assert descriptor.transfer_size > 0


def test_an_exception_in_the_progress_report_gives_the_image_up(upgrade_pen):
    def report(sent, total):
        if sent > 2000:
            raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        upgrade_pen.download(IMAGE, report)
    assert upgrade_pen.state == State.IDLE
    upgrade_pen.download(IMAGE)


@pytest.mark.pensim([{"id": "0x1", "mode": "firmware-upgrade", "dfu": {"block_ms": 3600000}}])
def test_a_stop_ends_a_pause_that_the_pen_asked_for(pensim):
    stop = threading.Event()
    with Upgrades() as upgrades, upgrades.connect(upgrades.wait()) as pen:
        threading.Timer(0.5, stop.set).start()
        with pytest.raises(zel.firmware.DownloadStopped, match="stopped after 0 of 10243 bytes"):
            pen.download(IMAGE, stop=stop)
        assert pen.state == State.IDLE


class HastyEvent(threading.Event):
    """Its wait ends early, as the system's may."""

    def wait(self, timeout=None):
        return super().wait(timeout / 2)


@pytest.mark.pensim([{"id": "0x1", "mode": "firmware-upgrade", "dfu": {"block_ms": 20}}])
def test_a_pen_has_the_time_that_it_asks_for_though_a_wait_ends_early(pensim):
    zel.firmware.download(IMAGE, stop=HastyEvent())


def test_a_stop_that_is_set_already_sends_nothing(upgrade_pen):
    stop = threading.Event()
    stop.set()
    with pytest.raises(zel.firmware.DownloadStopped):
        upgrade_pen.download(IMAGE, stop=stop)
    assert upgrade_pen.state == State.IDLE


@pytest.mark.pensim([{"id": "0x1", "mode": "firmware-upgrade", "dfu": {"manifest_ms": 3600000}}])
def test_a_complete_image_is_not_given_up(pensim):
    stop = threading.Event()
    with Upgrades() as upgrades, upgrades.connect(upgrades.wait()) as pen:
        threading.Timer(1, stop.set).start()
        with pytest.raises(zel.firmware.DownloadStopped, match="stopped after 10243 of 10243 bytes"):
            pen.download(IMAGE, stop=stop)
        asked = "".join(pensim.command("state 1"))
        assert "V003" in asked and "V007" not in asked  # an abort


@pytest.mark.pensim([{"id": "0x1", "mode": "firmware-upgrade", "dfu": {"fail_at_block": 2}}])
def test_a_fault_of_the_pen_is_told_in_words_and_cleared_by_the_next_try(pensim):
    with Upgrades() as upgrades, upgrades.connect(upgrades.wait()) as pen:
        with pytest.raises(zel.UnexpectedError, match=r"The pen stopped after \d+ bytes: .*State.ERROR"):
            pen.download(IMAGE)
        assert pen.status.failed
        with pytest.raises(zel.UnexpectedError):
            pen.download(IMAGE)


@pytest.mark.pensim([{"id": "0x1", "mode": "firmware-upgrade",
                      "dfu": {"manifestation_tolerant": False, "manifest_ms": 300}}])
def test_a_pen_has_the_time_that_it_asks_for_before_it_is_reset(pensim):
    zel.firmware.download(IMAGE)
    with Library() as library:
        assert library.wait(timeout=10).pen_id == 1  # it runs its new firmware


def status_record(status, state):
    """An answer to the question for the status (V005): no pause, no text."""
    return {"instruction": "V005", "value": {"binary": f"{status:02x}000000{state:02x}00"}}


@pytest.mark.parametrize(
    ("status", "state", "occurrence", "said"),
    [
        (3, State.DOWNLOAD_IDLE, 3, "the memory cannot be written"),  # after the first block
        (0, State.ERROR, 3, "no error"),
        (0, State.IDLE, 3, "no error"),
        (0, State.MANIFEST, None, "not ready for an image"),
    ],
)
def test_a_pen_that_reports_a_fault_or_another_state_has_failed(pensim, upgrade_pen, status, state, occurrence, said):
    fault = status_record(status, state)
    pensim.fault(SERIAL, **fault, **({"occurrence": occurrence} if occurrence else {}))
    with pytest.raises(zel.UnexpectedError, match=said):
        upgrade_pen.download(IMAGE)


def test_a_fault_and_the_error_state_each_are_a_failure():
    assert not zel.firmware.Status(0, 0.0, State.DOWNLOAD_IDLE, 0).failed
    assert zel.firmware.Status(3, 0.0, State.DOWNLOAD_IDLE, 0).failed
    assert zel.firmware.Status(0, 0.0, State.ERROR, 0).failed


@pytest.mark.parametrize("state", [State.DOWNLOAD_SYNC, State.DOWNLOAD_BUSY, State.MANIFEST_SYNC])
def test_a_pen_that_is_busy_is_asked_again(pensim, upgrade_pen, state):
    pensim.fault(SERIAL, **status_record(0, state), occurrence=3)
    upgrade_pen.download(IMAGE)


def test_a_pen_that_gives_an_image_is_told_to_stop(pensim, upgrade_pen):
    pensim.fault(SERIAL, **status_record(0, State.UPLOAD_IDLE), occurrence=1)
    upgrade_pen.download(IMAGE)
    assert "V007" in "".join(pensim.command(f"state {SERIAL}"))  # an abort


def complete(pensim):
    """A progress report: once the pen has everything, it waits for a reset."""

    def report(sent, total):
        if sent == total:
            pensim.fault(SERIAL, **status_record(0, State.MANIFEST_WAIT_RESET))

    return report


def test_a_pen_that_waits_for_a_reset_gets_it(pensim, upgrade_pen):
    upgrade_pen.download(IMAGE, complete(pensim))
    assert "V009" in "".join(pensim.command(f"state {SERIAL}"))


def test_a_connection_lost_at_the_reset_is_no_failure(pensim, upgrade_pen):
    pensim.fault(SERIAL, instruction="V009", cut_after=0)
    upgrade_pen.download(IMAGE, complete(pensim))
    with pytest.raises(zel.CommunicationError):
        upgrade_pen.state  # noqa: B018


def test_a_refused_reset_is_a_failure(pensim, upgrade_pen):
    pensim.fault(SERIAL, instruction="V009", status=-1)
    with pytest.raises(zel.UnexpectedError, match="zelDfuResetPort"):
        upgrade_pen.download(IMAGE, complete(pensim))


@pytest.mark.parametrize(
    ("record", "detach", "size"),
    [
        ("05e80340001001", 1.0, 64),  # attributes, detach timeout 1000 ms, 64 bytes, version 1.1
        ("07e80340001001", 1.0, 64),  # its attributes are no length
        ("05210040001001", 0.033, 64),  # its timeout is no type
        ("07210501000010", 0.001, 4096),  # length and type in front, no version behind
    ],
)
def test_a_descriptor_has_its_length_and_type_or_not(pensim, upgrade_pen, record, detach, size):
    pensim.fault(SERIAL, instruction="V002", value={"binary": record})
    descriptor = upgrade_pen.descriptor
    assert (descriptor.detach_timeout, descriptor.transfer_size) == (detach, size)


def test_single_requests(upgrade_pen):
    upgrade_pen.send_block(0, b"abc")
    status = upgrade_pen.status
    while status.state != State.DOWNLOAD_IDLE:
        time.sleep(status.poll_timeout)  # a pen that is asked too early takes that for a fault
        status = upgrade_pen.status
    upgrade_pen.abort()
    assert upgrade_pen.state == State.IDLE
    with pytest.raises(zel.ZelError):
        upgrade_pen.clear_status()  # there is no error to clear
    upgrade_pen.reset_port()


def test_a_detached_pen_cannot_be_detached_again(upgrade_pen):
    for detach in (upgrade_pen.detach, upgrade_pen.detach_boot):
        with pytest.raises(zel.ZelError):
            detach()


def test_a_block_is_no_longer_than_its_length_can_say(upgrade_pen):
    with pytest.raises(ValueError):
        upgrade_pen.send_block(0, bytes(65536))


def test_both_modes_at_once(pensim):
    with Library() as library, Upgrades() as upgrades:
        assert upgrades.wait().serial == SERIAL
        assert library.wait("AKZ-AQ7-APS-AC")
        assert SERIAL not in [pen.serial for pen in library.pens]
