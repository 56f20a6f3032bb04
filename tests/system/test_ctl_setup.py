# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl sets a machine up: the shares, and the switches of its features; what it refuses, and what it leaves alone."""
import os

import pytest

from harness.daemon import QUEUE, wait_for
from harness.watcher import Watcher

DONE, FOUND, USAGE, REFUSED, NO_RIGHTS, NOT_RUNNING = 0, 1, 2, 3, 4, 5
NOBODY = 65534
LINKS = "/var/services"
SWITCHES = "/etc.defaults/veluinfo.conf"
MUSIC = "/volume1/my music"


@pytest.fixture(params=["complete", "appliance"])
def bare(make_daemon, request):
    """A machine where nobody has made a share."""
    made = make_daemon()
    made.configure(rules=request.param)
    for name in ("music", "video", "photo"):
        made.remove(f"{LINKS}/{name}")
    os.rmdir(made.box.path(LINKS))
    made.mkdir(MUSIC)
    made.rules = request.param
    return made


def target(box, name):
    return os.readlink(box.box.path(f"{LINKS}/{name}"))


def test_a_share_is_made_shown_and_taken_away(bare):
    nothing = bare.ctl("share", "list")
    assert nothing["status"] == FOUND and "sudo veluctl share add music" in nothing["err"]
    assert bare.ctl_json("share", "list") == []
    made = bare.ctl("share", "add", "music", MUSIC + "/")
    assert made["status"] == DONE and "sudo veluctl reindex --wait music" in made["out"]
    assert target(bare, "music") == MUSIC
    assert bare.ctl("share", "add", "music", MUSIC)["out"].startswith(f"The share music is '{MUSIC}' already.")
    assert bare.ctl_json("share", "list") == [{"share": "music", "state": "there", "path": MUSIC}]
    os.rmdir(bare.box.path(MUSIC))
    assert bare.ctl_json("share", "list")[0]["state"] == "away"
    assert bare.ctl("share", "remove", "music")["status"] == DONE
    assert not bare.exists(f"{LINKS}/music")
    assert bare.ctl("share", "remove", "music") == {"status": DONE, "out": "There is no share music.\n", "err": ""}


def test_what_is_there_is_indexed_by_the_command_that_it_tells(bare, samples):
    bare.copy(samples / "tagged.mp3", f"{MUSIC}/a.mp3")
    bare.copy(samples / "exif.jpg", "/volume1/photo/Trip/b.jpg")
    bare.start()
    assert bare.ctl("share", "add", "music", MUSIC, "--index", "--wait")["status"] == DONE
    assert bare.media_paths() == [f"{MUSIC}/a.mp3"]
    told = bare.ctl("share", "add", "photo", "/volume1/photo")["out"].splitlines()[1]
    bare.ctl("share", "remove", "photo")
    bare.ctl("feature", "off", "photo")
    assert "sudo veluctl feature on photo" in bare.ctl("share", "add", "photo", "/volume1/photo")["out"]
    command = told.partition(": sudo veluctl ")[2].split()
    assert bare.ctl(*command)["status"] == DONE
    assert bare.media_paths() == [f"{MUSIC}/a.mp3", "/volume1/photo/Trip/b.jpg"]
    assert bare.paths("photo_image") == ["/volume1/photo/Trip/b.jpg"]


def test_adding_a_folder_says_when_later_changes_will_not_be_noticed(bare):
    bare.write(f"{MUSIC}/a.pcm")
    bare.mkdir("/volume1/more")
    bare.start()
    answer = bare.ctl("add", "--wait", MUSIC)
    assert answer["status"] == DONE
    assert answer["err"] == (f"veluctl: '{MUSIC}' lies in no share: what changes there later is not noticed; "
                             f"to make it a share:\n  sudo veluctl share add music '{MUSIC}'\n")
    assert bare.ctl("add", f"{MUSIC}/a.pcm")["err"] == "", "a file is asked for by itself"
    assert f"'{MUSIC}', as 1 other folder, lies in no share" in bare.ctl("add", MUSIC, "/volume1/more")["err"]
    assert bare.ctl("share", "add", "music", MUSIC)["status"] == DONE
    answer = bare.ctl("add", MUSIC, "/volume1/more")["err"].splitlines()
    assert answer[1] == "  sudo veluctl share add video /volume1/more" and answer[2].startswith(f"veluctl: '{MUSIC}' is not watched: ")
    assert answer[3] == "  sudo systemctl enable --now veluwatchd" and len(answer) == 4
    watcher = Watcher(bare)
    assert bare.ctl("add", MUSIC)["err"] == ""
    bare.ctl("share", "add", "video", bare.mkdir("/volume1/v"))
    bare.ctl("share", "add", "photo", bare.mkdir("/volume1/p"))
    assert "to have it looked at again:\n  sudo veluctl add /volume1/more" in bare.ctl("add", "/volume1/more")["err"]
    watcher.stop()
    watcher = Watcher(bare, "/volume1/more")
    assert bare.ctl("add", "/volume1/more")["err"] == ""
    assert "since veluwatchd watches other folders" in bare.ctl("add", MUSIC)["err"]
    watcher.stop()


@pytest.mark.parametrize("name, path, reason", [
    ("books", MUSIC, "the shares are music, video and photo"),
    ("films", MUSIC, "did you mean video?"),
    ("music", "/volume1/none", "no such directory"),
    ("music", "/volume1/file", "no directory"),
    ("music", "/volume1/loop", "Too many levels"),
    ("music", "/volume1/new\nline", "newline"),
    ("music", "/volume1/" + "x/" * 2100, "4095"),
    ("music", "/", "holds /var/services"),
    ("music", LINKS, "the links to shares are"),
    ("music", "/volume1/back/there", "the links to shares are"),
    ("video", MUSIC, "it is the share photo"),
    ("video", f"{LINKS}/photo", "it is the share photo"),
    ("video", f"{MUSIC}/in/it", "it lies in the share photo"),
    ("video", "/volume1/by another name/in", "it lies in the share photo"),
    ("video", "/volume1", "it holds the share photo"),
    ("photo", "/volume1/video", f"this share is '{MUSIC}'"),
])
def test_what_can_be_no_share_is_refused_with_the_reason(bare, name, path, reason):
    bare.mkdir(f"{MUSIC}/in/it")
    bare.write("/volume1/file")
    bare.ctl("share", "add", "photo", MUSIC)
    for link, to in (("loop", "loop"), ("back", LINKS), ("by another name", MUSIC)):
        os.symlink(to, bare.box.path(f"/volume1/{link}"))
    bare.mkdir(f"{LINKS}/there")
    answer = bare.ctl("share", "add", name, path, "--index")
    assert answer["status"] == REFUSED and reason in answer["err"] and answer["out"] == ""
    assert name == "photo" or not bare.exists(f"{LINKS}/{name}")
    assert target(bare, "photo") == MUSIC and not bare.exists(QUEUE)


def test_what_is_no_link_is_left_alone(bare):
    bare.mkdir(f"{LINKS}/music")
    for command in (["add", "music", MUSIC], ["remove", "music"]):
        assert "it is there and no link" in bare.ctl("share", *command)["err"]
    assert bare.ctl_json("share", "list") == [{"share": "music", "state": "no link", "path": f"{LINKS}/music"}]
    assert os.path.isdir(bare.box.path(f"{LINKS}/music"))


def test_what_the_service_does_not_see_is_no_share(bare):
    bare.mkdir("/volume1/own/deep")
    bare.start(wrapper=["/usr/bin/unshare", "--mount", "/bin/sh", "-c", 'mount -t tmpfs none /volume1/own && exec "$0" "$@"'])
    for path in ("/volume1/own", "/volume1/own/deep"):
        answer = bare.ctl("share", "add", "music", path)
        assert answer["status"] == REFUSED and "the daemon does not see it" in answer["err"]


def test_what_the_service_may_not_read_is_no_share(bare):
    os.chmod(bare.box.path(MUSIC), 0o700)
    os.chown(bare.box.path(MUSIC), NOBODY, NOBODY)
    caps = "-dac_override,-dac_read_search"
    bare.start(wrapper=["/usr/bin/setpriv", f"--bounding-set={caps}", f"--inh-caps={caps}"])
    answer = bare.ctl("share", "add", "music", MUSIC)
    assert answer["status"] == REFUSED and "the user root may not read it: Permission denied" in answer["err"]
    os.chmod(bare.box.path(MUSIC), 0o755)
    assert bare.ctl("share", "add", "music", MUSIC)["status"] == DONE


@pytest.mark.parametrize("word", ["music", "video", "photo", "all"])
def test_what_is_no_share_is_not_indexed_anew(bare, word):
    answer = bare.ctl("reindex", word)
    assert answer["status"] == REFUSED and not bare.exists(QUEUE)
    made = "music" if word == "all" else word
    assert answer["err"].splitlines()[0].endswith(f"sudo veluctl share add {made} /srv/{made}")
    bare.ctl("share", "add", made, MUSIC)
    assert bare.ctl("reindex", word)["status"] == NOT_RUNNING and bare.lines(QUEUE) == [f"R:{word}"]


@pytest.mark.parametrize("arguments", [
    ["share"], ["share", "bogus"], ["share", "add"], ["share", "add", "music"], ["share", "add", "music", ""], ["share", "remove"], ["share", "list", "music"],
    ["share", "remove", "music", MUSIC], ["share", "list", "--index"], ["share", "add", "music", MUSIC, "--wait"],
    ["share", "add", "music", MUSIC, "--json"], ["feature", "on", "photo", "--csv"], ["feature"], ["feature", "on"], ["feature", "list", "photo"], ["feature", "on", "photo", "cinehall"],
])
def test_a_wrong_command_line_says_so_and_changes_nothing(bare, arguments):
    answer = bare.ctl(*arguments)
    assert answer["status"] == USAGE and answer["err"] and not bare.exists(LINKS)


def test_an_ordinary_user_looks_and_changes_nothing(bare):
    bare.ctl("share", "add", "music", MUSIC)
    assert MUSIC in bare.ctl("share", "list", user=NOBODY)["out"]
    for command in (["share", "add", "video", "/volume1/video"], ["share", "remove", "music"], ["feature", "off", "photo"]):
        answer = bare.ctl(*command, user=NOBODY)
        assert answer["status"] == NO_RIGHTS and "Only root may change this" in answer["err"], command
    assert bare.ctl_json("feature", "list")[0]["state"] == "on" and target(bare, "music") == MUSIC


def test_it_says_whether_the_watcher_sees_a_share_and_that_is_so(bare, samples):
    bare.start()
    assert "sudo systemctl enable --now veluwatchd" in bare.ctl("share", "add", "music", MUSIC)["out"]
    watcher = Watcher(bare, "--check", "0.1")
    assert "veluwatchd runs" in bare.ctl("share", "add", "video", "/volume1/video")["out"]

    def is_watched():
        bare.copy(samples / "clip.mp4", "/volume1/video/clip.mp4")
        return bare.row("video", "/volume1/video/clip.mp4")
    wait_for(is_watched, "the watcher to see the share", pause=1)
    watcher.stop()


def test_features_are_switched_where_the_daemon_reads_them(bare):
    os.unlink(bare.box.path(SWITCHES))
    assert [row["state"] for row in bare.ctl_json("feature", "list")] == ["off", "off"]
    assert "off already" in bare.ctl("feature", "off", "photo")["out"] and not bare.exists(SWITCHES)
    switched = bare.ctl("feature", "on", "photo")
    assert switched["status"] == DONE and "sudo systemctl restart veluindexd" in switched["out"]
    assert "sudo veluctl share add photo" in switched["out"], "there is no such share yet"
    assert bare.read(SWITCHES) == b'supportphoto="yes"\n' and os.stat(bare.box.path(SWITCHES)).st_mode & 0o777 == 0o644
    assert "on already" in bare.ctl("feature", "on", "photo")["out"]
    assert {row["feature"]: row["state"] for row in bare.ctl_json("feature", "list")} == {"photo": "on", "cinehall": "off"}
    bare.write("/volume1/photo/Trip/b.jpg", "no picture")
    bare.ctl("share", "add", "photo", "/volume1/photo")
    bare.start()
    bare.index("R:photo")
    assert "started anew" not in bare.ctl("feature", "list")["err"]
    assert [row["sharename"] for row in bare.rows("photo_share")] == ["Trip"]
    assert bare.ctl("feature", "off", "photo")["status"] == DONE
    assert bare.read(SWITCHES) == b'supportphoto="no"\n'
    assert "started anew" in bare.ctl("feature", "list")["err"]


def test_other_lines_of_the_switches_stay_as_they_are(bare):
    bare.write("/etc/kept.conf", '# mine\n supportphoto = "no" \nother="1"\nsupportphoto="no"')
    os.unlink(bare.box.path(SWITCHES))
    os.symlink("/etc/kept.conf", bare.box.path(SWITCHES))
    assert bare.ctl("feature", "on", "photo")["status"] == DONE
    assert bare.ctl("feature", "on", "cinehall")["status"] == DONE
    assert os.path.islink(bare.box.path(SWITCHES))
    assert bare.lines("/etc/kept.conf") == ["# mine", 'supportphoto="yes"', 'other="1"', 'supportphoto="no"', 'supportcinehall="yes"']


@pytest.mark.parametrize("typed, completed", [
    ("share ", "add list remove"), ("share a", "add"), ("share add ", "music video photo"), ("share add m", "music"),
    ("share --index add v", "video"), ("feature on ", "photo cinehall"), ("share add music /vol", "/volume1"),
])
def test_bash_completes_each_word_by_its_place(bare, typed, completed):
    bare.write("/tmp/completion", bare.ctl("--completion")["out"])
    words = ["veluctl", *typed.split(" ")]
    script = (f". /tmp/completion; compopt() {{ :; }}; COMP_WORDS=({' '.join(words[:-1])} '{words[-1]}'); "
              f"COMP_CWORD={len(words) - 1}; _veluctl; echo ${{COMPREPLY[*]}}")
    assert bare.box.ask("run", arguments=["/bin/bash", "-c", script], environment={}, timeout=9)["out"] == completed + "\n"
