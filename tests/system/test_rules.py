# SPDX-License-Identifier: GPL-2.0-or-later
"""The rules `complete`, as far as the catalogue goes: states that come and go with the rows, and a change of the rules."""
import sqlite3

import pytest

MUSIC = "/volume1/music"
LONG_AGO = "2001-01-01T00:00:00Z"


def restart(daemon, rules):
    """Starts the daemon anew by other rules."""
    if daemon.pid:
        daemon.stop()
    daemon.configure(rules=rules)
    daemon.start()


def agree(daemon):
    """Each path with a media row has one state, and no other."""
    assert sorted(daemon.media_paths()) == daemon.paths("file_state")
    return daemon.paths("file_state")


def test_the_appliance_makes_no_further_tables(daemon):
    daemon.write(f"{MUSIC}/a.pcm")
    daemon.index(f"A:{MUSIC}", "T:file_state")
    assert daemon.logged("maintenance.c", "There is no table [file_state] to empty.") == 1
    assert daemon.paths("music") and not daemon.rows("file_state") and not daemon.rows("file_rules")


def test_states_come_and_go_with_the_rows_by_either_rules(box):
    for name in ("Old/a.pcm", "Old/b.pcm", "c.pcm", "gone.pcm"):
        box.write(f"{MUSIC}/{name}")
    restart(box, "appliance")
    box.index(f"A:{MUSIC}")
    restart(box, "complete")
    box.write(f"{MUSIC}/d.pcm")
    box.index(f"a:{MUSIC}/d.pcm")
    assert len(agree(box)) == 5
    assert box.rows("file_rules") == [{"rules": "complete"}]
    added = {row["path"]: row["added"] for row in box.rows("file_state")}
    for rules in ("complete", "appliance"):
        restart(box, rules)
        box.box.ask("run", arguments=["/bin/mv", f"{MUSIC}/Old", f"{MUSIC}/New"], environment={}, timeout=60)
        box.remove(f"{MUSIC}/gone.pcm")
        box.index(f"N:{MUSIC}/New:{MUSIC}/Old", f"d:{MUSIC}/gone.pcm", f"a:{MUSIC}/c.pcm")
        assert agree(box) == [f"{MUSIC}/New/a.pcm", f"{MUSIC}/New/b.pcm", f"{MUSIC}/c.pcm", f"{MUSIC}/d.pcm"]
        now = {row["path"]: row["added"] for row in box.rows("file_state")}
        assert now[f"{MUSIC}/New/a.pcm"] == added[f"{MUSIC}/Old/a.pcm"]
        assert now[f"{MUSIC}/c.pcm"] == added[f"{MUSIC}/c.pcm"]
        box.box.ask("run", arguments=["/bin/mv", f"{MUSIC}/New", f"{MUSIC}/Old"], environment={}, timeout=60)
        box.write(f"{MUSIC}/gone.pcm")
        box.index(f"N:{MUSIC}/Old:{MUSIC}/New", f"a:{MUSIC}/gone.pcm")
        assert len(agree(box)) == 5
    assert box.rows("file_rules") == [{"rules": "appliance"}]
    box.index("T:music", "T:file_state")
    assert agree(box) == []
    assert not box.logged("maintenance.c", "There is no table [file_state] to empty.")


@pytest.mark.sqlite
def test_the_control_tool_finds_and_mends_what_another_hand_has_left(box):
    for name in "abc":
        box.write(f"{MUSIC}/{name}.pcm")
    restart(box, "complete")
    box.index("R:all")
    assert box.ctl("check")["out"] == "Nothing wrong was found.\n"
    with sqlite3.connect(box.box.path("/var/lib/velu/mediaserver.db"), timeout=30) as connection:
        connection.execute(f"update file_state set added = '{LONG_AGO}'")
        connection.execute("insert into file_state (path, stamp, added, trouble) values ('/lost', '1', '', '')")
        connection.execute("delete from file_state where path like '%/b.pcm'")
        connection.execute("insert into file_fact (file, name, position, value) values (4711, 1, 0, 'x')")
    connection.close()
    found = {(row["problem"], row["repair"], row["path"]) for row in box.ctl_json("check")}
    assert found == {("state without row", "refresh", "/lost"), ("row without state", "refresh", f"{MUSIC}/b.pcm"),
                     ("facts without file", "refresh", "file_fact")}
    box.ctl("check", "--fix", "--wait", clock=True)
    assert box.ctl("check")["out"] == "Nothing wrong was found.\n"
    assert len(agree(box)) == 3
    assert [row["added"] for row in box.rows("file_state")].count(LONG_AGO) == 2
