# SPDX-License-Identifier: GPL-2.0-or-later
"""A throw-away root with a system log and an agent inside (tests/sandbox makes it)."""
import functools
import marshal
import os
import pathlib
import subprocess
import tempfile

from .log import Log

TREE = pathlib.Path(__file__).resolve().parents[3]
AGENT = pathlib.Path(__file__).resolve().with_name("agent.py")


@functools.cache
def scratch():
    """Where the roots are made."""
    return subprocess.run([TREE / "tests/scratch"], capture_output=True, text=True, check=True).stdout.strip()


class SandboxError(Exception):
    """The sandbox, or a command in it, did not do what it was told."""


class Sandbox:
    """`root` is the folder that holds what the sandbox sees as /etc, /var, /run, /volume1, /tmp."""

    def __init__(self, binds=()):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="velu-system-", dir=scratch()))
        self.binds = list(binds)
        self.log = Log(str(self.root / "log"))
        self.agent = None

    def path(self, inside):
        """The host's path of a path of the sandbox, str or bytes."""
        if isinstance(inside, bytes):
            return os.fsencode(self.root) + self._real(inside.decode("latin-1")).encode("latin-1")
        return f"{self.root}{self._real(inside)}"

    @staticmethod
    def _real(inside):
        for link, target in (("/var/run/", "/run/"), ("/usr/velu/", "/velu/")):
            if inside.startswith(link):
                return target + inside[len(link):]
        return inside

    def open(self):
        """Starts the agent, and with it the sandbox."""
        environment = {
            **os.environ,
            "SANDBOX_ROOT": str(self.root),
            "SANDBOX_LOG": str(self.root / "log"),
            "SANDBOX_BIND": "\n".join(self.binds),
        }
        self.agent = subprocess.Popen(
            [TREE / "tests/sandbox", "/usr/bin/python3", "-S", AGENT],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            env=environment,
        )
        self.ask("hello")

    def ask(self, command, **arguments):
        """Has the agent do something and gives its answer."""
        try:
            marshal.dump({"command": command, **arguments}, self.agent.stdin)
            self.agent.stdin.flush()
            answer = marshal.load(self.agent.stdout)
        except (BrokenPipeError, EOFError) as end:
            raise SandboxError(self.agent.stderr.read().decode().strip() or "the sandbox has ended") from end
        if "error" in answer:
            raise SandboxError(f"{command}: {answer['error']}")
        return answer

    def close(self):
        if self.agent:
            self.agent.stdin.close()
            self.agent.wait()
            self.agent.stdout.close()
            self.agent.stderr.close()
        self.log.close()
        # Deep trees are beyond shutil.rmtree, which recurses.
        subprocess.run(["rm", "-rf", self.root], check=True)
