# SPDX-License-Identifier: GPL-2.0-or-later
"""What the services take of the machine, and whether it grows."""
import dataclasses
import os
import pathlib
import re
import time

from box import UNITS

SERVICES = ("veluindexd", "veluwatchd")
MEMORY_GROWTH, MEMORY_SLACK_KB = 1.15, 1024
DESCRIPTOR_SLACK = 2
LOG_GROWTH = 2  # times the lines per deed


@dataclasses.dataclass
class Process:
    pid: int
    name: str
    memory_kb: int
    descriptors: int


@dataclasses.dataclass
class Figures:
    """At rest. `temporary`: files in folders that are to be empty. `log_lines`: for each deed since the last look."""
    moment: float
    memory_kb: dict
    descriptors: dict
    processes: int
    temporary: list
    log_lines: float
    log_bytes: float

    def __str__(self):
        services = ", ".join(f"{name} {self.memory_kb.get(name, 0) / 1024:.1f} MB {self.descriptors.get(name, 0)} fds" for name in SERVICES)
        return (f"{services}, {self.processes} processes, temporary files: {self.temporary[:3]}, "
                f"{self.log_lines:.2f} log lines and {self.log_bytes:.0f} bytes a deed")


def processes_of(box):
    """Those of the machine, by their numbers here."""
    space = os.readlink(f"/proc/{box.leader}/ns/pid")
    found = []
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdecimal():
            continue
        try:
            if os.readlink(entry / "ns/pid") != space:
                continue
            status = (entry / "status").read_text()
            memory = re.search(r"^VmRSS:\s*(\d+)", status, re.MULTILINE)
            found.append(Process(int(entry.name), re.search(r"^Name:\s*(.*)", status)[1], int(memory[1]) if memory else 0,
                                 len(os.listdir(entry / "fd"))))
        except (FileNotFoundError, PermissionError, ProcessLookupError):
            continue  # it has ended, or is one that nobody may look at
    return found


def look(box, deeds, since):
    """`deeds` were done since the moment `since`."""
    ours = [process for process in processes_of(box) if process.name.startswith("velu")]
    units = [f"--unit={unit}" for unit in UNITS]
    log = box.run("journalctl", "--quiet", "--no-pager", "--output=cat", f"--since=@{int(since)}", *units).stdout
    temporary = [str(path) for place in ("/tmp", "/var/tmp", "/var/spool") for path in box.path(place).rglob("*velu*") if "systemd-private" not in str(path)]
    temporary += [str(path) for path in box.disk.iterdir() if re.search(r"\.(new|tmp|moved)$|-journal$|^filler$", path.name)]
    return Figures(time.monotonic(), {process.name: process.memory_kb for process in ours},
                   {process.name: process.descriptors for process in ours}, len(ours), temporary,
                   log.count("\n") / max(deeds, 1), len(log.encode()) / max(deeds, 1))


def findings(looks):
    """What has grown from the first quarter of the looks to the last."""
    quarter = max(1, len(looks) // 4)
    first, last = looks[:quarter], looks[-quarter:]
    for name in SERVICES:
        before, after = (max(one.memory_kb.get(name, 0) for one in some) for some in (first, last))
        if after > before * MEMORY_GROWTH + MEMORY_SLACK_KB:
            yield f"memory of {name}: {before} kB, at the end {after} kB"
        before, after = (max(one.descriptors.get(name, 0) for one in some) for some in (first, last))
        if after > before + DESCRIPTOR_SLACK:
            yield f"descriptors of {name}: {before}, at the end {after}"
    if last[-1].processes > max(one.processes for one in first):
        yield f"processes: {last[-1].processes}"
    if last[-1].temporary:
        yield f"temporary files: {last[-1].temporary[:5]}"
    before, after = (sum(one.log_lines for one in some) / len(some) for some in (first, last))
    if after > before * LOG_GROWTH + 1:
        yield f"log lines a deed: {before:.2f}, at the end {after:.2f}"
