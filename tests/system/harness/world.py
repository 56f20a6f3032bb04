# SPDX-License-Identifier: GPL-2.0-or-later
"""A library of everything that can be lost, beside a daemon, which is put back as it was as often as one likes: each share
is a file system that can be taken away, and there are others inside them."""
import contextlib
import hashlib
import os
import shutil
import sqlite3
import subprocess

from . import photo
from .catalogue import MEDIA_TABLES
from .daemon import QUEUE, WORKING_COPY, wait_for
from .faults import files_below
from .known import COVERS, covers_below, known_of_files
from .places import mount, unmount

KEPT, TEXTS = f"{QUEUE}.kept", f"{QUEUE}.texts"
REMEMBERED, FSTAB = "/var/lib/velu/mounts", "/etc/fstab"
VOLUMES = "/tmp/volumes"
WRITTEN = 1_234_567_890  # when the files were, for all that the daemon can see
PICTURE = photo.jpeg(3, 2)

# What a row has of the moment in which the file was made or read.
MOMENT = {"create_time", "modify_time", "date_taken", "updated"}
NUMBERS = {"photo_image": "id", "photo_share": "shareid"}
MEDIA_CATALOGUE = (*MEDIA_TABLES, "directory")


def plain(path):
    """What is in a file where only pictures have content."""
    return PICTURE if path.endswith(".jpg") else b""


class World:
    """`mounts`: where file systems are mounted, outer ones first. `files`: the paths of the first state. `content`: what is in a
    file of which nothing else is said."""

    def __init__(self, daemon, mounts, files=(), content=plain):
        self.daemon, self.mounts, self.files, self.content = daemon, mounts, files, content
        self.filled = {}
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
            file.write(self.content(path) if content is None else content)

    def remove(self, path):
        place = self.path(path)
        shutil.rmtree(place) if os.path.isdir(place) and not os.path.islink(place) else os.unlink(place)

    def move(self, old, new):
        os.makedirs(os.path.dirname(self.path(new)), exist_ok=True)
        os.rename(self.path(old), self.path(new))

    def exists(self, path):
        """Whether a file is on the disk, mounted or not."""
        return path in self.mounts or os.path.lexists(self.path(path))

    def _clear(self, share, keep):
        for folder, folders, names in os.walk(self.path(share + "/"), topdown=False):
            for name in names:
                if os.path.join(folder, name) not in keep:
                    os.unlink(os.path.join(folder, name))
            for name in folders:
                place = os.path.join(folder, name)
                if place not in keep and os.path.join(folder, name, "") not in keep and not os.listdir(place):
                    os.rmdir(place)

    def fill(self, shares):
        """Makes the files what they are at first. Those that nobody has touched since stay the same files."""
        untouched = {place for place, look in self.filled.items() if os.path.lexists(place) and _look(place) == look}
        for share in (*shares, *self.mounts):
            self._clear(share, {*untouched, *map(self.path, self.mounts)})
        for path in self.files:
            place = self.path(path)
            if place not in untouched:
                self.write(path)
                os.utime(place, (WRITTEN, WRITTEN))
                self.filled[place] = _look(place)

    # --- the first state

    def keep(self):
        """The catalogue, and what else the daemon has on disk, are from now on the first state."""
        wait_for(self.daemon.idle, "the main loop")
        self.saved = _ServerCopy(self.daemon) if self.daemon.catalogue.keys else _FileCopy(self.daemon)
        self.covers = f"{self.daemon.box.path(COVERS)}.first"
        _copy_folder(self.daemon.box.path(COVERS), self.covers)
        self.remembered = self.daemon.read(REMEMBERED) if self.daemon.exists(REMEMBERED) else None
        self.first = None
        self.first = self.state()

    def put_back(self):
        """Makes the catalogue and all else what they were."""
        self.saved.put_back()
        _copy_folder(self.covers, self.daemon.box.path(COVERS))
        for path in (QUEUE, WORKING_COPY, KEPT, TEXTS, REMEMBERED, FSTAB):
            with contextlib.suppress(FileNotFoundError):
                self.daemon.remove(path)
        if self.remembered is not None:
            self.daemon.write(REMEMBERED, self.remembered)

    # --- what there is

    def state(self):
        """All rows by table and key, without what hangs on the moment; rights by album and user; covers by their place; what is
        known of files beside their rows. A number counts where the first state had it, and so does when a file was added."""
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
        state["covers"] = {path: {"digest": _digest(path)} for path in covers_below(daemon)}
        state.update(known_of_files(daemon))
        moments = {row["added"] for row in (self.first or state)["file_state"].values()}
        for row in state["file_state"].values():
            row["added"] = row["added"] if row["added"] in moments else None
        return state


def _look(place):
    """By what one tells that a file is still the same, and untouched."""
    status = os.lstat(place)
    return status.st_ino, status.st_ctime_ns, status.st_mtime_ns


def _copy_folder(source, target):
    """Makes a folder a copy of another, in which names of one file are that again."""
    shutil.rmtree(target, ignore_errors=True)
    if os.path.isdir(source):
        subprocess.run(["cp", "-a", source, target], check=True)


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
        self.tables = {key: self._tables(key) for key in self.catalogue.keys}
        for key, tables in self.tables.items():
            self._do(key, "drop schema if exists first cascade", "create schema first",
                     *(f"create table first.{table} as table public.{table}" for table in tables))

    def _tables(self, key):
        rows = self._do(key, "select tablename from pg_tables where schemaname = 'public' order by 1")
        return [row["tablename"] for row in rows]

    def _do(self, key, *statements):
        return self.catalogue.server.query(self.catalogue.keys[key], "; ".join(statements))

    def put_back(self):
        """Without what triggers would do about it."""
        for key, tables in self.tables.items():
            self._do(key, "set local session_replication_role = replica",
                     *(f"delete from public.{table}; insert into public.{table} table first.{table}" for table in tables))


def differences(now, wanted, any_value=()):
    """What one state has and the other has not. `any_value`: columns of which that is not to be said."""
    told = []
    for table, rows in wanted.items():
        told += [f"{table}: {key!r} is missing" for key in rows if key not in now[table]]
        told += [f"{table}: {key!r} is there" for key in now[table] if key not in rows]
        told += [f"{table}: {key!r} has {name} {now[table][key][name]!r}, not {value!r}" for key, row in rows.items()
                 if key in now[table] for name, value in row.items() if now[table][key][name] != value and name not in any_value]
    return told


def forgotten(now, first, last, unread=(), unread_file=None):
    """What is in both states and not in this one, and what is in neither and is here. `unread`: columns that come from the
    content of a file, which could not be read; facts of that file do so, too."""
    told = []
    for table, rows in first.items():
        if table == "covers":  # written before their rows, they are only sure when those are
            continue
        for key, row in rows.items():
            if key not in last[table] or (table == "fact" and key[0] == unread_file):
                continue
            if key not in now[table]:
                told.append(f"{table}: {key!r} is forgotten")
                continue
            told += [f"{table}: {key!r} has {name} {value!r}, not {row[name]!r}" for name, value in now[table][key].items()
                     if name not in unread and value not in (row[name], last[table][key][name])]
        told += [f"{table}: {key!r} is made up" for key in now[table] if key not in rows and key not in last[table]]
    return told
