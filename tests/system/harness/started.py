# SPDX-License-Identifier: GPL-2.0-or-later
"""Programs that load two hundred libraries for a few milliseconds of work: they are loaded once, as many times as they run
beside each other, and run many times."""
import array
import collections
import functools
import os
import pathlib
import socket
import struct
import subprocess
import tempfile

from .faults import build_library

HERE = pathlib.Path(__file__).resolve().parent
_idle = collections.defaultdict(list)  # by program; both ends of a list are safe to use by threads


@functools.cache
def _library():
    folder = tempfile.TemporaryDirectory(prefix="velu-started-")
    path = f"{folder.name}/started.so"
    build_library(HERE / "started.cpp", path)
    return folder, path


class _Loaded:
    """A program that is loaded, and waits for its arguments."""

    def __init__(self, program):
        self.program = program
        self.socket, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        environment = dict(os.environ, LD_PRELOAD=_library()[1], VELU_STARTED_BY=str(theirs.fileno()))
        with theirs:
            self.process = subprocess.Popen([program], env=environment, pass_fds=[theirs.fileno()], stdin=subprocess.DEVNULL)

    def __del__(self):
        self.socket.close()
        self.process.wait()

    def run(self, arguments):
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors, tempfile.TemporaryFile() as words, \
                open(os.devnull, "rb") as nothing:
            words.write(b"".join(os.fsencode(word) + b"\0" for word in arguments))
            words.flush()
            folder = os.open(".", os.O_PATH | os.O_DIRECTORY)
            try:
                given = [folder, nothing.fileno(), output.fileno(), errors.fileno(), words.fileno()]
                self.socket.sendmsg([b"!"], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", given))])
                status = self.socket.recv(struct.calcsize("i"))
            finally:
                os.close(folder)
            if not status:
                raise OSError(f"{self.program} could not be loaded")
            output.seek(0)
            errors.seek(0)
            code = os.waitstatus_to_exitcode(*struct.unpack("i", status))
            return subprocess.CompletedProcess(arguments, code, output.read(), errors.read())


def run(*arguments):
    """Runs a program, which has to be of the dynamic loader, without input; gives what subprocess.run does with
    `capture_output`. Arguments may be of any type that has a text."""
    words = [str(word) for word in arguments]
    idle = _idle[words[0]]
    try:
        loaded = idle.pop()
    except IndexError:
        loaded = _Loaded(words[0])
    done = loaded.run(words)
    idle.append(loaded)
    return done


def said(*arguments):
    """The same; what it said alone, and an error where it failed."""
    done = run(*arguments)
    done.check_returncode()
    return done.stdout
