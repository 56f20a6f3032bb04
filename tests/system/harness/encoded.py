# SPDX-License-Identifier: GPL-2.0-or-later
"""Folders of what encoders make, the same for all runs of this tree."""
import fcntl
import hashlib
import pathlib
import shutil

from .sandbox import TREE

HARNESS = pathlib.Path(__file__).parent


def filled(folder, make):
    """A folder that `make` fills for the first who asks; others wait meanwhile."""
    folder.parent.mkdir(parents=True, exist_ok=True)
    with open(f"{folder}.lock", "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if not folder.exists():
            made = folder.with_name(f"{folder.name}.new")
            shutil.rmtree(made, ignore_errors=True)  # of a session that was broken off
            made.mkdir()
            make(made)
            made.rename(folder)
    return folder


def encoded(name, make, *scripts):
    """A folder that stays, as making it again would only give the same: until one of the scripts changes that describe it."""
    digest = hashlib.sha256(b"".join(script.read_bytes() for script in (HARNESS / "media.py", *scripts)))
    return filled(TREE / "build/encoded" / f"{name}-{digest.hexdigest()[:16]}", make)
