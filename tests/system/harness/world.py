# SPDX-License-Identifier: GPL-2.0-or-later
"""A library of everything that can be lost, beside a daemon, which is put back as it was as often as one likes: each share
is a file system that can be taken away, and there are others inside them."""
import contextlib
import hashlib
import os
import shutil
import sqlite3

from . import photo
from .catalogue import MEDIA_TABLES
from .daemon import QUEUE, WORKING_COPY, wait_for
from .faults import files_below
from .places import mount, unmount

KEPT, TEXTS = f"{QUEUE}.kept", f"{QUEUE}.texts"
REMEMBERED, FSTAB, COVERS = "/var/lib/velu/mounts", "/etc/fstab", "/var/lib/velu/covers"
VOLUMES = "/tmp/volumes"
WRITTEN = 1_234_567_890  # when the files were, for all that the daemon can see
PICTURE = photo.jpeg(3, 2)

# What a row has of the moment in which the file was made or read.
MOMENT = {"create_time", "modify_time", "date_taken", "updated"}
NUMBERS = {"photo_image": "id", "photo_share": "shareid"}
PHOTO_CATALOGUE = ("photo_image", "video_desc", "video_comment", "photo_share", "photo_access_right")
MEDIA_CATALOGUE = (*MEDIA_TABLES, "directory")


class World:
    """`mounts`: where file systems are mounted, outer ones first. `files`: the paths of the first state, each with the name of its
    content; `contents` has those that are no pictures."""

    def __init__(self, daemon, mounts, files, contents):
        self.daemon, self.mounts, self.files = daemon, mounts, files
        self.contents = {"": b"", "picture": PICTURE, **contents}
        for place in mounts:
            daemon.mkdir(self.volume(place))
            self.mount(place)

    # --- file systems

    def volume(self, place):
        """Where the files of a mount are whether it is mounted or not."""
        return f"{VOLUMES}/{place.replace('/', '_')}"

    def mount(self, place):
        os.makedirs(self.path(place) if self.mount_of(place) else self.daemon.box.path(place), exist_ok=True)
        mount(self.daemon, place, "--bind", self.volume(place))

    def unmount(self, place):
        """With what is mounted inside it."""
        for inner in reversed([one for one in self.mounts if f"{one}/".startswith(f"{place}/")]):
            unmount(self.daemon, inner)

    def mount_again(self, place):
        for inner in [one for one in self.mounts if f"{one}/".startswith(f"{place}/")]:
            self.mount(inner)

    def mount_of(self, path):
        """The innermost mount that a path lies in, and is not itself."""
        found = [place for place in self.mounts if path.startswith(f"{place}/")]
        return max(found, key=len) if found else None

    def path(self, path):
        """The host's path of a file of the shares."""
        place = self.mount_of(path)
        if place is None:
            return self.daemon.box.path(path)
        return self.daemon.box.path(f"{self.volume(place)}{path[len(place):]}")

    # --- files

    def write(self, path, content=None):
        place = self.path(path)
        os.makedirs(os.path.dirname(place), exist_ok=True)
        with open(place, "wb") as file:
            file.write(PICTURE if content is None and path.endswith(".jpg") else content or b"")

    def remove(self, path):
        place = self.path(path)
        shutil.rmtree(place) if os.path.isdir(place) and not os.path.islink(place) else os.unlink(place)

    def move(self, old, new):
        os.makedirs(os.path.dirname(self.path(new)), exist_ok=True)
        os.rename(self.path(old), self.path(new))

    def exists(self, path):
        """Whether a file is on the disk, mounted or not."""
        return path in self.mounts or os.path.lexists(self.path(path))

    def _clear(self, share):
        keep = set(map(self.path, self.mounts))
        for folder, folders, names in os.walk(self.path(share + "/"), topdown=False):
            for name in names:
                os.unlink(os.path.join(folder, name))
            for name in folders:
                place = os.path.join(folder, name)
                if place not in keep and os.path.join(folder, name, "") not in keep:
                    os.rmdir(place)

    def fill(self, shares):
        """Makes the files what they are at first."""
        for share in (*shares, *self.mounts):
            self._clear(share)
        for path, kind in self.files.items():
            self.write(path, self.contents[kind])
            os.utime(self.path(path), (WRITTEN, WRITTEN))

    # --- the first state

    def keep(self):
        """The catalogue, and what else the daemon has on disk, are from now on the first state."""
        wait_for(self.daemon.idle, "the main loop")
        self.saved = _ServerCopy(self.daemon) if self.daemon.catalogue.keys else _FileCopy(self.daemon)
        self.kept_covers = {path: open(path, "rb").read() for path in files_below(self.daemon, COVERS)}
        self.remembered = self.daemon.read(REMEMBERED) if self.daemon.exists(REMEMBERED) else None
        self.first = None
        self.first = self.state()

    def put_back(self):
        """Makes the catalogue and all else what they were."""
        self.saved.put_back()
        shutil.rmtree(self.daemon.box.path(COVERS), ignore_errors=True)
        for path, content in self.kept_covers.items():
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write(content)
        for path in (QUEUE, WORKING_COPY, KEPT, TEXTS, REMEMBERED, FSTAB):
            with contextlib.suppress(FileNotFoundError):
                self.daemon.remove(path)
        if self.remembered is not None:
            self.daemon.write(REMEMBERED, self.remembered)

    # --- what there is

    def state(self):
        """All rows by table and key, without what hangs on the moment; rights by album and user; covers by their place.
        A number counts where the first state had it."""
        daemon = self.daemon
        found = {table: {row["path"]: row for row in daemon.rows(table)} for table in (*MEDIA_CATALOGUE, "photo_image")}
        albums = daemon.rows("photo_share")
        found["photo_share"] = {row["sharename"]: row for row in albums}
        names = {row["shareid"]: row["sharename"] for row in albums}
        numbers = {table: {row[key] for row in self.first[table].values()} if self.first else None
                   for table, key in NUMBERS.items()}
        state = {table: {key: _lasting(table, row, numbers.get(table)) for key, row in rows.items()}
                 for table, rows in found.items()}
        state["rights"] = {(names[row["shareid"]], row["userid"]): {} for row in daemon.rows("photo_access_right")
                           if row["shareid"] in names}
        state["covers"] = {path: {"digest": _digest(path)} for path in files_below(daemon, COVERS)}
        return state


def _digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


def _lasting(table, row, numbers):
    row = {name: value for name, value in row.items() if name not in MOMENT}
    key = NUMBERS.get(table)
    if key and numbers is not None and row[key] not in numbers:
        row[key] = None
    return row


class _FileCopy:
    """The files of SQLite."""

    def __init__(self, daemon):
        self.live = [daemon.box.path(place.removeprefix("sqlite:")) for place in daemon.catalogue.places.values()]
        for name in self.live:
            self._copy(name, f"{name}.first")

    @staticmethod
    def _copy(source, target):
        with contextlib.closing(sqlite3.connect(source, timeout=30)) as old, \
                contextlib.closing(sqlite3.connect(target, timeout=30)) as new:
            old.backup(new)

    def put_back(self):
        for name in self.live:
            self._copy(f"{name}.first", name)


class _ServerCopy:
    """Tables of PostgreSQL, copied beside themselves."""

    def __init__(self, daemon):
        self.catalogue = daemon.catalogue
        self.tables = {"mediadb": MEDIA_CATALOGUE, "photodb": PHOTO_CATALOGUE}
        for key, tables in self.tables.items():
            self._do(key, "drop schema if exists first cascade", "create schema first", *(f"create table first.{table} as table public.{table}" for table in tables))

    def _do(self, key, *statements):
        self.catalogue.server.query(self.catalogue.keys[key], "; ".join(statements))

    def put_back(self):
        for key, tables in self.tables.items():
            self._do(key, *(f"delete from public.{table}; insert into public.{table} table first.{table}"
                            for table in tables))


def differences(now, wanted):
    """What one state has and the other has not."""
    told = []
    for table, rows in wanted.items():
        told += [f"{table}: {key!r} is missing" for key in rows if key not in now[table]]
        told += [f"{table}: {key!r} is there" for key in now[table] if key not in rows]
        told += [f"{table}: {key!r} has {name} {now[table][key][name]!r}, not {value!r}" for key, row in rows.items()
                 if key in now[table] for name, value in row.items() if now[table][key][name] != value]
    return told


def forgotten(now, first, last, unread=()):
    """What is in both states and not in this one, and what is in neither and is here. `unread`: columns that come from the
    content of a file, which could not be read."""
    told = []
    for table, rows in first.items():
        if table == "covers":  # written before their rows, they are only sure when those are
            continue
        for key, row in rows.items():
            if key not in last[table]:
                continue
            if key not in now[table]:
                told.append(f"{table}: {key!r} is forgotten")
                continue
            told += [f"{table}: {key!r} has {name} {value!r}, not {row[name]!r}" for name, value in now[table][key].items()
                     if name not in unread and value not in (row[name], last[table][key][name])]
        told += [f"{table}: {key!r} is made up" for key in now[table] if key not in rows and key not in last[table]]
    return told
