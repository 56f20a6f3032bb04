# SPDX-License-Identifier: GPL-2.0-or-later
"""What the catalogue has of sound under the rules `complete`, on its way through the real readers and either engine: columns and
facts beside what mutagen reads of the same file."""
import unicodedata

import pytest
from harness import sound_tags
from harness.sounds import ENCODERS

MUSIC = "/volume1/music"
FOLDER = f"{MUSIC}/An Album"
COLUMNS = {"title": None, "album": None, "artist": None, "genre": None, "composer": None, "comment": None, "track": 0, "disc": 0}
KEPT = {"artist", "genre", "composer"}


@pytest.fixture
def box(make_daemon):
    daemon = make_daemon(speed=1)
    daemon.configure(rules="complete")
    return daemon


def read(box, table):
    """Rows with their text as people read it."""
    return [{name: value.encode("latin-1").decode() if isinstance(value, str) else value for name, value in row.items()}
            for row in box.rows(table)]


def facts_of(box):
    """By path and name: the values in their order."""
    facts = {}
    for row in sorted(read(box, "fact"), key=lambda row: (row["path"], row["name"], row["position"])):
        values = facts.setdefault(row["path"], {}).setdefault(row["name"], [])
        assert row["position"] == len(values)
        values.append(row["value"])
    return facts


def again(box, *lines):
    """What is queued before a start is done at once."""
    if box.pid:
        box.stop()
    box.queue(*lines)
    box.start()


def without_marks(text):
    return "".join(character for character in unicodedata.normalize("NFKD", text) if unicodedata.category(character)[0] != "M")


def folded(text):
    """As docs/catalogue.md has it for whoever searches."""
    return unicodedata.normalize("NFKC", without_marks(without_marks(text).casefold()))


def as_text(values):
    return "; ".join(str(value) for value in values)


def is_number(name):
    return name in sound_tags.NUMBERS or name in sound_tags.DECIMALS


def same(kind, name, found, expected):
    """True for equal values; numbers are compared as such, and dates as mutagen writes them."""
    if is_number(name):
        return [float(value) for value in found] == pytest.approx([float(value) for value in expected])
    found = [value.replace("T", " ") for value in found] if name in ("date", "originaldate") else found
    # mutagen has the first value of a WMA in another place than the others.
    return found == expected or (kind == "wma" and sorted(found) == sorted(expected))


def test_rows_and_facts_are_what_mutagen_reads(box, sounds, tmp_path):
    expected = {}
    for kind in ENCODERS:
        path = sounds.copy(kind, tmp_path)
        sound_tags.write(path)
        there = f"{FOLDER}/{kind}{path.suffix}"
        expected[there] = (kind, sound_tags.read(path))
        box.copy(path, there)
    again(box, f"A:{MUSIC}")
    rows = {row["path"]: row for row in read(box, "music")}
    facts = facts_of(box)
    assert rows.keys() == expected.keys() == facts.keys()
    wrong = []
    for path, (kind, tags) in expected.items():
        columns = {name: [rows[path][name]] for name in COLUMNS}
        wanted = {name: tags[name] if is_number(name) else [as_text(tags[name])] for name in COLUMNS}
        columns["year"], wanted["year"] = [rows[path]["year"]], tags["year"]
        if kind == "wma":
            columns = {name: sorted(str(values[0]).split("; ")) for name, values in columns.items()}
            wanted = {name: sorted(as_text(values).split("; ")) for name, values in wanted.items()}
        wrong += [(path, name, columns[name], wanted[name]) for name in wanted if columns[name] != wanted[name]]
        for name, values in tags.items():
            if name not in COLUMNS and name != "year" or name in KEPT:
                found = facts[path].get(name, [])
                if not same(kind, name, found, values):
                    wrong.append((path, name, found, values))
        assert not facts[path].keys() & {*COLUMNS, "year", "duration"} - KEPT
        assert facts[path]["codec"] and facts[path]["container"]
    for row in read(box, "fact"):
        assert row["folded"] == folded(row["value"]).encode()[:256].decode(errors="ignore")
    assert any(row["folded"] not in (row["value"], row["value"].lower()) for row in read(box, "fact"))
    assert {row["path"]: row["folded_name"] for row in read(box, "file_state")} == {path: folded(path.rsplit("/")[-1]) for path in rows}
    assert not wrong, "\n".join(map(str, wrong))


def test_facts_go_where_their_rows_go(box, sounds, tmp_path):
    first, second = sounds.copy("flac", tmp_path), sounds.copy("mp3", tmp_path)
    plain = sounds.copy("flac", tmp_path).read_bytes()
    for path in (first, second):
        sound_tags.write(path)
    box.copy(first, f"{FOLDER}/a.flac")
    box.copy(second, f"{FOLDER}/b.mp3")
    box.copy(second, f"{MUSIC}/c.mp3")
    box.write(f"{MUSIC}/d.txt", "nothing")
    again(box, f"A:{MUSIC}")
    before = facts_of(box)
    assert len(before) == 3 and before[f"{FOLDER}/a.flac"]["artist"] == sound_tags.FACTS["artist"]

    box.box.ask("run", arguments=["/bin/mv", FOLDER, f"{MUSIC}/Other"], environment={}, timeout=60)
    again(box, f"N:{MUSIC}/Other:{FOLDER}")
    after = facts_of(box)
    assert after == {path.replace(FOLDER, f"{MUSIC}/Other"): facts for path, facts in before.items()}

    box.write(f"{MUSIC}/Other/a.flac", plain)
    box.remove(f"{MUSIC}/c.mp3")
    again(box, f"a:{MUSIC}/Other/a.flac", f"d:{MUSIC}/c.mp3")
    facts = facts_of(box)
    assert facts.keys() == {f"{MUSIC}/Other/a.flac", f"{MUSIC}/Other/b.mp3"}
    assert "albumartist" not in facts[f"{MUSIC}/Other/a.flac"]

    again(box, "T:music")
    assert not box.rows("fact") and not box.rows("file_state") and not box.rows("file_fact")


def test_long_and_many_values_are_cut_and_never_lost(box, sounds, tmp_path):
    path = sounds.copy("flac", tmp_path)
    values = {"LYRICS": ["é" * 5000], "ARTIST": [f"Artist {number} " + "x" * 100 for number in range(60)], "TITLE": ["T" * 3000]}
    sound = sound_tags.mutagen.flac.FLAC(path)
    for name, texts in values.items():
        sound[name] = texts
    sound.save()
    box.copy(path, f"{MUSIC}/a.flac")
    again(box, f"A:{MUSIC}")
    facts = facts_of(box)[f"{MUSIC}/a.flac"]
    assert facts["lyrics"] == ["é" * 2048]
    assert facts["artist"] == values["ARTIST"]
    assert all(len(row["folded"].encode()) <= 256 for row in read(box, "fact"))
    row, = read(box, "music")
    assert values["TITLE"][0].startswith(row["title"]) and as_text(values["ARTIST"]).startswith(row["artist"])
    assert min(len(row["title"]), len(row["artist"])) > 100


def test_show_tells_what_is_kept_beside_the_row(box, sounds, tmp_path):
    path = sounds.copy("flac", tmp_path)
    sound_tags.write(path)
    box.copy(path, f"{MUSIC}/a.flac")
    box.write(f"{MUSIC}/b.flac", "fLaC, or not")
    again(box, f"A:{MUSIC}")
    parts = {part["part"]: part for part in box.ctl_json("show", f"{MUSIC}/a.flac")}
    facts = facts_of(box)[f"{MUSIC}/a.flac"]
    assert parts["facts"].keys() == {"part", *facts} and len(facts) > 20
    for name, values in facts.items():
        shown = parts["facts"][name]
        assert shown == (as_text(values) if isinstance(shown, str) else float(values[0])), name
    assert parts["music"]["path"] == f"{MUSIC}/a.flac"
    state, = (row for row in read(box, "file_state") if row["path"] == f"{MUSIC}/a.flac")
    assert parts["file"] == {"part": "file", "added": state["added"]}
    assert "albumartist" in box.ctl("show", f"{MUSIC}/a.flac")["out"]
    damaged = {part["part"]: part for part in box.ctl_json("show", f"{MUSIC}/b.flac")}
    assert damaged["file"]["trouble"] and "facts" not in damaged
