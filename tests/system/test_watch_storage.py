# SPDX-License-Identifier: GPL-2.0-or-later
"""The watcher and storage that goes and comes, beside a daemon: what is away is not reported as deleted, and is indexed again
when it is back."""
import os

import pytest

from harness.daemon import wait_for
from harness.keeping import FSTAB, MUSIC, PHOTO, REMEMBERED, USB, queue_is_done
from harness.photo import jpeg
from harness.places import mount, unmount, write_inside
from harness.watcher import Watcher

# What is tried lies in front of the store, whatever its engine. The library of failing calls does not go with a sanitizer.
pytestmark = [pytest.mark.sqlite, pytest.mark.tracing]

NAMES = ("1.pcm", "d/2.pcm", "1.jpg", "d/2.jpg")
OFTEN = ("--check", "0.3")


def put(daemon, place, name):
    write_inside(daemon, f"{place}/{name}", jpeg(3, 2) if name.endswith(".jpg") else b"")


def insert(daemon, place, *names):
    """Mounts a disk that has these files."""
    made = daemon.mkdir("/tmp/made")
    mount(daemon, made)
    for name in names:
        put(daemon, made, name)
    mount(daemon, daemon.mkdir(place), "--move", made)


@pytest.fixture(params=[MUSIC, PHOTO, USB], ids=["music", "photo", "inside a share"])
def stick(request, placed):
    """A running daemon and the place of a disk with rows, all of which are known."""
    insert(placed, request.param, *NAMES)
    placed.index("R:all", "R:photo")
    placed.store("update photo_image set title = 'typed'")
    placed.place = request.param
    return placed


def rows(daemon):
    """What can be lost, without the watcher's own marks."""
    return {table: sorted((row.get("path", row.get("sharename")), row.get("title")) for row in daemon.rows(table))
            for table in ("music", "photo", "directory", "photo_image", "photo_share")}


def settle(daemon, watcher):
    """By a mark in a share that is always there."""
    watcher.settle("/volume1/video")
    wait_for(lambda: queue_is_done(daemon), "the queue's end")


def check_back(daemon, watcher, before):
    """The disk comes back with another file, and without one."""
    insert(daemon, daemon.place, "d/3.pcm", *NAMES[1:])
    wait_for(lambda: f"{daemon.place}/d/3.pcm" in daemon.paths("music"), "the disk to be indexed again")
    wait_for(lambda: f"{daemon.place}/1.pcm" not in daemon.paths("music"), "the row of what is gone to go")
    settle(daemon, watcher)
    assert rows(daemon)["photo_image"] == before["photo_image"] and rows(daemon)["photo"] == before["photo"]
    put(daemon, daemon.place, "d/4.pcm")
    wait_for(lambda: f"{daemon.place}/d/4.pcm" in daemon.paths("music"), "what comes then")
    watcher.stop()


def test_storage_that_goes_away(stick):
    watcher = Watcher(stick, *OFTEN)
    before = rows(stick)
    unmount(stick, stick.place)
    wait_for(lambda: watcher.told("rows are left alone"), "the watcher to notice")
    settle(stick, watcher)
    assert rows(stick) == before
    check_back(stick, watcher, before)


@pytest.mark.parametrize("known", ["fstab", "noauto", "the last walk"])
def test_storage_that_is_away_at_the_start(stick, known):
    before = rows(stick)
    if known != "the last walk":
        stick.write(FSTAB, f"/dev/sdx1 {stick.place} ext4 {'noauto' if known == 'noauto' else 'defaults'} 0 2\n")
        stick.remove(REMEMBERED)
    unmount(stick, stick.place)
    watcher = Watcher(stick, *OFTEN)
    assert len(watcher.told("rows are left alone")) == 1
    settle(stick, watcher)
    assert rows(stick) == before
    check_back(stick, watcher, before)


def test_storage_that_is_away_when_all_is_to_be_indexed_anew(stick):
    before = rows(stick)
    unmount(stick, stick.place)
    watcher = Watcher(stick, *OFTEN, "--reindex-at-start")
    settle(stick, watcher)
    assert rows(stick) == before
    check_back(stick, watcher, before)


def test_a_disk_that_comes_back_empty_is_empty(stick):
    watcher = Watcher(stick, *OFTEN)
    unmount(stick, stick.place)
    wait_for(lambda: watcher.told("rows are left alone"), "the watcher to notice")
    insert(stick, stick.place)
    wait_for(lambda: not stick.paths("music") and not stick.paths("photo"), "the rows to go")
    watcher.stop()


def test_what_is_written_where_a_disk_was(stick):
    """It is no row, so that the disk's rows stay."""
    watcher = Watcher(stick, *OFTEN)
    before = rows(stick)
    unmount(stick, stick.place)
    wait_for(lambda: watcher.told("rows are left alone"), "the watcher to notice")
    stick.write(f"{stick.place}/stray.pcm")
    stick.write(f"{stick.place}/made/stray.pcm")
    settle(stick, watcher)
    stick.index("R:all", "R:photo")
    assert rows(stick) == before
    watcher.stop()


def test_a_share_whose_link_leads_nowhere_at_the_start(placed):
    placed.write(f"{MUSIC}/d/1.pcm")
    placed.index("R:music")
    before = rows(placed)
    os.rename(placed.box.path(MUSIC), placed.box.path("/volume1/elsewhere"))
    watcher = Watcher(placed, *OFTEN)
    settle(placed, watcher)
    assert rows(placed) == before
    placed.write("/volume1/elsewhere/d/2.pcm")
    os.rename(placed.box.path("/volume1/elsewhere"), placed.box.path(MUSIC))
    wait_for(lambda: f"{MUSIC}/d/2.pcm" in placed.paths("music"), "the share to be indexed again")
    watcher.stop()
