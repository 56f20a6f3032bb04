# SPDX-License-Identifier: GPL-2.0-or-later
"""A catalogue whose file is damaged: status, check and the log say so, and the commands that they tell make a new one. A server whose
module is missing: the package is named."""
import os

import pytest

from harness.daemon import wait_for

# What is damaged is SQLite's file.
pytestmark = pytest.mark.sqlite

FOUND, NOT_RUNNING, UNREACHABLE = 1, 5, 6
FOLDER = "/var/lib/velu"
MEDIA, PHOTO = f"{FOLDER}/mediaserver.db", f"{FOLDER}/photo.db"
PAGE = 4096
TOLD = "is damaged: veluctl status has the commands that make a new one."

DAMAGES = {
    "no database": lambda data: b"x" * 3 * PAGE,
    "a torn header": lambda data: data[:100],
    "truncated": lambda data: data[:len(data) // 2 // PAGE * PAGE],
    "one page": lambda data: data[:PAGE],
    "overwritten": lambda data: data[:2 * PAGE] + b"\xaa" * (len(data) - 2 * PAGE),
}


@pytest.fixture(params=["complete", "appliance"], name="rules")
def of_rules(request):
    return request.param


@pytest.fixture
def stopped(make_daemon, samples, rules):
    """A daemon that has catalogued something and was stopped."""
    made = make_daemon()
    made.configure(rules=rules)
    for number in range(40):
        made.copy(samples / "tagged.mp3", f"/volume1/music/{number}.mp3")
    made.copy(samples / "exif.jpg", "/volume1/photo/Trip/b.jpg")
    made.start().index("R:all", "R:photo")
    made.stop()
    return made


def damage(box, file, how):
    for journal in ("-wal", "-shm"):
        if box.exists(file + journal):
            box.remove(file + journal)
    damaged = DAMAGES[how](box.read(file)) if how in DAMAGES else how(box.read(file))
    box.write(file, damaged)
    return damaged


def commands_of(text):
    return [line.strip() for line in text.splitlines() if line.startswith("  sudo ")]


def carry_out(box, commands):
    """As an administrator would; the sandbox has no services."""
    stop, move, start = commands
    assert stop == "sudo systemctl stop veluindexd"
    if box.pid:
        box.stop()
    done = box.box.ask("run", arguments=["/bin/bash", "-c", move.replace("sudo ", "")], environment={}, timeout=9)
    assert done["status"] == 0, done
    first, _, then = start.partition(" && ")
    assert first == "sudo systemctl start veluindexd"
    box.start()
    done = box.ctl(*then.removeprefix("sudo veluctl ").split())
    assert done["status"] == 0, done


@pytest.mark.parametrize("how", DAMAGES)
def test_a_damaged_catalogue_is_told_and_made_anew_by_the_commands(stopped, rules, how):
    before = stopped.media_paths()
    damaged = damage(stopped, MEDIA, how)
    stopped.start()
    for command in ("status", "check"):
        answer = stopped.ctl(command)
        assert answer["status"] == UNREACHABLE, answer
        commands = commands_of(answer["out"] + answer["err"])
        assert len(commands) == 3 and commands == stopped.ctl_json("status")["catalogues"]["media"]["commands"]
        assert all(len(line) <= 80 for line in commands)
    assert "veluctl status has the commands" in stopped.ctl("list")["err"]
    stopped.queue("a:/volume1/music/1.mp3")
    stopped.signal()
    wait_for(lambda: stopped.exists("/var/spool/velu_indexing_queue.kept"), "the request to be kept")
    assert any(TOLD in line for line in stopped.log.texts()) == (rules == "complete")
    carry_out(stopped, commands)
    assert stopped.media_paths() == before
    assert stopped.read(f"{FOLDER}/damaged/mediaserver.db") == damaged
    assert stopped.ctl("status")["status"] == 0 and "commands" not in stopped.ctl_json("status")["catalogues"]["media"]


@pytest.mark.parametrize("how", ["no database", "a torn header"])
def test_why_tells_a_damaged_catalogue_too(stopped, how):
    damage(stopped, MEDIA, how)
    answer = stopped.ctl("why", "/volume1/music/1.mp3")
    assert answer["status"] == UNREACHABLE and "may be in the catalogue or not" in answer["out"], answer
    assert "it is damaged; a new one comes, and the old file is kept aside, by" in answer["err"]
    assert commands_of(answer["err"]) == stopped.ctl_json("status")["catalogues"]["media"]["commands"]


def test_what_only_a_look_at_all_pages_finds_is_found_by_check(stopped):
    damage(stopped, MEDIA, lambda data: data[:-PAGE] + b"\x77" * PAGE)
    answer = stopped.ctl("check")
    assert answer["status"] == UNREACHABLE and "database disk image is malformed: " in answer["err"]
    assert commands_of(answer["err"])


def test_the_photo_catalogue_has_commands_of_its_own_and_what_was_kept_aside_stays(stopped):
    stopped.write(f"{FOLDER}/damaged/photo.db", "of the last time")
    damaged = damage(stopped, PHOTO, "no database")
    commands = stopped.ctl_json("status")["catalogues"]["photo"]["commands"]
    assert "commands" not in stopped.ctl_json("status")["catalogues"]["media"]
    carry_out(stopped, commands)
    assert stopped.paths("photo_image") == ["/volume1/photo/Trip/b.jpg"]
    assert stopped.read(f"{FOLDER}/damaged/photo.db") == b"of the last time"
    assert stopped.read(f"{FOLDER}/damaged2/photo.db") == damaged


def test_an_odd_place_and_a_machine_without_shares(stopped):
    for name in ("music", "video", "photo"):
        stopped.remove(f"/var/services/{name}")
    stopped.configure(mediadb="sqlite:/var/lib/it's odd/media.db")
    stopped.write("/var/lib/it's odd/media.db", "x" * PAGE)
    *_, move, start = stopped.ctl_json("status")["catalogues"]["media"]["commands"]
    assert start == "sudo systemctl start veluindexd && sudo veluctl add --wait FOLDER"
    stopped.box.ask("run", arguments=["/bin/bash", "-c", move.replace("sudo ", "")], environment={}, timeout=9)
    assert sorted(os.listdir(stopped.box.path("/var/lib/it's odd"))) == ["damaged"]


def test_a_server_whose_module_is_missing_names_the_package(box):
    box.configure(mediadb="postgresql:///velu?host=/run/none", photodb="postgres:///velu?host=/run/none")
    box.ctl("status", user=65534)  # puts a copy there
    box.remove("/tmp/installed/lib/velu/veludb-postgresql.so")
    for command in ("status", "check"):
        told = box.box.ask("run", arguments=["/tmp/installed/bin/veluctl", command], environment={}, timeout=60)
        assert told["status"] == (NOT_RUNNING if command == "status" else UNREACHABLE)
        assert "the package veluindexd-postgresql brings what asks a server" in " ".join((told["out"] + told["err"]).split())
    told = box.box.ask("run", arguments=["/tmp/installed/bin/veluctl", "config", "check"], environment={}, timeout=60)
    assert told["status"] == FOUND and told["out"].count(
        "db: its engine is not installed; the package veluindexd-postgresql brings what asks a server") == 2, told
    assert "engine" not in box.ctl("config", "check")["out"]
    assert "package" not in box.ctl("check")["err"], "with the module, the server is away"
