# SPDX-License-Identifier: GPL-2.0-or-later
"""Paths as long as the system takes them, of any bytes: each has a row, or the one line that docs/operating.md tells of."""
import os
import random

from harness.catalogue import ON_SERVER

MUSIC = "/volume1/music"
LONGEST, NAME = 4095, 255
SEED = int(os.environ.get("VELU_SEED", "4095"))


def random_name(generator, length):
    return bytes(generator.choice([byte for byte in range(1, 256) if byte != ord("/")]) for _ in range(length))


def make_file(daemon, folders, name):
    """Makes a file in folders that no single call can name from outside the sandbox."""
    at = os.open(daemon.box.path(MUSIC), os.O_RDONLY | os.O_DIRECTORY)
    for folder in folders:
        try:
            os.mkdir(folder, dir_fd=at)
        except FileExistsError:
            pass
        inner = os.open(folder, os.O_RDONLY | os.O_DIRECTORY, dir_fd=at)
        os.close(at)
        at = inner
    os.close(os.open(name, os.O_CREAT | os.O_WRONLY, 0o644, dir_fd=at))
    os.close(at)


def make_files(daemon):
    """Files at every depth of a tree of random names, the deepest as long as can be. Gives the paths of files and folders."""
    generator = random.Random(SEED)
    folders, at, files, places = [], MUSIC.encode(), [], []
    while LONGEST - len(at) > 2 * (NAME + 1):
        folders.append(random_name(generator, NAME))
        at += b"/" + folders[-1]
        places.append(at)
        name = random_name(generator, 40) + b".pcm"
        make_file(daemon, folders, name)
        files.append(at + b"/" + name)
    for length in (LONGEST - 1, LONGEST):
        folder = random_name(generator, NAME)
        name = random_name(generator, length - len(at) - NAME - 2 - 4) + b".pcm"
        make_file(daemon, folders + [folder], name)
        places.append(at + b"/" + folder)
        files.append(at + b"/" + folder + b"/" + name)
    assert len(files[-1]) == LONGEST
    return [path.decode("latin-1") for path in files], [path.decode("latin-1") for path in places]


def test_each_has_a_row_or_a_line(daemon):
    files, folders = make_files(daemon)
    daemon.index(f"A:{MUSIC}")
    refused = [text for text in daemon.log.texts() if text.startswith("store.c (")]
    missing = []
    for table, paths in (("music", files), ("directory", folders)):
        known = daemon.paths(table)
        assert set(known) <= {*paths, MUSIC}
        for path in paths:
            lines = [text for text in refused if f" failed at [{path}]. (" in text]
            assert (path in known) + len(lines) == 1, (len(path), path in known, lines)
            missing += [] if path in known else [path]
    assert len(refused) == len(missing)
    assert bool(missing) == ON_SERVER
    assert all(len(path) > 2600 for path in missing)
    assert all("index row size" in text for text in refused)
    # What is not there is not missed when it is to go.
    daemon.box.ask("run", arguments=["/bin/sh", "-c", f"cd {MUSIC} && rm -rf ./*"], environment={}, timeout=60)
    first = len(daemon.log.lines)
    daemon.index("R:music")
    assert not daemon.paths("music")
    assert not [text for text in daemon.log.texts()[first:] if text.startswith("store.c (")]
