# SPDX-License-Identifier: GPL-2.0-or-later
"""Start-up: the command line, the single instance, the pid file, and what a start finds in the queue."""
import os
import re
import signal
import socket
import stat

import pytest

from harness.daemon import KEPT, PID_FILE, QUEUE, WORKING_COPY, wait_for

NO_DATABASE = {"mediadb": "sqlite:/dev/null/media.db", "photodb": "sqlite:/dev/null/photo.db"}


def test_help_prints_the_banner_and_starts_nothing(box):
    done = box.run("--help")
    assert done["status"] == 0
    assert "veluindexd" in done["out"]
    assert not box.exists(PID_FILE)


@pytest.mark.sqlite
@pytest.mark.parametrize("value, rules, lines", [("complete", "complete", 0), ("appliance", "appliance", 0), ("", "appliance", 0),
                                                 ("Complete", "appliance", 1), ("all of it", "appliance", 1)])
def test_a_rule_set_that_there_is_not_costs_a_line_at_the_start(box, value, rules, lines):
    box.configure(rules=value)
    box.start()
    wait_for(box.idle, "the main loop")
    assert box.logged("rule_set.c", f'rules="{value}" is neither appliance nor complete: appliance holds.') == lines
    assert sum("rules=" in line.text for line in box.log.lines) == lines
    assert box.ctl_json("status")["rules"] == rules


def test_help_works_beside_a_running_daemon(daemon):
    done = daemon.run("--help")
    assert done["status"] == 0
    assert "alive" not in done["out"]


def test_help_with_a_second_argument_is_an_ordinary_start(box):
    assert box.run("--help", "more")["status"] == 0
    box.pid = wait_for(box.pid_in_file, "the pid file")


def test_a_second_start_says_that_the_daemon_is_alive(daemon):
    done = daemon.run()
    assert done["status"] == 1
    assert done["out"] == "Daemon alive. No need to start\n"
    assert daemon.pid_in_file() == daemon.pid


@pytest.mark.parametrize("text", ["999999", "0", "-1", "no number", ""])
def test_a_stale_pid_file_does_not_block_the_start(box, text):
    box.write(PID_FILE, text)
    box.start()
    assert box.read(PID_FILE) == b"%d" % box.pid


def test_the_pid_file_holds_the_bare_number_and_is_its_owners_to_write(daemon):
    assert daemon.read(PID_FILE) == b"%d" % daemon.pid
    assert stat.S_IMODE(os.stat(daemon.box.path(PID_FILE)).st_mode) == 0o644


def test_the_daemon_lowers_its_priority_and_leads_a_session_of_its_own(daemon):
    wait_for(daemon.idle, "the main loop")
    fields = daemon.box.ask("proc", pid=daemon.pid, name="stat")["text"].rsplit(")", 1)[1].split()
    parent, session, terminal, nice = int(fields[1]), int(fields[3]), int(fields[4]), int(fields[16])
    assert (parent, session, terminal, nice) == (1, daemon.pid, 0, 10)


def test_sigterm_removes_the_pid_file(daemon):
    daemon.stop()
    assert not daemon.exists(PID_FILE)


def test_sigterm_in_the_middle_of_a_run_removes_the_pid_file(box):
    for number in range(3000):
        box.write(f"/volume1/music/{number}.pcm")
    box.start()
    box.queue("A:/volume1/music")
    box.kill_in_run(0.002, signal.SIGTERM)
    assert not box.exists(PID_FILE)


def test_a_null_device_that_is_none_keeps_the_daemon_from_going_to_the_background(make_daemon, tmp_path):
    (tmp_path / "null").touch()
    box = make_daemon(binds=[str(tmp_path / "null"), "/dev/null"])
    box.box.ask("run_without_null", arguments=[box.binary], environment=box.environment())
    # The C library looks at the device only in the child, and its reason differs from version to version.
    wait_for(lambda: box.log.lines, "the message")
    assert re.fullmatch(r"veluindexd\.c \(\d+\) Failed to become a daemon\.\(.+\)", box.log.lines[0].text)
    assert not box.exists(PID_FILE)


def test_a_pid_file_that_cannot_be_made_ends_the_start(box):
    box.mkdir(PID_FILE)
    assert box.run()["status"] == 0
    wait_for(lambda: box.log.lines, "the message")
    assert box.logged("veluindexd.c", f"Failed to create {PID_FILE}. (Is a directory)") == 1


def test_a_pid_that_cannot_be_written_is_logged_and_the_daemon_goes_on(box):
    os.symlink("/dev/full", box.box.path(PID_FILE))
    box.write(QUEUE, "bad line\n")
    assert box.run()["status"] == 0
    wait_for(lambda: not box.exists(QUEUE) and not box.exists(WORKING_COPY), "the first run")
    wait_for(lambda: box.logged("veluindexd.c", "Bad format [bad line]."), "the line's message")
    assert box.logged("veluindexd.c", "fprintf pid failed. (No space left on device)") == 1


@pytest.mark.parametrize(
    "first, message",
    [(1, "signal(SIGUSR1, SetDirty) failed."), (2, "signal(SIGTERM, Die) failed.")],
)
@pytest.mark.tracing
def test_a_handler_that_cannot_be_set_ends_the_start(box, first, message):
    box.run(wrapper=["/usr/bin/strace", "-f", "-qq", "-o", "/tmp/trace", "-e", "trace=rt_sigaction",
                     "-e", f"inject=rt_sigaction:error=EINVAL:when={first}+"])
    wait_for(lambda: box.logged("veluindexd.c", message), "the message")


def test_both_databases_are_vacuumed_at_the_start(box):
    box.configure(**NO_DATABASE)
    box.start()
    wait_for(box.idle, "the main loop")
    assert box.logged("veluindexd.c", "vaccuum mediaserver failed.") == 1
    assert box.logged("veluindexd.c", "vaccuum photodb failed.") == 1


def test_a_queue_that_waits_is_run_at_the_start_without_a_signal(box):
    box.write("/volume1/music/a.pcm")
    box.queue("a:/volume1/music/a.pcm")
    box.start()
    box.wait_run(0)
    assert box.paths("music") == ["/volume1/music/a.pcm"]
    assert not box.exists(QUEUE) and not box.exists(WORKING_COPY)


def test_a_left_over_working_copy_is_run_first_and_the_queue_after_it(box):
    box.write(WORKING_COPY, "1 left over\n")
    box.write(QUEUE, "2 queued\n")
    box.start()
    wait_for(lambda: not box.exists(QUEUE) and not box.exists(WORKING_COPY), "both runs")
    wait_for(lambda: len(box.log.lines) >= 2, "both messages")
    order = [re.sub(r".*\[|\]\.", "", text) for text in box.log.texts()]
    assert order == ["1 left over", "2 queued"]


def test_a_start_without_work_logs_nothing_and_signals_nobody(daemon):
    wait_for(daemon.idle, "the main loop")
    assert daemon.log.texts() == []
    assert daemon.peer_signals("dms") == [] and daemon.peer_signals("mt-daapd") == []


def test_a_log_that_nobody_reads_does_not_stop_the_daemon(box):
    box.write("/volume1/music/a.pcm")
    box.queue("bad line", "a:/volume1/music/a.pcm")
    box.log.socket.shutdown(socket.SHUT_RDWR)
    box.start()
    box.wait_run(0)
    assert box.paths("music") == ["/volume1/music/a.pcm"]


# --- what a starter hands on


def test_signals_that_the_starter_blocks_arrive(box):
    box.write("/volume1/music/a.pcm")
    box.start(wrapper=["/usr/bin/python3", "-c", "import os, signal, sys\n"
                       "signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGUSR1, signal.SIGTERM})\n"
                       "os.execv(sys.argv[1], sys.argv[1:])"])
    box.index("a:/volume1/music/a.pcm")
    assert box.paths("music") == ["/volume1/music/a.pcm"]
    box.stop()
    assert not box.exists(PID_FILE)


@pytest.mark.sqlite
def test_a_limit_of_the_size_of_files_is_a_failed_write(box):
    """Of the SQLite file here. When the limit goes, what was kept is done."""
    files = [f"/volume1/music/{'x' * 200}{number}.pcm" for number in range(1000)]
    for path in files:
        box.write(path)
    box.start(wrapper=["/usr/bin/prlimit", "--fsize=100000:"])
    box.index("A:/volume1/music")
    assert box.exists(KEPT) and box.alive()
    box.box.ask("run", arguments=["/usr/bin/prlimit", f"--pid={box.pid}", "--fsize=unlimited:"], environment={}, timeout=30)
    box.wait_done()
    assert box.paths("music") == sorted(files)


def test_a_starter_that_lets_no_file_grow_has_a_daemon_all_the_same(box):
    box.write(QUEUE, "bad line\n")
    assert box.run(wrapper=["/usr/bin/prlimit", "--fsize=0:"])["status"] == 0
    wait_for(lambda: box.logged("veluindexd.c", "Bad format [bad line]."), "the line's message")
    assert box.logged("veluindexd.c", "fprintf pid failed. (File too large)") == 1
    assert box.read(PID_FILE) == b"" and len(processes(box)) == 1


# --- several starts


def processes(box):
    found = box.box.ask("run", arguments=["/usr/bin/pgrep", "-x", "veluindexd"], environment={}, timeout=30)
    return [int(pid) for pid in found["out"].split()]


def test_of_several_starts_at_once_one_daemon_stays(box):
    starts = 'for start in 1 2 3 4 5 6; do "$0" & done; wait'
    for _ in range(20):
        box.box.ask("run", arguments=["/bin/sh", "-c", starts, box.binary], environment=box.environment(), timeout=60)
        box.pid = wait_for(box.pid_in_file, "the pid file")
        wait_for(lambda: len(processes(box)) == 1, "one daemon to stay", timeout=10)
        assert processes(box) == [box.pid]
        wait_for(box.handles_signals, "the signal handlers")
        box.stop()
        assert processes(box) == [] and not box.exists(PID_FILE)


def test_a_killed_daemon_leaves_a_pid_file_that_does_not_block_the_next(box):
    for _ in range(5):
        box.start()
        box.kill()
        assert box.exists(PID_FILE)
