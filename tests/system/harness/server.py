# SPDX-License-Identifier: GPL-2.0-or-later
"""PostgreSQL servers: the one that tests/postgres has started around the test run, and others of a test's own."""
import contextlib
import functools
import glob
import os
import signal
import subprocess
import tempfile
import time
import uuid

import psycopg2
import psycopg2.extras

from .sandbox import TREE


def program_of_server(name):
    return sorted(glob.glob(f"/usr/lib/postgresql/*/bin/{name}"), key=lambda path: int(path.split("/")[4]))[-1]


def run_as_server(*command):
    """Runs a program of the server's, which refuses to be root."""
    drop = ["setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups"] if os.getuid() == 0 else []
    subprocess.run([*drop, *command], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, cwd="/")


def runs(pid):
    """False for what has ended, though its parent may not have asked for it yet."""
    try:
        with open(f"/proc/{pid}/stat", encoding="ascii") as file:
            return file.read().rpartition(")")[2].split()[0] != "Z"
    except (FileNotFoundError, ProcessLookupError):
        return False


class Server:
    """`uri` names the server without a database, `folder` holds its `data` and its `socket`; `place` says where new
    databases go."""

    place = ""

    def __init__(self, uri, folder):
        self.uri = uri
        self.folder = folder
        self.connections = {}
        self.empty = []

    @classmethod
    @functools.cache
    def of_the_run(cls):
        assert "VELU_POSTGRESQL" in os.environ, "there is no server: run the tests through tests/postgres"
        return cls(os.environ["VELU_POSTGRESQL"], os.environ["VELU_POSTGRESQL_FOLDER"])

    def query(self, uri, sql, values=None):
        """Runs statements for themselves, with `values` in the places of "%s"; gives the rows of the last as
        dictionaries, bytes as latin-1 text."""
        kept = self.connections.get(uri)
        try:
            return self._query(kept or self._connect(uri), sql, values)
        except (psycopg2.OperationalError, psycopg2.InterfaceError):
            if not kept or not kept.closed:
                raise
            return self._query(self._connect(uri), sql, values)  # the server has ended meanwhile

    def _connect(self, uri):
        """A connection, which stays open: to prove that one knows the password takes longer than any question."""
        connection = self.connections[uri] = psycopg2.connect(uri)
        connection.autocommit = True
        connection.set_client_encoding("LATIN1")  # the server converts nothing
        return connection

    @staticmethod
    def _query(connection, sql, values):
        with connection.cursor(cursor_factory=psycopg2.extras.RealDictCursor) as cursor:
            cursor.execute(sql, values)
            return [dict(row) for row in cursor.fetchall()] if cursor.description else []

    def lend_database(self):
        """The URI of an empty database."""
        if self.empty:
            return self.empty.pop()
        name = f"velu_{uuid.uuid4().hex}"
        self.query(f"{self.uri}/postgres", f"create database {name} template template0 {self.place}")
        # The daemon's clock goes fast, and with it its patience.
        return f"{self.uri}/{name}?connect_timeout=600"

    def take_back(self, uri):
        """Empties a database for the next borrower, which takes a tenth of the time of making one."""
        self.query(uri, "select pg_terminate_backend(pid) from pg_stat_activity "
                        "where datname = current_database() and pid <> pg_backend_pid()")
        self.clear(uri)
        self.empty.append(uri)

    def clear(self, uri):
        """Takes everything out of a database."""
        self.query(uri, "drop schema public cascade; create schema public; grant usage on schema public to public")


class ServerOfATest(Server):
    """A server that the test may stop, kill and start again."""

    def __init__(self, uri, folder):
        super().__init__(uri, folder)
        self.data = f"{folder}/data"
        self.log = f"{self.data}/log"

    def _control(self, *arguments):
        run_as_server(program_of_server("pg_ctl"), "-D", self.data, "-w", *arguments)

    def start(self):
        self._control("-l", self.log, "start")

    def stop(self, mode="fast"):
        """Modes: `fast` ends the connections, `immediate` is as good as a kill."""
        self._control("-m", mode, "stop")

    def crash(self):
        """Kills what serves a client as it stands: the server then ends all others and recovers from its log. False when
        there is none, or none any more."""
        found = self.query(f"{self.uri}/postgres", "select pid from pg_stat_activity where "
                                                   "application_name = 'veluindexd' limit 1")
        try:
            for backend in found:
                os.kill(backend["pid"], signal.SIGKILL)
        except ProcessLookupError:
            return False
        return bool(found)

    def stand_still(self):
        """Stops what serves the daemons, and what lets them in. Gives the processes."""
        found = self.query(f"{self.uri}/postgres", "select pid from pg_stat_activity where "
                                                   "application_name = 'veluindexd'")
        processes = [row["pid"] for row in found] + self._processes()[:1]
        for pid in processes:
            os.kill(pid, signal.SIGSTOP)
        return processes if found else []

    @staticmethod
    def go_on(processes):
        for pid in processes:
            os.kill(pid, signal.SIGCONT)

    def _processes(self):
        """The server's first process, then those that it has started."""
        with open(f"{self.data}/postmaster.pid", encoding="ascii") as file:
            first = int(file.readline())
        with open(f"/proc/{first}/task/{first}/children", encoding="ascii") as file:
            return [first, *map(int, file.read().split())]

    def kill(self):
        """Kills the server with all its processes: what they had not yet given to the kernel is lost."""
        processes = self._processes()
        for pid in processes:
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)
        for pid in processes:
            while runs(pid):
                time.sleep(0.001)
        # Where init is slow to ask for them, their numbers are still taken.
        for lock in (f"{self.data}/postmaster.pid", *glob.glob(f"{self.folder}/socket/.s.*.lock")):
            os.unlink(lock)

    def forget_connections(self):
        """Asks on new ones from now on."""
        for connection in self.connections.values():
            connection.close()
        self.connections.clear()

    def close(self):
        self.forget_connections()


class OwnServer(ServerOfATest):
    """One that tests/postgres makes."""

    def __init__(self, wrapper=()):
        # The shell tells what tests/postgres gives to a command, then waits for the end of its input.
        self.process = subprocess.Popen(
            [*wrapper, TREE / "tests/postgres", "sh", "-c", 'echo "$VELU_POSTGRESQL"; echo "$VELU_POSTGRESQL_FOLDER"; cat'],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        uri, folder = (self.process.stdout.readline().strip() for _ in range(2))
        assert folder, "tests/postgres has failed"
        super().__init__(uri, folder)

    def close(self):
        super().close()
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


class SmallServer(OwnServer):
    """A server whose databases lie on a small file system, which only its own namespace sees."""

    def __init__(self):
        self.disk = tempfile.mkdtemp(prefix="velu-small-", dir="/tmp")
        mount = f'mount -t tmpfs -o size=100m,mode=777 none {self.disk} && exec "$@"'
        super().__init__(["unshare", "-m", "sh", "-c", mount, "sh"])
        self.query(f"{self.uri}/postgres", f"create tablespace small location '{self._folder()}'")
        self.place = "tablespace small"

    def _inside(self, *command):
        subprocess.run(["nsenter", "-t", str(self.process.pid), "-m", *command], check=True)

    def _folder(self):
        folder = f"{self.disk}/databases"
        self._inside("mkdir", folder)
        if os.getuid() == 0:
            self._inside("chown", "postgres:postgres", folder)
        return folder

    def leave(self, kilobytes):
        """Makes the file system so large that this much is free."""
        self.query(f"{self.uri}/postgres", "checkpoint")  # what is not written yet needs its place too
        used = subprocess.run(["nsenter", "-t", str(self.process.pid), "-m", "df", "--output=used", self.disk],
                              check=True, capture_output=True, text=True).stdout.split()[-1]
        self._inside("mount", "-o", f"remount,size={int(used) + kilobytes}k", self.disk)

    def close(self):
        super().close()
        os.rmdir(self.disk)
