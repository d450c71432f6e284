"""A firmware upgrade, from the wait for the pen to the image that it was given."""

import threading
import time

import pytest

import zel
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
    with zel.Library() as library:
        assert library.wait(timeout=10).pen_id == 1  # it runs its new firmware


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
    with zel.Library() as library, Upgrades() as upgrades:
        assert upgrades.wait().serial == SERIAL
        assert library.wait("AKZ-AQ7-APS-AC")
        assert SERIAL not in [pen.serial for pen in library.pens]
