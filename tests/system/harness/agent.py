# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs inside the sandbox and does there what only a process of its own namespaces can: start programs, signal
and watch them. Commands come as JSON, one a line, on standard input; each is answered by one JSON line.

Bytes travel as latin-1 text. The sandbox, with all that runs in it, ends with this process.
"""
import contextlib
import json
import os
import signal
import subprocess
import sys
import time


def run(arguments, environment, timeout):
    """Runs a program to its end. A program that goes to the background counts as ended."""
    done = subprocess.run(
        [argument.encode("latin-1") for argument in arguments],
        stdin=subprocess.DEVNULL,
        capture_output=True,
        env={**os.environ, **environment},
        timeout=timeout,
    )
    return {
        "status": done.returncode,
        "out": done.stdout.decode("latin-1"),
        "err": done.stderr.decode("latin-1"),
    }


STARTED = {}


def start(arguments, environment, out):
    """Starts a program that stays in the foreground; what it prints goes to the file `out`."""
    with open(out, "ab") as words:
        program = subprocess.Popen([argument.encode("latin-1") for argument in arguments], stdin=subprocess.DEVNULL,
                                   stdout=words, stderr=words, env={**os.environ, **environment})
    STARTED[program.pid] = program
    return {"pid": program.pid}


def wait(pid, timeout):
    """Waits for the end of a program that was started."""
    return {"status": STARTED[pid].wait(timeout)}


def run_without_null(arguments, environment):
    """As `run`, where /dev/null is no device."""
    pid = os.posix_spawn(arguments[0], arguments, {**os.environ, **environment})
    return {"status": os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])}


def peer(pid_file, journal, uid):
    """Starts a process of the user `uid` that stands in for a media server: it writes down each signal it gets."""
    signals = {signal.SIGHUP, signal.SIGUSR1, signal.SIGUSR2}
    signal.pthread_sigmask(signal.SIG_BLOCK, signals)
    pid = os.fork()
    if pid == 0:
        with open(journal, "ab", buffering=0) as lines:
            os.setuid(uid)
            while True:
                lines.write(f"{signal.Signals(signal.sigwait(signals)).name}\n".encode())
    signal.pthread_sigmask(signal.SIG_UNBLOCK, signals)
    with open(pid_file, "w", encoding="ascii") as text:
        text.write(f"{pid}\n")
    return {"pid": pid}


def kill(pid, number):
    try:
        os.kill(pid, number)
    except ProcessLookupError:
        return {"sent": False}
    return {"sent": True}


def kill_when(pid, number, path, delay, timeout):
    """Signals a process once a file has come up and `delay` seconds have passed."""
    end = time.monotonic() + timeout
    while not os.path.lexists(path):
        if time.monotonic() > end:
            return {"sent": False}
        time.sleep(0.0005)
    time.sleep(delay)
    return kill(pid, number)


def flood(pid, number, until, limit):
    """Signals a process over and over until a file has gone, at most `limit` times."""
    begin = time.monotonic()
    for sent in range(1, limit + 1):
        os.kill(pid, number)
        # A pause lets the process take the signal: signals of one kind do not queue up.
        time.sleep(0.00005)
        if sent % 64 == 0 and not os.path.exists(until):
            return {"sent": sent, "seconds": time.monotonic() - begin, "gone": True}
    return {"sent": limit, "seconds": time.monotonic() - begin, "gone": False}


def append_for_ever(program, folder):
    """Makes one file after the other and has each queued by a run of `program` of its own."""
    number = 0
    while True:
        path = f"{folder}/{number}.pcm"
        os.close(os.open(path, os.O_CREAT | os.O_WRONLY, 0o644))
        pid = os.posix_spawn(program, [program, "add", "--no-signal", path], os.environ,
                             file_actions=[(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)])
        status = os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])
        if status != 0:
            os._exit(status)
        number += 1
        if os.path.exists("/tmp/hammer.end"):
            os._exit(0)


def hammer(program, folders, pid, journal, runs, timeout):
    """Has one writer for each folder append to the queue without a pause, while the process takes it over so many times.
    Gives the number of runs and how the writers ended."""
    end = time.monotonic() + timeout
    writers = []
    for folder in folders:
        os.makedirs(folder)
        writer = os.fork()
        if writer == 0:
            append_for_ever(program, folder)
        writers.append(writer)
    done = 0
    while done < runs and time.monotonic() < end:
        if not os.path.exists("/var/spool/velu_indexing_queue"):
            time.sleep(0.0002)
            continue
        before = os.path.getsize(journal)
        os.kill(pid, signal.SIGUSR1)
        while os.path.getsize(journal) == before and time.monotonic() < end:
            time.sleep(0.0002)
        done += 1
    os.close(os.open("/tmp/hammer.end", os.O_CREAT | os.O_WRONLY, 0o644))
    return {"runs": done, "statuses": [os.waitstatus_to_exitcode(os.waitpid(writer, 0)[1]) for writer in writers]}


def proc(pid, name):
    """The text of a file of /proc/PID, or null when there is no such process."""
    try:
        with open(f"/proc/{pid}/{name}", "rb") as text:
            return {"text": text.read().decode("latin-1")}
    except (FileNotFoundError, ProcessLookupError):
        return {"text": None}


def children(pid):
    """The ids of the processes, zombies included, that a process has started."""
    found = []
    for name in os.listdir("/proc"):
        text = proc(name, "stat")["text"] if name.isdigit() else None
        if text and int(text.rsplit(")", 1)[1].split()[1]) == pid:
            found.append(int(name))
    return {"pids": found}


def descriptors(pid):
    """What the open descriptors of a process are, in their order."""
    folder = f"/proc/{pid}/fd"
    links = []
    for number in sorted(os.listdir(folder), key=int):
        with contextlib.suppress(FileNotFoundError):  # closed meanwhile
            links.append(os.readlink(f"{folder}/{number}"))
    return {"links": links}


COMMANDS = {
    "run": run,
    "start": start,
    "wait": wait,
    "run_without_null": run_without_null,
    "peer": peer,
    "kill": kill,
    "kill_when": kill_when,
    "flood": flood,
    "hammer": hammer,
    "proc": proc,
    "children": children,
    "descriptors": descriptors,
    "hello": lambda: {},
}


def main():
    for line in sys.stdin:
        request = json.loads(line)
        try:
            answer = COMMANDS[request.pop("command")](**request)
        except Exception as problem:  # pylint: disable=broad-except
            answer = {"error": repr(problem)}
        print(json.dumps(answer), flush=True)


main()
