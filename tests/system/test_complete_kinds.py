# SPDX-License-Identifier: GPL-2.0-or-later
"""What the catalogue has under the rules `complete`: kinds by extension, and what is left out, by every way into it."""
from harness.daemon import QUEUE
from harness.watcher import Watcher
from test_complete import MUSIC, box, run  # noqa: F401  (box is a fixture)

VIDEO = "/volume1/video"
TABLES = ("music", "video", "photo", "playlist")
KINDS = {"music": "mp3 opus oga spx wv tta mpc mka dsf dff m4r caf au weba w64 dts eac3 ac4 thd mid midi 3ga amr pcm",
         "video": "mkv webm ogv m2v mxf f4v dv wtv nut mk3d m1v mpe mpv 3gpp h264 hevc iso",
         "photo": "jpg heic heif avif webp jxl jp2 svg tga cr2 cr3 crw dng nef nrw arw srf sr2 orf rw2 raf pef srw x3f "
                  "3fr erf kdc mrw raw rwl iiq",
         "playlist": "m3u wpl m3u8 pls xspf asx cue"}
NONE = "srt ass ssa sub idx smi psb vtt sup ifo bup txt nfo"
LEFT_OUT = (".a.mp3", "._a.mp3", ".hidden/a.mp3", "@eaDir/a.mp3", "#recycle/a.mp3", "x/#recycle/a.mp3", "$RECYCLE.BIN/a.mp3",
            "System Volume Information/a.mp3", "lost+found/a.mp3", "quiet/a.mp3", "quiet/deeper/a.mp3")


def again(box, *lines):
    """The same by a daemon that is started anew, which does not wait for the end of a quiet time."""
    box.stop()
    run(box, *lines)


def move(box, old, new):
    box.box.ask("run", arguments=["/bin/mv", old, new], environment={}, timeout=60)


def catalogued(box):
    return {table: box.paths(table) for table in TABLES}


def written(box, content="failed it is nothing"):
    """Writes a file of each extension. Gives the paths by the table that each belongs in."""
    expected = {table: sorted(box.write(f"{VIDEO}/x.{extension}", content) for extension in extensions.split())
                for table, extensions in KINDS.items()}
    for extension in NONE.split():
        box.write(f"{VIDEO}/x.{extension}", content)
    return expected


def test_each_extension_has_its_table_and_goes_from_it(box):  # noqa: F811
    expected = written(box)
    run(box, f"A:{VIDEO}")
    assert catalogued(box) == expected
    paths = [path for paths in expected.values() for path in paths]
    for path in paths:
        box.remove(path)
    again(box, *[f"d:{path}" for path in paths])
    assert box.media_paths() == []


def test_what_is_left_out_comes_in_by_no_way(box):  # noqa: F811
    kept = [box.write(f"{MUSIC}/{name}", "title T") for name in ("a.mp3", "quiet.mp3", "x/b.mp3")]
    box.write(f"{MUSIC}/quiet/.nomedia", "")
    for name in LEFT_OUT:
        box.write(f"{MUSIC}/{name}", "title T")
    directories = [MUSIC, f"{MUSIC}/x"]
    run(box, f"A:{MUSIC}")
    assert (box.paths("music"), box.paths("directory")) == (kept, directories)
    lines = [f"{letter}:{MUSIC}/{name}" for name in LEFT_OUT for letter in "aA"]
    lines += [f"{letter}:{MUSIC}/{name}" for name in ("quiet", ".hidden", "quiet/deeper", "@eaDir") for letter in "aA"]
    again(box, *lines, "R:music", f"N:{MUSIC}/quiet:{MUSIC}/quiet")
    assert (box.paths("music"), box.paths("directory")) == (kept, directories)


def test_what_moves_out_of_sight_is_forgotten(box):  # noqa: F811
    for name in ("a.mp3", "b.mp3", "c/c.mp3", "d/d.mp3", "e/e.mp3"):
        box.write(f"{MUSIC}/{name}", "title T")
    run(box, f"A:{MUSIC}")
    assert len(box.paths("music")) == 5
    move(box, f"{MUSIC}/a.mp3", f"{MUSIC}/.a.mp3")
    move(box, f"{MUSIC}/c", f"{MUSIC}/.c")
    box.write(f"{MUSIC}/d/.nomedia", "")
    again(box, f"N:{MUSIC}/.a.mp3:{MUSIC}/a.mp3", f"N:{MUSIC}/.c:{MUSIC}/c", f"N:{MUSIC}/d:{MUSIC}/d")
    assert box.paths("music") == [f"{MUSIC}/b.mp3", f"{MUSIC}/e/e.mp3"]
    assert box.paths("directory") == [MUSIC, f"{MUSIC}/e"]
    box.remove(f"{MUSIC}/d/.nomedia")
    again(box, f"N:{MUSIC}/d:{MUSIC}/d", f"N:{MUSIC}/a.mp3:{MUSIC}/.a.mp3")
    assert box.paths("music") == [f"{MUSIC}/b.mp3", f"{MUSIC}/d/d.mp3", f"{MUSIC}/e/e.mp3"]


def test_rows_of_the_other_rules_go_with_the_next_reindexing(box):  # noqa: F811
    box.configure(rules="appliance")
    for name in ("film.mkv", "film.srt", ".hidden/b.iso", "quiet/c.iso", "disc.ifo", "d.iso"):
        box.write(f"{VIDEO}/{name}", "failed it is nothing")
    box.write(f"{VIDEO}/quiet/.nomedia", "")
    run(box, "R:video")
    assert len(box.paths("video")) == 6
    box.configure(rules="complete")
    again(box, "R:video")
    assert box.paths("video") == [f"{VIDEO}/d.iso", f"{VIDEO}/film.mkv"]


def test_the_watcher_leaves_out_what_a_walk_does(make_daemon):
    box = make_daemon()
    box.configure(rules="complete")
    for name in ("quiet/.nomedia", "quiet/deeper/a.mp3", "loud/a.mp3", "other/.nomedia", "other/a.mp3"):
        box.write(f"{MUSIC}/{name}")
    watcher = Watcher(box, settle=600)
    for name in (".hidden/a.mp3", ".b.mp3", "lost+found/c.mp3", "quiet/deeper/d.mp3", "loud/.nomedia", "e.mp3"):
        box.write(f"{MUSIC}/{name}")
    box.remove(f"{MUSIC}/other/.nomedia")
    watcher.stop()
    assert sorted(box.lines(QUEUE)) == [f"N:{MUSIC}/loud:{MUSIC}/loud", f"N:{MUSIC}/other:{MUSIC}/other", f"a:{MUSIC}/e.mp3"]


def told(lines):
    """What was left out, by its reason, as the run's one line about it says."""
    line, = [line for line in lines if "Not catalogued: " in line]
    return {words: int(count) for count, words in
            (part.split(" ", 1) for part in line.split("Not catalogued: ")[1].rstrip(".").split(", "))}


def test_what_people_name_is_left_out(box):  # noqa: F811
    box.write(f"{MUSIC}/.veluignore", "# drafts\n*.tmp.mp3\n/Old/\nx/**/raw\n!keep.tmp.mp3\n")
    box.write(f"{MUSIC}/Later/.veluignore", "*\n!good.mp3\n")
    kept = [box.write(f"{MUSIC}/{name}", "title T") for name in ("Later/good.mp3", "a.mp3", "deep/Old/e.mp3", "keep.tmp.mp3",
                                                                "x/y/raw2/f.mp3")]
    gone = [box.write(f"{MUSIC}/{name}", "title T") for name in ("Later/bad.mp3", "Later/sub/good.mp3", "Old/b.mp3",
                                                                "Old/c/d.mp3", "deep/z.tmp.mp3", "x/y/raw/g.mp3")]
    assert told(run(box, f"A:{MUSIC}")) == {"hidden": 2, "named by .veluignore": 5}
    assert box.paths("music") == kept
    again(box, *[f"{letter}:{path}" for path in gone for letter in "aA"], f"A:{MUSIC}/Old/c", "R:music")
    assert box.paths("music") == kept
    assert box.paths("directory") == [MUSIC, *[f"{MUSIC}/{name}" for name in (
        "Later", "deep", "deep/Old", "x", "x/y", "x/y/raw2")]]

    box.write(f"{MUSIC}/.veluignore", "a.mp3\n")
    again(box, "R:music")
    assert box.paths("music") == sorted([*kept[:1], *kept[2:], *gone[2:]])


def test_each_reason_is_told_once_a_run(box):  # noqa: F811
    for name in (".a.mp3", "lost+found/b.mp3", "quiet/.nomedia", "quiet/c.mp3", "d.srt", "e.vtt", "f.ifo", "g.txt", "no extension",
                 "skip.mp3", "film.mp3"):
        box.write(f"{MUSIC}/{name}", "title T")
    box.write(f"{MUSIC}/.veluignore", "skip*\n")
    box.box.ask("run", arguments=["/bin/mkfifo", f"{MUSIC}/pipe.mp3"], environment={}, timeout=60)
    expected = {"hidden": 2, "of the system's": 1, "marked by .nomedia": 1, "named by .veluignore": 1, "subtitles": 2,
                "of discs beside their films": 1, "of no known kind": 2, "no regular files": 1}
    assert told(run(box, f"A:{MUSIC}")) == expected
    box.stop()
    assert told(run(box, "R:music")) == expected
    box.stop()
    assert told(run(box, f"a:{MUSIC}/skip.mp3", f"a:{MUSIC}/g.txt")) == {"named by .veluignore": 1, "of no known kind": 1}
    box.stop()
    assert run(box, f"a:{MUSIC}/film.mp3") == []
    box.configure(rules="appliance")
    box.stop()
    assert not [line for line in run(box, f"A:{MUSIC}") if "Not catalogued" in line]
