# SPDX-License-Identifier: GPL-2.0-or-later
"""A system log: takes the datagrams that syslog() sends to /dev/log."""
import os
import re
import socket
import threading
from dataclasses import dataclass

LOG_ERR, LOG_NOTICE = 3, 5


@dataclass
class Line:
    """One message: its priority (facility included), the program it names and its text."""

    priority: int
    program: str
    text: str

    @property
    def severity(self):
        return self.priority & 7


# "<11>Nov 21 07:53:07 program[12]: text"; the text may hold any bytes.
SHAPE = re.compile(rb"<(\d+)>.{15} ([^:\[\s]+)(?:\[\d+\])?: (.*)", re.DOTALL)

MARK = b"mark"
MARK_PATIENCE = 30


class Log:
    """Collects the lines that arrive at a socket, in their order."""

    def __init__(self, path):
        self._lines = []
        self.path = path
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
        self.socket.bind(path)
        os.chmod(path, 0o666)
        self.marked = threading.Event()
        self.thread = threading.Thread(target=self._collect, daemon=True)
        self.thread.start()

    def _collect(self):
        while True:
            try:
                message = self.socket.recv(1 << 16)
            except OSError:
                return
            if not message:
                return
            if message == MARK:
                self.marked.set()
                continue
            shape = SHAPE.fullmatch(message.rstrip(b"\0"))
            if shape:
                text = shape[3].decode("latin-1")
                self._lines.append(Line(int(shape[1]), shape[2].decode("latin-1"), text))
            else:
                self._lines.append(Line(-1, "?", message.decode("latin-1")))

    @property
    def lines(self):
        """All that was logged before this call. Datagrams keep their order, so a mark sent now comes last."""
        if self.thread.is_alive():
            self.marked.clear()
            with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as sender:
                try:
                    sender.sendto(MARK, self.path)
                    self.marked.wait(MARK_PATIENCE)
                except OSError:
                    # The test itself has shut the log.
                    pass
        return self._lines

    def texts(self):
        return [line.text for line in self.lines]

    def close(self):
        self.socket.shutdown(socket.SHUT_RDWR)
        self.socket.close()
        self.thread.join()
