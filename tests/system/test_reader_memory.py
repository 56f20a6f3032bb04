# SPDX-License-Identifier: GPL-2.0-or-later
"""What readers hold: as much as their libraries take, whatever pictures are in the files."""
import random
import re
import time

import pytest

from harness import media, raws
from harness.daemon import PATIENCE
from harness.sound_tags import picture_add

# KiB that a reader may hold, by its name in the process table, of files whose pictures have up to so many bytes.
READERS_MAX = {"velureader": 12 * 1024, "velureader-film": 48 * 1024}
PICTURE = 1_000_000
COPIES = 12


@pytest.fixture(scope="module", name="folder")
def files_with_large_pictures(tmp_path_factory):
    folder = tmp_path_factory.mktemp("pictures")
    small = folder / "photo.jpg"
    media.picture(small, 48, 36)
    media.exif(small, Make="Maker", Model="M-1")
    content = small.read_bytes()
    # What stands for the pixels has no marks in it.
    pixels = random.Random(1).randbytes(PICTURE - len(content)).replace(b"\xff", b"\0")
    jpeg = content[:-2] + pixels + content[-2:]
    small.write_bytes(jpeg)
    for kind, make in {**raws.WRITABLE, "raf": raws.raf, "crw": raws.crw, "x3f": raws.x3f}.items():
        (folder / f"photo.{kind}").write_bytes(make(jpeg))
    # Noise has a byte for each sample: 570 lines of 570 pixels of three.
    media.call("convert", "-size", "570x570", "xc:", "-seed", "1", "+noise", "Random", "-depth", "8", folder / "cover.png")
    cover = (folder / "cover.png").read_bytes()
    assert 0.9 * PICTURE < len(cover) <= PICTURE
    media.clip(folder / "film.mp4", "-c:v", "mpeg4")
    media.remux(folder / "film.mkv", "-i", folder / "film.mp4", "-c", "copy", "-attach", folder / "cover.png",
                "-metadata:s:t", "mimetype=image/png", "-metadata:s:t", "filename=cover.png")
    picture_add(folder / "film.mp4", [(3, cover)])
    for kind in ("mp3", "flac", "m4a", "ogg", "opus", "wma", "aiff"):
        media.sound(folder / f"song.{kind}", "-map_metadata", "-1")
        picture_add(folder / f"song.{kind}", [(4, content), (3, cover)])
    return folder


def held_meanwhile(daemon, *lines):
    """Has lines done. Gives the most that readers held at any look, by their names."""
    most = {}
    before = daemon.wakes("dms")
    daemon.queue(*lines)
    daemon.signal()
    end = time.monotonic() + PATIENCE
    while daemon.wakes("dms") == before:
        assert time.monotonic() < end, "the run does not end"
        for pid in daemon.children():
            status = daemon.box.ask("proc", pid=pid, name="status")["text"] or ""
            name, held = re.search(r"^Name:\s*(\S+)", status), re.search(r"^VmHWM:\s*(\d+)", status, re.MULTILINE)
            if name and held and name[1] in READERS_MAX:
                most[name[1]] = max(most.get(name[1], 0), int(held[1]))
    return most


@pytest.mark.parametrize("share, table, reader, pattern", (
    ("photo", "photo", "velureader", "photo.*"), ("music", "music", "velureader", "song.*"),
    ("video", "video", "velureader-film", "film.*")))
def test_large_pictures_cost_a_reader_no_memory(make_daemon, folder, share, table, reader, pattern):
    daemon = make_daemon(speed=1)  # the faster clock would be a library of its own in each reader
    daemon.configure(rules="complete", quiet=1)
    daemon.start()
    contents = {kind.name: kind.read_bytes() for kind in sorted(folder.glob(pattern))}
    for copy in range(COPIES):
        for name, content in contents.items():
            daemon.write(f"/volume1/{share}/{copy}/{name}", content)
    most = held_meanwhile(daemon, f"A:/volume1/{share}")
    assert len(daemon.rows(table)) == COPIES * len(contents)
    assert 0 < most.get(reader, 0) <= READERS_MAX[reader], most
    if share == "music":
        assert all(row["has_cover"] for row in daemon.rows(table))
