# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl why: whether a path is catalogued, by which rule, or what keeps it out; and the command that changes that, carried out."""
import os
import re
import signal

import pytest

from harness.daemon import KEPT, QUEUE, wait_for
from harness.watcher import Watcher

DONE, FOUND, USAGE, NOT_RUNNING, UNREACHABLE, NOT_CATALOGUED = 0, 1, 2, 5, 6, 9
NOBODY = 65534
MUSIC = "/volume1/music"


@pytest.fixture(params=["complete", "appliance"])
def rules(request):
    return request.param


@pytest.fixture
def box(make_daemon, rules):
    made = make_daemon()
    made.configure(rules=rules)
    return made


@pytest.fixture
def complete(make_daemon):
    made = make_daemon()
    made.configure(rules="complete")
    return made.start()


def why(box, path):
    return box.ctl_json("why", path)


def reason(box, path):
    """Why a path is out, in a word; with the same in the answer's status."""
    answer = why(box, path)
    assert answer["catalogued"] is False and box.ctl("why", path)["status"] == FOUND, answer
    return answer["reason"]


def carry_out(box, command):
    """Runs a command that an answer has given, as a person would copy it."""
    words = command.replace("sudo veluctl", box.ctl_program).replace("sudo ", "")
    done = box.box.ask("run", arguments=["/bin/bash", "-c", words], environment={"TZ": "UTC"}, timeout=60)
    assert done["status"] == DONE, (command, done)


def test_what_is_catalogued_says_as_what_and_by_which_rule(daemon, samples, rules):
    daemon.copy(samples / "tagged.mp3", f"{MUSIC}/a.mp3")
    daemon.copy(samples / "exif.jpg", "/volume1/photo/Trip/exif.jpg")
    daemon.index("R:all", "R:photo")
    answer = why(daemon, "/var/services/music/a.mp3")
    assert answer["path"] == f"{MUSIC}/a.mp3" and answer["catalogued"] is True
    assert (answer["kind"], answer["rules"], answer["extension"]) == ("music", rules, "mp3") and "reason" not in answer
    if rules == "appliance":
        assert answer["reader"] == "the daemon's music.c" and answer["added"].startswith("not known")
    assert answer["written"] == daemon.row("music", f"{MUSIC}/a.mp3")["modify_time"]
    assert why(daemon, "/volume1/photo/Trip/exif.jpg")["kind"] == "photo, library"
    assert why(daemon, MUSIC)["kind"] == "directory"
    assert daemon.ctl("why", f"{MUSIC}/a.mp3")["status"] == DONE


def test_by_the_rules_complete_its_state_is_told(complete, samples):
    complete.copy(samples / "tagged.mp3", f"{MUSIC}/a.mp3")
    os.utime(complete.box.path(f"{MUSIC}/a.mp3"), (1e9, 1e9))
    complete.copy(samples / "clip.mp4", "/volume1/video/clip.mp4")
    complete.index("R:all")
    answer = why(complete, f"{MUSIC}/a.mp3")
    assert (answer["rules"], answer["reader"], answer["since_then"]) == ("complete", "velureader", "unchanged")
    assert re.fullmatch(r"20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ", answer["added"]) and answer["written"] == "2001-09-09 01:46:40"
    assert answer["stamp"].startswith(f"{(samples / 'tagged.mp3').stat().st_size} 1000000000.")
    assert why(complete, "/volume1/video/clip.mp4")["reader"] == "velureader-films"
    complete.write(f"{MUSIC}/a.mp3", "something else")
    assert why(complete, f"{MUSIC}/a.mp3")["since_then"].startswith("changed")


def test_each_rule_says_itself(box, rules):
    for path in ("notes.txt", "plain", "@eaDir/a.pcm", "sub/a.sub", "a.opus"):
        box.write(f"{MUSIC}/{path}")
    box.write(f"{MUSIC}/#recycle/a.pcm")
    box.write(f"{MUSIC}/._a.pcm")
    os.mkfifo(box.box.path(f"{MUSIC}/pipe.pcm"))
    os.symlink("nowhere", box.box.path(f"{MUSIC}/link.pcm"))
    box.start().index("R:all")
    assert reason(box, f"{MUSIC}/notes.txt") == "extension" and reason(box, f"{MUSIC}/plain") == "extension"
    assert reason(box, f"{MUSIC}/@eaDir/a.pcm") == "system" and reason(box, f"{MUSIC}/#recycle/a.pcm") == "system"
    assert reason(box, f"{MUSIC}/._a.pcm") == "hidden"
    assert reason(box, f"{MUSIC}/pipe.pcm") == "special"
    assert reason(box, f"{MUSIC}/link.pcm") == "gone" and reason(box, f"{MUSIC}/none.pcm") == "gone"
    if rules == "appliance":
        assert "rules=\"complete\"" in why(box, f"{MUSIC}/a.opus")["because"]
        assert why(box, f"{MUSIC}/sub/a.sub")["catalogued"], "a film by these rules"
    else:
        assert reason(box, f"{MUSIC}/sub/a.sub") == "subtitle"
    assert sorted(box.media_paths()) == sorted(
        f"{MUSIC}/{path}" for path in (["a.opus"] if rules == "complete" else ["sub/a.sub"]))


HIDING = {
    "hidden": (".secret/a.pcm", None),
    "nomedia": ("quiet/deep/a.pcm", ("quiet/.nomedia", "")),
    "pattern": ("raw/a b.pcm", (".veluignore", "# all of it\n*.bak\nraw/\n")),
}


@pytest.mark.parametrize("word", HIDING)
def test_the_command_that_is_given_brings_the_file_in(complete, word):
    path, rule = HIDING[word]
    if rule:
        complete.write(f"{MUSIC}/{rule[0]}", rule[1])
    complete.write(f"{MUSIC}/{path}")
    complete.index("R:all")
    assert complete.media_paths() == []
    answer = why(complete, f"{MUSIC}/{path}")
    assert answer["reason"] == word
    if word == "pattern":
        assert (answer["file"], answer["line"]) == (f"{MUSIC}/.veluignore", 3) and answer["because"].endswith(": raw/")
    carry_out(complete, answer["command"])
    assert [os.path.basename(found) for found in complete.media_paths()] == [os.path.basename(path)]


def test_patterns_that_matter_are_the_deepest_and_last(complete):
    complete.write(f"{MUSIC}/.veluignore", "*.pcm\n")
    complete.write(f"{MUSIC}/kept/.veluignore", "!*.pcm\n\n/one.pcm\n")
    for name in ("one.pcm", "two.pcm"):
        complete.write(f"{MUSIC}/kept/{name}")
    complete.index("R:music")
    answer = why(complete, f"{MUSIC}/kept/one.pcm")
    assert (answer["file"], answer["line"]) == (f"{MUSIC}/kept/.veluignore", 3)
    assert why(complete, f"{MUSIC}/kept/two.pcm")["catalogued"]


def test_an_empty_file_is_called_empty(daemon):
    daemon.write("/volume1/music/nothing.mp3", b"")
    daemon.write("/volume1/music/some.mp3", b"some")
    daemon.index("A:/volume1/music")
    assert "none: the file is empty" in daemon.ctl("why", "/volume1/music/nothing.mp3")["out"]
    assert "empty" not in daemon.ctl("why", "/volume1/music/some.mp3")["out"]


def test_a_file_that_could_not_be_read_says_so(complete, samples):
    complete.copy(samples / "broken.mp3", f"{MUSIC}/broken.mp3")
    answer = complete.ctl("add", "--wait", f"{MUSIC}/broken.mp3")
    assert answer["status"] == NOT_CATALOGUED and "has a row by its name alone: it could not be read" in answer["err"]
    answer = why(complete, f"{MUSIC}/broken.mp3")
    assert answer["catalogued"] and answer["reason"] == "trouble" and "changes" in answer["because"]


def test_people_see_moments_in_their_own_form_and_what_helps(complete, samples):
    complete.copy(samples / "tagged.mp3", f"{MUSIC}/a.mp3")
    os.utime(complete.box.path(f"{MUSIC}/a.mp3"), (1e9, 1e9))
    complete.write("/volume1/video/broken.mkv", (samples / "clip.mp4").read_bytes()[:40])
    complete.index("R:all")
    environment = {"TZ": "Asia/Tokyo", "LC_ALL": "C.UTF-8"}

    def said(*words):
        return complete.box.ask("run", arguments=[complete.ctl_program, *words], environment=environment, timeout=60)["out"]
    text = said("why", f"{MUSIC}/a.mp3")
    assert re.search(r"^  stamp +\S+ k?B, written 2001-09-09 10:46:40, changed 20\d\d-\d\d-\d\d \d\d:\d\d:\d\d$", text, re.MULTILINE), text
    for shown in (text, said("show", f"{MUSIC}/a.mp3")):
        assert re.search(r"^  added +20\d\d-\d\d-\d\d \d\d:\d\d:\d\d$", shown, re.MULTILINE), shown
    answer = why(complete, "/volume1/video/broken.mkv")
    assert "damaged, or not what its name says" in answer["because"] and "good copy" in answer["because"]
    assert "touch" not in answer["command"]
    complete.copy(samples / "clip.mp4", "/volume1/video/broken.mkv")
    carry_out(complete, answer["command"])
    assert "reason" not in why(complete, "/volume1/video/broken.mkv")


def test_add_and_wait_tells_what_did_not_come(daemon):
    daemon.write(f"{MUSIC}/notes.txt")
    daemon.write(f"{MUSIC}/a.pcm")
    answer = daemon.ctl("add", "--wait", f"{MUSIC}/notes.txt", f"{MUSIC}/a.pcm")
    assert answer["status"] == NOT_CATALOGUED
    assert f"'{MUSIC}/notes.txt' is not in the catalogue: no file with the extension 'txt'" in answer["err"]
    assert "a.pcm" not in answer["err"] and daemon.media_paths() == [f"{MUSIC}/a.pcm"]
    assert daemon.ctl("add", "--wait", f"{MUSIC}/a.pcm", MUSIC)["status"] == DONE


def make_catalogue(box):
    """One that a daemon has made which does not run any more."""
    box.start().index("R:all")
    box.stop()


def test_what_waits_has_the_line_that_asks_for_it(box):
    make_catalogue(box)
    for name in ("a.pcm", "b.pcm", "sub/c.pcm"):
        box.write(f"{MUSIC}/{name}")
    assert reason(box, f"{MUSIC}/a.pcm") == "unasked"
    box.queue("a:/volume1/music/b.pcm", "D:/volume1/music/a.pcm", "a:/volume1/music/sub", "A:/volume1/music/sub", "R:music")
    answer = why(box, f"{MUSIC}/sub/c.pcm")
    assert (answer["reason"], answer["file"], answer["line"]) == ("queued", QUEUE, 4)
    assert "A:/volume1/music/sub" in answer["because"] and "does not run" in answer["because"]
    assert why(box, f"{MUSIC}/a.pcm")["line"] == 5 and why(box, f"{MUSIC}/b.pcm")["line"] == 1
    assert why(box, f"{MUSIC}/sub")["line"] == 3


def test_what_the_watcher_is_about_to_ask_for_says_so(box):
    make_catalogue(box)
    box.write(f"{MUSIC}/Old/a.pcm")
    watcher = Watcher(box, settle=60)
    os.rename(box.box.path(f"{MUSIC}/Old"), box.box.path(f"{MUSIC}/New"))
    box.write(f"{MUSIC}/b.pcm")
    for path in (f"{MUSIC}/b.pcm", f"{MUSIC}/New/a.pcm", f"{MUSIC}/New"):
        answer = why(box, path)
        assert (answer["reason"], answer["catalogued"]) == ("watched", False)
        assert f"veluwatchd, which watches '{MUSIC}'," in answer["because"] and answer["because"].endswith("for 60 s")
    assert reason(box, f"{MUSIC}/none.pcm") == "gone"
    watcher.stop()
    answer = why(box, f"{MUSIC}/b.pcm")
    assert answer["reason"] == "queued", "at its end the watcher asks for what it knew of"


def test_what_the_watcher_has_not_asked_for_in_its_time_is_unasked(box):
    make_catalogue(box)
    box.write(f"{MUSIC}/sub/a.pcm")
    assert "veluwatchd, which would, does not run" in why(box, f"{MUSIC}/sub/a.pcm")["because"]
    box.write("/volume1/o\\ther/b.pcm")
    watcher = Watcher(box, MUSIC, "/volume1/o\\ther", settle=0.05)
    for path in (f"{MUSIC}/sub/a.pcm", "/volume1/o\\ther/b.pcm"):
        wait_for(lambda there=path: why(box, there)["reason"] == "unasked", "its time to be over")
    assert f"veluwatchd neither, though it watches '{MUSIC}'" in why(box, f"{MUSIC}/sub/a.pcm")["because"]
    assert "veluwatchd neither, though it watches '/volume1/o\\ther'" in why(box, "/volume1/o\\ther/b.pcm")["because"]
    box.write("/volume1/video/c.pcm")
    assert "veluwatchd watches other folders" in why(box, "/volume1/video/c.pcm")["because"]
    watcher.signal(signal.SIGKILL)
    watcher.wait()
    box.write(f"{MUSIC}/new.pcm")
    assert "does not run" in why(box, f"{MUSIC}/new.pcm")["because"], "what it has left tells nothing"


def test_a_request_that_was_kept_is_named(box):
    make_catalogue(box)
    box.write(f"{MUSIC}/a.pcm")
    box.write(KEPT, f"7200 a:{MUSIC}/b.pcm\n7200 A:{MUSIC}\n")
    answer = why(box, f"{MUSIC}/a.pcm")
    assert (answer["reason"], answer["line"]) == ("kept", 2) and "2 hours" in answer["because"]


def test_outside_of_shares_nobody_has_asked(daemon):
    daemon.write("/volume1/elsewhere/a.pcm")
    answer = why(daemon, "/volume1/elsewhere/a.pcm")
    assert answer["reason"] == "unasked" and "no share" in answer["because"]
    carry_out(daemon, answer["command"])
    assert daemon.media_paths() == ["/volume1/elsewhere/a.pcm"]


def test_a_share_that_is_away_is_no_missing_file(box):
    box.write(f"{MUSIC}/a.pcm")
    box.start().index("R:music")
    os.rename(box.box.path(MUSIC), box.box.path("/volume1/gone"))
    answer = why(box, f"{MUSIC}/a.pcm")
    assert answer["catalogued"] and answer["reason"] == "away"
    assert reason(box, f"{MUSIC}/b.pcm") == "away"


def test_a_row_whose_file_is_gone_has_the_command_that_removes_it(daemon):
    daemon.write(f"{MUSIC}/a.pcm")
    daemon.index("R:music")
    daemon.remove(f"{MUSIC}/a.pcm")
    answer = why(daemon, f"{MUSIC}/a.pcm")
    assert answer["catalogued"] and answer["reason"] == "gone"
    carry_out(daemon, answer["command"])
    assert daemon.media_paths() == []


def test_a_directory_counts_what_lies_below(complete):
    for name in ("a.pcm", "sub/b.pcm", ".hidden", "notes.txt", "quiet/.nomedia", "quiet/c.pcm"):
        complete.write(f"{MUSIC}/{name}")
    complete.index("R:music")
    complete.write(f"{MUSIC}/new.pcm")
    answer = why(complete, MUSIC)
    assert (answer["catalogued_below"], answer["on_the_disk"], answer["in_trouble"], answer["unreadable"]) == (2, 3, 0, 0)
    assert {word: count for word, count in answer["left_out"].items() if count} == {"hidden": 1, "nomedia": 1, "extension": 1}
    text = complete.ctl("why", MUSIC)["out"]
    assert f"sudo veluctl add --wait {MUSIC}" in text
    assert why(complete, f"{MUSIC}/sub")["catalogued_below"] == 1


def test_hostile_names_are_shown_and_their_commands_work(complete):
    name = ".\x1b[31m 'a' $(reboot)\\\xc3\xa9.pcm"
    complete.write(f"{MUSIC}/{name}".encode("latin-1").decode("utf-8"), "")
    complete.index("R:music")
    path = f"{MUSIC}/{name}"
    answer = complete.ctl("why", path)
    assert answer["status"] == FOUND and "\x1b" not in answer["out"]
    command = answer["out"].split("To change that:\n  ")[1].strip()
    carry_out(complete, command)
    assert complete.media_paths() == [f"{MUSIC}/{name[1:]}"]


def test_who_may_not_look_is_told_who_may(daemon):
    daemon.write(f"{MUSIC}/closed/a.pcm")
    os.chmod(daemon.box.path(f"{MUSIC}/closed"), 0o700)
    answer = daemon.ctl("why", f"{MUSIC}/closed/a.pcm", user=NOBODY)
    assert answer["status"] == FOUND and "this user may not look at it: Permission denied" in answer["out"]
    assert f"sudo veluctl why {MUSIC}/closed/a.pcm" in answer["out"]


def test_a_catalogue_that_cannot_be_read_is_no_answer(box):
    box.configure(mediadb="sqlite:/dev/null/media.db", photodb="sqlite:/dev/null/photo.db")
    box.write(f"{MUSIC}/notes.txt")
    answer = box.ctl("why", f"{MUSIC}/notes.txt")
    assert answer["status"] == UNREACHABLE and "/dev/null/media.db" in answer["err"]
    assert "may be in the catalogue or not" in answer["out"] and "extension 'txt'" in answer["out"], "the rules hold all the same"
    assert why(box, f"{MUSIC}/notes.txt")["catalogued"] is None
    assert box.ctl("why", "")["status"] == USAGE


def test_what_the_service_does_not_see_is_told(box):
    hidden = ["/usr/bin/unshare", "--mount", "/bin/sh", "-c", 'mount -t tmpfs none /volume1/own && exec "$@"', "sh"]
    box.write("/volume1/own/a.pcm")
    box.start(wrapper=hidden)
    answer = box.ctl("add", "--wait", "/volume1/own/a.pcm")
    assert answer["status"] == NOT_CATALOGUED and "the daemon does not see it" in answer["err"]
    assert reason(box, "/volume1/own/a.pcm") == "sandbox"
