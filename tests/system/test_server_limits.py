# SPDX-License-Identifier: GPL-2.0-or-later
"""What an administrator has set on a server: limits of time and number, rights, other places for tables. Requests wait until
the catalogue takes them, and its rows are those of any other."""
import contextlib
import os
import signal
import time

import psycopg2
import pytest

from harness.catalogue import ServerCatalogues
from harness.clusters import PASSWORD, ROLE, Clusters, Route
from harness.daemon import KEPT, wait_for
from harness.work import MUSIC, check_equal

pytestmark = pytest.mark.postgresql

SPEED = 500
WRITER = "writer"  # a role that owns nothing


@pytest.fixture(scope="module")
def node(template):
    clusters = Clusters(template)
    node = clusters.start_node("node", "max_connections = 20\n")
    node.ask(f"create role {WRITER} login password '{PASSWORD}'")
    yield node
    clusters.close()


@pytest.fixture
def daemon(make_daemon, node):
    return make_daemon(server=Route(node), speed=SPEED).start()


def fill(daemon, files=600):
    for number in range(files):
        daemon.write(f"{MUSIC}/{number % 20}/{number}.pcm")


def begin(daemon, *lines):
    daemon.queue(*lines)
    daemon.signal()


def change(daemon, setting):
    """Alters both databases."""
    for uri in daemon.catalogue.keys.values():
        daemon.catalogue.server.node.ask(f"alter database {daemon.catalogue.server.database(uri)} {setting}")


def media(daemon, sql):
    return daemon.catalogue.server.query(daemon.catalogue.keys["mediadb"], sql)


def check_all_is_done(daemon, files=600):
    daemon.wait_done()
    assert len(daemon.paths("music")) == files


def wait_kept(daemon, words):
    wait_for(lambda: daemon.exists(KEPT), "requests that wait")
    assert any(words in text for text in daemon.log.texts()), daemon.log.texts()


@contextlib.contextmanager
def all_connections(daemon):
    """Whatever the server has to give is taken."""
    taken = []
    with contextlib.suppress(psycopg2.OperationalError):
        while True:
            taken.append(psycopg2.connect(daemon.catalogue.keys["photodb"]))
    try:
        yield
    finally:
        for connection in taken:
            connection.close()


def test_too_many_connections(daemon):
    fill(daemon)
    with all_connections(daemon):
        begin(daemon, f"A:{MUSIC}")
        wait_kept(daemon, "remaining connection slots are reserved")
    check_all_is_done(daemon)


def slow_row(daemon, path, seconds):
    """A row that takes so long to be written."""
    media(daemon, f"create function slow() returns trigger language plpgsql as $$ begin if new.path = '{path}' then "
                  f"perform pg_sleep({seconds}); end if; return new; end $$")
    media(daemon, "create trigger slow before insert or update on music for each row execute function slow()")


def test_a_limit_on_the_time_of_a_statement(daemon):
    fill(daemon)
    daemon.index(f"A:{MUSIC}/1")
    slow_row(daemon, f"{MUSIC}/7/307.pcm", 5)
    change(daemon, "set statement_timeout = '200ms'")
    begin(daemon, f"A:{MUSIC}")
    wait_kept(daemon, "canceling statement due to statement timeout")
    media(daemon, "drop function slow cascade")
    check_all_is_done(daemon)


def stop_in_a_batch(daemon):
    """Stops the daemon while a transaction waits for it, and has had its settings."""
    while True:
        daemon.signal(signal.SIGSTOP)
        if media(daemon, "select 1 from pg_stat_activity where datname = current_database() and state = 'idle in transaction' "
                         "and query not like 'begin%'"):
            return
        daemon.signal(signal.SIGCONT)
        time.sleep(0.005)


def test_a_limit_on_the_time_that_a_transaction_stands_still(make_daemon, node):
    """Storage that is slow for a moment does not break a batch off, as it would again with the next run."""
    # So slow that a batch is open for some time.
    daemon = make_daemon(server=Route(node), speed=20).start()
    change(daemon, "set idle_in_transaction_session_timeout = '300ms'")
    fill(daemon, 1200)
    size = node.log_size()
    begin(daemon, f"A:{MUSIC}")
    for rows in (100, 500):
        wait_for(lambda count=rows: daemon.catalogue.count("music") >= count, "some rows", pause=0)
        stop_in_a_batch(daemon)
        time.sleep(0.6)
        daemon.signal(signal.SIGCONT)
    check_all_is_done(daemon, 1200)
    assert not [line for line in node.told(size) if "idle" in line]


def test_a_limit_on_the_time_that_a_session_stands_still(make_daemon, node):
    """A decoder that takes long does not cost the rows behind it."""
    daemon = make_daemon(server=Route(node), speed=20).start()
    change(daemon, "set idle_session_timeout = '100ms'")
    decoder = daemon.write("/tmp/decoder", "#!/bin/sh\nunset LD_PRELOAD\nsleep 0.3\n")
    os.chmod(daemon.box.path(decoder), 0o755)
    daemon.configure(aacdecoder=decoder)
    fill(daemon, 40)
    for number in range(2):
        daemon.write(f"{MUSIC}/{number}/1.aac", b"x")
    daemon.index(f"A:{MUSIC}")
    assert not daemon.exists(KEPT)
    assert len(daemon.paths("music")) == 42


def test_read_only_for_a_while_in_the_middle_of_a_run(daemon, node):
    fill(daemon)
    daemon.index(f"A:{MUSIC}/1")
    begin(daemon, f"A:{MUSIC}")
    wait_for(lambda: daemon.catalogue.count("music") >= 200, "some rows", pause=0)
    node.ask("alter system set default_transaction_read_only = on")
    node.ask("select pg_reload_conf()")
    try:
        wait_kept(daemon, "in a read-only transaction")
    finally:
        node.ask("alter system reset default_transaction_read_only")
        node.ask("select pg_reload_conf()")
    check_all_is_done(daemon)


@pytest.fixture
def reference(node):
    """Catalogues as they usually are."""
    catalogues = ServerCatalogues(Route(node))
    yield catalogues
    catalogues.close()


def test_tables_in_another_schema(make_daemon, node, reference):
    daemon = make_daemon(server=Route(node), speed=SPEED)
    for uri in daemon.catalogue.keys.values():
        daemon.catalogue.server.query(uri, f"create schema shelf authorization {ROLE}; revoke all on schema public from public")
    change(daemon, "set search_path = nowhere, shelf, public")
    node.forget_connections()
    daemon.start()
    check_equal(daemon, reference, [node])
    assert media(daemon, "select schemaname from pg_tables where tablename = 'music'") == [{"schemaname": "shelf"}]


def test_a_role_that_may_make_no_tables(daemon, node, reference):
    daemon.index("R:all", "R:photo")  # as the owner
    for uri in daemon.catalogue.keys.values():
        daemon.catalogue.server.query(
            uri, f"grant usage on schema public to {WRITER}; grant usage on all sequences in schema public to {WRITER};"
                 f"grant select, insert, update, delete on all tables in schema public to {WRITER}")
    daemon.catalogue.places = {key: uri.replace(f"//{ROLE}:", f"//{WRITER}:") for key, uri in daemon.catalogue.keys.items()}
    check_equal(daemon, reference, [node])
