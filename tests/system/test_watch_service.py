# SPDX-License-Identifier: GPL-2.0-or-later
"""The watcher's systemd unit: its exposure, and the watcher's work under its restrictions."""
import os
import re

import pytest

from harness import service
from harness.sandbox import TREE
from harness.watcher import PROGRAM, Watcher

UNIT = TREE / "packaging/veluwatchd.service.in"
EXPOSURE_LIMIT = 3.0
TRACE = "/tmp/trace"
OWNER = 1000


@pytest.fixture
def installed(tmp_path, binary):
    """The unit's path as it lies in /etc/systemd/system, for the binary under test."""
    unit = tmp_path / f"{PROGRAM}.service"
    unit.write_text(UNIT.read_text().replace(f"@CMAKE_INSTALL_FULL_SBINDIR@/{PROGRAM}", str(binary.with_name(PROGRAM))))
    return unit


def test_the_unit_is_a_valid_one(installed):
    assert service.verify(installed) == (0, [])


def test_the_exposure_is_low(installed):
    assert service.exposure(installed) < EXPOSURE_LIMIT


@pytest.mark.sqlite
@pytest.mark.tracing
def test_the_watcher_does_its_work_under_the_restrictions(make_daemon):
    """It sees what users keep to themselves."""
    daemon = make_daemon()
    for folder in ("/volume1/music/o", "/volume1/photo/o"):
        os.makedirs(daemon.box.path(folder), 0o700)
        os.chown(daemon.box.path(folder), OWNER, OWNER)
    daemon.start()
    unit = service.settings(UNIT.read_text())
    watcher = Watcher(daemon, wrapper=service.wrapper(unit, TRACE))
    daemon.write("/volume1/music/o/a.pcm")
    os.rename(daemon.box.path("/volume1/music/o/a.pcm"), daemon.box.path("/volume1/music/o/b.pcm"))
    watcher.settle()
    assert daemon.paths("music") == ["/volume1/music/o/b.pcm"]
    watcher.stop()
    assert not [line for line in daemon.log.texts() if "denied" in line or "not permitted" in line or "Read-only" in line]
    trace = daemon.read(TRACE).decode("latin-1")
    calls = service.called(trace)
    assert {"inotify_add_watch", "pidfd_send_signal", "flock"} <= calls
    assert calls <= service.allowed_calls(unit)
    assert set(re.findall(r" socket\((\w+)", trace)) <= {"AF_UNIX"}
