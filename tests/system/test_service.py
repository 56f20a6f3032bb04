# SPDX-License-Identifier: GPL-2.0-or-later
"""The systemd unit: its exposure, and the daemon's work under its restrictions."""
import os
import re

import pytest

from harness import service
from harness.photo import attribute_file
from harness.sandbox import TREE

UNIT = TREE / "packaging/veluindexd.service.in"
USER = TREE / "packaging/veluindexd.user.conf"
EXPOSURE_LIMIT = 3.0

SHARES = "/volume1"
OWNER = 1000  # of the files in the shares
SERVER = 1001  # of the servers that are told of a run
DAEMON = 990  # of the daemon, where it is not root
TRACE = "/tmp/trace"


@pytest.fixture(params=["root", "user"])
def texts(request):
    """The unit, and with it the drop-in for a user of its own."""
    return [UNIT.read_text(), *([USER.read_text()] if request.param == "user" else [])]


@pytest.fixture
def installed(texts, tmp_path, binary):
    """The unit's path among files as they lie in /etc/systemd/system, for the binary under test."""
    unit = tmp_path / "veluindexd.service"
    unit.write_text(texts[0].replace("@CMAKE_INSTALL_FULL_SBINDIR@/veluindexd", str(binary)))
    (tmp_path / "veluindexd.service.d").mkdir()
    for text in texts[1:]:
        (tmp_path / "veluindexd.service.d/user.conf").write_text(text)
    return unit


def test_the_unit_is_a_valid_one(installed):
    assert service.verify(installed) == (0, [])


def test_the_exposure_is_low(installed):
    assert service.exposure(installed) < EXPOSURE_LIMIT


# Ends with 0 when it can read how much memory a child of its own takes that, like the probe, nobody may look into.
WATCHDOG = """
import ctypes, os, signal
ready, told = os.pipe()
child = os.fork()
if child == 0:
    ctypes.CDLL(None).prctl(4, 0)  # PR_SET_DUMPABLE
    os.write(told, b"1")
    signal.pause()
os.read(ready, 1)
try:
    with open(f"/proc/{child}/status") as status:
        assert "VmRSS:" in status.read()
finally:
    os.kill(child, signal.SIGKILL)
"""


def test_the_watchdog_sees_the_memory_of_the_probe(texts, box):
    unit = service.settings(*texts)
    uid = DAEMON if "User" in unit else 0
    os.chown(box.box.path(box.write(TRACE)), uid, uid)
    done = box.box.ask("run", arguments=[*service.wrapper(unit, TRACE, uid), "/usr/bin/python3", "-c", WATCHDOG], environment={},
                       timeout=60)
    assert done["status"] == 0, box.read(f"{TRACE}.words")


# Starts a reader as the daemon does, and prints what it keeps.
READER = """
import os, socket, sys
here, there = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
child = os.fork()
if child == 0:
    given = [there.fileno(), *(os.memfd_create("slot") for _ in range(4))]
    for place, descriptor in enumerate([os.dup2(one, 20 + i) for i, one in enumerate(given)], 3):
        os.dup2(descriptor, place)
    os.execl(sys.argv[1], sys.argv[1])
there.close()
assert len(here.recv(64)) == 12
with open(f"/proc/{child}/status") as status:
    sys.stdout.write(status.read())
here.close()
assert os.waitpid(child, 0)[1] == 0
"""


@pytest.mark.tracing
def test_a_reader_is_confined_under_the_restrictions(texts, box, hostile_reader):
    unit = service.settings(*texts)
    uid = DAEMON if "User" in unit else 0
    os.chown(box.box.path(box.write(TRACE)), uid, uid)
    done = box.box.ask("run", arguments=[*service.wrapper(unit, TRACE, uid), "/usr/bin/python3", "-c", READER, str(hostile_reader)],
                       environment={}, timeout=60)
    words = box.read(f"{TRACE}.words").decode()
    assert done["status"] == 0, words
    kept = dict(line.split(":\t", 1) for line in words.splitlines() if ":\t" in line)
    assert kept["Uid"].split() == [str(uid or 65534)] * 4
    assert {kept[name] for name in ("CapInh", "CapPrm", "CapEff", "CapAmb")} == {"0" * 16}
    assert kept["CapBnd"] == "0" * 16 or uid
    assert (kept["NoNewPrivs"], kept["Seccomp"]) == ("1", "2")
    assert service.called(box.read(TRACE).decode("latin-1")) - service.allowed_calls(unit) <= service.REFUSED


def give(box, path, uid):
    """Gives a tree to a user who lets nobody else in."""
    for folder, _, names in os.walk(box.box.path(path)):
        for name in [".", *names]:
            os.chown(f"{folder}/{name}", uid, uid)
            os.chmod(f"{folder}/{name}", 0o700)


def prepare(box, binary, samples, uid):
    """Private files of each kind of reader, servers of other users, and what the installation gives the daemon's."""
    for name, place in (("tagged.mp3", "music/o/a.mp3"), ("tagged.flac", "music/o/b.flac"), ("tone.aac", "music/o/c.aac"),
                        ("tone.ogg", "music/o/d.ogg"), ("clip.avi", "video/o/e.avi"), ("exif.jpg", "photo/o/f.jpg")):
        box.copy(samples / name, f"{SHARES}/{place}")
    box.write(attribute_file(f"{SHARES}/photo/o/f.jpg", "TITLE"), "A title\n")
    box.configure(aacdecoder=binary.with_name("veluaacinfo"))
    for share in ("music", "video", "photo"):
        give(box, f"{SHARES}/{share}/o", OWNER)
    for name in ("mt-daapd", "dms"):
        box.start_peer(name, SERVER)
    os.chown(box.box.path(box.write(TRACE)), uid, uid)
    if uid:
        os.chown(box.box.path("/var/lib/velu"), uid, uid)
        # The drop-in has root do it with an access list, which not every file system of a build machine has.
        os.chmod(box.box.path("/var/spool"), 0o777)
        for name in ("pid", "last_run"):
            os.chown(box.box.path(box.write(f"/var/run/veluindexd.{name}")), uid, uid)


@pytest.mark.sqlite
@pytest.mark.tracing
def test_the_daemon_does_its_work_under_the_restrictions(texts, make_daemon, binary, samples):
    # On the real clock: the library of the fast one would be loaded into the tools before the daemon, too. What waits in
    # the queue at the start is done at once.
    box = make_daemon(speed=1)
    unit = service.settings(*texts)
    uid = DAEMON if "User" in unit else 0
    prepare(box, binary, samples, uid)
    box.queue(*(f"A:{SHARES}/{share}" for share in ("music", "video", "photo")))
    box.start(wrapper=service.wrapper(unit, TRACE, uid))
    assert box.status_field("Uid") == str(uid)
    assert int(box.status_field("CapBnd"), 16).bit_count() == len(service.capabilities(unit, "CapabilityBoundingSet"))

    # The end of the run is told to a server of another user.
    box.wait_run(0)
    assert not [line for line in box.log.texts() if "denied" in line or "not permitted" in line or "Read-only" in line]
    assert not box.logged(None, "Failed to parse media metadata")

    music = {row["path"].rsplit("/", 1)[1]: row for row in box.rows("music")}
    assert music["a.mp3"]["title"] == "First Song" and music["a.mp3"]["has_cover"] == 1
    assert music["b.flac"]["title"] == "Second Song"
    assert {name: row["sample_rate"] for name, row in music.items()} == dict.fromkeys(
        ("a.mp3", "b.flac", "c.aac", "d.ogg"), 44100)
    assert box.row("video", f"{SHARES}/video/o/e.avi")["width"] == 160
    assert box.row("photo", f"{SHARES}/photo/o/f.jpg")["camera_make"] == "Maker"
    assert box.row("photo_image", f"{SHARES}/photo/o/f.jpg")["title"] == "A title"
    # Only root's daemon may write in a share of others.
    assert box.exists(attribute_file(f"{SHARES}/photo/o/f.jpg", "TITLE")) == bool(uid)
    covers = [os.path.join(folder, name) for folder, _, names in os.walk(box.box.path("/var/lib/velu/covers"))
              for name in names]
    assert [os.stat(cover).st_uid for cover in covers] == [OWNER]

    box.stop()
    trace = box.read(TRACE).decode("latin-1")
    calls = service.called(trace)
    assert {"execve", "setpriority", "prlimit64", "fchown", "kill"} <= calls
    assert calls - service.allowed_calls(unit) <= service.REFUSED
    assert not re.search(r"PROT_WRITE\|PROT_EXEC|CLONE_NEW", trace)
    assert set(re.findall(r" socket\((\w+)", trace)) <= {"AF_UNIX"}
