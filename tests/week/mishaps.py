# SPDX-License-Identifier: GPL-2.0-or-later
"""What goes wrong with a machine meanwhile, at random. Each mishap ends after a while, or when all is to be well again."""
import os
import signal
import time

from box import STATE, UNITS
from figures import processes_of

LONG = (5, 60)  # seconds that something is away
FILLER = "filler"


class Mishaps:
    """`undone`: by when what has to be put right again."""

    def __init__(self, random, box):
        self.random, self.box = random, box
        self.undone = []
        self.counts = {}

    def kinds(self):
        kinds = {"kill_daemon": 4, "kill_reader": 4, "kill_watcher": 2, "restart": 3, "stop_daemon": 2, "stop_watcher": 1, "fill_disk": 3, "hold_reader": 1,
                 "reboot": 0.3}
        if self.box.engine == "postgresql":
            kinds |= {"stop_server": 4, "restart_server": 2, "kill_server": 2}
        return kinds

    def one(self):
        kinds = self.kinds()
        kind = self.random.choices(list(kinds), kinds.values())[0]
        self.counts[kind] = self.counts.get(kind, 0) + 1
        getattr(self, kind)()
        return kind

    def due(self):
        """Puts right what is due."""
        for entry in [entry for entry in self.undone if entry[0] <= time.monotonic()]:
            self.undone.remove(entry)
            entry[1]()

    def end_all(self):
        while self.undone:
            self.undone.pop(0)[1]()

    def later(self, undo):
        self.undone.append((time.monotonic() + self.random.uniform(*LONG), undo))

    def kill(self, name, number=signal.SIGKILL):
        found = [process for process in processes_of(self.box) if process.name == name]
        if found:
            os.kill(self.random.choice(found).pid, number)

    def kill_daemon(self):
        self.kill("veluindexd")

    def kill_watcher(self):
        self.kill("veluwatchd")

    def kill_reader(self):
        self.kill(self.random.choice(("velureader", "velureader-film")))

    def hold_reader(self):
        """It is ended by the daemon when its time is over."""
        self.kill("velureader", signal.SIGSTOP)

    def restart(self):
        self.box.run("systemctl", "restart", self.random.choice(UNITS))

    def stop_daemon(self):
        self.stop("veluindexd")

    def stop_watcher(self):
        self.stop("veluwatchd")

    def stop_server(self):
        self.stop("postgresql@*")

    def stop(self, unit):
        self.box.run("systemctl", "stop", unit)
        self.later(lambda: self.box.run("systemctl", "start", unit.replace("@*", "")))

    def restart_server(self):
        self.box.run("systemctl", "restart", "postgresql")

    def kill_server(self):
        """Which its own parent brings back, or systemd does later."""
        self.kill("postgres")
        self.later(lambda: self.box.run("systemctl", "restart", "postgresql"))

    def fill_disk(self):
        filler = self.box.path(f"{STATE}/{FILLER}")
        room = os.statvfs(self.box.disk)
        try:
            with open(self.box.disk / FILLER, "wb") as file:
                os.posix_fallocate(file.fileno(), 0, room.f_bavail * room.f_frsize)
        except OSError:
            pass  # others have taken the rest
        self.later(lambda: filler.unlink(missing_ok=True))

    def reboot(self):
        self.end_all()
        self.box.halt()
        self.box.boot()
