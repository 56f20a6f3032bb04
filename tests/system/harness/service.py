# SPDX-License-Identifier: GPL-2.0-or-later
"""The packaged systemd unit: its settings, and a command that starts a program under them where no systemd runs."""
import re
import subprocess

# What a daemon of systemd has in /run, /tmp and its state folder, and so is left writable beside ReadWritePaths=.
PRIVATE = ("/tmp", "/var/lib/velu")
MOUNTS = ("/etc", "/etc.defaults", "/var", "/run", "/volume1", "/usr/velu", "/")


# What libraries of the probe try while they are loaded. The unit refuses it, and they do without.
REFUSED = {"mlock", "set_mempolicy"}


def settings(*texts):
    """The settings of a unit and its drop-ins: name -> values in their order. An empty value clears those before it."""
    found = {}
    for text in texts:
        for name, value in re.findall(r"^(\w+)=(.*)$", text, re.MULTILINE):
            if value:
                found.setdefault(name, []).append(value)
            else:
                found[name] = []
    return found


def capabilities(unit, name):
    return [capability.removeprefix("CAP_").lower() for value in unit.get(name, []) for capability in value.split()]


def writable(unit):
    return [path.lstrip("-") for value in unit["ReadWritePaths"] for path in value.split()] + list(PRIVATE)


def wrapper(unit, trace, uid=0):
    """A command that starts its arguments with the file systems, /proc, the capabilities and the network of the unit, as the
    user `uid`, and has all system calls written to the file `trace`. What the tools say goes beside it: the tracer stays,
    and must not hold the streams of who started it."""
    lines = ["set -e", "umask " + unit["UMask"][0], "mount --make-rprivate /"]
    keep = writable(unit)
    lines += [f"mount --rbind {path} {path}" for path in keep if path not in MOUNTS]
    lines += [f"mount -o remount,bind,ro {path}" for path in MOUNTS if path not in keep]
    if unit["ProtectProc"][-1] != "default":
        lines.append(f"mount -t proc -o hidepid={unit['ProtectProc'][-1]} proc /proc")
    bounding = ",".join(["-all", *(f"+{name}" for name in capabilities(unit, "CapabilityBoundingSet"))])
    ambient = ",".join(["-all", *(f"+{name}" for name in capabilities(unit, "AmbientCapabilities"))])
    user = f"--reuid {uid} --regid {uid} --clear-groups" if uid else ""
    refused = ",".join(sorted(REFUSED))
    lines.append(f"exec setpriv --no-new-privs {user} --inh-caps={ambient} --ambient-caps={ambient} "
                 f'--bounding-set={bounding} strace -D -f -qq -e inject={refused}:error=EPERM -o {trace} "$0" "$@" >{trace}.words 2>&1')
    network = ["-n"] if unit.get("PrivateNetwork") == ["yes"] else []
    return ["/usr/bin/unshare", "-m", *network, "/bin/bash", "-c", "\n".join(lines)]


def analyze(*arguments):
    """The status and the words of systemd-analyze."""
    done = subprocess.run(["systemd-analyze", "--no-pager", *arguments], capture_output=True, text=True, check=False)
    return done.returncode, done.stdout + done.stderr


def verify(unit):
    """The status and the words of systemd-analyze about a unit; not about others of this machine, which it reads, too."""
    status, words = analyze("verify", "--man=no", str(unit))
    return status, [line for line in words.splitlines() if not re.match(r"/lib/systemd/system/(?!velu)", line)]


def exposure(unit):
    """How much of the system a unit is exposed to, from 0 to 10."""
    _, text = analyze("security", "--offline=true", str(unit))
    return float(re.search(r"Overall exposure level for \S+: ([\d.]+)", text)[1])


def _group(name):
    """The system calls of a group, those of the groups in it included."""
    listing = subprocess.run(["systemd-analyze", "syscall-filter", "--no-pager", name], capture_output=True, text=True,
                             check=True).stdout
    members = [line.strip() for line in listing.split("\n")[1:] if line.strip() and not line.strip().startswith("#")]
    return _calls(members)


def _calls(names):
    found = set()
    for name in names:
        found |= _group(name) if name.startswith("@") else {name}
    return found


def allowed_calls(unit):
    """What SystemCallFilter= lets through: lines that begin with ~ take away. @default is always let through."""
    allowed = _group("@default")
    for value in unit["SystemCallFilter"]:
        if value.startswith("~"):
            allowed -= _calls(value[1:].split())
        else:
            allowed |= _calls(value.split())
    return allowed | _group("@default")


def called(trace):
    """The names of the system calls in a trace."""
    return set(re.findall(r"^\d+ +(\w+)\(", trace, re.MULTILINE))
