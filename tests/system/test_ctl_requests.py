# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl asks for work: what it queues and refuses, whom it signals, how it follows a run."""
import os
import re
import time

import pytest

from harness import readers
from harness.daemon import KEPT, PID_FILE, QUEUE, WORKING_COPY, wait_for
from harness.photo import jpeg
from harness.store_faults import COMMIT, MEDIA, PHOTO, store_fault

DONE, FOUND, USAGE, REFUSED, NO_RIGHTS, NOT_RUNNING, UNREACHABLE, NOT_FINISHED, FAILED, NOT_CATALOGUED = range(10)
NOBODY = 65534
SLOW = 20  # times as fast as the real clock: a silent reader has some seconds
SONG = "/volume1/music/a song.pcm"


def queued(box):
    return box.lines(QUEUE)


@pytest.fixture
def idle(box):
    """A daemon that never runs: what is queued stays to be looked at."""
    box.write(SONG)
    return box


def test_a_file_and_a_tree_have_their_own_letters(idle):
    assert idle.ctl("add", SONG, "/volume1/music")["status"] == NOT_RUNNING
    assert queued(idle) == [f"a:{SONG}", "A:/volume1/music"]


def test_a_share_link_is_queued_as_the_directory_that_rows_have(idle):
    idle.ctl("add", "/var/services/music/", "/var/services/music/a song.pcm")
    assert queued(idle) == ["A:/volume1/music", f"a:{SONG}"]


def test_the_last_link_is_not_resolved(idle):
    os.symlink("a song.pcm", idle.box.path("/volume1/music/link.pcm"))
    idle.ctl("add", "/volume1/music/link.pcm")
    assert queued(idle) == ["a:/volume1/music/link.pcm"]


def test_paths_come_from_a_list_too(idle):
    idle.write("/tmp/list", f"{SONG}\0/volume1/music\0")
    assert idle.ctl("add", "--from", "/tmp/list", "--null")["status"] == NOT_RUNNING
    idle.write("/tmp/list", f"{SONG}\n\n")
    idle.ctl("add", "--from", "/tmp/list", "/volume1/video")
    assert queued(idle) == [f"a:{SONG}", "A:/volume1/music", "A:/volume1/video", f"a:{SONG}"]


def test_a_long_list_is_queued_whole(idle):
    paths = [idle.write(f"/volume1/music/{number:04}{'x' * 90}.pcm") for number in range(2000)]
    idle.write("/tmp/list", "".join(f"{path}\n" for path in paths))
    idle.ctl("add", "--from", "/tmp/list")
    assert queued(idle) == [f"a:{path}" for path in paths]


def test_other_requests(idle):
    idle.ctl("remove", "/volume1/music/gone")
    idle.ctl("rename", SONG, "/volume1/music/old.pcm")
    for share in ("music", "video", "photo", "all"):
        idle.ctl("reindex", share)
    idle.ctl("refresh", "photo")
    assert queued(idle) == ["D:/volume1/music/gone", f"N:{SONG}:/volume1/music/old.pcm", "R:music", "R:video", "R:photo",
                            "R:all", "U:photo"]


@pytest.mark.parametrize("arguments, reason", [
    (["add", "/volume1/music/new\nline"], "newline"),
    (["add", "/volume1/music/" + "x" * 4096], "4095"),
    (["add", "/volume1/music/gone.mp3"], "No such file"),
    (["add", ""], "empty"),
    (["remove", SONG], "still there"),
    (["rename", SONG, "/volume1/music/a:b"], "colon"),
    (["rename", SONG, "/volume1/music/" + "y" * 4078], "together"),
    (["rename", "/volume1/music/gone", "/volume1/music/old"], "not there"),
    (["rename", SONG, "/volume1/music"], "still there"),
])
def test_what_cannot_be_is_refused_with_the_reason(idle, arguments, reason):
    answer = idle.ctl(*arguments)
    assert answer["status"] == REFUSED and reason in answer["err"] and answer["out"] == ""
    assert not idle.exists(QUEUE)


def test_one_refusal_keeps_all_from_being_queued(idle):
    assert idle.ctl("add", SONG, "/volume1/music/gone.mp3")["status"] == REFUSED
    assert not idle.exists(QUEUE)


def test_force_queues_what_the_disk_contradicts_but_never_a_line_that_cannot_be(idle):
    assert idle.ctl("remove", "--force", SONG)["status"] == NOT_RUNNING
    assert idle.ctl("add", "--force", "/volume1/music/new\nline")["status"] == REFUSED
    assert queued(idle) == [f"D:{SONG}"]


@pytest.mark.parametrize("arguments", [
    [], ["add"], ["bogus"], ["reindex"], ["reindex", "books"], ["refresh", "music"], ["rename", "/a"], ["list", "--kind", "x"],
    ["list", "--json", "--csv"], ["add", "/x", "--wait", "--no-signal"], ["list", "-k", "album", "-k", "music"],
])
def test_a_wrong_command_line_says_so_and_queues_nothing(idle, arguments):
    answer = idle.ctl(*arguments)
    assert answer["status"] == USAGE and answer["err"]
    assert not idle.exists(QUEUE)


@pytest.mark.parametrize("arguments, meant", [
    (["stauts"], "status"), (["ad", SONG], "add"), (["dupl"], "duplicates"), (["add", "--wiat", SONG], "--wait"),
    (["add", "-w", "--time=5", SONG], "--timeout"), (["--verison"], "--version"), (["list", "--jsno"], "--json"),
])
def test_what_is_mistyped_is_told_with_what_was_meant(idle, arguments, meant):
    answer = idle.ctl(*arguments)
    assert answer["status"] == USAGE and f"; did you mean {meant}?\n" in answer["err"], answer
    assert not idle.exists(QUEUE)


def test_what_is_like_nothing_has_no_hint(idle):
    for arguments in (["bogus"], ["x"], ["list", "--bogus"], ["list", "-q"], ["status", "lsit"]):
        answer = idle.ctl(*arguments)
        assert answer["status"] == USAGE and "did you mean" not in answer["err"], answer


def test_a_word_that_is_missing_is_one_of_those_that_there_are(idle):
    for arguments, said in ((["share"], "what is required: add, list or remove\n"), (["refresh"], "share is required: photo\n"),
                            (["rename"], "new is required\n"), (["feature"], "what is required: on, off or list\n")):
        answer = idle.ctl(*arguments)
        assert answer["status"] == USAGE and answer["err"].startswith(said), answer


def test_help_fits_a_terminal(idle):
    for arguments in ([], ["add"], ["share"], ["check"], ["status"]):
        assert all(len(line) <= 80 for line in idle.ctl("help", *arguments)["out"].splitlines()), arguments


def test_help_is_a_command_too(idle):
    assert idle.ctl("help") == idle.ctl("--help") and "\n  duplicates " in idle.ctl("help")["out"]
    assert idle.ctl("help", "add") == idle.ctl("add", "--help") and "--timeout" in idle.ctl("help", "add")["out"]
    assert idle.ctl("help", "bogus")["status"] == USAGE


def test_an_ordinary_user_is_told_who_may_write_the_queue(idle):
    answer = idle.ctl("add", SONG, user=NOBODY)
    assert answer["status"] == NO_RIGHTS and "Only root may write the queue" in answer["err"]


def test_only_the_daemon_is_signalled(idle):
    idle.write(PID_FILE, str(idle.peers["dms"]))
    answer = idle.ctl("add", SONG)
    assert answer["status"] == NOT_RUNNING and "does not run" in answer["err"]
    assert idle.wakes("dms") == 0
    assert queued(idle) == [f"a:{SONG}"]


def test_a_daemon_that_is_starting_is_waited_for(idle):
    """A service manager takes it for started before its pid file is there. Here something else bears its name."""
    starting = "cp /bin/sleep /tmp/veluindexd; /tmp/veluindexd 99 & touch /tmp/started; sleep 1; echo -n $! >" + PID_FILE + "; wait"
    idle.box.ask("start", arguments=["/bin/bash", "-c", starting], environment={}, out="/tmp/words")
    wait_for(lambda: idle.exists("/tmp/started"), "it to start")
    assert idle.ctl("add", SONG) == {"status": DONE, "out": "1 request queued.\n", "err": ""}


def test_what_is_waited_for_is_told_by_the_interval_that_is_configured(make_daemon):
    box = make_daemon(speed=1)
    box.configure(rules="complete", quiet=60)
    box.write(SONG)
    box.start()
    assert box.ctl_json("status")["begins_in"] is None and box.ctl_json("status")["quiet_seconds"] == 60
    assert "\nquiet interval   60 s\n" in box.ctl("status")["out"]
    begins = re.compile(r"^waiting: the run begins in (5\d|60) s when nothing more comes$", re.MULTILINE)

    def is_told():
        answer = box.ctl("add", "--wait", "--timeout", "1", SONG)
        assert answer["status"] == NOT_FINISHED
        return begins.search(answer["out"])

    wait_for(is_told, "the daemon to have seen it")  # until then it may begin at any moment
    assert 30 < box.ctl_json("status")["begins_in"] <= 60
    assert re.search(r"^quiet interval   60 s; the run begins in \d+ s when nothing more comes$", box.ctl("status")["out"], re.MULTILINE)


def test_a_torn_line_of_another_program_is_ended_first(idle):
    idle.write(QUEUE, "a:/volume1/mus")
    idle.ctl("add", SONG)
    assert queued(idle) == ["a:/volume1/mus", f"a:{SONG}"]


def test_the_daemon_is_told(daemon):
    daemon.write(SONG)
    answer = daemon.ctl("add", SONG)
    assert answer["status"] == DONE and answer["out"] == "1 request queued.\n"
    daemon.wait_run(0)
    assert daemon.paths("music") == [SONG]


def test_without_a_signal_the_request_waits(daemon):
    daemon.write(SONG)
    assert daemon.ctl("add", "--no-signal", SONG)["status"] == DONE
    time.sleep(1)
    assert queued(daemon) == [f"a:{SONG}"]


def test_wait_follows_the_run_to_its_end(daemon):
    for number in range(300):
        daemon.write(f"/volume1/music/{number}.pcm")
    answer = daemon.ctl("add", "--wait", "/volume1/music")
    assert answer["status"] == DONE
    assert len(daemon.paths("music")) == 300, "all is stored once it returns"
    lines = answer["out"].splitlines()
    assert lines[0] == "1 request queued." and lines[1].startswith("waiting: ")
    assert lines[-1].startswith("done, line 1 of 1, 300 files catalogued (+300)")


def test_wait_shows_the_line_in_work_and_where_it_is(make_daemon):
    daemon = make_daemon(speed=20)
    daemon.write("/usr/velu/slow", "#!/bin/sh\nsleep 8\n")
    os.chmod(daemon.box.path("/usr/velu/slow"), 0o755)
    daemon.configure(aacdecoder="/usr/velu/slow")
    daemon.write("/volume1/music/slow.aac", "x")
    daemon.start()
    answer = daemon.ctl("add", "--wait", "/volume1/music/slow.aac")
    assert answer["status"] == DONE
    assert any(line.startswith("running, line 0 of 1") and line.endswith(": a:/volume1/music/slow.aac")
               for line in answer["out"].splitlines()), answer["out"]


def test_wait_ends_with_its_time(daemon):
    daemon.write("/usr/velu/slow", "#!/bin/sh\nsleep 100\n")
    os.chmod(daemon.box.path("/usr/velu/slow"), 0o755)
    daemon.configure(aacdecoder="/usr/velu/slow")
    daemon.write("/volume1/music/slow.aac", "x")
    answer = daemon.ctl("add", "--wait", "--timeout", "1", "/volume1/music/slow.aac")
    assert answer["status"] == NOT_FINISHED and "time is up" in answer["err"]


def test_wait_tells_that_the_daemon_has_ended(make_daemon):
    daemon = make_daemon(speed=1).start()
    daemon.write(SONG)
    daemon.write("/tmp/end", f"#!/bin/sh\nsleep 1\nkill {daemon.pid}\n")
    answer = daemon.box.ask("run", arguments=["/bin/sh", "-c", f"sh /tmp/end & exec {daemon.ctl_program} add -w '{SONG}'"],
                            environment={}, timeout=30)
    assert answer["status"] == NOT_FINISHED and "the daemon has ended" in answer["err"]
    daemon.pid = 0
    assert queued(daemon) == [f"a:{SONG}"]


def test_a_request_that_waits_for_its_database_is_shown_as_kept(make_daemon):
    daemon = make_daemon()
    assert daemon.ctl_json("status")["kept"] == {"present": False, "requests": 0, "oldest_seconds": None}
    daemon.configure(mediadb="sqlite:/dev/null/media.db", photodb="sqlite:/dev/null/photo.db")
    daemon.write(SONG)
    daemon.start()
    answer = daemon.ctl("add", "--wait", "--timeout", "2", SONG)
    assert answer["status"] == NOT_FINISHED and "kept: the daemon tries again later" in answer["out"]
    wait_for(lambda: daemon.exists(KEPT), "the kept file")
    state = daemon.ctl_json("status")["kept"]
    assert state["present"] and state["requests"] == 1 and state["oldest_seconds"] >= 0
    assert "1 could not be stored, the oldest for " in daemon.ctl("status")["out"]
    daemon.configure()
    answer = daemon.ctl("add", "--wait", "--timeout", "60", SONG)
    assert answer["status"] == DONE and not daemon.exists(KEPT)
    assert daemon.paths("music") == [SONG]


@pytest.mark.parametrize("uri, reason", [
    ("sqlite:/dev/null/media.db", "/dev/null/media.db"), ("postgresql:///velu?host=/run/none", "No such file or directory"),
])
def test_waiting_ends_when_the_daemon_keeps_the_request(make_daemon, uri, reason):
    daemon = make_daemon()
    daemon.configure(mediadb=uri, photodb=uri)
    daemon.write(SONG)
    daemon.start()
    answer = daemon.ctl("add", "--wait", SONG, clock=True)
    assert answer["status"] == UNREACHABLE, answer
    assert answer["out"].splitlines()[-1].startswith("kept: the daemon tries again later (") and reason in answer["out"]
    assert answer["err"].startswith("veluctl: the daemon keeps the request and tries it again by itself: ") and reason in answer["err"]
    assert daemon.lines(KEPT)[0].split(" ", 1)[1] == f"a:{SONG}"
    kept = daemon.ctl_json("status")["kept"]
    assert kept["requests"] == 1 and reason in kept["reason"]
    told = " ".join(daemon.ctl("status")["out"].split())
    assert "1 could not be stored, the oldest for " in told and "tries again by itself: " in told
    daemon.configure()
    wait_for(lambda: not daemon.exists(KEPT), "the daemon to try again")
    assert daemon.paths("music") == [SONG]


def test_waiting_is_for_what_was_asked_for_here(make_placed):
    """What others have asked for in the same run, or before, may be kept: that is told."""
    daemon = make_placed().start()
    picture = daemon.write("/volume1/photo/Trip/a.jpg", jpeg(3, 2))
    daemon.write(SONG)
    daemon.index("R:all", "R:photo")
    with store_fault(daemon, "stopped", PHOTO):
        daemon.queue(f"a:{picture}")
        answer = daemon.ctl("add", "--wait", SONG, clock=True)
        assert answer["status"] == DONE and "1 request that could not be stored is kept, and tried again" in answer["err"], answer
        assert daemon.lines(KEPT)[0].endswith(f"a:{picture}")
        answer = daemon.ctl("add", "--wait", picture, clock=True)
        assert answer["status"] == UNREACHABLE, answer
    daemon.wait_done()
    answer = daemon.ctl("add", "--wait", SONG)
    assert answer["status"] == DONE and answer["err"] == ""


def test_a_run_of_somebody_else_is_followed(make_daemon):
    daemon = make_daemon()
    assert daemon.ctl("status", "--watch")["status"] == NOT_RUNNING
    daemon.start()
    answer = daemon.ctl("status", "--watch")
    assert answer["status"] == DONE and answer["out"] == "The daemon has nothing to do.\n"
    daemon.write("/usr/velu/slow", "#!/bin/sh\nwhile [ ! -e /tmp/go_on ]; do sleep 0.1; done\n")
    os.chmod(daemon.box.path("/usr/velu/slow"), 0o755)
    daemon.configure(aacdecoder="/usr/velu/slow")
    daemon.write("/volume1/music/slow.aac", "x")
    daemon.write("/tmp/watch", f"#!/bin/bash\nset -m\nenv --default-signal=INT {daemon.ctl_program} status --watch > /tmp/said & one=$!\n"
                 f"{daemon.ctl_program} status --watch > /tmp/said_too & two=$!\n"
                 "for file in /tmp/said /tmp/said_too; do while ! grep -q slow.aac $file; do sleep 0.1; done; done\n"
                 "kill -INT $one; wait $one; echo ended by $?\n"
                 "touch /tmp/go_on; wait $two; echo ended with $?; tail -n 1 /tmp/said_too\n")
    daemon.queue("a:/volume1/music/slow.aac")
    daemon.signal()
    wait_for(lambda: daemon.exists(WORKING_COPY), "the run to begin")
    answer = daemon.box.ask("run", arguments=["/bin/bash", "/tmp/watch"], environment={"LC_ALL": "C.UTF-8"}, timeout=60)
    lines = answer["out"].splitlines()
    assert lines[:2] == ["ended by 130", "ended with 0"] and lines[2].startswith("done, line 1 of 1"), answer
    assert not daemon.exists(QUEUE) and daemon.paths("music") == ["/volume1/music/slow.aac"]


def test_the_age_of_what_is_kept_goes_on_between_attempts(make_daemon):
    daemon = make_daemon()
    daemon.write(KEPT, f"100 a:{SONG}\n")
    os.utime(daemon.box.path(KEPT), (time.time() - 3600, time.time() - 3600))
    age = daemon.ctl_json("status")["kept"]["oldest_seconds"]
    assert 3700 <= age <= 3700 + 180
    assert f"a:{SONG}, for 1 hour" in daemon.ctl("status")["out"]
    daemon.start().index(f"a:{SONG}")
    daemon.stop()
    daemon.write(f"{SONG}2.pcm")
    daemon.write(KEPT, f"100 a:{SONG}2.pcm\n")
    os.utime(daemon.box.path(KEPT), (time.time() - 3600, time.time() - 3600))
    assert "could not be stored 1 hour ago" in daemon.ctl_json("why", f"{SONG}2.pcm")["because"]


def test_since_when_the_daemon_runs_is_the_same_at_each_look(daemon):
    assert len({daemon.ctl_json("status")["since"] for _ in range(20)}) == 1


@pytest.mark.parametrize("timeout", [[], ["--timeout", "600"]])
@pytest.mark.sqlite
def test_what_does_not_go_by_itself_is_not_waited_for(make_daemon, timeout):
    daemon = make_daemon()
    daemon.write("/var/lib/velu/mediaserver.db", "no database" * 1000)
    daemon.write(SONG)
    daemon.start()
    answer = daemon.ctl("add", "--wait", *timeout, SONG)
    assert answer["status"] == UNREACHABLE and "is damaged, and veluctl status has the commands" in answer["err"], answer


def test_the_reason_is_that_of_the_daemon_where_its_log_can_be_read(make_placed):
    daemon = make_placed()
    daemon.write(SONG)
    daemon.start().index(f"a:{SONG}")
    with store_fault(daemon, COMMIT, MEDIA):
        daemon.write(SONG, "more")
        daemon.queue(f"a:{SONG}")
        daemon.signal()
        wait_for(lambda: daemon.exists(KEPT), "the kept file")
        wait_for(lambda: [line for line in daemon.log.texts() if "Failed to store all rows" in line], "its line")
        moment = time.strftime("%Y-%m-%dT%H:%M:%S.5+00:00", time.gmtime())
        reasons = [line for line in daemon.log.texts() if "media catalogue" in line]
        daemon.write("/var/log/syslog", "".join(f"{moment} box veluindexd[7]: {line}\n" for line in reasons))
        reason = daemon.ctl_json("status")["kept"]["reason"]
        assert reason and f"({reason})" in reasons[-1], (reason, reasons)
        if not daemon.catalogue.keys:
            assert "full" in reason


@pytest.mark.sqlite
def test_a_disk_that_is_full_is_told_without_a_log(make_daemon):
    daemon = make_daemon(speed=20)
    run = ["/bin/mount", "-t", "tmpfs", "-o", "size=400k,mode=0755", "none", "/var/lib/velu"]
    assert daemon.box.ask("run", arguments=run, environment={}, timeout=9)["status"] == 0
    for number in range(3000):
        daemon.write(f"/volume1/music/{'x' * 200}/{number}.pcm")
    daemon.start()
    answer = daemon.ctl("add", "--wait", "/volume1/music", clock=True)
    assert answer["status"] == UNREACHABLE, answer
    assert "/var/lib/velu/mediaserver.db lies on a disk that is full: " in answer["err"], answer
    assert daemon.exists(KEPT)
    daemon.stop()
    remount = ["/bin/mount", "-o", "remount,ro,size=9m", "/var/lib/velu"]
    assert daemon.box.ask("run", arguments=remount, environment={}, timeout=9)["status"] == 0
    assert daemon.ctl_json("status")["kept"]["reason"] == "/var/lib/velu/mediaserver.db lies on a file system that is read-only"


def test_an_interrupt_ends_the_waiting_alone(make_daemon):
    daemon = make_daemon(speed=1).start()
    daemon.write(SONG)
    # What a shell without job control puts aside ignores the signal, and so do these tests when they were put aside so.
    script = (f"set -m; env --default-signal=INT {daemon.ctl_program} add --wait '{SONG}' & "
              "while ! grep -q waiting /tmp/said; do sleep 0.1; done; kill -INT $!; wait $!; echo ended by $?")
    answer = daemon.box.ask("run", arguments=["/bin/bash", "-c", f"({script}) > /tmp/said; cat /tmp/said"], environment={"LC_ALL": "C.UTF-8"},
                            timeout=30)
    assert answer["out"].splitlines()[-1] == "ended by 130", answer
    assert "veluctl: interrupted; the request stays queued and the daemon goes on: veluctl status shows it\n" in answer["err"]
    assert queued(daemon) == [f"a:{SONG}"]


@pytest.fixture(name="tree")
def fixture_tree(make_daemon, samples):
    """A daemon by the rules `complete`, with songs of which one cannot be read, and what is left out."""
    daemon = make_daemon(speed=20)
    daemon.configure(rules="complete")
    for name in ("a", "b", "sub/c"):
        daemon.copy(samples / "tagged.mp3", f"/volume1/music/{name}.mp3")
    daemon.copy(samples / "broken.mp3", "/volume1/music/sub/broken.mp3")
    daemon.write("/volume1/music/notes.txt")
    for folder, _, names in os.walk(daemon.box.path("/volume1/music")):
        for name in names:
            os.utime(f"{folder}/{name}", (1e9, 1e9))
    return daemon.start()


def test_the_last_line_tells_what_came_of_it(tree):
    answer = tree.ctl("add", "--wait", "/volume1/music")
    assert answer["status"] == NOT_CATALOGUED, answer
    assert answer["out"].splitlines()[-1] == (
        "done: 4 new, 0 changed, 0 gone, 0 unchanged, 1 in trouble (veluctl find has:trouble), 1 left out (veluctl missing files)")
    assert "'/volume1/music' holds 1 file that could not be read:\n  veluctl find has:trouble --dir /volume1/music\n" in answer["err"]
    told = tree.ctl("find", "has:trouble", "--dir", "/volume1/music", "--json")["out"]
    assert "sub/broken.mp3" in told and "a.mp3" not in told
    os.unlink(tree.box.path("/volume1/music/sub/broken.mp3"))
    os.unlink(tree.box.path("/volume1/music/b.mp3"))
    assert tree.ctl("reindex", "--wait", "music")["out"].splitlines()[-1] == (
        "done: 0 new, 0 changed, 2 gone, 2 unchanged, 0 in trouble, 1 left out (veluctl missing files)")
    answer = tree.ctl("add", "--wait", "/volume1/music")
    assert (answer["status"], answer["out"].splitlines()[-1]) == (
        DONE, "done: 0 new, 0 changed, 0 gone, 2 unchanged, 0 in trouble, 1 left out (veluctl missing files)")


def test_trouble_elsewhere_is_none_of_what_was_asked_for(tree):
    tree.index("R:all")
    assert tree.ctl("add", "--wait", "/volume1/music/sub")["status"] == NOT_CATALOGUED
    assert tree.ctl("add", "--wait", "/volume1/music/a.mp3", "/volume1/video")["status"] == DONE
    assert tree.ctl("reindex", "--wait", "all")["status"] == DONE, "a share is not what somebody has put there just now"


def test_a_run_that_begins_says_so(make_daemon, binary, hostile_reader):
    """Until the daemon has written down how far it is. What a reader is silent about takes its time."""
    box = make_daemon(speed=SLOW)
    box.configure(rules="complete", readers="1")
    readers.put_beside(box, binary, {"velureader": hostile_reader})
    box.write("/volume1/music/silent.mp3", "hostile:sleep")
    box.start()
    answer = box.box.ask("run", arguments=[str(binary.with_name("veluctl")), "add", "--wait", "--timeout", "5", "/volume1/music"],
                         environment={"LC_ALL": "C.UTF-8"}, timeout=60)
    lines = answer["out"].splitlines()
    assert not any(line.startswith("running, line ") for line in lines), lines
    assert any(re.match("starting: A:/volume1/music|running, (looking for files|[01] of (at least )?1)", line) for line in lines), lines


def test_a_daemon_that_starts_takes_the_queue_at_once(idle):
    """One that sleeps waits for its interval. Here others bear its name."""
    idle.configure(rules="complete")
    idle.write(QUEUE, f"a:{SONG}\n")
    for program, said in (("sleep 99", r"begins in \d+ s when nothing more comes"), ("cat /tmp/pipe", "begins at any moment"),
                          ("sha1sum /dev/zero", "begins at any moment")):
        name, argument = program.split()
        script = (f"rm -f /tmp/veluindexd; cp /usr/bin/{name} /tmp/veluindexd; test -p /tmp/pipe || mkfifo /tmp/pipe; exec 3<>/tmp/pipe; "
                  f"touch {QUEUE}; /tmp/veluindexd {argument} & echo -n $! > {PID_FILE}; sleep 0.2; "
                  f"{idle.ctl_program} status; {idle.ctl_program} status --json; kill $!")
        told = idle.box.ask("run", arguments=["/bin/bash", "-c", script], environment={"TZ": "UTC", "LC_ALL": "C.UTF-8"}, timeout=30)["out"]
        assert re.search(rf"quiet interval   10 s; the run {said}\n", told), (program, told)
        assert ('"begins_in":0' in told.replace(" ", "")) == (said == "begins at any moment"), told
