# SPDX-License-Identifier: GPL-2.0-or-later
"""What stands between daemons and servers: pgbouncer and pgpool-II, with the configuration of docs/operating.md."""
import contextlib
import os
import signal
import socket

from .clusters import PASSWORD, ROLE, free_port
from .daemon import wait_for
from .documented import documented
from .server import run_as_server, runs


class Pooler:
    """A program that runs in a folder of `clusters` and listens at `hosts`."""

    program = ""

    def __init__(self, clusters, name):
        self.folder = clusters.new_folder(name)
        self.pid_file = f"{self.folder}/{self.program}.pid"
        self.port = free_port()
        self.hosts = f"127.0.0.1:{self.port}"

    def _write(self, name, text):
        path = f"{self.folder}/{name}"
        with open(path, "w", encoding="ascii") as file:
            file.write(text)
        return path

    def _wait_listening(self):
        def listens():
            with contextlib.suppress(ConnectionRefusedError), socket.create_connection(("127.0.0.1", self.port)):
                return True
            return False
        wait_for(listens, "the pooler")

    def kill(self):
        """Ends it as it stands; its clients and its connections to servers break."""
        with open(self.pid_file, encoding="ascii") as file:
            pid = int(file.readline())
        os.kill(pid, signal.SIGKILL)
        wait_for(lambda: not runs(pid), "its end")
        os.unlink(self.pid_file)


class Bouncer(Pooler):
    """pgbouncer before one server, in a pooling mode, with at most so many connections for each database."""

    program = "pgbouncer"

    def __init__(self, clusters, name, node, mode, size):
        super().__init__(clusters, name)
        users = self._write("users", f'"{ROLE}" "{PASSWORD}"\n')
        self.configuration = self._write("pgbouncer.ini", documented("/etc/pgbouncer/pgbouncer.ini", {
            "host=db1 port=5432": f"host=127.0.0.1 port={node.port}", "listen_port = 6432": f"listen_port = {self.port}",
            "/etc/pgbouncer/userlist.txt": users, "pool_mode = transaction": f"pool_mode = {mode}",
            "default_pool_size = 3": f"default_pool_size = {size}",
        }) + f"logfile = {self.folder}/log\npidfile = {self.pid_file}\nunix_socket_dir =\n"
             # In the seconds of a test: how long a server that was away is let be.
             "server_login_retry = 0.2\n")
        self.start()

    def start(self):
        run_as_server(f"/usr/sbin/{self.program}", "-q", "-d", self.configuration)
        self._wait_listening()


class Pgpool(Pooler):
    """pgpool-II before a primary and a replica, to which it sends what only reads."""

    program = "pgpool"

    def __init__(self, clusters, name, primary, replica):
        super().__init__(clusters, name)
        self._write("pool_passwd", f"{ROLE}:TEXT{PASSWORD}\n")
        rules = self._write("pool_hba.conf", documented("/etc/pgpool2/pool_hba.conf", {}))
        replaced = {
            "hostname0 = 'db1'": "hostname0 = '127.0.0.1'", "backend_port0 = 5432": f"backend_port0 = {primary.port}",
            "hostname1 = 'db2'": "hostname1 = '127.0.0.1'", "backend_port1 = 5432": f"backend_port1 = {replica.port}",
            "port = 5433": f"port = {self.port}",
        }
        self.configuration = self._write("pgpool.conf", documented("/etc/pgpool2/pgpool.conf", replaced) +
                                         f"pid_file_name = '{self.pid_file}'\nsocket_dir = '{self.folder}'\n"
                                         f"pcp_socket_dir = '{self.folder}'\npcp_port = {free_port()}\nlogdir = '{self.folder}'\n"
                                         "num_init_children = 6\n")
        self.accounts = self._write("pcp.conf", "")
        run_as_server(f"/usr/sbin/{self.program}", "-f", self.configuration, "-a", rules, "-F", self.accounts, "-D")
        self._wait_listening()
