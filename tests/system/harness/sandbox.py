# SPDX-License-Identifier: GPL-2.0-or-later
"""A throw-away root with a system log and an agent inside (tests/sandbox makes it)."""
import atexit
import functools
import marshal
import os
import pathlib
import shutil
import subprocess
import tempfile

from .log import Log

TREE = pathlib.Path(__file__).resolve().parents[3]
AGENT = pathlib.Path(__file__).resolve().with_name("agent.py")
RUN_CODE = "import marshal, sys; exec(marshal.load(sys.stdin.buffer))"


@functools.cache
def scratch():
    """Where the roots are made."""
    return subprocess.run([TREE / "tests/scratch"], capture_output=True, text=True, check=True).stdout.strip()


@functools.cache
def pattern():
    """A root as tests/sandbox makes it, and the call that runs a command there. Most tests make a root, which takes a tenth
    of the time when it is a copy."""
    root = pathlib.Path(tempfile.mkdtemp(prefix="velu-pattern-", dir=scratch()))
    atexit.register(shutil.rmtree, root)
    environment = {**os.environ, "SANDBOX_ROOT": str(root)}
    for argument in ("true", "--print"):  # where there is no sandbox to be had, the first says why
        tried = subprocess.run([TREE / "tests/sandbox", argument], env=environment, capture_output=True, check=False)
        if tried.returncode != 0:
            raise SandboxError(tried.stderr.decode())
    return root, os.fsdecode(tried.stdout).split("\0")[:-1]


@functools.cache
def agent_code():
    """The agent, compiled once for all sandboxes, which run it as it comes in."""
    return marshal.dumps(compile(AGENT.read_text(encoding="ascii"), AGENT, "exec"))


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
        root, call = pattern()
        shutil.copytree(root, self.root, symlinks=True, dirs_exist_ok=True)
        *call, command = [word.replace(str(root), str(self.root)) for word in call]
        binds = [word for what, where in zip(self.binds[::2], self.binds[1::2]) for word in ("--ro-bind", what, where)]
        self.agent = subprocess.Popen(
            [*call, *binds, "--bind", f"{self.root}/log", "/dev/log", command, "/usr/bin/python3", "-I", "-S", "-c", RUN_CODE],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        self.agent.stdin.write(agent_code())
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
