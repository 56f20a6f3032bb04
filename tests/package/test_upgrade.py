# SPDX-License-Identifier: GPL-2.0-or-later
"""An upgrade from version 0.1.0, with catalogues as its programs have left them, on either engine: every row stays, and so do the
rules; the packages say how to switch, and what they say works."""
import contextlib
import json
import os
import pathlib
import sqlite3
import subprocess

import psycopg2
import pytest

from conftest import TREE
from test_package import wait_for_queue

DATABASES = TREE / "tests/unit/databases"
FILES = {"media": "/var/lib/velu/mediaserver.db", "photo": "/var/lib/velu/photo.db"}
TABLES = {"media": ("music", "video", "photo", "playlist", "directory"),
          "photo": ("photo_image", "video_desc", "photo_share", "photo_access_right")}
SONG = "/srv/music/song.mp3"


@pytest.fixture(scope="module")
def server(shared):
    """A server on this machine, whose socket the other one sees: its URI here, and what a key says there."""
    keeper = subprocess.Popen([TREE / "tests/postgres", "sh", "-c", 'echo "$VELU_POSTGRESQL $VELU_POSTGRESQL_FOLDER"; cat'],
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    uri, folder = keeper.stdout.readline().split()
    subprocess.run(["mount", "--bind", f"{folder}/socket", shared / "server"], check=True)
    yield uri, "postgresql://velu:secret@/velu_%s?host=/mnt/server&port=" + uri.rpartition(":")[2]
    subprocess.run(["umount", shared / "server"], check=True)
    keeper.stdin.close()
    keeper.wait()
    keeper.stdout.close()


@pytest.fixture(scope="module", name="computer")
def machine_beside_the_server(server, fresh):  # pylint: disable=unused-argument
    """Booted when the socket is in its place."""
    fresh.run("mkdir", "-p", "/srv/music", "/var/services")
    fresh.run("cp", "/mnt/media/song.mp3", "/srv/music")
    fresh.run("ln", "-s", "/srv/music", "/var/services/music")
    return fresh


def statements(catalogue, engine):
    return (DATABASES / f"{catalogue}_1.{engine}.sql").read_bytes().rstrip(b"\n").split(b"\n")


class Files:
    """Of SQLite; its rows are read as any program reads them."""

    engine = "sqlite"
    keys = ""

    def __init__(self, machine):
        self.machine = machine

    def put(self):
        for catalogue, file in FILES.items():
            place = pathlib.Path(f"{self.machine.root}{file}")
            with contextlib.suppress(FileNotFoundError):
                place.unlink()
            with contextlib.closing(sqlite3.connect(place)) as database:
                for statement in statements(catalogue, self.engine):
                    database.execute(statement.decode(errors="replace"))
                database.commit()
            place.chmod(0o644)

    def rows(self, catalogue, table):
        with contextlib.closing(sqlite3.connect(f"file:{self.machine.root}{FILES[catalogue]}?mode=ro", uri=True, timeout=10)) as database:
            return sorted(map(repr, database.execute(f"select * from {table}")))


class Server:
    """Databases of the server."""

    engine = "postgresql"

    def __init__(self, uri, key):
        self.uri = uri
        self.keys = "".join(f'{catalogue}db="{key % catalogue}"\n' for catalogue in FILES)

    def put(self):
        for catalogue in FILES:
            for line in (f"drop database if exists velu_{catalogue}", f"create database velu_{catalogue} template template0"):
                self.psql("postgres", line.encode())
            self.psql(f"velu_{catalogue}", b";\n".join(statements(catalogue, self.engine)))

    def psql(self, database, script):
        subprocess.run(["psql", "-q", "-v", "ON_ERROR_STOP=1", f"{self.uri}/{database}"], input=script, check=True,
                       stdout=subprocess.DEVNULL)

    def rows(self, catalogue, table):
        with contextlib.closing(psycopg2.connect(f"{self.uri}/velu_{catalogue}")) as connection, connection.cursor() as cursor:
            connection.set_client_encoding("LATIN1")
            cursor.execute(f"select * from {table}")
            return sorted(map(repr, cursor.fetchall()))


@pytest.fixture(params=["sqlite", "postgresql"])
def catalogues(computer, server, request):
    """Of version 0.1.0, which runs with them and has indexed a song by the rules that it knew."""
    made = Files(computer) if request.param == "sqlite" else Server(*server)
    computer.run("apt-get", "install", "-y", "/mnt/old/veluindexd.deb", "/mnt/old/veluindexd-postgresql.deb")
    computer.run("systemctl", "stop", "veluindexd")
    if made.keys:
        pathlib.Path(f"{computer.root}/etc/veluinfo.conf").write_text(made.keys, encoding="ascii")
    made.put()
    computer.run("systemctl", "start", "veluindexd")
    computer.run("veluctl", "add", "--wait", SONG)
    yield made
    computer.run("apt-get", "purge", "-y", "veluindexd", "veluindexd-films", "veluindexd-postgresql")
    computer.run("rm", "-f", "/etc/veluinfo.conf")


def all_rows(catalogues):
    return {table: catalogues.rows(catalogue, table) for catalogue, tables in TABLES.items() for table in tables}


def status(machine):
    return json.loads(machine.run("veluctl", "status", "--json").stdout)


def modes(machine):
    return machine.run("stat", "-c", "%U %G %a", "/var/lib/velu", *FILES.values()).stdout.split("\n")[:-1]


def test_it_keeps_rows_and_rules_and_says_how_to_switch(computer, catalogues):
    before = all_rows(catalogues)
    assert len(before["music"]) == 3 and before["directory"] and before["photo_share"] and SONG in str(before["music"])
    said = computer.run("apt-get", "install", "-y", "/mnt/new/veluindexd.deb", "/mnt/new/veluindexd-films.deb",
                        "/mnt/new/veluindexd-postgresql.deb").stdout
    assert 'the rules stay "appliance"' in said and '"veluctl config" says how to switch' in said
    assert all_rows(catalogues) == before and status(computer)["rules"] == "appliance"
    computer.run("veluctl", "add", "--wait", SONG)
    assert all_rows(catalogues) == before
    assert "veluctl config says how to switch" in computer.run("veluctl", "status").stdout
    if catalogues.engine == "sqlite":
        computer.run("test", "!", "-e", "/etc/veluinfo.conf")
        assert modes(computer) == ["root root 755", "root root 644", "root root 644"]

    told = computer.run("veluctl", "config").stdout
    assert 'rules="complete"' in told and "group\nvelu alone (files 0640, folders 0750)" in told
    computer.run("sh", "-c", "echo 'rules=\"complete\"' >>/etc/veluinfo.conf")
    for command in (line for line in told.splitlines() if line.startswith("  sudo ")):
        computer.run("sh", "-c", command.replace("sudo ", ""))
    wait_for_queue(computer)
    assert status(computer)["rules"] == "complete" and "To switch" not in computer.run("veluctl", "config").stdout
    after = all_rows(catalogues)
    assert {table: len(rows) for table, rows in after.items() if table != "directory"} == \
        {table: len(rows) for table, rows in before.items() if table != "directory"}, "what lies in no share stays, too"
    assert "First Song" in computer.run("veluctl", "show", SONG).stdout
    if catalogues.engine == "sqlite":
        assert modes(computer) == ["root velu 750", "root velu 640", "root velu 640"]


def test_the_news_say_what_changes(computer, packages):  # pylint: disable=unused-argument
    news = subprocess.run(["sh", "-c", f"dpkg-deb --fsys-tarfile {packages['veluindexd']} | tar -xO ./usr/share/doc/veluindexd/NEWS.Debian.gz | gzip -dc"],
                          capture_output=True, text=True, check=True).stdout
    for words in ('rules="complete"', "group velu", "0640", "adduser", "veluctl reindex all", 'rules="appliance"'):
        assert words in news, words
