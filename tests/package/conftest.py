# SPDX-License-Identifier: GPL-2.0-or-later
"""Fixtures of the tests of the packages: the packages themselves, what is in them, and a machine to install them on.

The packages are what scripts/package has put into build/package.
"""
import pathlib
import re
import shutil
import signal
import subprocess
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).parent))
sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "system"))
from harness import media  # noqa: E402
from debs import field, needed_beside  # noqa: E402
from machine import Machine, make_root, take_mounts_along  # noqa: E402

TREE = pathlib.Path(__file__).resolve().parents[2]
BUILT = TREE / "build/package"
ROOTS = TREE / "build/package-root"
NAMES = ("veluindexd", "veluindexd-films", "veluindexd-postgresql")


def pytest_sessionstart():
    """Whoever ends these tests with a signal has all that they have made go, as with Ctrl-C."""
    take_mounts_along()
    signal.signal(signal.SIGTERM, signal.default_int_handler)


@pytest.fixture(scope="session")
def packages():
    """Name -> file of each package."""
    found = {name: list(BUILT.glob(f"{name}_*.deb")) for name in NAMES}
    assert all(len(files) == 1 for files in found.values()), f"run scripts/package: {found}"
    return {name: files[0] for name, files in found.items()}


@pytest.fixture(scope="session")
def unpacked(packages, tmp_path_factory):
    """The files of the daemon's package."""
    folder = tmp_path_factory.mktemp("unpacked")
    subprocess.run(["dpkg-deb", "-x", packages["veluindexd"], folder], check=True)
    return folder


def of_version(package, folder, wanted):
    """The same package as of another version."""
    name, version = field(package, "Package"), field(package, "Version")
    tree = folder / name
    subprocess.run(["dpkg-deb", "-R", package, tree], check=True)
    control = tree / "DEBIAN/control"
    control.write_text(control.read_text(encoding="utf-8").replace(version, wanted), encoding="utf-8")
    subprocess.run(["dpkg-deb", "-Znone", "-b", tree, folder / f"{name}.deb"], check=True, capture_output=True)
    shutil.rmtree(tree)


def version_0_1_0(packages, folder):
    """The daemon's package as of the version that had the probe itself."""
    tree = folder / "veluindexd"
    subprocess.run(["dpkg-deb", "-R", packages["veluindexd"], tree], check=True)
    subprocess.run(["dpkg-deb", "-x", packages["veluindexd-films"], folder / "films"], check=True)
    shutil.copy(folder / "films/usr/lib/velu/veluprobe.so", tree / "usr/lib/velu")
    shutil.rmtree(folder / "films")
    control = tree / "DEBIAN/control"
    lines = control.read_text(encoding="utf-8").splitlines(keepends=True)
    control.write_text("".join("Version: 0.1.0\n" if line.startswith("Version:") else line for line in lines
                               if not line.startswith("Recommends:")), encoding="utf-8")
    script = tree / "DEBIAN/postinst"
    # What the package itself says stands in front of what debhelper adds.
    of_old = re.sub(r"(?ms)^if .*?^fi$", "", script.read_text(encoding="utf-8"), count=2)
    assert "/etc/veluinfo.conf" not in of_old, "it made no configuration, and told of none"
    script.write_text(of_old, encoding="utf-8")
    subprocess.run(["dpkg-deb", "-Znone", "-b", tree, folder / "veluindexd.deb"], check=True, capture_output=True)
    shutil.rmtree(tree)


@pytest.fixture(scope="session")
def shared(packages, tmp_path_factory):
    """What the machine sees in /mnt: the packages in new/ and, of later versions, in newer/ and newest/, of version 0.1.0 in
    old/; media files in media/."""
    folder = tmp_path_factory.mktemp("shared")
    for name in ("old", "new", "newer", "newest", "media", "server"):
        (folder / name).mkdir()
    for name, package in packages.items():
        shutil.copy(package, folder / "new" / f"{name}.deb")
        version = field(package, "Version")
        of_version(package, folder / "newer", version + "+1")
        of_version(package, folder / "newest", version + "+2")
    version_0_1_0(packages, folder / "old")
    of_version(packages["veluindexd-postgresql"], folder / "old", "0.1.0")
    wav = f"{folder}/tone.wav"
    media.tone(wav)
    media.mp3(f"{folder}/media/song.mp3", wav, title="First Song", artist="The Players", album="Early Works")
    media.make_samples(str(folder / "media"))
    media.audio(f"{folder}/media/tone.aac", wav)
    media.audio(f"{folder}/media/tone.ogg", wav, "-c:a", "libvorbis", title="Second Song")
    folder.chmod(0o755)
    return folder


@pytest.fixture(scope="session")
def base(packages):
    """A root that has what the packages depend on, and nothing of the packages."""
    return make_root(ROOTS, needed_beside(packages.values(), NAMES))


def booted(base, folder, shared):
    """A machine over the root, which goes when it is done with."""
    # Not below /tmp, which may be in memory and no place for a layer.
    made = Machine(base, BUILT / folder, shared)
    try:
        made.boot()
        yield made
    finally:
        made.close()


@pytest.fixture(scope="session")
def machine(base, shared):
    """A booted machine for the life of the packages, in its chapters."""
    yield from booted(base, "machine", shared)


@pytest.fixture(scope="module")
def fresh(base, shared):
    """Another one for the tests of one file."""
    yield from booted(base, "fresh", shared)
