# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl log: the daemon's lines of a run, out of the journal or a file of the system log, lines of one kind together."""
import csv
import io
import os
import time

import pytest
from harness.daemon import wait_for

DONE, FOUND, USAGE, FAILED = 0, 1, 2, 8
MUSIC = "/volume1/music"
SYSLOG = "/var/log/syslog"
JOURNAL = "/run/log/journal/0123456789abcdef/system.journal"


def stamp(moment, form="iso"):
    if form == "iso":
        return time.strftime("%Y-%m-%dT%H:%M:%S.123456+00:00", time.gmtime(moment))
    return time.strftime("%b %e %H:%M:%S", time.gmtime(moment)) if form == "old" else f"{moment}.123456"


def written(lines, form="iso"):
    """The text of a log of these (moment, program, text)."""
    return "".join(f"{stamp(moment, form)} box {program}[12]: {text}\n" for moment, program, text in lines)


def record(begin, end):
    return f"pid 1\nbegin {begin}\nend {end}\nrequest 1\nfolder "


@pytest.fixture(name="now")
def fixture_now():
    return int(time.time()) - 100


def lines_of(now):
    return [(now - 500, "veluindexd", "index.c (50) Not catalogued: 9 hidden."),
            *((now + number, "veluindexd", f"by_reader.c (217) {MUSIC}/an album/no {number} cover.mp3 cannot be read: no sound in 3 frames.")
              for number in range(5)),
            (now + 1, "veluwatchd", "watching 3 directories"), (now + 1, "veluindexdx", "another's"),
            (now + 6, "veluindexd", "veluindexd.c(99): Failed to write /var/spool/x. (No space left on device)"),
            (now + 7, "veluindexd", f"media.c:12 Failed to save media info to database. [{MUSIC}/a [b] c]")]


GROUPS = [(5, "... cannot be read: no sound in N frames."), (1, "Failed to write /var/spool/x. (No space left on device)"),
          (1, f"Failed to save media info to database. [{MUSIC}/a [b] c]")]


def shown(answer):
    """What people see: kinds of lines with their numbers."""
    words = [line.split(None, 1) for line in answer["out"].splitlines()[2:] if line]
    return [(int(line[0]), line[1]) for line in words if line[0].isdigit()]


@pytest.mark.parametrize("form", ["iso", "old"])
def test_lines_of_the_last_run_from_a_file(box, now, form):
    box.write("/var/lib/velu/last_run", record(now, now + 60))
    box.write(SYSLOG, written(lines_of(now), form))
    answer = box.ctl("log")
    assert answer["status"] == DONE and shown(answer) == GROUPS and answer["err"] == "", answer
    assert answer["out"].startswith("The run from ") and f"7 lines from {SYSLOG}.\n" in answer["out"]
    assert f"          {MUSIC}/an album/no 0 cover.mp3\n" in answer["out"] and "          and 2 more\n" in answer["out"]
    assert max(map(len, answer["out"].splitlines())) <= 80
    rows = box.ctl_json("log")
    assert len(rows) == 7 and [row["group"] for row in rows] == [1] * 5 + [2, 3]
    assert rows[2]["path"] == f"{MUSIC}/an album/no 2 cover.mp3" and rows[5]["path"] == "/var/spool/x" and rows[6]["path"] == f"{MUSIC}/a [b] c"
    assert rows[0]["time"] == time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(now))
    assert len(box.ctl_json("log", "--all")) == 8 and len(box.ctl_json("log", "--all", "-n", "2")) == 2
    assert [row["text"] for row in csv.DictReader(io.StringIO(box.ctl("log", "--csv")["out"], newline=""))] == [row["text"] for row in rows]
    assert shown(box.ctl("log", "-n", "1")) == GROUPS[:1]


def test_a_run_without_a_record_is_not_the_one_before(box, now):
    box.write("/var/lib/velu/last_run", record(now, now + 3))
    box.write("/run/veluindexd.last_run")
    os.utime(box.box.path("/run/veluindexd.last_run"), (now + 60, now + 60))
    box.write(SYSLOG, written(lines_of(now)))
    answer = box.ctl("log")
    assert answer["out"].startswith("The run that ended at ") and shown(answer)[1:] == GROUPS[1:], answer
    assert [row["path"] for row in box.ctl_json("log")][:1] == [f"{MUSIC}/an album/no 4 cover.mp3"]


def test_lines_of_days(box):
    noon = time.mktime((*time.localtime()[:3], 12, 0, 0, 0, 0, -1))
    day = 86_400
    box.write(SYSLOG, written([(noon - 40 * day, "veluindexd", "of old"), (noon - 5 * day, "veluindexd", "this week"),
                               (noon - day, "veluindexd", "yesterday at noon"), (noon - day + 3600, "veluindexd", "yesterday, later")]))
    texts = {days: [row["text"] for row in box.ctl_json("log", days)] for days in
             ("today", "yesterday", "week", "month", "year", time.strftime("%Y-%m-%d", time.localtime(noon - 5 * day)))}
    late = ["yesterday at noon", "yesterday, later"]
    assert list(texts.values()) == [[], late, ["this week", *late], ["this week", *late], ["of old", "this week", *late], ["this week"]]
    begin = time.strftime("%Y-%m-%d", time.localtime(noon - day))
    assert box.ctl("log", "yesterday")["out"].startswith(f"From {begin} 00:00:00 to {begin} 23:59:59:\n2 lines from ")
    answer = box.ctl("log", "lastnight")
    assert answer["status"] == USAGE and "'lastnight' is no date: say today, yesterday, week" in answer["err"]


def test_without_a_record_it_is_the_last_day(box, now):
    box.write(SYSLOG, written([(now - 90_000, "veluindexd", "older")] + lines_of(now)))
    answer = box.ctl("log")
    assert answer["out"].startswith("The last 24 hours") and len(box.ctl_json("log")) == 8
    box.write(SYSLOG, "")
    assert box.ctl("log")["status"] == FOUND and box.ctl("log", "--json")["out"] == "[]\n"


def test_the_journal_comes_first_and_is_read_by_its_own_program(box, now):
    """It is asked for the program and the span, and answers with its times."""
    box.write("/var/lib/velu/last_run", record(now, now + 60))
    box.write(SYSLOG, written([(now, "veluindexd", "of the file")]))
    box.write(JOURNAL)
    box.write("/tmp/answer", written(lines_of(now)[1:], "journal"))
    box.write("/tmp/bin/journalctl", "#!/bin/sh\necho \"$@\" > /tmp/asked\ncat /tmp/answer\n")
    os.chmod(box.box.path("/tmp/bin/journalctl"), 0o755)
    environment = {"PATH": "/tmp/bin:/usr/bin:/bin", "TZ": "UTC", "LC_ALL": "C"}
    answer = box.box.ask("run", arguments=[box.ctl_program, "log"], environment=environment, timeout=60)
    assert shown(answer) == GROUPS and "7 lines from the journal.\n" in answer["out"], answer
    asked = box.read("/tmp/asked").decode()
    assert "--identifier=veluindexd" in asked and f"--since=@{now} --until=@{now + 61}" in asked
    box.write("/tmp/bin/journalctl", "#!/bin/sh\nexit 1\n")
    answer = box.box.ask("run", arguments=[box.ctl_program, "log"], environment=environment, timeout=60)
    assert "of the file" in answer["out"], "where it fails, there is the file"


def test_it_says_when_neither_can_be_read(box):
    answer = box.ctl("log")
    assert answer["status"] == FAILED and "there is neither a journal nor a file of the system log" in answer["err"] and answer["out"] == ""
    box.write(JOURNAL)
    os.chmod(box.box.path(JOURNAL), 0o640)
    answer = box.ctl("log", user=65534)
    assert answer["status"] == FAILED and "adm and systemd-journal" in answer["err"]
    box.write(SYSLOG)
    os.chmod(box.box.path(SYSLOG), 0o640)
    answer = box.ctl("log", user=65534)
    assert answer["status"] == FAILED and f"{SYSLOG}: Permission denied" in answer["err"]


def test_who_may_not_read_the_journal_is_told_how(box, now):
    """A file that anybody may read may have nothing of what the journal has."""
    box.write(JOURNAL)
    os.chmod(box.box.path(JOURNAL), 0o640)
    box.write(SYSLOG)
    answer = box.ctl("log", user=65534)
    assert answer["status"] == FAILED and "sudo adduser NAME systemd-journal" in answer["err"] and answer["out"] == ""
    box.write(SYSLOG, written([(now, "veluindexd", "of the file")]))
    assert "of the file" in box.ctl("log", user=65534)["out"]
    box.remove(SYSLOG)
    os.chmod(box.box.path(os.path.dirname(os.path.dirname(JOURNAL))), 0o700)
    assert "sudo adduser NAME systemd-journal" in box.ctl("log", user=65534)["err"]


def test_the_daemons_own_lines_are_understood(box):
    """As it logs them, in the span of its run."""
    box.configure(rules="complete")
    box.write(f"{MUSIC}/broken.mp3", b"\xff\xfb\x90")
    box.write(f"{MUSIC}/.hidden.mp3")
    box.start().index(f"A:{MUSIC}")
    begin = int(next(line.split()[1] for line in box.read("/var/lib/velu/last_run").decode().splitlines() if line.startswith("begin")))
    wait_for(lambda: any("Not catalogued" in text for text in box.log.texts()), "the last line")
    box.write(SYSLOG, written([(begin, "veluindexd", text) for text in box.log.texts()]))
    text = box.ctl("log")["out"]
    assert "Not catalogued: 1 hidden." in text and "(" not in text.splitlines()[-1]
