# SPDX-License-Identifier: GPL-2.0-or-later
"""What a daemon does to its files, recorded call by call, and what a disk may hold of it when the power fails."""
import contextlib
import os
import re
import shutil
from dataclasses import dataclass

from .faults import TRACE, traced

FOLDERS = ("/var/spool", "/var/lib/velu")
STARTED = "/var/lib/velu/started"
CALLS = ("open,openat,creat,write,pwrite64,writev,pwritev,ftruncate,truncate,rename,renameat,renameat2,unlink,unlinkat,mkdir,"
         "mkdirat,rmdir,link,linkat,symlink,symlinkat,fsync,fdatasync,syncfs,sync,"
         "sendfile")
LINE = re.compile(r"^\d+ +(\w+)\((.*)\) += (\d+)")
TEXT = re.compile(r'"((?:\\x[0-9a-f]{2})*)"')
BEGUN = re.compile(r"^(\d+) +(.*) <unfinished \.\.\.>$")
ENDED = re.compile(r"^(\d+) +<\.\.\. \w+ resumed>(.*)$")
OPEN_FILE = re.compile(r"(?:\d+|AT_FDCWD)<((?:\\x[0-9a-f]{2})*)>")


@dataclass
class Operation:
    """One change of a file or directory that has come about."""

    name: str
    path: str
    data: bytes = b""
    at: int = -1  # where the data go; behind all others when below 0. The size of a truncation.
    synced: bool = False


def _bytes(text):
    return bytes.fromhex(text.replace("\\x", ""))


def _texts(text):
    return [_bytes(found) for found in TEXT.findall(text)]


class Parser:
    """Turns the lines of strace into operations on files below some folders."""

    def __init__(self, folders):
        self.folders = folders
        self.operations = []
        self.synchronous = set()
        self.begun = {}

    def _is_ours(self, path):
        return any(path == folder or path.startswith(folder + "/") for folder in self.folders)

    def _add(self, name, path, **more):
        if self._is_ours(path):
            self.operations.append(Operation(name, path, **more))

    @staticmethod
    def _paths(arguments):
        """The paths that a call names, each relative to the directory before it."""
        folders = [_bytes(found).decode("latin-1") for found in OPEN_FILE.findall(arguments)]
        names = [text.decode("latin-1") for text in _texts(arguments)]
        return [os.path.join(folders[index] if index < len(folders) else "/", name) for index, name in enumerate(names)]

    def _whole(self, line):
        """A call that was told in two parts, since another process was heard meanwhile."""
        if found := BEGUN.match(line):
            self.begun[found[1]] = line[:found.end(2)]
        elif found := ENDED.match(line):
            return self.begun.pop(found[1], "") + found[2]
        return line

    def take(self, line):
        found = LINE.match(self._whole(line))
        if not found:
            return
        call, arguments, result = found[1], found[2], int(found[3])
        if call in ("open", "openat", "creat"):
            path = self._paths(arguments)[0]
            if "O_SYNC" in arguments or "O_DSYNC" in arguments:
                self.synchronous.add(path)
            if "O_CREAT" in arguments:
                self._add("create", path)
            if "O_TRUNC" in arguments:
                self._add("truncate", path, at=0)
        elif call.startswith(("rename", "link", "symlink")):
            old, new = self._paths(arguments)
            if call.startswith("symlink"):
                raise ValueError(f"no model for {line}")
            if self._is_ours(old) or self._is_ours(new):
                self.operations.append(Operation(call.removesuffix("2").removesuffix("at"), old, data=new.encode("latin-1")))
        elif call.startswith(("unlink", "rmdir")):
            self._add("rmdir" if call == "rmdir" or "AT_REMOVEDIR" in arguments else "unlink", self._paths(arguments)[0])
        elif call.startswith("mkdir"):
            self._add("mkdir", self._paths(arguments)[0])
        elif call in ("syncfs", "sync"):
            self.operations.append(Operation("sync", ""))
        else:
            path = _bytes(OPEN_FILE.match(arguments)[1]).decode("latin-1")
            if call in ("fsync", "fdatasync"):
                self._add("sync", path)
            elif call == "sendfile":
                self._add("copy", path, at=result)
            elif call == "ftruncate":
                self._add("truncate", path, at=int(arguments.rsplit(", ", 1)[1]))
            else:
                at = int(arguments.rsplit(", ", 1)[1]) if call == "pwrite64" else -1
                self._add("write", path, data=b"".join(_texts(arguments))[:result], at=at, synced=path in self.synchronous)


@contextlib.contextmanager
def recorded(daemon, operations, folders=FOLDERS):
    """Appends to `operations` what the daemon does to its files."""
    with traced(daemon, "-y", "-xx", "-s", "1000000", "-e", f"trace={CALLS}"):
        yield
    parser = Parser(folders)
    for line in daemon.lines(TRACE):
        parser.take(line)
    operations.extend(with_copied(daemon, parser.operations))


def with_copied(daemon, operations):
    """Has what the kernel copied be written. The bytes are those that the file has at last."""
    copied = {}
    for number, operation in enumerate(operations):
        if operation.name == "create":
            copied[operation.path] = 0
        if operation.name != "copy":
            continue
        path = operation.path
        for later in operations[number:]:
            if later.name == "rename" and later.path == path:
                path = later.data.decode("latin-1")
        begin, copied[operation.path] = copied[operation.path], copied[operation.path] + operation.at
        data = daemon.read(path)[begin:copied[operation.path]]
        assert len(data) == operation.at, f"{path} has gone or is another one by now"
        operations[number] = Operation("write", operation.path, data)
    return operations


@dataclass
class File:
    """A file on the disk, and of what was written to it since it was last brought there, each write."""

    durable: bytes = b""
    waiting: tuple = ()

    def content(self, keep):
        """The bytes when of the waiting writes those survive that `keep` wants."""
        data = bytearray(self.durable)
        for write in self.waiting:
            if write.name == "truncate":
                del data[write.at:]
                data.extend(bytes(write.at - len(data)))
            elif keep(write):
                at = write.at if write.at >= 0 else len(data)
                data.extend(bytes(max(0, at - len(data))))
                data[at:at + len(write.data)] = write.data
        return bytes(data)


class Disk:
    """The files and folders below some folders. Changes of directories come to the disk in their order; what was written
    to a file may be lost until it is synchronised, and with `late` folders also what was done in those until they or all
    are."""

    def __init__(self, daemon, folders=FOLDERS, late=()):
        self.files, self.folders = {}, set()
        self.late = {folder: None for folder in late}
        for top in folders:
            for folder, _, names in os.walk(daemon.box.path(top)):
                inside = top + folder[len(daemon.box.path(top)):]
                self.folders.add(inside)
                for name in names:
                    self.files[f"{inside}/{name}"] = File(daemon.read(f"{inside}/{name}"))
        for folder in self.late:
            self._settle(folder)

    def _settle(self, folder):
        """What a late folder holds comes to the disk."""
        self.late[folder] = {path: file for path, file in self.files.items() if os.path.dirname(path) == folder}

    def apply(self, operation):
        name, path, files = operation.name, operation.path, self.files
        if name == "create":
            files.setdefault(path, File())
        elif name == "mkdir":
            self.folders.add(path)
        elif name == "rmdir":
            self.folders.discard(path)
        elif name == "unlink":
            files.pop(path)
        elif name == "rename":
            files[operation.data.decode("latin-1")] = files.pop(path)
        elif name == "link":  # one more name of it
            files[operation.data.decode("latin-1")] = files[path]
        elif name == "sync":
            for file in [files[path]] if path in files else files.values() if not path else ():
                file.durable, file.waiting = file.content(lambda _: True), ()
            for folder in self.late:
                if path in ("", folder):
                    self._settle(folder)
        elif path in files:
            file = files[path]
            file.waiting += (operation,)
            if operation.synced:
                file.durable, file.waiting = file.content(lambda _: True), ()

    def image(self, keep):
        """What the disk holds: folders, and the bytes of each file."""
        files = {path: file for path, file in self.files.items() if os.path.dirname(path) not in self.late}
        for settled in self.late.values():
            files.update(settled)
        return (tuple(sorted(self.folders)), tuple(sorted((path, file.content(keep)) for path, file in files.items())))


def restore(daemon, image, tops=FOLDERS):
    """Makes the folders of a daemon that does not run what an image says. The machine has been started anew since."""
    folders, files = image
    for top in tops:
        shutil.rmtree(daemon.box.path(top))
    for folder in folders:
        daemon.mkdir(folder)
    for path, content in files:
        daemon.write(path, b"another start\n" if path == STARTED else content)
