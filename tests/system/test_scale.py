# SPDX-License-Identifier: GPL-2.0-or-later
"""Trees of extreme width and depth."""
import os

MUSIC = "/volume1/music"
WIDE_LIMIT_KB = 64 * 1024


def make_levels(start, name, levels, files):
    """Nests a directory in itself so often, and puts an empty file at the levels named in `files`."""
    folder = os.open(start, os.O_DIRECTORY)
    for level in range(1, levels + 1):
        os.mkdir(name, dir_fd=folder)
        below = os.open(name, os.O_DIRECTORY, dir_fd=folder)
        os.close(folder)
        folder = below
        if level in files:
            os.close(os.open("x.pcm", os.O_CREAT | os.O_WRONLY, dir_fd=folder))
    os.close(folder)


def test_two_hundred_thousand_entries_in_one_directory(daemon, sanitized):
    folder = os.open(daemon.box.path(daemon.mkdir(f"{MUSIC}/wide")), os.O_DIRECTORY)
    for number in range(200_000):
        name = f"{number:06}.pcm" if number % 10 == 0 else f"{number:06}.txt"
        os.close(os.open(name, os.O_CREAT | os.O_WRONLY, dir_fd=folder))
    os.close(folder)
    daemon.index(f"A:{MUSIC}", timeout=400)
    assert len(daemon.paths("music")) == 20_000
    if not sanitized:
        assert int(daemon.status_field("VmHWM")) < WIDE_LIMIT_KB


def test_a_tree_of_1500_levels(daemon, sanitized):
    make_levels(daemon.box.path(MUSIC), "d", 1500, {1, 750, 1500})
    daemon.index(f"A:{MUSIC}")
    assert daemon.paths("music") == sorted(f"{MUSIC}{'/d' * level}/x.pcm" for level in (1, 750, 1500))
    assert len(daemon.rows("directory")) == 1501
    if not sanitized:
        assert int(daemon.status_field("VmHWM")) < WIDE_LIMIT_KB
    os.rename(daemon.box.path(f"{MUSIC}/d"), daemon.box.path("/tmp/d"))
    daemon.index(f"D:{MUSIC}/d")
    assert daemon.media_paths() == [] and daemon.paths("directory") == [MUSIC]


def test_paths_longer_than_any_buffer_end_the_descent_and_nothing_else(daemon):
    name = "n" * 200
    make_levels(daemon.box.path(MUSIC), name, 40, {1, 19, 25, 40})
    daemon.write(f"{MUSIC}/zz.pcm")
    daemon.index(f"A:{MUSIC}")
    reachable = [f"{MUSIC}{('/' + name) * level}/x.pcm" for level in (1, 19)]
    assert daemon.paths("music") == sorted([*reachable, f"{MUSIC}/zz.pcm"])
