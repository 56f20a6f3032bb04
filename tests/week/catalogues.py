# SPDX-License-Identifier: GPL-2.0-or-later
"""All that the catalogues hold, in a form that a catalogue made afresh of the same files has as well."""
import hashlib
import os

# By catalogue and table or view: what a row is known by. Numbers that are given in turn say nothing, nor does when a file was added or an
# album made, or what people have done with them.
TABLES = {
    "mediadb": {"music": ("path",), "video": ("path",), "photo": ("path",), "playlist": ("path",), "directory": ("path",)},
    "photodb": {"photo_image": ("path",), "video_desc": ("path",), "photo_share": ("sharename",)},
}
MORE = {"mediadb": {"file_state": ("path",), "fact": ("path", "name", "position"), "playlist_entry": ("path", "position")}}
LEFT_OUT = {"id", "added", "stamp", "shareid", "updated", "hits"}
OF_THE_LAST_WALK = {"directory": {"create_time", "modify_time"}}  # what comes to a folder is asked for by itself


def rows_of(box):
    """(table, key) -> columns."""
    found = {}
    for key, tables in TABLES.items():
        for table, known_by in ({**tables, **MORE.get(key, {})} if box.rules == "complete" else tables).items():
            for row in box.query(key, f"select * from {table}"):
                name = (table, *(row[column] for column in known_by))
                assert name not in found, f"twice: {name}"
                left_out = LEFT_OUT | OF_THE_LAST_WALK.get(table, set())
                found[name] = {column: value for column, value in row.items() if column not in left_out}
    return found


def covers_of(box):
    """The pictures that are kept for files of the shares, by their place."""
    top = box.disk / "covers"
    found = {}
    for folder, _, names in os.walk(top):
        for name in names:
            path = os.path.join(folder, name)
            if "/.pictures/" in path and os.stat(path).st_nlink > 1:
                continue  # its other names tell
            with open(path, "rb") as file:
                found["cover", os.path.relpath(path, top)] = {"content": hashlib.file_digest(file, "sha256").hexdigest()}
    return found


def all_of(box):
    return {**rows_of(box), **covers_of(box)}


def differences(kept, fresh):
    """Lines for people."""
    for name in sorted(kept.keys() - fresh.keys(), key=str):
        yield f"left over: {name} {kept[name]}"
    for name in sorted(fresh.keys() - kept.keys(), key=str):
        yield f"forgotten: {name}"
    for name in sorted(kept.keys() & fresh.keys(), key=str):
        for column, value in kept[name].items():
            if value != fresh[name][column]:
                yield f"differs: {name} {column}: {value!r}, afresh {fresh[name][column]!r}"
