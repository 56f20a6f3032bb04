# SPDX-License-Identifier: GPL-2.0-or-later
"""Fixtures of the system tests: the binary under test, real media, and a daemon in a sandbox for each test.

The binary is build/release/bin/veluindexd, or the one that VELU_BINARY names. VELU_ENGINE=postgresql lets the daemons
have their catalogues on the server that tests/postgres has started around the run.
"""
import contextlib
import os
import pathlib
import subprocess
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).parent))
# So that its assertions, too, show what differs.
pytest.register_assert_rewrite("harness.music")
from harness import media  # noqa: E402
from harness.catalogue import ON_SERVER  # noqa: E402
from harness.daemon import Daemon  # noqa: E402
from harness.encoded import encoded, filled  # noqa: E402
from harness.places import Places, build_places  # noqa: E402
from harness.sandbox import TREE  # noqa: E402
from harness.sounds import plain_sounds  # noqa: E402
from harness.store_faults import patience_of_tests  # noqa: E402
from selection import select, strangers  # noqa: E402


def pytest_configure():
    """A name that was changed in a test and not in the lists would run where it should not, unseen."""
    unknown = strangers(pathlib.Path(__file__).parent)
    if unknown:
        raise pytest.UsageError(f"tests/system/selection.py names what is no test: {unknown}")


@pytest.hookimpl(optionalhook=True)
def pytest_xdist_make_scheduler(config, log):
    from harness.schedule import OneByOne  # pylint: disable=import-outside-toplevel
    return OneByOne(config, log)


@pytest.hookimpl(tryfirst=True)
def pytest_collection_modifyitems(config, items):
    """Tests of one engine's own are no tests of the other."""
    select(items)
    other = "sqlite" if ON_SERVER else "postgresql"
    foreign = [item for item in items if item.get_closest_marker(other)]
    if foreign:
        config.hook.pytest_deselected(items=foreign)
        items[:] = [item for item in items if item not in foreign]


@pytest.fixture(scope="session")
def binary():
    path = pathlib.Path(os.environ.get("VELU_BINARY", TREE / "build/release/bin/veluindexd")).resolve()
    assert path.is_file(), f"{path} is not built"
    return path


@pytest.fixture(scope="session")
def hostile_reader(binary):
    """The reader with a library that files take over (docs/testing.md)."""
    path = binary.parents[1] / "hostile/lib/velu/velureader"
    assert path.is_file(), f"{path} is not built"
    return path


@pytest.fixture(scope="session")
def sanitized(binary):
    """True for a binary that was built with the sanitizers: it is slower and needs more memory."""
    return b"__asan_init" in binary.read_bytes()


@pytest.fixture(scope="session")
def faketime():
    """The library that makes the daemon's clock go faster."""
    machine = subprocess.run(["gcc", "-print-multiarch"], capture_output=True, text=True, check=True).stdout.strip()
    path = pathlib.Path(f"/usr/lib/{machine}/faketime/libfaketime.so.1")
    assert path.is_file(), f"{path} is missing: run scripts/deps"
    return str(path)


@pytest.fixture(scope="session")
def once(tmp_path_factory):
    """Makes a folder once for all workers of this session: `make` fills it for the first that asks."""
    # A worker's own folder lies in that of the session. Without workers, the folder above is that of all sessions.
    base = tmp_path_factory.getbasetemp()
    session = base.parent if "PYTEST_XDIST_WORKER" in os.environ else base

    return lambda name, make: filled(session / name, make)


@pytest.fixture(scope="session", name="encoded")
def folders_of_encoders():
    """Makes or finds a folder of what encoders make."""
    return encoded


@pytest.fixture(scope="session")
def samples(encoded):
    """A folder of small real media files."""
    return encoded("samples", lambda folder: media.make_samples(str(folder)))


@pytest.fixture(scope="session", name="sounds")
def one_sound_of_each_kind():
    return plain_sounds()


@pytest.fixture(scope="session")
def template(encoded):
    """The files of a server that each server of a test's own begins with a copy of."""
    from harness import clusters  # pylint: disable=import-outside-toplevel
    return encoded("server", clusters.make_template, pathlib.Path(clusters.__file__))


@pytest.fixture
def stream(samples):
    """A second of MP3 without a tag, at 128 kbit/s."""
    return (samples / "plain.mp3").read_bytes()


@pytest.fixture
def make_daemon(binary, faketime):
    """Makes daemons, not started yet; at the test's end each is checked and its sandbox goes."""
    made = []

    def make(**settings):
        if ON_SERVER:
            from harness.server import Server  # pylint: disable=import-outside-toplevel
            settings.setdefault("server", Server.of_the_run())
        made.append(Daemon(binary, faketime, **settings))
        return made[-1]

    yield make
    # Each is checked and goes, whatever the check of another says.
    with contextlib.ExitStack() as ends:
        for daemon in made:
            ends.callback(daemon.close)
            ends.callback(check_end, daemon)


# Faults come and go many times in a test. No file is probed at this speed: the watchdog's clock goes fast, too.
FAULTS_SPEED = 500


@pytest.fixture
def make_placed(make_daemon, once):
    """Makes fast daemons, not started yet, whose calls fail where `daemon.places` says so."""
    def make(**settings):
        daemon = make_daemon(**{"speed": FAULTS_SPEED, **settings})
        daemon.places = Places(daemon, build_places(once))
        patience_of_tests(daemon)
        return daemon
    return make


@pytest.fixture
def placed(make_placed):
    """A running one, with empty shares."""
    return make_placed().start()


def check_end(daemon):
    """What has to hold of every daemon when its test is over."""
    daemon.check_sanitizers()
    if daemon.pid:
        assert daemon.alive(), f"the daemon has died; log: {daemon.log.texts()[-20:]}"


@pytest.fixture
def box(make_daemon):
    """A daemon that is not started yet: the test prepares its shares and files first."""
    return make_daemon()


@pytest.fixture
def daemon(box):
    """A running daemon with empty shares."""
    return box.start()
