# SPDX-License-Identifier: GPL-2.0-or-later
"""Catalogues that are reached through poolers: each row is there that a direct connection brings, the server tells of no
more errors, and nothing of the daemon's stays in a connection that others use after it."""
import contextlib

import psycopg2
import pytest

from harness.catalogue import ServerCatalogues, SqliteCatalogues, everything, snapshot
from harness.clusters import Clusters, Route
from harness.daemon import wait_for
from harness.photo import albums
from harness.poolers import Bouncer, Pgpool
from harness.work import MUSIC, PHOTO, SCRIPT, carry_out, check_equal

pytestmark = pytest.mark.postgresql

SPEED = 500
DELAY = 400  # milliseconds
POOLS = [("session", 1), ("session", 3), ("transaction", 1), ("transaction", 3)]


@pytest.fixture(scope="module")
def clusters(template):
    own = Clusters(template)
    yield own
    own.close()


@pytest.fixture(scope="module")
def node(clusters):
    return clusters.start_node("node")


@pytest.fixture(scope="module")
def direct(node):
    return Route(node)


@pytest.fixture(scope="module")
def bouncers(clusters, node):
    """Gives the pgbouncer of a pooling mode and size, which is started for the first who asks."""
    made = {}

    def bouncer(mode, size):
        if (mode, size) not in made:
            made[mode, size] = Bouncer(clusters, f"{mode}-{size}", node, mode, size)
        return made[mode, size]
    return bouncer


@pytest.fixture(scope="module")
def transactions(bouncers, node):
    return Route(node, bouncers("transaction", 1).hosts)


@pytest.fixture
def reference():
    """Makes catalogues that are reached directly."""
    made = []

    def make(node):
        made.append(ServerCatalogues(Route(node)))
        return made[-1]
    yield make
    for catalogues in made:
        catalogues.close()


def session_of(uri):
    """What a connection has that is not as the server begins it."""
    connection = psycopg2.connect(uri)
    connection.autocommit = True
    with connection.cursor() as cursor:
        cursor.execute("select name || ' = ' || setting from pg_settings where source = 'session' and name not in "
                       "('client_encoding', 'application_name', 'DateStyle', 'TimeZone', 'standard_conforming_strings') "
                       "union all select 'statement ' || name from pg_prepared_statements "
                       "union all select 'lock ' || objid from pg_locks where locktype = 'advisory'")
        left = [row[0] for row in cursor.fetchall()]
    connection.close()
    return left


@pytest.mark.parametrize("mode, size", POOLS)
def test_the_rows_are_those_of_a_direct_connection(make_daemon, node, reference, bouncers, mode, size):
    daemon = make_daemon(server=Route(node, bouncers(mode, size).hosts), speed=SPEED).start()
    check_equal(daemon, reference(node), [node])
    assert session_of(daemon.catalogue.keys["mediadb"]) == []
    assert session_of(daemon.catalogue.keys["photodb"]) == []


@pytest.fixture(scope="module")
def replicated(clusters):
    """A primary, a replica that is behind, and pgpool-II, which sends to the replica what only reads."""
    primary = clusters.start_node("primary")
    replica = clusters.start_standby("replica", primary, f"recovery_min_apply_delay = {DELAY}ms\nlog_statement = all\n")
    return primary, replica, Pgpool(clusters, "pgpool", primary, replica)


def test_a_replica_that_is_behind_costs_no_row(make_daemon, reference, replicated):
    primary, replica, pgpool = replicated
    daemon = make_daemon(server=Route(primary, pgpool.hosts, followers=[replica]), speed=SPEED).start()
    check_equal(daemon, reference(primary), [primary, replica])
    size = replica.log_size()
    with contextlib.closing(psycopg2.connect(daemon.catalogue.keys["photodb"])) as connection, connection.cursor() as cursor:
        cursor.execute("select count(*) from photo_image")
    with open(replica.log, encoding="latin-1") as log:
        log.seek(size)
        assert "select count(*) from photo_image" in log.read(), "what only reads goes to the replica"


def test_two_daemons_give_each_album_its_own_number(make_daemon, transactions):
    daemons = [make_daemon(server=transactions, speed=SPEED).start()]
    daemons.append(make_daemon(server=transactions, speed=SPEED).start())
    keys = daemons[0].catalogue.keys
    daemons[1].configure(**keys)
    daemons[0].index("U:photo")  # makes the tables
    for one, daemon in enumerate(daemons):
        for number in range(30):
            daemon.mkdir(f"{PHOTO}/Album {one} {number}")
        daemon.queue(*(f"A:{PHOTO}/Album {one} {number}" for number in range(30)))
    for daemon in daemons:
        daemon.signal()
    for daemon in daemons:
        daemon.wait_done()
    assert sorted(albums(daemons[0])) == sorted(f"Album {one} {number}" for one in (0, 1) for number in range(30))
    assert len({row["shareid"] for row in daemons[0].rows("photo_share")}) == 60


@pytest.mark.parametrize("end", ["pooler", "server"])
def test_an_end_in_the_middle_of_a_run(make_daemon, node, bouncers, end):
    bouncer = bouncers("transaction", 3)
    # So slow that batches have some rows.
    daemon = make_daemon(server=Route(node, bouncer.hosts), speed=100).start()
    for number in range(1500):
        daemon.write(f"{MUSIC}/{number % 20}/{number}.pcm")
    daemon.queue(f"A:{MUSIC}")
    daemon.signal()
    wait_for(lambda: daemon.catalogue.count("music") >= 200, "some rows", pause=0)
    ending = {"pooler": bouncer, "server": node}[end]
    ending.kill()
    ending.start()
    daemon.wait_done()
    assert len(daemon.paths("music")) == 1500


def look(daemon):
    """What veluctl shows."""
    return [daemon.ctl(*words, "--json") for words in (("list", "music"), ("find", "song"), ("check",),
                                                       ("show", f"{PHOTO}/Trip/1.jpg"))]


def test_veluctl_and_velumovedb_go_through_a_pooler(make_daemon, binary, direct, transactions):
    daemon = make_daemon(server=transactions, speed=SPEED).start()
    for step in SCRIPT[:3]:
        step.change(daemon)
        carry_out(daemon, step, daemon.catalogue)
    shown = look(daemon)
    files, back = SqliteCatalogues(daemon.box, "/tmp/moved"), ServerCatalogues(transactions)
    daemon.mkdir("/tmp/moved")
    for source, target in ((daemon.catalogue, files), (files, back)):
        for name, key in (("media", "mediadb"), ("photo", "photodb")):
            done = daemon.box.ask("run", arguments=[str(binary.with_name("velumovedb")), name, source.places[key],
                                                    target.places[key]], environment={}, timeout=60)
            assert (done["status"], done["err"]) == (0, ""), done
    assert everything(files) == everything(daemon.catalogue) == everything(back)
    daemon.configure(**{key: uri.replace(transactions.hosts, direct.hosts) for key, uri in daemon.catalogue.keys.items()})
    assert look(daemon) == shown
    assert snapshot(back)["photo_share"]
    back.close()
