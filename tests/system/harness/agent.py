# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs inside the sandbox and does there what only a process of its own namespaces can: start programs, signal
and watch them. Commands come on standard input, as dictionaries; each is answered by another on standard output.

Bytes travel as latin-1 text. The sandbox, with all that runs in it, ends with this process.

Every test starts one of these. It takes its modules from the interpreter itself: those of the library that do the same
(json, subprocess, signal, contextlib) take three times as long to load as all the rest of the start.
"""
import _signal as signal
import marshal
import os
import select
import sys
import time

NULL = "/dev/null"
# What Python ignores and other programs do not expect to find ignored.
IGNORED = (signal.SIGPIPE, signal.SIGXFSZ)
NAMES = {signal.SIGHUP: "SIGHUP", signal.SIGUSR1: "SIGUSR1", signal.SIGUSR2: "SIGUSR2"}
READ_SIZE = 1 << 16


def spawn(arguments, environment, out, err):
    """Starts a program whose output goes to descriptors."""
    actions = [(os.POSIX_SPAWN_OPEN, 0, NULL, os.O_RDONLY, 0), (os.POSIX_SPAWN_DUP2, out, 1), (os.POSIX_SPAWN_DUP2, err, 2)]
    bytes_of = [argument.encode("latin-1") for argument in arguments]
    return os.posix_spawnp(bytes_of[0], bytes_of, {**os.environ, **environment}, file_actions=actions, setsigdef=IGNORED)


def ended(pid, end):
    """Waits for the end of a child, which is killed when it is not there in time. Gives its status."""
    child = os.pidfd_open(pid)
    poll = select.poll()
    poll.register(child, select.POLLIN)
    in_time = poll.poll(max(end - time.monotonic(), 0) * 1000)
    os.close(child)
    if not in_time:
        os.kill(pid, signal.SIGKILL)
    status = os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])
    if not in_time:
        raise TimeoutError(f"{pid} did not end in time")
    return status


def read_all(streams, end):
    """Reads several descriptors up to their ends, or for as long as there is time. Gives what each of them had."""
    had = {stream: [] for stream in streams}
    poll = select.poll()
    for stream in streams:
        poll.register(stream, select.POLLIN)
    left = len(streams)
    while left and time.monotonic() < end:
        for stream, _ in poll.poll(max(end - time.monotonic(), 0) * 1000):
            part = os.read(stream, READ_SIZE)
            had[stream].append(part)
            if not part:
                poll.unregister(stream)
                left -= 1
    return [b"".join(had[stream]).decode("latin-1") for stream in streams]


def run(arguments, environment, timeout):
    """Runs a program to its end. A program that goes to the background, and keeps nothing of this output, counts as ended."""
    end = time.monotonic() + timeout
    (out, to_out), (err, to_err) = os.pipe(), os.pipe()
    try:
        pid = spawn(arguments, environment, to_out, to_err)
    finally:
        os.close(to_out)
        os.close(to_err)
    said = read_all((out, err), end)
    os.close(out)
    os.close(err)
    return {"status": ended(pid, end), "out": said[0], "err": said[1]}


def start(arguments, environment, out):
    """Starts a program that stays in the foreground; what it prints goes to the file `out`."""
    words = os.open(out, os.O_WRONLY | os.O_APPEND | os.O_CREAT, 0o666)
    try:
        return {"pid": spawn(arguments, environment, words, words)}
    finally:
        os.close(words)


def wait(pid, timeout):
    """Waits for the end of a program that was started."""
    return {"status": ended(pid, time.monotonic() + timeout)}


def run_without_null(arguments, environment):
    """As `run`, where /dev/null is no device."""
    pid = os.posix_spawn(arguments[0], arguments, {**os.environ, **environment})
    return {"status": os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])}


def peer(pid_file, journal, uid):
    """Starts a process of the user `uid` that stands in for a media server: it writes down each signal it gets."""
    signals = set(NAMES)
    signal.pthread_sigmask(signal.SIG_BLOCK, signals)
    pid = os.fork()
    if pid == 0:
        with open(journal, "ab", buffering=0) as lines:
            os.setuid(uid)
            while True:
                lines.write(f"{NAMES[signal.sigwait(signals)]}\n".encode())
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


def kill_when(pid, number, path, delay, timeout, before=0):
    """Signals a process once a file has come up and `delay` seconds have passed. It gets the signal `before` at once: what that
    brings about may be over before another request comes."""
    if before:
        kill(pid, before)
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


def append_at_each_turn(program, folder, turns):
    """At each byte of a pipe makes a file and has it queued by a run of `program` of its own, until the pipe ends."""
    number = 0
    while os.read(turns, 1):
        path = f"{folder}/{number}.pcm"
        os.close(os.open(path, os.O_CREAT | os.O_WRONLY, 0o644))
        pid = os.posix_spawn(program, [program, "add", "--no-signal", path], os.environ,
                             file_actions=[(os.POSIX_SPAWN_OPEN, 1, NULL, os.O_WRONLY, 0)])
        status = os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])
        if status != 0:
            os._exit(status)
        number += 1
    os._exit(0)


def hammer(program, folders, pid, journal, runs, timeout):
    """Has the process take the queue over so many times, at each of which one writer for each folder is about to append.
    Gives the number of runs and how the writers ended."""
    end = time.monotonic() + timeout
    writers, ours = [], []
    for folder in folders:
        os.makedirs(folder)
        turns, turn = os.pipe()
        writer = os.fork()
        if writer == 0:
            for descriptor in (turn, *ours):
                os.close(descriptor)
            append_at_each_turn(program, folder, turns)
        os.close(turns)
        writers.append(writer)
        ours.append(turn)
    done = 0
    while done < runs and time.monotonic() < end:
        for turn in ours:
            os.write(turn, b"+")
        # The first has come; the others are on their way while the process wakes up.
        while not os.path.exists("/var/spool/velu_indexing_queue") and time.monotonic() < end:
            time.sleep(0.0005)
        before = os.path.getsize(journal)
        os.kill(pid, signal.SIGUSR1)
        while os.path.getsize(journal) == before and time.monotonic() < end:
            time.sleep(0.0005)
        done += 1
    for turn in ours:
        os.close(turn)
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
        try:
            links.append(os.readlink(f"{folder}/{number}"))
        except FileNotFoundError:
            pass  # closed meanwhile
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
    while True:
        try:
            request = marshal.load(sys.stdin.buffer)
        except EOFError:
            return
        try:
            answer = COMMANDS[request.pop("command")](**request)
        except Exception as problem:  # pylint: disable=broad-except
            answer = {"error": repr(problem)}
        marshal.dump(answer, sys.stdout.buffer)
        sys.stdout.buffer.flush()


main()
