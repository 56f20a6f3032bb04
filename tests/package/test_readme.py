# SPDX-License-Identifier: GPL-2.0-or-later
"""What README.md and README.Debian tell a new user to type, typed on a machine that has nothing yet, word by word."""
import json
import re

from conftest import TREE
from test_package import wait_for_queue

# They stand for people's folders, and for a person who may look.
FOLDERS = ("/srv/music", "/srv/video", "/srv/photo")
BUILT = "./build/package/veluindexd_*.deb ./build/package/veluindexd-films_*.deb"
PACKAGES = "/mnt/new/veluindexd.deb /mnt/new/veluindexd-films.deb"


def commands(document, heading):
    """The indented lines behind a heading, without their comments."""
    text = (TREE / document).read_text(encoding="utf-8").partition(heading)[2]
    block = re.search(r"(?:^    .*\n|^\n)+", text[text.index("\n    ") + 1:], re.MULTILINE)[0]
    return [re.sub(r" {2,}#.*| # .*", "", line[4:]) for line in block.splitlines() if line.strip()]


def prepared(machine):
    """Gives it music, photos, a person and a sudo, as an ordinary machine has them; root is whom it makes all of them."""
    machine.run("sh", "-c", f"mkdir -p {' '.join(FOLDERS)}/Trip && cp /mnt/media/tagged.mp3 /srv/music && cp /mnt/media/exif.jpg /srv/photo/Trip")
    machine.run("sh", "-c", "printf '#!/bin/sh\\nexec \"$@\"\\n' >/usr/bin/sudo && chmod 755 /usr/bin/sudo")
    machine.run("useradd", "--create-home", "ann")


def typed(machine, line):
    """A person would agree to what apt asks."""
    return machine.run("env", "USER=ann", "bash", "-c", line.replace(BUILT, PACKAGES).replace("apt install", "apt install -y"))


def test_the_commands_of_the_readme_lead_to_a_catalogue_with_photos(fresh):
    prepared(fresh)
    lines = commands("README.md", "## Installing")
    assert lines[0] == "scripts/package" and BUILT in lines[1]
    said = {line: typed(fresh, line).stdout for line in lines[1:]}
    rows = json.loads(fresh.run("veluctl", "list", "--json").stdout)
    assert sorted((row["kind"], row["path"]) for row in rows) == [("music", "/srv/music/tagged.mp3"), ("photo", "/srv/photo/Trip/exif.jpg")]
    assert [row["sharename"] for row in json.loads(fresh.run("veluctl", "list", "--kind", "album", "--json").stdout)] == ["Trip"]
    looked = [line for line in lines if "veluctl find" in line or "veluctl list" in line]
    assert looked and all("/srv/" in said[line] for line in looked), said
    # The person may look at it from the next login on, and what changes comes by itself.
    assert "/srv/photo/Trip/exif.jpg" in fresh.run("setpriv", "--reuid=ann", "--regid=ann", "--init-groups", "veluctl", "list").stdout
    fresh.run("sh", "-c", "cp /mnt/media/plain.mp3 /srv/music/new.mp3")
    fresh.run("timeout", "300", "sh", "-c", "until veluctl list | grep -q /srv/music/new.mp3; do sleep 0.5; done")


def test_those_of_the_package_do_it_too(fresh):
    fresh.run("apt-get", "purge", "-y", "veluindexd", "veluindexd-films")
    fresh.run("rm", "-rf", "/var/services", "/etc.defaults")
    fresh.run("apt-get", "install", "-y", *PACKAGES.split())
    text = (TREE / "debian/veluindexd.README.Debian").read_text(encoding="utf-8")
    for line in re.findall(r"^    (.*veluctl .*|.*systemctl .*)$", text, re.MULTILINE):
        typed(fresh, re.sub(r" {2,}#.*", "", line))
    wait_for_queue(fresh)
    rows = json.loads(fresh.run("veluctl", "list", "--json").stdout)
    assert {"/srv/music/tagged.mp3", "/srv/photo/Trip/exif.jpg"} <= {row["path"] for row in rows}
    assert [row["sharename"] for row in json.loads(fresh.run("veluctl", "list", "--kind", "album", "--json").stdout)] == ["Trip"]


def test_the_commands_for_a_damaged_catalogue_work_as_they_are_told(fresh):
    before = json.loads(fresh.run("veluctl", "list", "--json").stdout)
    fresh.run("systemctl", "stop", "veluwatchd")  # whose requests are no part of it
    fresh.run("sh", "-c", "systemctl stop veluindexd && echo this is no database >/var/lib/velu/mediaserver.db && systemctl start veluindexd")
    told = fresh.run("veluctl", "status", check=False).stdout
    lines = [line.strip() for line in told.splitlines() if line.startswith("  sudo ")]
    assert len(lines) == 3, told
    for line in lines:
        typed(fresh, line)
    assert json.loads(fresh.run("veluctl", "list", "--json").stdout) == before
    assert fresh.run("cat", "/var/lib/velu/damaged/mediaserver.db").stdout == "this is no database\n"
