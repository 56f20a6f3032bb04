# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs one indexer cold inside the sandbox until its scan is over and writes down what that took.

The argument is a JSON object: `arguments` of the program; `end`, which tells what says that the scan is over (exit;
signal: SIGUSR1 to this process, whose id is in the pid file of the media server; line: a `text` in the file `path`;
update: the music player at the socket `path` has no update running; rows: what the query `sql` counts in the database `path` has
not grown for a while; the end is when it last did); `begin`, a file that shows that the scan has begun
by going, by coming or, with a `begin_text`, by holding that (without it the scan begins with the program); what to
`ask` the music player for first; `calls`, which has system calls counted; `ahead`, which keeps all at the priority that they are started
with; and `timeout`. Prints a JSON object.
"""
import ctypes
import json
import os
import re
import resource
import signal
import socket
import sqlite3
import sys
import time

PR_SET_CHILD_SUBREAPER = 36
SERVER_PID_FILE = "/var/run/dms.pid"

# As the daemon itself does, so that all compete with the rest of the machine in the same way.
NICENESS = 10

# What the kernel counts written bytes in, see getrusage(2).
BLOCK = 512

# After so many seconds without a further row there are no more to come.
SETTLED = 3

# How often the end is looked for where nothing tells it, and how often the memory of all processes is read.
TICK = 0.002
MEMORY_TICK = 0.05


# What a process lowers itself by below all others, against libseccomp's numbers for "allow" and "fail with EPERM".
PRIORITY_CALLS = (b"sched_setscheduler", b"sched_setattr")
ALLOW, FAIL = 0x7FFF0000, 0x00050001


def keep_priorities():
    """From now on nobody changes its scheduling. Some give way to whatever the machine does beside them, and so would come last where
    the others come first."""
    library = ctypes.CDLL("libseccomp.so.2")
    library.seccomp_init.restype = ctypes.c_void_p
    context = ctypes.c_void_p(library.seccomp_init(ALLOW))
    for call in PRIORITY_CALLS:
        if library.seccomp_rule_add(context, FAIL, library.seccomp_syscall_resolve_name(call), 0) != 0:
            raise RuntimeError(f"no rule for {call.decode()}")
    if library.seccomp_load(context) != 0:
        raise RuntimeError("the kernel takes no rules for system calls")


class Peaks:
    """The largest resident size of each program that was started, by the kernel's own high-water marks."""

    def __init__(self):
        self.kilobytes = {}
        self.next = 0
        self.others = {1, os.getpid(), os.getppid()}

    def look(self, now=False):
        if not now and time.monotonic() < self.next:
            return
        self.next = time.monotonic() + MEMORY_TICK
        for name in os.listdir("/proc"):
            if not name.isdigit() or int(name) in self.others:
                continue
            try:
                with open(f"/proc/{name}/status", encoding="latin-1") as status:
                    text = status.read()
            except OSError:
                continue
            found = re.search(r"^VmHWM:\s*(\d+)", text, re.MULTILINE)
            # Between fork and exec a process is still the one that measures.
            program = text.split("\n", 1)[0].split("\t")[1]
            if found and program != "python3":
                self.kilobytes[program] = max(int(found[1]), self.kilobytes.get(program, 0))


def ended_by_line(path, text):
    try:
        with open(path, "rb") as log:
            return text.encode() in log.read()
    except FileNotFoundError:
        return False


def rows_of(path, sql):
    """What a query counts; 0 as long as there is nothing to ask. Without locks, which whoever writes may not expect: for a moment it
    may not be true, which those who look after the end see."""
    try:
        connection = sqlite3.connect(f"file:{path}?immutable=1", uri=True)
    except sqlite3.DatabaseError:
        return 0
    try:
        return connection.execute(sql).fetchone()[0]
    except sqlite3.DatabaseError:
        return 0
    finally:
        connection.close()


class Begin:
    """Notes when the scan begins."""

    def __init__(self, request):
        self.path = request.get("begin")
        self.text = request.get("begin_text")
        self.there = bool(self.path) and os.path.exists(self.path)
        self.time = None if self.path else time.monotonic()

    def look(self):
        if self.time is None and (ended_by_line(self.path, self.text) if self.text
                                  else os.path.exists(self.path) != self.there):
            self.time = time.monotonic()


class Player:
    """The music player's socket: asked for its state once it listens, then waited on for a change of it."""

    def __init__(self, path, ask):
        self.path = path
        self.ask = ask
        self.socket = None
        self.songs = 0

    def _ask(self, command):
        self.socket.sendall(command.encode() + b"\n")
        answer = b""
        while not re.search(rb"^(OK|ACK)[^\n]*\n\Z", answer, re.MULTILINE):
            part = self.socket.recv(1 << 16)
            if not part:
                raise RuntimeError("the music player has hung up")
            answer += part
        return answer.decode()

    def ended(self, look):
        if not self.socket:
            try:
                connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
                connection.connect(self.path)
            except OSError:
                connection.close()
                return False
            self.socket = connection
            self.socket.recv(1 << 16)
            if self.ask:
                self._ask(self.ask)
        # It starts an update by itself when it has no database.
        if "updating_db" not in self._ask("status"):
            self.songs = int(re.search(r"^songs: (\d+)", self._ask("stats"), re.MULTILINE)[1])
            return self.songs > 0
        self.socket.settimeout(MEMORY_TICK)
        self.socket.sendall(b"idle update\n")
        while True:
            try:
                self.socket.recv(1 << 16)
                break
            except TimeoutError:
                look()
        self.socket.settimeout(None)
        return False


def wait(request, child, peaks, begin):
    """Returns when the scan is over, with what else is to be told of it."""
    limit = time.monotonic() + request["timeout"]
    rows = grown = 0
    player = Player(request["path"], request.get("ask")) if request["end"] == "update" else None
    while time.monotonic() < limit:
        peaks.look()
        begin.look()
        if request["end"] == "signal":
            if signal.sigtimedwait({signal.SIGUSR1}, TICK if begin.time is None else MEMORY_TICK):
                begin.look()
                return {}
        elif request["end"] == "exit":
            if os.waitid(os.P_PID, child, os.WEXITED | os.WNOWAIT | os.WNOHANG):
                return {}
            time.sleep(TICK)
        elif request["end"] == "line":
            if ended_by_line(request["path"], request["text"]):
                begin.look()
                return {}
            time.sleep(TICK)
        elif request["end"] == "rows":
            found = rows_of(request["path"], request["sql"])
            if found > rows:
                rows, grown = found, time.monotonic()
            elif rows > 0 and time.monotonic() - grown > SETTLED:
                return {"end": grown}
            if os.waitid(os.P_PID, child, os.WEXITED | os.WNOWAIT | os.WNOHANG):
                raise RuntimeError("it has ended before the scan was over")
            time.sleep(MEMORY_TICK)
        elif player.ended(peaks.look):
            begin.look()
            return {"songs": player.songs}
        else:
            time.sleep(TICK)
    raise RuntimeError("the scan does not end")


def stop_all(peaks):
    """Ends what was started and reaps it, so that its processor time is counted."""
    peaks.look(now=True)
    for name in os.listdir("/proc"):
        if name.isdigit() and int(name) not in peaks.others:
            try:
                os.kill(int(name), signal.SIGTERM)
            except ProcessLookupError:
                pass
    while True:
        try:
            os.wait()
        except ChildProcessError:
            return


CALLS = "/tmp/calls"


def counting(arguments):
    """The program with whatever it starts under the tracer, which counts."""
    return ["/usr/bin/strace", "-f", "-c", "-U", "calls", "-o", CALLS, *arguments]


def calls_counted():
    with open(CALLS, encoding="ascii") as text:
        return int(re.search(r"^ *(\d+) total$", text.read(), re.MULTILINE)[1])


def main():
    request = json.loads(sys.argv[1])
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    os.setpriority(os.PRIO_PROCESS, 0, NICENESS)
    if request.get("ahead"):
        keep_priorities()
    signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGUSR1})
    with open(SERVER_PID_FILE, "w", encoding="ascii") as file:
        file.write(str(os.getpid()))
    peaks = Peaks()
    output = (os.POSIX_SPAWN_OPEN, 1, "/tmp/output", os.O_WRONLY | os.O_CREAT, 0o644)
    start = time.monotonic()
    begin = Begin(request)
    arguments = counting(request["arguments"]) if request.get("calls") else request["arguments"]
    child = os.posix_spawn(arguments[0], arguments, dict(os.environ), setsigmask=[],
                           file_actions=[output, (os.POSIX_SPAWN_DUP2, 1, 2)])
    told = wait(request, child, peaks, begin)
    end = told.pop("end", time.monotonic())
    stop_all(peaks)
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    print(json.dumps({"wall": end - begin.time, "cold": end - start, "cpu": used.ru_utime + used.ru_stime, "user": used.ru_utime,
                      "system": used.ru_stime, "peak_kb": max(peaks.kilobytes.values(), default=0), "peaks": peaks.kilobytes,
                      "written": used.ru_oublock * BLOCK, **({"calls": calls_counted()} if request.get("calls") else {}), **told}))


main()
