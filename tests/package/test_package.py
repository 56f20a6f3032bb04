# SPDX-License-Identifier: GPL-2.0-or-later
"""The life of the packages on a machine, from the first install to the purge. The tests are its chapters: each goes on
where the one before has left the machine."""
import contextlib
import re
import sqlite3
import subprocess

import pytest

QUEUE = "/var/spool/velu_indexing_queue"
SONG = "/srv/music/song.mp3"
PATIENCE = 300  # seconds; beside other tests, the machine has what processor time they leave
PID_FILE = "/run/veluindexd.pid"
LAST_RUN = "/run/veluindexd.last_run"
DROP_IN = "/etc/systemd/system/veluindexd.service.d"
SERVER = 'mediadb="postgresql:///velu?host=/run/none"\n'

# What dpkg, apt, man, systemd and the tools of the user database keep of any package that was there.
TRACES_OF_OTHERS = re.compile(r"""
    /var/lib/dpkg/status-old | /var/lib/apt/lists/auxfiles | /var/lib/apt/extended_states
  | /var/cache/apt/(src)?pkgcache\.bin | /var/cache/man/(index\.db | cat\d(/[\w.-]+\.gz)? | (\w+/)?CACHEDIR\.TAG)
  | /etc/(passwd|group|shadow|gshadow)-
  | /var/log/(dpkg\.log | wtmp | apt/(eipp\.log\.xz | history\.log | term\.log) | journal/\w+/[\w@-]+\.journal)
""", re.VERBOSE)


@pytest.fixture(scope="module")
def before(machine):
    machine.run("mkdir", "-p", "/srv/music", "/home/ann/Music")
    machine.run("cp", "/mnt/media/song.mp3", "/mnt/media/tone.aac", "/srv/music")
    machine.run("cp", "/mnt/media/tone.ogg", "/home/ann/Music")
    machine.run("chmod", "0700", "/home/ann")
    return machine.files()


def main_pid(machine):
    return int(machine.run("systemctl", "show", "--value", "-p", "MainPID", "veluindexd").stdout)


def is_active(machine, unit="veluindexd"):
    return machine.run("systemctl", "is-active", unit, check=False).stdout.strip()


def is_enabled(machine, unit="veluindexd"):
    return machine.run("systemctl", "is-enabled", unit, check=False).stdout.strip()


def rows(machine):
    """The music of the catalogue, as any program reads it: path -> row."""
    file = f"file:{machine.root}/var/lib/velu/mediaserver.db?mode=ro"
    with contextlib.closing(sqlite3.connect(file, uri=True, timeout=10)) as catalogue:
        catalogue.row_factory = sqlite3.Row
        return {row["path"]: dict(row) for row in catalogue.execute("select * from music")}


def is_locked_by_it(machine):
    """A start is over for systemd when the daemon has left it, which may be before the file is there."""
    machine.run("timeout", str(PATIENCE), "sh", "-c", f"until [ -s {PID_FILE} ]; do sleep 0.1; done")
    return machine.run("cat", PID_FILE).stdout == str(main_pid(machine)) and \
        machine.run("flock", "--nonblock", PID_FILE, "true", check=False).returncode == 1


def wait_for_queue(machine):
    """What waited at a start is done at once."""
    machine.run("timeout", str(PATIENCE), "sh", "-c", f"while [ -e {QUEUE} ] || [ -e {QUEUE}.tmp ]; do sleep 0.1; done")


def owner_of_the_probe(machine):
    return machine.run("dpkg-query", "-S", "/usr/lib/velu/veluprobe.so").stdout.partition(":")[0]


def test_the_probe_moves_out_of_the_package_of_old(machine, before):
    assert not [path for path in before if "velu" in path]
    machine.run("apt-get", "install", "-y", "/mnt/old/veluindexd.deb")
    assert owner_of_the_probe(machine) == "veluindexd"
    machine.run("apt-get", "install", "-y", "/mnt/new/veluindexd.deb", "/mnt/new/veluindexd-films.deb")
    assert owner_of_the_probe(machine) == "veluindexd-films"
    machine.run("test", "!", "-e", "/etc/veluinfo.conf")  # an upgrade changes no rules
    machine.run("apt-get", "purge", "-y", "veluindexd", "veluindexd-films")


def test_it_is_installed_and_runs(machine, before):
    machine.run("apt-get", "install", "-y", "/mnt/new/veluindexd.deb", "/mnt/new/veluindexd-films.deb")
    assert is_active(machine) == "active" and is_enabled(machine) == "enabled"
    assert machine.run("cat", f"/proc/{main_pid(machine)}/comm").stdout == "veluindexd\n"
    status = machine.run("cat", f"/proc/{main_pid(machine)}/status").stdout
    assert int(re.search(r"CapBnd:\s*(\w+)", status)[1], 16).bit_count() == 6
    assert machine.run("id", "-un", "velu-reader").stdout == "velu-reader\n"
    assert machine.run("systemd-analyze", "verify", "veluindexd.service").stdout == ""


def test_a_new_installation_reads_all_that_files_say(machine):
    assert machine.run("cat", "/etc/veluinfo.conf").stdout == 'rules="complete"\n'
    assert "complete" in machine.run("veluctl", "status").stdout


def test_other_units_wait_for_the_administrator(machine, unpacked):
    units = [unit.name for unit in unpacked.glob("lib/systemd/system/*.service")]
    assert "veluindexd.service" in units
    for unit in units:
        if unit != "veluindexd.service":
            assert is_enabled(machine, unit) == "disabled" and is_active(machine, unit) == "inactive"


def test_a_folder_is_indexed_without_any_configuration(machine):
    said = machine.run("veluctl", "add", "--wait", "/srv/music", "/home/ann/Music").stdout
    assert "2 requests queued." in said
    found = rows(machine)
    song, aac, ogg = (found[path] for path in (SONG, "/srv/music/tone.aac", "/home/ann/Music/tone.ogg"))
    assert (song["title"], song["artist"], song["album"]) == ("First Song", "The Players", "Early Works")
    assert 0.9 < song["duration"] < 1.2 and song["audio_bitrate"] == 128000
    assert SONG in machine.run("veluctl", "find", "first song").stdout
    # One by the tool that the package names, one by the probe.
    assert aac["sample_rate"] == 44100 and 0.9 < aac["duration"] < 1.2
    assert ogg["title"] == "Second Song"
    assert "Failed" not in machine.run("journalctl", "-u", "veluindexd", "--no-pager").stdout


def test_catalogues_are_for_root_and_the_group(machine):
    assert machine.run("stat", "-c", "%U %G %a", "/var/lib/velu", "/var/lib/velu/mediaserver.db",
                       "/var/lib/velu/mediaserver.db-wal").stdout == "root velu 750\nroot velu 640\nroot velu 640\n"
    asked = ("veluctl", "find", "first song")
    assert SONG in machine.run("setpriv", "--reuid=nobody", "--regid=nogroup", "--groups=velu", *asked).stdout
    refused = machine.run("setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", *asked, check=False)
    assert refused.returncode != 0 and "sudo adduser NAME velu" in refused.stdout


def test_the_manuals_can_be_read(machine, unpacked):
    pages = [page.name.removesuffix(".gz").rpartition(".") for page in unpacked.glob("usr/share/man/man?/*.gz")]
    assert {"veluindexd", "veluctl", "veluinfo.conf", "velu-catalogue", "velumovedb", "veluaacinfo"} <= {page[0] for page in pages}
    for name, _, section in pages:
        assert f"{name.upper()}({section})" in machine.run("man", section, name).stdout


def test_a_server_needs_its_package(machine):
    machine.run("sh", "-c", f"cp /etc/veluinfo.conf /root && echo '{SERVER}' >>/etc/veluinfo.conf")
    assert "veludb-postgresql.so: cannot open" in machine.run("veluctl", "status", check=False).stdout
    machine.run("apt-get", "install", "-y", "/mnt/new/veluindexd-postgresql.deb")
    said = machine.run("veluctl", "status", check=False).stdout
    assert 'connection to server on socket "/run/none/' in " ".join(said.split()), "whatever the lines"
    machine.run("mv", "/root/veluinfo.conf", "/etc")


def test_what_is_queued_while_it_is_stopped_is_done_at_its_start(machine):
    machine.run("systemctl", "stop", "veluindexd")
    assert is_active(machine) == "inactive"
    machine.run("mv", SONG, "/srv/music/renamed.mp3")
    assert machine.run("veluctl", "rename", "/srv/music/renamed.mp3", SONG, check=False).returncode == 5
    machine.run("systemctl", "start", "veluindexd")
    wait_for_queue(machine)
    assert {"/srv/music/renamed.mp3", "/srv/music/tone.aac"} == {path for path in rows(machine) if path.startswith("/srv")}


def test_a_pid_file_that_a_power_cut_has_left_does_not_keep_it_from_starting(machine):
    machine.run("systemctl", "stop", "veluindexd")
    machine.run("sh", "-c", f"echo 1 >{PID_FILE}")  # a process that lives
    machine.run("systemctl", "start", "veluindexd")
    assert is_active(machine) == "active" and is_locked_by_it(machine)


def test_one_that_runs_without_the_unit_keeps_its_pid_file(machine):
    machine.run("systemctl", "stop", "veluindexd")
    machine.run("veluindexd")
    pid = machine.run("timeout", str(PATIENCE), "sh", "-c", f"until cat {PID_FILE}; do sleep 0.1; done 2>&-").stdout
    assert machine.run("systemctl", "start", "veluindexd", check=False).returncode != 0
    machine.run("systemctl", "stop", "veluindexd")
    machine.run("systemctl", "reset-failed", "veluindexd")  # it has been tried too often
    assert machine.run("cat", PID_FILE).stdout == pid
    machine.run("sh", "-c", f"kill {pid}")
    machine.run("timeout", str(PATIENCE), "sh", "-c", f"while [ -e /proc/{pid} ]; do sleep 0.1; done")
    machine.run("systemctl", "start", "veluindexd")
    assert is_active(machine) == "active" and is_locked_by_it(machine)


def test_it_comes_back_after_a_reboot(machine):
    kept = rows(machine)
    machine.run("sh", "-c", f"echo A:/srv/music >>{QUEUE}")
    machine.halt()
    machine.boot()
    assert is_active(machine) == "active"
    wait_for_queue(machine)
    assert rows(machine) == kept


def test_an_upgrade_keeps_the_catalogue_and_loses_no_request(machine):
    kept = rows(machine)
    pid = main_pid(machine)
    machine.run("mv", "/srv/music/renamed.mp3", SONG)
    # Without a signal: the old daemon has not seen it when it is replaced.
    machine.run("sh", "-c", f"echo N:{SONG}:/srv/music/renamed.mp3 >>{QUEUE}")
    machine.run("apt-get", "install", "-y", "/mnt/newer/veluindexd.deb", "/mnt/newer/veluindexd-films.deb",
                "/mnt/newer/veluindexd-postgresql.deb")
    assert machine.run("dpkg-query", "-W", "-f", "${Version}", "veluindexd").stdout.endswith("+1")
    assert is_active(machine) == "active" and main_pid(machine) != pid
    wait_for_queue(machine)
    assert rows(machine).keys() == kept.keys() - {"/srv/music/renamed.mp3"} | {SONG}


def ask_for(machine, name):
    """Makes a file and queues it for the next start, which has it indexed at once."""
    machine.run("sh", "-c", f"cp /mnt/media/song.mp3 /srv/music/{name} && echo a:/srv/music/{name} >>{QUEUE}")


def is_done_by_its_user(machine, name):
    """The file that waited has a row, by the daemon of the user `velu`, who has the daemon's files in /run."""
    wait_for_queue(machine)
    assert f"/srv/music/{name}" in rows(machine)
    assert is_active(machine) == "active" and is_locked_by_it(machine)
    pid = main_pid(machine)
    owners = machine.run("stat", "-c", "%U %a", f"/proc/{pid}/comm", PID_FILE, LAST_RUN).stdout.split("\n")
    assert owners == ["velu 644", "velu 644", "velu 644", ""]
    assert not re.search("denied|not permitted|Failed to", machine.run("journalctl", "-b", "-u", "veluindexd", f"_PID={pid}").stdout)
    return True


def last_run(machine):
    return float(machine.run("stat", "-c", "%.9Y", LAST_RUN).stdout)


def owners_of_its_files(machine):
    """Owner, group and mode of all that the daemon keeps, but for what a database has only as long as it is open."""
    lines = machine.run("find", "/var/lib/velu", "-not", "-name", "*-wal", "-not", "-name", "*-shm", "-printf", "%u:%g %m %p\\n").stdout
    return {path: (owners, mode) for owners, mode, path in (line.split(" ", 2) for line in lines.splitlines())}


def test_restarts_leave_its_files_to_its_group(machine):
    machine.run("cp", "/mnt/media/tagged.mp3", "/srv/music/with cover.mp3")
    machine.run("veluctl", "add", "--wait", "/srv/music/with cover.mp3")
    before = owners_of_its_files(machine)
    assert before["/var/lib/velu"] == ("root:velu", "750"), before
    assert any("/covers/" in path for path in before) and {owners for owners, _ in before.values()} == {"root:velu"}, before
    for _ in range(2):
        machine.run("systemctl", "restart", "veluindexd")
    after = owners_of_its_files(machine)
    assert {path: after[path] for path in before} == before
    machine.run("rm", "/srv/music/with cover.mp3")
    machine.run("veluctl", "remove", "--wait", "/srv/music/with cover.mp3")


def test_a_folder_that_is_gone_is_made_again(machine):
    machine.run("systemctl", "stop", "veluindexd")
    machine.run("mv", "/var/lib/velu", "/var/lib/velu.away")
    machine.run("systemctl", "start", "veluindexd")
    assert is_active(machine) == "active"
    machine.run("systemctl", "stop", "veluindexd")
    machine.run("sh", "-c", "rm -r /var/lib/velu && mv /var/lib/velu.away /var/lib/velu && systemctl start veluindexd")
    assert rows(machine)


def test_a_user_of_its_own_can_run_it(machine):
    before, kept = last_run(machine), rows(machine).keys()
    machine.run("mkdir", "-p", DROP_IN)
    machine.run("cp", "/usr/share/doc/veluindexd/examples/veluindexd.user.conf", f"{DROP_IN}/user.conf")
    machine.run("systemctl", "daemon-reload")
    machine.run("systemctl", "restart", "veluindexd")
    assert last_run(machine) == before
    ask_for(machine, "1.mp3")
    machine.run("systemctl", "restart", "veluindexd")
    assert is_done_by_its_user(machine, "1.mp3") and last_run(machine) > before
    assert rows(machine).keys() == kept | {"/srv/music/1.mp3"}
    assert "Failed" not in machine.run("journalctl", "-b", "-u", "veluindexd").stdout


def test_its_user_runs_it_after_restarts_and_kills(machine):
    ask_for(machine, "2.mp3")
    machine.run("systemctl", "restart", "veluindexd")
    assert is_done_by_its_user(machine, "2.mp3")
    machine.run("systemctl", "stop", "veluindexd")
    assert "velu" not in machine.run("getfacl", "--omit-header", "/var/spool").stdout
    ask_for(machine, "3.mp3")
    machine.run("systemctl", "start", "veluindexd")
    assert is_done_by_its_user(machine, "3.mp3")
    ask_for(machine, "4.mp3")
    machine.run("sh", "-c", f"kill -KILL {main_pid(machine)}")
    assert is_done_by_its_user(machine, "4.mp3")


def test_quick_restarts_lock_nobody_out(machine):
    for _ in range(8):
        machine.run("systemctl", "restart", "veluindexd")
    assert is_active(machine) == "active"


def test_its_user_runs_it_after_a_reboot(machine):
    ask_for(machine, "5.mp3")
    machine.halt()
    machine.boot()
    assert is_done_by_its_user(machine, "5.mp3")


def test_its_user_runs_it_after_an_upgrade(machine):
    pid = main_pid(machine)
    ask_for(machine, "6.mp3")
    machine.run("apt-get", "install", "-y", "/mnt/newest/veluindexd.deb", "/mnt/newest/veluindexd-films.deb",
                "/mnt/newest/veluindexd-postgresql.deb")
    assert is_done_by_its_user(machine, "6.mp3") and main_pid(machine) != pid


def test_root_runs_it_again(machine):
    machine.run("systemctl", "stop", "veluindexd")
    machine.run("rm", "-r", DROP_IN)
    machine.run("systemctl", "daemon-reload")
    machine.run("sh", "-c", f"rm /srv/music/[1-6].mp3; for name in 1 2 3 4 5 6; do echo D:/srv/music/$name.mp3; done >>{QUEUE}")
    machine.run("systemctl", "start", "veluindexd")
    wait_for_queue(machine)
    assert {path for path in rows(machine) if path.startswith("/srv")} == {SONG, "/srv/music/tone.aac"}
    assert machine.run("stat", "-c", "%U", f"/proc/{main_pid(machine)}").stdout == "root\n" and is_locked_by_it(machine)


def test_without_the_readers_of_films_all_else_is_read(machine):
    machine.run("apt-get", "remove", "-y", "veluindexd-films")
    machine.run("sh", "-c", "cp /etc/veluinfo.conf /root && echo 'rules=\"appliance\"' >/etc/veluinfo.conf")
    machine.run("systemctl", "restart", "veluindexd")  # the module is loaded
    pid = main_pid(machine)
    machine.run("cp", "/mnt/media/tone.ogg", "/srv/music/first.ogg")
    machine.run("cp", "/mnt/media/tone.ogg", "/srv/music/second.ogg")
    machine.run("veluctl", "add", "--wait", "/srv/music")
    found = rows(machine)
    assert (found[SONG]["title"], found[SONG]["audio_bitrate"]) == ("First Song", 128000)
    assert found["/srv/music/tone.aac"]["sample_rate"] == 44100
    assert [found[f"/srv/music/{name}.ogg"]["title"] for name in ("first", "second")] == ["first", "second"]
    said = machine.run("journalctl", "-b", "-u", "veluindexd", f"_PID={pid}").stdout
    assert said.count("Cannot load the media probe: ") == 1
    assert is_active(machine) == "active" and main_pid(machine) == pid
    machine.run("apt-get", "install", "-y", "/mnt/newest/veluindexd-films.deb")
    machine.run("veluctl", "add", "--wait", "/srv/music")
    assert rows(machine)["/srv/music/first.ogg"]["title"] == "Second Song"
    assert main_pid(machine) == pid
    machine.run("rm", "/srv/music/first.ogg", "/srv/music/second.ogg")
    machine.run("mv", "/root/veluinfo.conf", "/etc")


def test_removing_it_stops_it_and_keeps_the_data(machine):
    pid = main_pid(machine)
    machine.run("sh", "-c", f"echo A:/srv/music >>{QUEUE}")
    machine.run("apt-get", "remove", "-y", "veluindexd")
    assert is_active(machine) == "inactive"
    assert machine.run("test", "-e", f"/proc/{pid}", check=False).returncode == 1
    machine.run("test", "-s", "/var/lib/velu/mediaserver.db", "-a", "-s", QUEUE)
    assert machine.run("sh", "-c", "command -v veluctl", check=False).returncode != 0


def test_purging_it_leaves_no_trace(machine, before):
    machine.run("apt-get", "purge", "-y", "veluindexd", "veluindexd-films", "veluindexd-postgresql")
    assert machine.run("find", "/run", "/tmp", "/dev/shm", "-name", "*velu*").stdout == ""
    assert "velu" not in machine.run("systemctl", "list-unit-files").stdout
    assert "velu" not in machine.run("dpkg-query", "-W").stdout
    machine.halt()
    after = machine.files()
    changed = {path for path in before.keys() | after.keys() if before.get(path) != after.get(path)}
    left = sorted(path for path in changed if not TRACES_OF_OTHERS.fullmatch(path))
    assert not left, "\n".join(left)


def test_the_packages_have_no_faults(packages):
    done = subprocess.run(["lintian", "--info", "--pedantic", "--display-info", "--allow-root", "--fail-on=error,warning,info,pedantic",
                           *packages.values()], capture_output=True, text=True, check=False)
    assert (done.returncode, done.stdout) == (0, ""), done.stderr
