# SPDX-License-Identifier: GPL-2.0-or-later
"""A booted machine with the packages as people have them: shares, a watcher, a catalogue on a small disk of its own."""
import contextlib
import json
import pathlib
import shutil
import sqlite3
import subprocess
import time

from machine import Machine

SHARES = ("music", "video", "photo")
STATE = "/var/lib/velu"
QUEUE = "/var/spool/velu_indexing_queue"
UNITS = ("veluindexd", "veluwatchd")
SMALL_DISK = "256m"
REST_SECONDS = 900  # after which work that does not end is a finding
CALM_SECONDS = 20  # in which nothing may come: the watcher waits some before it asks
DATABASES = {"mediadb": "mediaserver", "photodb": "photo"}
SECRET = "secret"
ASIDE = "aside"


class NoRest(AssertionError):
    """Work does not come to an end."""


def copy_folder(source, target):
    subprocess.run(["cp", "-a", f"{source}/.", target], check=True)


class Box(Machine):
    """`engine`: sqlite or postgresql, the latter on the machine itself. `goes_on`: as it was set aside in `folder`."""

    def __init__(self, base, folder, shared, rules, engine, goes_on):
        self.disk = folder.with_name(folder.name + "-disk")
        if self.disk.is_mount():  # a run before has been killed
            subprocess.run(["umount", self.disk], check=True)
        self.disk.mkdir(parents=True, exist_ok=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={SMALL_DISK},mode=755", "velu-week", self.disk], check=True)
        super().__init__(base, folder, shared, {STATE: self.disk}, goes_on)
        self.rules, self.engine = rules, engine
        self.aside = folder / "disk"
        if goes_on:
            copy_folder(self.aside, self.disk)

    def close(self, keep=False):
        try:
            super().close(keep)
        finally:
            subprocess.run(["umount", self.disk], check=True)
            self.disk.rmdir()

    def path(self, place):
        """Where this machine sees a file of that one, its temporary folders included."""
        return pathlib.Path(f"/proc/{self.leader}/root{place}")

    def install(self):
        lines = f'rules="{self.rules}"\n'
        if self.engine == "postgresql":
            lines += "".join(f'{key}="postgresql://velu:{SECRET}@/velu_{name}?host=/run/postgresql"\n' for key, name in DATABASES.items())
            self.run("sh", "-c", "sed -i '1i local all velu scram-sha-256' /etc/postgresql/*/main/pg_hba.conf && systemctl restart postgresql")
            self.as_server(f"create role velu login password '{SECRET}'")
            self.make_databases()
        self.write("/etc/veluinfo.conf", lines)
        self.install_packages()
        for share in SHARES:
            self.run("mkdir", "-p", f"/srv/{share}")
            self.run("veluctl", "share", "add", share, f"/srv/{share}")
        self.run("veluctl", "feature", "on", "photo")
        self.run("systemctl", "restart", "veluindexd")
        self.run("veluctl", "reindex", "--wait", "all")
        if self.rules == "appliance":  # by which its service would miss what comes while it is stopped
            self.write(f"/etc/systemd/system/{UNITS[1]}.service.d/week.conf",
                       "[Service]\nExecStart=\nExecStart=/usr/sbin/veluwatchd --reindex-at-start\n")
            self.run("systemctl", "daemon-reload")
        self.run("systemctl", "enable", "--now", "veluwatchd")

    def install_packages(self):
        modules = ["veluindexd", "veluindexd-films"] + ["veluindexd-postgresql"] * (self.engine == "postgresql")
        self.run("apt-get", "install", "-y", "--reinstall", *(f"/mnt/{name}.deb" for name in modules))

    def write(self, place, text):
        path = self.path(place)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="ascii")

    def as_server(self, line, database="postgres"):
        return self.run("runuser", "-u", "postgres", "--", "psql", "-qAt", "-v", "ON_ERROR_STOP=1", "-d", database, "-c", line).stdout

    def make_databases(self):
        for name in DATABASES.values():
            self.as_server(f"drop database if exists velu_{name}")
            self.as_server(f"create database velu_{name} owner velu template template0 encoding 'SQL_ASCII' locale 'C'")

    def set_aside(self):
        """Keeps the catalogues for a later sitting, whatever comes to their places."""
        self.run("systemctl", "stop", *UNITS)
        if self.aside.exists():
            shutil.rmtree(self.aside)
        self.aside.mkdir()
        copy_folder(self.disk, self.aside)
        if self.engine == "postgresql":
            for name in DATABASES.values():
                self.as_server(f"drop database if exists {ASIDE}_{name}")
                self.as_server(f"alter database velu_{name} rename to {ASIDE}_{name}")

    def take_back(self):
        """The catalogues that were set aside, and today's packages."""
        self.run("systemctl", "stop", *UNITS)
        if self.engine == "postgresql":
            for name in DATABASES.values():
                self.as_server(f"drop database if exists velu_{name}")
                self.as_server(f"alter database {ASIDE}_{name} rename to velu_{name}")
        self.install_packages()
        self.run("systemctl", "start", *UNITS)

    def make_afresh(self):
        """Catalogues anew, from what lies on the disk. Returns when they are made."""
        self.run("systemctl", "stop", *UNITS)
        for entry in self.disk.iterdir():
            shutil.rmtree(entry) if entry.is_dir() else entry.unlink()
        if self.engine == "postgresql":
            self.make_databases()
        self.run("systemctl", "start", "veluindexd")
        self.run("veluctl", "reindex", "--wait", "all")

    def query(self, key, statement):
        """Rows of a catalogue, read as any program reads them."""
        name = DATABASES[key]
        if self.engine == "postgresql":
            return json.loads(self.as_server(f"select coalesce(json_agg(whole_row), '[]') from ({statement}) as whole_row", f"velu_{name}"))
        file = f"file:{self.disk}/{name}.db?mode=ro"
        with contextlib.closing(sqlite3.connect(file, uri=True, timeout=60)) as catalogue:
            catalogue.row_factory = sqlite3.Row
            return [dict(row) for row in catalogue.execute(statement)]

    def is_idle(self):
        """True when nothing is asked for, nothing kept, and both services live."""
        waiting = [name for name in ("", ".tmp", ".kept") if self.path(QUEUE + name).exists()]
        return not waiting and self.run("systemctl", "is-active", *UNITS, check=False).returncode == 0

    def rest(self):
        """Waits until nothing has been asked for a while."""
        end = time.monotonic() + REST_SECONDS
        calm = time.monotonic()
        while time.monotonic() - calm < CALM_SECONDS:
            if not self.is_idle():
                calm = time.monotonic()
            if time.monotonic() > end:
                raise NoRest("no rest after %d s:\n%s" % (REST_SECONDS, self.run("veluctl", "status", check=False).stdout))
            time.sleep(0.5)
