# SPDX-License-Identifier: GPL-2.0-or-later
"""Catalogues that take no row for a while, each in the ways that its engine knows."""
import contextlib
import errno
import sqlite3

from .catalogue import FOLDER
from .places import Rule, run_inside, unmount

MEDIA, PHOTO = "mediadb", "photodb"
# All but the last keep a request, since no row of it has a chance.
AWAY = ("locked", "read-only", "full", "stopped", "broken")
KINDS = (*AWAY, "row")
COMMIT = "commit"  # away when what was written is to stay

# What a row has in its path that the catalogue refuses for its own sake.
REFUSED = "refused"
TABLES = {MEDIA: ("music", "video", "photo", "playlist"), PHOTO: ("photo_image",)}


def patience_of_tests(daemon, **keys):
    """A server's locks are waited for in a test's time and not in the server's, and the server on a clock that goes fast. `keys` are
    configured too."""
    daemon.configure(**keys, **{key: uri.replace("connect_timeout=600", "connect_timeout=6000&options=-c%20lock_timeout%3D30")
                        for key, uri in daemon.catalogue.keys.items()})


def store_fault(daemon, kind, key, moment=2):
    """A catalogue in a fault of that kind until the end of the context. The daemon does nothing when it begins. `moment`: at
    which of the writes it breaks."""
    faults = _ServerFaults(daemon, key) if daemon.catalogue.keys else _FileFaults(daemon, key)
    if kind == "broken":
        return faults.broken(moment)
    return {"locked": faults.locked, "read-only": faults.read_only, "full": faults.full, "stopped": faults.stopped,
            "row": faults.row, COMMIT: faults.commit}[kind]()


class _FileFaults:
    """SQLite."""

    def __init__(self, daemon, key):
        self.daemon = daemon
        self.name = {MEDIA: "mediaserver.db", PHOTO: "photo.db"}[key]
        self.tables = TABLES[key]

    def _connection(self):
        connection = sqlite3.connect(self.daemon.box.path(f"{FOLDER}/{self.name}"), isolation_level=None, timeout=30)
        connection.execute("pragma trusted_schema = on")
        return connection

    @contextlib.contextmanager
    def locked(self):
        other = self._connection()
        other.execute("begin immediate")
        try:
            yield
        finally:
            other.execute("rollback")
            other.close()

    @contextlib.contextmanager
    def read_only(self):
        place = f"{FOLDER}/{self.name}"
        run_inside(self.daemon, "/bin/sh", "-c", f"mount --bind {place} {place} && mount -o remount,ro,bind {place}")
        try:
            yield
        finally:
            unmount(self.daemon, place)

    def full(self):
        return self.daemon.places.failing(Rule("write", f"*/{self.name}*", errno.ENOSPC))

    def commit(self):
        """A batch is written when it is committed."""
        return self.daemon.places.failing(Rule("write", f"*/{self.name}-wal", errno.ENOSPC))

    def stopped(self):
        return self.daemon.places.failing(Rule("open", f"*/{self.name}*", errno.EIO))

    def broken(self, moment):
        """Some writes come through, some fail, and then all is well again."""
        return self.daemon.places.failing(Rule("write", f"*/{self.name}-wal", errno.EIO, first=moment, last=moment + 3))

    @contextlib.contextmanager
    def row(self):
        with contextlib.closing(self._connection()) as other:
            for table in self.tables:
                for event in ("insert", "update"):
                    other.execute(f"create trigger refuse_{table}_{event} before {event} on {table} when instr(new.path, "
                                  f"'{REFUSED}') begin select raise(abort, 'refused'); end")
        try:
            yield
        finally:
            with contextlib.closing(self._connection()) as other:
                for table in self.tables:
                    for event in ("insert", "update"):
                        other.execute(f"drop trigger refuse_{table}_{event}")


class _ServerFaults:
    """PostgreSQL, without an end of the server itself: that is the same for all who use it."""

    def __init__(self, daemon, key):
        self.server = daemon.catalogue.server
        self.uri = daemon.catalogue.keys[key]
        self.database = self.uri.rpartition("/")[2].partition("?")[0]
        self.tables = TABLES[key]

    def _do(self, *statements):
        for statement in statements:
            self.server.query(self.uri, statement)

    def _outside(self, *statements):
        for statement in statements:
            self.server.query(f"{self.server.uri}/postgres", statement)

    def _end_connections(self):
        self._outside(f"select pg_terminate_backend(pid, 5000) from pg_stat_activity where datname = '{self.database}'")

    @contextlib.contextmanager
    def _until(self, begin, end):
        begin()
        try:
            yield
        finally:
            end()

    def locked(self):
        import psycopg2  # pylint: disable=import-outside-toplevel
        other = psycopg2.connect(self.uri)
        with other.cursor() as cursor:
            cursor.execute(f"lock table {', '.join(self.tables)} in share row exclusive mode")
        return self._until(lambda: None, other.close)

    def read_only(self):
        def change(word):
            self._end_connections()
            self._outside(f"alter database {self.database} set default_transaction_read_only = {word}")
        return self._until(lambda: change("on"), lambda: change("off"))

    def stopped(self):
        def begin():
            self._outside(f"alter database {self.database} allow_connections false")
            self._end_connections()
        return self._until(begin, lambda: self._outside(f"alter database {self.database} allow_connections true"))

    def _trigger(self, condition, action, kind="trigger fault before", rest=""):
        def begin():
            self._do("create sequence if not exists fault_calls",
                     "create or replace function fault() returns trigger language plpgsql as $$ begin "
                     f"if {condition} then {action}; end if; return coalesce(new, old); end $$")
            for table in self.tables:
                self._do(f"create {kind} insert or update on {table} {rest} for each row execute function fault()")

        def end():
            for table in self.tables:
                self._do(f"drop trigger fault on {table}")
            self._do("drop function fault()", "drop sequence fault_calls")
        return self._until(begin, end)

    def full(self):
        return self._trigger("true", "raise exception 'no space' using errcode = '53100'")

    def commit(self):
        return self._trigger("true", "raise exception 'no space' using errcode = '53100'", "constraint trigger fault after",
                             "deferrable initially deferred")

    def broken(self, moment):
        """A row ends the connection, once."""
        return self._trigger(f"nextval('fault_calls') = {moment}", "perform pg_terminate_backend(pg_backend_pid())")

    def row(self):
        return self._trigger(f"position('{REFUSED}' in new.path) > 0", "raise exception 'refused' using errcode = '23514'")
