# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl missing files: what the rules leave out, by name. Beside what the daemon has indexed and what why says."""
import collections
import csv
import io
import os

import pytest

DONE, FOUND, USAGE = range(3)
MUSIC, VIDEO = "/volume1/music", "/volume1/video"
FILES = {  # reason by the rules `complete`, none: it is indexed
    f"{MUSIC}/song.mp3": None, f"{MUSIC}/.hidden.mp3": "hidden", f"{MUSIC}/notes.txt": "extension", f"{MUSIC}/plain": "extension",
    f"{MUSIC}/private/.nomedia": None, f"{MUSIC}/private/song.mp3": None, f"{MUSIC}/.cache/song.mp3": None, f"{MUSIC}/@eaDir/song.mp3": None,
    f"{MUSIC}/.veluignore": "hidden", f"{MUSIC}/draft 1.mp3": "pattern", f"{MUSIC}/drafts/song.mp3": None, f"{MUSIC}/deep/er/.DS_Store": "hidden",
    f"{MUSIC}/#recycle/song.mp3": None, f"{VIDEO}/film.srt": "subtitle", f"{VIDEO}/film.mkv": None, f"{VIDEO}/disc/VIDEO_TS.IFO": "companion",
    f"{VIDEO}/.draft.mp4": "hidden"}
DIRECTORIES = {f"{MUSIC}/private/": "nomedia", f"{MUSIC}/.cache/": "hidden", f"{MUSIC}/@eaDir/": "system", f"{MUSIC}/drafts/": "pattern",
               f"{MUSIC}/#recycle/": "system"}
EXPECTED = {**{path: why for path, why in FILES.items() if why}, **DIRECTORIES, f"{MUSIC}/pipe": "special", f"{MUSIC}/nowhere.mp3": "special"}


@pytest.fixture(params=["complete", "appliance"])
def rules(request):
    return request.param


@pytest.fixture
def library(box, rules):
    box.configure(rules=rules)
    for path in FILES:
        box.write(path)
    box.write(f"{MUSIC}/.veluignore", b"draft*\n!nothing\n")
    os.mkfifo(box.box.path(f"{MUSIC}/pipe"))
    os.symlink("/volume1/gone.mp3", box.box.path(f"{MUSIC}/nowhere.mp3"))
    return box.start()


def listed(box, *words):
    return {row["path"]: row["reason"] for row in box.ctl_json("missing", "files", *words)}


def test_each_entry_that_is_left_out_has_its_reason(library, rules):
    found = listed(library)
    if rules == "complete":
        assert found == EXPECTED
    library.index("A:/volume1/music", "A:/volume1/video")
    rows = set(library.media_paths())
    assert rows.isdisjoint(found) and f"{MUSIC}/song.mp3" in rows
    out = tuple(path for path in found if path.endswith("/"))
    root = library.box.path("/")
    on_disk = {f"/{os.path.relpath(folder, root)}/{name}" for folder, _, names in os.walk(library.box.path("/volume1")) for name in names}
    assert {path for path in on_disk if path not in found and not path.startswith(out)} == rows, "all else is indexed"


def test_why_says_the_same(library, rules):
    for path, why in listed(library).items():
        if rules == "complete" and not path.endswith("pipe") and "nowhere" not in path:
            assert library.ctl_json("why", path.rstrip("/"))["reason"] == why, path
    library.index("A:/volume1/music", "A:/volume1/video")
    for top in (MUSIC, VIDEO):
        counts = {why: count for why, count in library.ctl_json("why", top)["left_out"].items() if count}
        # The appliance's rules leave out a recycle bin by its path, and nothing is counted of that.
        found = [why for path, why in listed(library, top).items() if rules == "complete" or "#recycle" not in path]
        assert collections.Counter(found) == counts, top


def test_places_and_forms(library, rules):
    whole = listed(library)
    assert listed(library, MUSIC) == listed(library, "--dir", MUSIC) == {path: why for path, why in whole.items() if path.startswith(MUSIC)}
    assert listed(library, MUSIC, f"{MUSIC}/deep", VIDEO) == whole, "none twice"
    assert listed(library, f"{MUSIC}/deep") == {f"{MUSIC}/deep/er/.DS_Store": {"complete": "hidden", "appliance": "extension"}[rules]}
    if rules == "complete":
        assert listed(library, f"{MUSIC}/.cache") == {f"{MUSIC}/.cache/": "hidden"}
    rows = csv.DictReader(io.StringIO(library.ctl("missing", "files", "--csv")["out"]))
    assert {row["path"]: row["reason"] for row in rows} == whole
    assert len(listed(library, "-n", "2")) == 2
    table = library.ctl("missing", "files", MUSIC)
    assert table["status"] == FOUND and table["out"].startswith("REASON") and "veluctl why" in table["err"]
    library.write("/volume1/other/song.mp3")
    assert library.ctl("missing", "files", "/volume1/other") == {"status": DONE, "out": "", "err": "Nothing is left out.\n"}
    for word in ("genre=jazz", "/volume1/none"):
        answer = library.ctl("missing", "files", word)
        assert answer["status"] == USAGE and "is no directory" in answer["err"]


def test_what_this_user_may_not_look_at(library):
    os.chmod(library.box.path(f"{MUSIC}/deep"), 0o700)
    answer = library.ctl("missing", "files", MUSIC, user=4242)
    assert f"unseen     {MUSIC}/deep/" in answer["out"], answer
