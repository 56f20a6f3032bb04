# SPDX-License-Identifier: GPL-2.0-or-later
"""The daemon in its sandbox: configuration, start, queue, signals, catalogue, log."""
import itertools
import json
import os
import re
import signal
import time

from . import catalogue
from .log import LOG_ERR
from .sandbox import Sandbox, SandboxError

QUEUE = "/var/spool/velu_indexing_queue"
WORKING_COPY = QUEUE + ".tmp"
KEPT = QUEUE + ".kept"  # requests that could not be stored
ALL_FILES = QUEUE, WORKING_COPY, KEPT
PID_FILE = "/var/run/veluindexd.pid"
CLOCK = "/tmp/clock"
CONVERTER = "/usr/velu/bin/veluflvconv"
CONVERTER_JOURNAL = "/tmp/converter"
PEER_MARK = signal.SIGUSR2  # asks a peer to write down what it has got
THUMB_QUEUE = "/var/spool/thumb_create.queue"
FLV_QUEUE = "/var/spool/flv_create.queue"
THUMB_DAEMON, FLV_DAEMON = "velumkthumbd", "velumkflvd"

# How many times faster than the wall's the daemon's clock goes: its 10 seconds of sleep become 0.2.
SPEED = 50
# Seconds: a machine that builds beside may stand still for a minute.
PATIENCE = 180
# Seconds between two looks at what is waited for. Most is there within moments; looking costs, too, of which other tests wait.
FIRST_PAUSE, LAST_PAUSE = 0.002, 0.02


def wait_for(condition, what, timeout=PATIENCE, pause=None):
    """Waits until `condition` holds and gives its value. `pause`: seconds between two looks, where the moment matters."""
    end = time.monotonic() + timeout
    between = FIRST_PAUSE if pause is None else pause
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"waited {timeout} s in vain for {what}")
        time.sleep(between)
        if pause is None:
            between = min(between * 1.5, LAST_PAUSE)


class Daemon:
    """One daemon binary in one sandbox. `speed` 1 is the real clock; a moving clock can be set ahead. Its catalogues
    are SQLite files or, with a `server`, databases of that."""

    def __init__(self, binary, library, speed=SPEED, photo=True, cinehall=True, binds=(),
                 moving_clock=False, server=None):
        self.binary = str(binary)
        self.library = library
        self.speed = speed
        self.moving_clock = moving_clock
        self.box = Sandbox(binds)
        self.log = self.box.log
        self.pid = 0
        self.box.open()
        self.catalogue = catalogue.ServerCatalogues(server) if server else catalogue.SqliteCatalogues(self.box)
        self.configure()
        self.write("/etc.defaults/veluinfo.conf",
                   f'supportphoto="{"yes" if photo else "no"}"\n'
                   f'supportcinehall="{"yes" if cinehall else "no"}"\n')
        self.write(CONVERTER, f'#!/bin/sh\nprintf "%s\\n" "$*" >>{CONVERTER_JOURNAL}\n')
        os.chmod(self.box.path(CONVERTER), 0o755)
        self.set_clock(0)
        self.peers = {}
        for name in ("mt-daapd", "dms"):
            self.start_peer(name)

    def start_peer(self, name, uid=0):
        """Starts a process that stands in for another daemon of the appliance, with its pid file."""
        self.write(self._journal(name))
        self.peers[name] = self.box.ask("peer", pid_file=f"/var/run/{name}.pid", journal=self._journal(name),
                                        uid=uid)["pid"]

    @staticmethod
    def _journal(name):
        return f"/tmp/peer.{name}"

    # --- files of the sandbox

    def write(self, path, content=b""):
        """Writes a file, and the folders above it. Gives its path."""
        host = self.box.path(path)
        os.makedirs(os.path.dirname(host), exist_ok=True)
        with open(host, "wb") as file:
            file.write(content.encode("latin-1") if isinstance(content, str) else content)
        return path

    def copy(self, source, path):
        """Puts a file of the host into the sandbox."""
        with open(source, "rb") as file:
            return self.write(path, file.read())

    def read(self, path):
        with open(self.box.path(path), "rb") as file:
            return file.read()

    def mkdir(self, path):
        os.makedirs(self.box.path(path), exist_ok=True)
        return path

    def remove(self, path):
        os.unlink(self.box.path(path))

    def exists(self, path):
        return os.path.lexists(self.box.path(path))

    def configure(self, sample="", **keys):
        """Writes the configuration: what `sample` says, the keys of the catalogues, and `keys`."""
        keys = {**self.catalogue.keys, **keys}
        self.write("/etc/veluinfo.conf", sample + "".join(f'{key}="{value}"\n' for key, value in keys.items()))

    # --- life

    def set_clock(self, seconds):
        """Sets a moving clock so many seconds ahead of the host's."""
        # Replaced whole, so that it is never read half written.
        self.write(CLOCK + ".new", f"+{seconds} x{self.speed}\n")
        os.replace(self.box.path(CLOCK + ".new"), self.box.path(CLOCK))

    def environment(self):
        setting = {
            # Giving memory back, the allocator would ask for the time with its locks held, and the library that makes
            # the clock go faster allocates when it is first asked.
            "ASAN_OPTIONS": "log_path=/tmp/sanitizer:verify_asan_link_order=0:detect_leaks=0:handle_abort=1:"
                            "allocator_release_to_os_interval_ms=-1",
            "UBSAN_OPTIONS": "log_path=/tmp/sanitizer:print_stacktrace=1",
            "TZ": "UTC",
        }
        if self.speed != 1:
            setting |= {"LD_PRELOAD": self.library, "NO_FAKE_STAT": "1"}
            if self.moving_clock:
                setting |= {"FAKETIME_TIMESTAMP_FILE": CLOCK, "FAKETIME_NO_CACHE": "1"}
            else:
                setting |= {"FAKETIME": f"+0 x{self.speed}"}
        return setting

    def run(self, *arguments, wrapper=()):
        """Runs the binary until it, or the process that it leaves in the foreground, has ended."""
        return self.box.ask("run", arguments=[*wrapper, self.binary, *arguments],
                            environment=self.environment(), timeout=PATIENCE)

    @property
    def ctl_program(self):
        """The control tool beside the binary."""
        return os.path.join(os.path.dirname(self.binary), "veluctl")

    def ctl(self, *arguments, user=None, clock=False):
        """Runs the control tool, as root or as another user's id; with `clock` on the daemon's clock. Gives its status and
        what it printed."""
        drop = ["/usr/bin/setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups"] if user else []
        program = self._ctl_for_everybody() if user else self.ctl_program
        environment = {**(self.environment() if clock else {}), "TZ": "UTC", "LC_ALL": "C.UTF-8"}
        return self.box.ask("run", arguments=[*drop, program, *arguments], environment=environment,
                            timeout=PATIENCE)

    def _ctl_for_everybody(self):
        """The control tool with its modules where every user may run it, as the source tree need not be."""
        for folder in ("/", "/etc", "/run", "/tmp", "/var", "/var/lib", "/volume1"):
            os.chmod(self.box.path(folder), 0o755)
        tree = os.path.dirname(os.path.dirname(self.binary))
        modules = [f"lib/velu/{name}" for name in os.listdir(f"{tree}/lib/velu")]
        for name in ("bin/veluctl", *modules):
            self.copy(f"{tree}/{name}", f"/tmp/installed/{name}")
            os.chmod(self.box.path(f"/tmp/installed/{name}"), 0o755)
        return "/tmp/installed/bin/veluctl"

    def ctl_json(self, *arguments):
        """The answer that the control tool gives to a program."""
        return json.loads(self.ctl(*arguments, "--json")["out"].encode("latin-1"))

    def start(self, idle=True, wrapper=()):
        """Starts the daemon, `wrapper` being the command that starts it, and waits until its handlers are in place and,
        unless `idle` is False, until it has done what it found in the queue and sleeps."""
        done = self.run(wrapper=wrapper)
        if done["status"] != 0:
            raise AssertionError(f"the daemon does not start: {done}")
        self.pid = wait_for(self.pid_in_file, "the pid file")
        wait_for(self.handles_signals, "the signal handlers")
        if idle:
            wait_for(self.idle, "the main loop")
        return self

    def pid_in_file(self):
        try:
            text = self.read(PID_FILE)
        except FileNotFoundError:
            return 0
        return int(text) if text.isdigit() and self.alive(int(text)) else 0

    def status_field(self, name):
        """A field of /proc/PID/status, or None when the daemon is dead."""
        text = self.box.ask("proc", pid=self.pid, name="status")["text"]
        found = text and re.search(rf"^{name}:\s*(\S+)", text, re.MULTILINE)
        return found[1] if found else None

    def handles_signals(self):
        caught = int(self.status_field("SigCgt") or "0", 16)
        return all(caught >> (number - 1) & 1 for number in (signal.SIGUSR1, signal.SIGTERM))

    def alive(self, pid=None):
        state = self.box.ask("proc", pid=pid or self.pid, name="stat")["text"]
        return bool(state) and state.rsplit(")", 1)[1].split()[0] != "Z"

    def children(self):
        """The ids of the daemon's children, zombies included."""
        return self.box.ask("children", pid=self.pid)["pids"]

    def idle(self):
        """True while the main loop sleeps: nothing of the start or of a run is left to do."""
        # At the start and in a run, too, a library may sleep for a lock; then its files are open.
        return self._sleeps() and not self._works() and self._sleeps()

    def _sleeps(self):
        return "nanosleep" in (self.box.ask("proc", pid=self.pid, name="wchan")["text"] or "")

    def _works(self):
        return any(link == WORKING_COPY or ".db" in link for link in self.box.ask("descriptors", pid=self.pid)["links"])

    def signal(self, number=signal.SIGUSR1):
        return self.box.ask("kill", pid=self.pid, number=int(number))["sent"]

    def wait_gone(self, pid=None):
        # Until it is reaped, its pid still counts as alive for a second start.
        wait_for(lambda: self.box.ask("proc", pid=pid or self.pid, name="stat")["text"] is None, "the daemon's end")

    def stop(self):
        self.signal(signal.SIGTERM)
        self.wait_gone()
        self.pid = 0

    def kill(self):
        self.signal(signal.SIGKILL)
        self.wait_gone()
        self.pid = 0

    def kill_in_run(self, delay, number=None):
        """Has the queue worked through and ends the daemon, by SIGKILL or another signal, so many seconds after it
        has taken the queue over."""
        self.box.ask("kill_when", pid=self.pid, number=int(number or signal.SIGKILL), path=WORKING_COPY, delay=delay,
                     timeout=PATIENCE, before=int(signal.SIGUSR1))
        self.wait_gone()
        self.pid = 0

    # --- queue

    def queue(self, *lines):
        """Appends lines to the queue, as the appliance's programs do."""
        with open(self.box.path(QUEUE), "ab") as file:
            for line in lines:
                file.write((line.encode("latin-1") if isinstance(line, str) else line) + b"\n")

    def done(self):
        """True when no request waits, in whatever file."""
        return not any(self.exists(path) for path in ALL_FILES)

    def wait_done(self):
        """Waits until every request is done, and the run that did it is over: it wakes the media servers at its end."""
        wait_for(lambda: self.done() and self.idle(), "all requests to be done")

    def index_queue_as_it_is(self):
        """Signals for a queue that the test has written itself, and waits until the run is over."""
        before = self.wakes("dms")
        self.signal()
        self.wait_run(before)

    def peer_signals(self, name):
        """What a peer has written down of the daemon's signals, which it may do some time after they were sent."""
        return [line for line in self._peer_journal(name) if line != PEER_MARK.name]

    def _peer_journal(self, name):
        return self.read(self._journal(name)).decode().split()

    def wakes(self, name):
        """How many times a peer was sent SIGUSR1 so far. Of the signals that wait, a process gets the one with the
        lowest number first: a mark of a higher one comes last."""
        marks = self._peer_journal(name).count(PEER_MARK.name)
        self.box.ask("kill", pid=self.peers[name], number=int(PEER_MARK))
        wait_for(lambda: self._peer_journal(name).count(PEER_MARK.name) > marks, f"{name} to answer")
        return self.peer_signals(name).count("SIGUSR1")

    def lines(self, path):
        """The lines of a file as latin-1 text; none when it is not there."""
        return self.read(path).decode("latin-1").split("\n")[:-1] if self.exists(path) else []

    def converter_calls(self):
        """The arguments of each call of the video converter."""
        return self.lines(CONVERTER_JOURNAL)

    def index(self, *lines, timeout=PATIENCE):
        """Queues lines, signals, and waits until the run is over. Gives the log lines of the run."""
        first = len(self.log.lines)
        before = self.wakes("dms")
        kept = self.exists(KEPT)
        self.queue(*lines)
        self.signal()
        self.wait_run(before, timeout)
        if kept:  # it may have been a run for what was kept, before that of the queue
            wait_for(lambda: not self.exists(QUEUE) and (not self.exists(WORKING_COPY) or self.idle()), "the queue's run",
                     timeout)
        return self.log.texts()[first:]

    def wait_run(self, before, timeout=PATIENCE):
        """Waits for the end of a run: the media server was signalled once more than `before` times."""
        looks = itertools.count(1)

        def over():
            if len(self.peer_signals("dms")) > before:
                return True
            # To ask for it takes longer than the look.
            if next(looks) % 20 == 0 and not self.alive():
                raise AssertionError(f"the daemon has died; log: {self.log.texts()[-20:]}")
            return False
        wait_for(over, "the end of the run", timeout)

    # --- catalogue

    def rows(self, table):
        return self.catalogue.rows(table)

    def row(self, table, path):
        """The row of a path, or None."""
        found = [row for row in self.rows(table) if row["path"] == path]
        return found[0] if found else None

    def store(self, sql, *values):
        """Writes to the photo catalogue: what another program on the appliance has stored there."""
        self.catalogue.store(sql, values)

    def paths(self, table):
        return [row["path"] for row in self.rows(table)]

    def media_paths(self):
        """The paths of all four media tables."""
        return sorted(path for table in catalogue.MEDIA_TABLES for path in self.paths(table))

    def snapshot(self):
        return catalogue.snapshot(self.catalogue)

    # --- log

    def logged(self, module, message):
        """How many error lines read `module (line) message` or `module:line message`, word for word; no module
        stands for any."""
        name = re.escape(module) if module else r"\w+\.c"
        shape = re.compile(name + r"(?: ?\(\d+\):?|:\d+) " + re.escape(message), re.DOTALL)
        return sum(1 for line in self.log.lines
                   if line.severity == LOG_ERR and shape.fullmatch(line.text))

    def check_sanitizers(self):
        """Fails when a sanitizer has written a report."""
        folder = self.box.path("/tmp")
        reports = [name for name in os.listdir(folder) if name.startswith("sanitizer.")]
        if reports:
            raise AssertionError(self.read(f"/tmp/{reports[0]}").decode("latin-1"))

    def close(self):
        self.box.close()
        self.catalogue.close()


__all__ = ["Daemon", "SandboxError", "wait_for"]
