# SPDX-License-Identifier: GPL-2.0-or-later
"""A small Debian machine that boots: systemd in a container over a throw-away layer of a clean root."""
import ctypes
import hashlib
import os
import pathlib
import shutil
import stat
import subprocess
import time

SUITE = "bookworm"
# Beside apt and what a package of ours depends on: an init to start services, man to read the manuals, and acl, which the
# daemon as a user of its own needs, and adduser, which an ordinary machine has.
PACKAGES = ("systemd-sysv", "man-db", "acl", "adduser")
# Of other packages, nobody reads these here. The folders stay: a package that is removed must not be the last in them.
EXCLUDED = ("/usr/share/locale/*/*", "/usr/share/doc/*/*", "/usr/share/man/man*/*")
SETTINGS = ("env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "HOME=/root", "LC_ALL=C.UTF-8", "DEBIAN_FRONTEND=noninteractive")
# Control groups: the one hierarchy of today, or systemd's own two among the several of old. Each machine has one of its own in them, as the
# inits of two machines in one would end each other's services.
CONTROL_GROUPS = [top for top in map(pathlib.Path, ("/sys/fs/cgroup/systemd", "/sys/fs/cgroup/unified", "/sys/fs/cgroup"))
                  if (top / "cgroup.procs").exists()]
BOOT_SECONDS = 300  # beside other tests, the machine has what processor time they leave


CLONE_NEWNS = 0x00020000  # linux/sched.h


class MachineError(Exception):
    """The machine cannot be made, or does not start."""


def take_mounts_along():
    """What this process mounts from now on ends with it and what it has started, however they end."""
    library = ctypes.CDLL(None, use_errno=True)
    if library.unshare(CLONE_NEWNS) != 0:
        raise MachineError(f"the mounts cannot be kept apart: {os.strerror(ctypes.get_errno())}")
    subprocess.run(["mount", "--make-rprivate", "/"], check=True)


def make_root(folder, dependencies):
    """A clean root in `folder`/NAME, where NAME stands for what is in it: made at most once a week."""
    wanted = sorted({*PACKAGES, *dependencies})
    name = hashlib.sha256("\n".join([SUITE, time.strftime("%G-%V"), *EXCLUDED, *wanted]).encode()).hexdigest()[:16]
    root = folder / name
    if root.is_dir():
        return root
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    made = folder / "unfinished"
    # Excluded are files of the root's own packages alone, hence the removal of the setting from the root.
    # Its mounts end with it, however it ends: no later removal of the folder can get into the host's /dev.
    command = ["unshare", "--mount", "mmdebstrap", "--mode=root", "--variant=apt", f"--include={','.join(wanted)}",
               "--dpkgopt=force-unsafe-io", *(f"--dpkgopt=path-exclude={pattern}" for pattern in EXCLUDED),
               "--customize-hook=rm -f $1/etc/dpkg/dpkg.cfg.d/99mmdebstrap", SUITE, str(made)]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode:
        raise MachineError("mmdebstrap failed: " + done.stderr[-2000:])
    made.rename(root)
    return root


class Machine:
    """`run` does a command in it, as root. `binds`: folders of this machine by the places where that one has them. One that `goes_on` has
    the layer that an earlier one, closed with `keep`, left in `folder`."""

    def __init__(self, base, folder, shared, binds=None, goes_on=False):
        self.folder = folder
        self.name = f"velu-{folder.name}"
        self.groups = [top / self.name for top in CONTROL_GROUPS]
        self.root = folder / "root"
        self.binds = [f"--bind-ro={shared}:/mnt", *(f"--bind={place}:{there}" for there, place in (binds or {}).items())]
        self.container = None
        self.leader = 0
        if self.root.is_mount():  # a run before has been killed
            subprocess.run(["umount", self.root], check=True)
        if not goes_on:
            shutil.rmtree(folder, ignore_errors=True)
        for name in ("root", "upper", "work"):
            (folder / name).mkdir(parents=True, exist_ok=goes_on)
        layers = f"lowerdir={base},upperdir={folder}/upper,workdir={folder}/work"
        subprocess.run(["mount", "-t", "overlay", "-o", layers, self.name, self.root], check=True)

    def boot(self):
        """Returns when the machine has reached its usual state."""
        for group in self.groups:
            group.mkdir(exist_ok=True)
        into_groups = "".join(f"echo $$ >{group}/cgroup.procs; " for group in self.groups)
        command = ["sh", "-c", f'{into_groups}exec "$@"', "sh",
                   "setpriv", "--pdeathsig", "TERM", "systemd-nspawn", "--quiet", f"--directory={self.root}", f"--machine={self.name}", "--boot",
                   "--register=no", "--keep-unit", "--private-network", "--link-journal=no", "--resolv-conf=off",
                   "--timezone=off", "--console=pipe", *self.binds]
        log = self.folder / "console.log"
        with open(log, "wb") as console:
            self.container = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=console, stderr=console)
        end = time.monotonic() + BOOT_SECONDS
        while not self._is_up():
            if self.container.poll() is not None or time.monotonic() > end:
                raise MachineError("the container does not boot (it needs root and a kernel that lets it mount): "
                                   + log.read_text(errors="replace")[-3000:])
            time.sleep(0.1)

    def _is_up(self):
        children = pathlib.Path(f"/proc/{self.container.pid}/task/{self.container.pid}/children").read_text(encoding="ascii")
        self.leader = int(children.split()[0]) if children else 0
        return self.leader and self.run("systemctl", "is-active", "multi-user.target", check=False).returncode == 0

    def run(self, *command, check=True):
        """Does a command. What it prints is in `stdout`, complaints included."""
        done = subprocess.run(["nsenter", "-t", str(self.leader), "-m", "-u", "-i", "-n", "-p", "-C", *SETTINGS, *command],
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        assert not check or done.returncode == 0, f"{' '.join(command)}: {done.returncode}\n{done.stdout}"
        return done

    def halt(self):
        """Shuts down in order."""
        if self.container is not None:
            self.container.terminate()
            self.container.wait(BOOT_SECONDS)
            self.container = None

    def close(self, keep=False):
        try:
            self.halt()
        finally:
            if self.container is not None:
                self.container.kill()
                self.container.wait()
            subprocess.run(["umount", self.root], check=True)
            if not keep:
                shutil.rmtree(self.folder)
            for group in self.groups:
                for place, _, _ in os.walk(group, topdown=False):
                    os.rmdir(place)

    def files(self):
        """Everything on the machine's disk: path -> what would tell of a change."""
        found = {}
        for folder, directories, names in os.walk(self.root):
            for name in directories + names:
                path = os.path.join(folder, name)
                found[path[len(str(self.root)):]] = _state(path)
        return found


def _state(path):
    status = os.lstat(path)
    content = ""
    if stat.S_ISLNK(status.st_mode):
        content = os.readlink(path)
    elif stat.S_ISREG(status.st_mode):
        with open(path, "rb") as file:
            content = hashlib.file_digest(file, "sha1").hexdigest()
    return status.st_mode, status.st_uid, status.st_gid, content
