# SPDX-License-Identifier: GPL-2.0-or-later
"""The probe's child gone wrong: it hangs, eats memory, crashes, or does what no reader of a file does. Each time the
log tells, the file keeps its row, the run goes on, and nothing is left behind."""
import os
import re
import shutil
import signal

import pytest

from harness.catalogue import ON_SERVER
from harness.daemon import wait_for
from harness.faults import build_library
from harness.sandbox import TREE

MUSIC = "/volume1/music"
PROGRAM, MODULES = "/usr/velu/bin/veluindexd", "/usr/velu/lib/velu"
SIZE = (160, 120)
REPORTED = (r"media\.c \(\d+\) Failed to parse media metadata from file \[PATH\]\.",
            r"index\.c:\d+ Failed to parse media metadata of file \[PATH\]\.")
# The daemon is to see a machine of which half is less than the child eats, and more than it needs.
MEMORY_SHOWN = "MemTotal:         600000 kB\n"


@pytest.fixture(scope="session")
def fault_module(once):
    """The module that misbehaves."""
    def make(folder):
        build_library(TREE / "tests/system/harness/fault_probe.cpp", folder / "veluprobe.so")
    return once("faults", make) / "veluprobe.so"


def shipped_module(binary, name):
    return binary.parents[1] / f"lib/velu/{name}.so"


@pytest.fixture
def installed(make_daemon, binary, tmp_path):
    """Makes a daemon that stands where an installation has it, with the modules that the test gives it."""
    def make(**modules):
        memory = tmp_path / "meminfo"
        memory.write_text(MEMORY_SHOWN)
        daemon = make_daemon(binds=[str(memory), "/proc/meminfo"])
        if ON_SERVER:
            modules["veludb-postgresql"] = shipped_module(binary, "veludb-postgresql")
        for path, source in ((PROGRAM, binary), *((f"{MODULES}/{name}.so", source) for name, source in modules.items())):
            os.makedirs(os.path.dirname(daemon.box.path(path)), exist_ok=True)
            shutil.copy(source, daemon.box.path(path))
        daemon.binary = PROGRAM
        return daemon
    return make


@pytest.fixture
def faulty(installed, binary, fault_module):
    """A running daemon whose probe does what the file's name says once it has read the file."""
    return installed(veluprobe=fault_module, shipped=shipped_module(binary, "veluprobe")).start()


def leftovers(daemon):
    """Every file in the folders that are for passing things."""
    return sorted(os.path.join(folder, name) for top in ("/tmp", "/var/tmp", "/run", "/var/spool", "/var/lib/velu/covers")
                  for folder, _, names in os.walk(daemon.box.path(top)) for name in names)


def read_in_full(row):
    return (row["width"], row["height"]) == SIZE and row["sample_rate"] == 44100


def killed_by(number):
    return rf"metamedia\.c:\d+ Process \d+ killed by signal {number:d}"


FAULTS = {
    "hang": r"metamedia\.c:\d+ Process \d+ exceeded max loop count: 901, sec: 0, nsec: 100000000\.",
    "eat": r"metamedia\.c:\d+ Process \d+ exceeded max memory usage\.",
    "crash": killed_by(signal.SIGSEGV),
    "abort": killed_by(signal.SIGABRT),
    "terminate": killed_by(signal.SIGTERM),
    # What trips the system call filter.
    "socket": killed_by(signal.SIGSYS),
    "execute": killed_by(signal.SIGSYS),
    "write": killed_by(signal.SIGSYS),
    "unlink": killed_by(signal.SIGSYS),
    "kill": killed_by(signal.SIGSYS),
}


@pytest.mark.parametrize("fault", FAULTS)
def test_a_child_that_goes_wrong_costs_its_file_alone(faulty, samples, fault):
    before, bad, after = (f"{MUSIC}/{name}.avi" for name in ("a", f"{fault} 100%s", "z"))
    for path in (before, bad, after):
        faulty.copy(samples / "clip.avi", path)
    faulty.index(f"a:{before}")
    kept = leftovers(faulty)
    lines = faulty.index(f"a:{bad}", f"a:{after}")

    shapes = [FAULTS[fault], *(text.replace("PATH", re.escape(bad)) for text in REPORTED)]
    assert len(lines) == len(shapes) + 1, lines
    for text, shape in zip(lines, shapes):
        assert re.fullmatch(shape, text)
    assert "0x11B00510" in lines[-1] and bad in lines[-1]
    # What the child had found before it went wrong is kept.
    assert all(read_in_full(row) for row in faulty.rows("video"))
    assert faulty.paths("video") == sorted((before, bad, after))
    assert faulty.children() == []
    assert leftovers(faulty) == kept


@pytest.mark.parametrize("number", [signal.SIGKILL, signal.SIGTERM])
def test_a_child_does_not_outlive_the_daemon(faulty, samples, number):
    faulty.copy(samples / "clip.avi", f"{MUSIC}/hang.avi")
    faulty.queue(f"a:{MUSIC}/hang.avi")
    faulty.signal()
    child = wait_for(faulty.children, "the child")[0]
    faulty.signal(number)
    faulty.wait_gone()
    faulty.wait_gone(child)
    assert faulty.exists("/var/run/veluindexd.pid") == (number == signal.SIGKILL)
    faulty.pid = 0


def test_a_daemon_without_its_module_says_so_once(installed, samples):
    daemon = installed().start()
    for name in ("a.avi", "b.avi", "c.wma"):
        daemon.copy(samples / "clip.avi", f"{MUSIC}/{name}")
    lines = daemon.index(f"A:{MUSIC}")
    assert sum("Cannot load the media probe: " in line for line in lines) == 1
    assert daemon.paths("video") == [f"{MUSIC}/a.avi", f"{MUSIC}/b.avi"] and daemon.paths("music") == [f"{MUSIC}/c.wma"]
    assert [row["width"] for row in daemon.rows("video")] == [0, 0]


def test_a_daemon_that_has_probed_nothing_has_not_loaded_the_module(installed, binary, samples):
    daemon = installed(veluprobe=shipped_module(binary, "veluprobe")).start()
    daemon.copy(samples / "plain.mp3", f"{MUSIC}/a.mp3")
    daemon.index(f"a:{MUSIC}/a.mp3")
    assert "veluprobe" not in daemon.box.ask("proc", pid=daemon.pid, name="maps")["text"]
    daemon.copy(samples / "clip.avi", f"{MUSIC}/a.avi")
    daemon.index(f"a:{MUSIC}/a.avi")
    assert "veluprobe" in daemon.box.ask("proc", pid=daemon.pid, name="maps")["text"]
    assert read_in_full(daemon.rows("video")[0])
