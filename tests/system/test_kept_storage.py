# SPDX-License-Identifier: GPL-2.0-or-later
"""What lies on storage that is away is not forgotten, whatever tells that it is to be there. One line names the place; a
disk that is mounted and empty is empty."""
import errno
import os

import pytest

from harness import photo
from harness.daemon import wait_for
from harness.keeping import DONE, FSTAB, MUSIC, PHOTO, REMEMBERED, USB, lines_of_keeping, queue_is_done, take_away, write
from harness.places import MOUNTS, REDIRECT, Rule, mount, unmount, write_inside

# The library of failing calls does not go with a sanitizer.
pytestmark = pytest.mark.tracing


def away_known_from_fstab(daemon, place):
    daemon.write(FSTAB, f"# a disk\nUUID=1234-5678 {place} ext4 defaults 0 2\n")
    unmount(daemon, place)
    if daemon.exists(REMEMBERED):
        daemon.remove(REMEMBERED)


def away_known_from_fstab_noauto(daemon, place):
    daemon.write(FSTAB, f"server:/export {place.replace(' ', chr(92) + '040')} nfs noauto,ro 0 0\n")
    unmount(daemon, place)
    if daemon.exists(REMEMBERED):
        daemon.remove(REMEMBERED)


def away_known_from_the_last_walk(daemon, place):
    unmount(daemon, place)


def away_known_from_the_last_walk_of_a_daemon_before(daemon, place):
    daemon.kill()
    unmount(daemon, place)
    daemon.start()


def away_known_from_an_automount(daemon, place):
    unmount(daemon, place)
    if daemon.exists(REMEMBERED):
        daemon.remove(REMEMBERED)
    with open("/proc/self/mountinfo", encoding="utf-8") as file:
        others = file.read()
    daemon.write("/tmp/mountinfo", others + f"900 1 0:99 / {place} rw,relatime - autofs systemd-1 rw,fd=5,direct\n")
    daemon.write("/tmp/mounts", f"systemd-1 {place} autofs rw,relatime,fd=5,direct 0 0\n")
    daemon.places.set(*(Rule("open", name, REDIRECT, other="/tmp/mountinfo" if "mountinfo" in name else "/tmp/mounts")
                        for name in (*MOUNTS, "/proc/thread-self/mountinfo")))


AWAY_STORAGE = [away_known_from_fstab, away_known_from_fstab_noauto, away_known_from_the_last_walk,
                away_known_from_the_last_walk_of_a_daemon_before, away_known_from_an_automount]
AWAY_NAMES = [take.__name__.removeprefix("away_known_from_").replace("_", " ") for take in AWAY_STORAGE]


@pytest.fixture
def stick(placed):
    """A running daemon whose music share is a file system of its own."""
    mount(placed, MUSIC)
    for name in ("top", "a/1", "a/deep/2"):
        write_inside(placed, f"{MUSIC}/{name}.pcm")
    placed.index("R:all")
    assert len(placed.paths("music")) == 3
    return placed


@pytest.mark.parametrize("take", AWAY_STORAGE, ids=AWAY_NAMES)
def test_a_reindex_of_a_share_that_is_not_mounted_keeps_its_rows(stick, take):
    before = stick.snapshot()
    take(stick, MUSIC)
    for line in ("R:music", "R:all", f"A:{MUSIC}", f"D:{MUSIC}/a", f"d:{MUSIC}/top.pcm"):
        lines = stick.index(line)
        assert {table: stick.snapshot()[table] for table in ("music", "directory")} == {
            table: before[table] for table in ("music", "directory")}, line
        if line[0] == "R":
            assert len(lines_of_keeping(lines, MUSIC)) == 1, (line, lines)
    stick.places.clear()
    mount(stick, MUSIC)
    write_inside(stick, f"{MUSIC}/a/1.pcm")
    stick.index("R:music")
    assert stick.paths("music") == [f"{MUSIC}/a/1.pcm"]


def test_a_stray_file_where_nothing_is_mounted_does_not_make_it_a_share(stick):
    unmount(stick, MUSIC)
    stick.write(f"{MUSIC}/stray.pcm")
    before = stick.paths("music")
    stick.index("R:music")
    assert stick.paths("music") == before, "neither emptied nor indexed anew"


@pytest.mark.parametrize("line", [f"a:{MUSIC}/stray.pcm", f"A:{MUSIC}/stray.pcm", f"A:{MUSIC}/new"])
def test_what_is_written_where_a_disk_was_does_not_cost_the_disk_its_rows(stick, line):
    """It would be something that the catalogue has, and the disk would count as there."""
    before = stick.paths("music")
    unmount(stick, MUSIC)
    write(stick, f"{MUSIC}/stray.pcm", f"{MUSIC}/new/stray.pcm")
    lines = stick.index(line)
    assert [text for text in lines if "is away: it is not indexed" in text]
    stick.index("R:music")
    assert stick.paths("music") == before


def test_a_tree_that_is_renamed_to_itself_keeps_what_is_away(placed):
    """That is how the watcher has a tree indexed anew."""
    write(placed, f"{MUSIC}/d/top.pcm", f"{MUSIC}/d/gone.pcm", f"{MUSIC}/d/shut/1.pcm")
    mount(placed, placed.mkdir(f"{MUSIC}/d/usb"))
    write_inside(placed, f"{MUSIC}/d/usb/2.pcm")
    placed.index("R:music")
    unmount(placed, f"{MUSIC}/d/usb")
    placed.remove(f"{MUSIC}/d/gone.pcm")
    kept = [f"{MUSIC}/d/shut/1.pcm", f"{MUSIC}/d/top.pcm", f"{MUSIC}/d/usb/2.pcm"]
    for path in (f"{MUSIC}/d", f"{MUSIC}/d/usb", f"{MUSIC}/d/shut"):
        with placed.places.failing(Rule("opendir", f"{MUSIC}/d/shut", errno.EIO)):
            lines = placed.index(f"N:{path}:{path}")
        assert placed.paths("music") == kept
        for place in (f"{MUSIC}/d/usb", f"{MUSIC}/d/shut"):
            assert len(lines_of_keeping(lines, place)) == (1 if place.startswith(path) else 0)


@pytest.mark.parametrize("below", ["", "/music"])
def test_storage_that_a_link_in_a_share_leads_to(placed, below):
    """Without it the link leads to an empty folder, or nowhere."""
    disk = placed.mkdir("/volume1/disk")
    mount(placed, disk)
    write_inside(placed, f"{disk}{below}/d/1.pcm")
    write_inside(placed, f"{disk}{below}/d/1.jpg", photo.jpeg(3, 2))
    for share in (MUSIC, PHOTO):
        write(placed, f"{share}/a/2.jpg", f"{share}/a/2.pcm")
        os.symlink(f"{disk}{below}", placed.box.path(f"{share}/link"))
    placed.index("R:all", "R:photo")
    placed.store("update photo_share set title = 'typed'")
    before = placed.snapshot()
    assert len(before["music"]) == len(before["photo"]) == 4 and len(before["photo_share"]) == 3
    unmount(placed, disk)
    for line, keeping in (("R:music", 1), ("R:photo", 2), ("R:all", 2), (f"D:{MUSIC}/link/d", 1), (f"d:{MUSIC}/link/d/1.pcm", 1),
                          (f"D:{PHOTO}/link/d", 1), (f"D:{MUSIC}/link", below != "")):
        lines = placed.index(line)
        assert placed.snapshot() == before, line
        assert len(lines_of_keeping(lines, "/link")) == keeping, (line, lines)
    assert placed.ctl("check", "--fix")["status"] != DONE
    wait_for(lambda: queue_is_done(placed), "what was queued")
    assert placed.snapshot() == before
    os.unlink(placed.box.path(f"{MUSIC}/link"))
    placed.index("R:music")
    assert placed.paths("music") == [path for path in (row["path"] for row in before["music"])
                                     if not path.startswith(f"{MUSIC}/link")], "a link that was removed is gone"
    mount(placed, disk)
    placed.index("R:all", "R:photo")
    assert not [path for path in placed.paths("photo") if "/link/" in path], "an empty disk is empty"


def test_a_disk_that_is_mounted_and_empty_is_empty(stick):
    unmount(stick, MUSIC)
    mount(stick, MUSIC)
    stick.index("R:music")
    assert stick.paths("music") == []


def test_a_share_that_never_was_a_mount_and_is_empty_now_is_empty(placed):
    write(placed, f"{MUSIC}/a/1.pcm")
    placed.index("R:music")
    take_away(placed, f"{MUSIC}/a")
    placed.index("R:music")
    assert placed.paths("music") == [] and placed.paths("directory") == [MUSIC]


@pytest.mark.parametrize("word", ["music", "photo", "all"])
def test_a_link_that_leads_nowhere_keeps_the_rows(placed, word):
    write(placed, f"{MUSIC}/a/1.pcm", f"{PHOTO}/Trips/2.jpg")
    placed.index("R:all", "R:photo")
    before = placed.snapshot()
    for share in (MUSIC, PHOTO):
        take_away(placed, share)
    lines = placed.index(f"R:{word}")
    assert placed.snapshot() == before
    assert any(share in line for share in (MUSIC, PHOTO) for line in lines)


@pytest.mark.parametrize("take", AWAY_STORAGE, ids=AWAY_NAMES)
def test_a_photo_resync_of_a_share_that_is_not_mounted_keeps_its_rows(placed, take):
    mount(placed, PHOTO)
    for name in ("top", "Trips/1", "Trips/2009/2"):
        write_inside(placed, f"{PHOTO}/{name}.jpg", photo.jpeg(3, 2))
    placed.index("R:all", "R:photo")
    placed.store("update photo_share set title = 'typed'")
    before = placed.snapshot()
    assert len(before["photo_image"]) == 3 and len(before["photo_share"]) == 2
    take(placed, PHOTO)
    for line in ("R:photo", "U:photo", f"D:{PHOTO}/Trips", f"A:{PHOTO}"):
        placed.index(line)
        now = placed.snapshot()
        assert [row["path"] for row in now["photo_image"]] == [row["path"] for row in before["photo_image"]], line
        assert [(row["sharename"], row["title"], row["shareid"]) for row in now["photo_share"]] == [
            (row["sharename"], row["title"], row["shareid"]) for row in before["photo_share"]], line
        assert now["photo"] == before["photo"], line


@pytest.fixture
def inner(placed):
    """A daemon with a disk mounted inside its music share."""
    write(placed, f"{MUSIC}/top.pcm", f"{MUSIC}/gone.pcm")
    mount(placed, placed.mkdir(USB))
    write_inside(placed, f"{USB}/a/1.pcm")
    placed.index("R:music")
    return placed


@pytest.mark.parametrize("take", AWAY_STORAGE, ids=AWAY_NAMES)
def test_a_mount_inside_a_share_that_is_away_keeps_its_rows_and_no_others(inner, take):
    take(inner, USB)
    inner.remove(f"{MUSIC}/gone.pcm")
    lines = inner.index("R:music")
    assert inner.paths("music") == [f"{MUSIC}/top.pcm", f"{USB}/a/1.pcm"]
    assert f"{USB}/a" in inner.paths("directory")
    assert len(lines_of_keeping(lines, USB)) == 1


def test_a_share_inside_a_mount_that_is_away_keeps_its_rows(placed):
    """The mount is above the share, whose folder is gone with it."""
    disk = placed.mkdir("/volume1/disk")
    mount(placed, disk)
    write_inside(placed, f"{disk}/music/1.pcm")
    os.unlink(placed.box.path("/var/services/music"))
    os.symlink(f"{disk}/music", placed.box.path("/var/services/music"))
    placed.index("R:music")
    assert placed.paths("music") == [f"{disk}/music/1.pcm"]
    unmount(placed, disk)
    for prepare in (lambda: None, lambda: placed.mkdir(f"{disk}/music")):
        prepare()
        placed.index("R:music")
        assert placed.paths("music") == [f"{disk}/music/1.pcm"]


def test_the_control_tool_does_not_mend_what_is_away(stick):
    before = stick.snapshot()
    unmount(stick, MUSIC)
    stick.ctl("check", "--fix")
    wait_for(lambda: queue_is_done(stick), "what was queued")
    assert stick.snapshot() == before


def test_the_control_tool_does_not_mend_what_is_away_inside_a_share(inner):
    unmount(inner, USB)
    inner.remove(f"{MUSIC}/gone.pcm")
    inner.ctl("check", "--fix")
    wait_for(lambda: f"{MUSIC}/gone.pcm" not in inner.paths("music"), "what is gone to go")
    assert inner.paths("music") == [f"{MUSIC}/top.pcm", f"{USB}/a/1.pcm"]
