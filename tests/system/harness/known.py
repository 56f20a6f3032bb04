# SPDX-License-Identifier: GPL-2.0-or-later
"""What the catalogue knows of files beside their rows by the rules `complete`, and what of it has to be of one file."""
import collections
import hashlib
import os

from .catalogue import MEDIA_TABLES
from .faults import files_below

COVERS = "/var/lib/velu/covers"
PICTURES = "/.pictures/"  # covers by what is in them
# By view, what a row of it goes by and what it says.
VIEWS = {"file_state": (("path",), ("added", "trouble")), "fact": (("path", "name", "position"), ("value", "folded")),
         "playlist_entry": (("path", "position"), ("target", "found"))}


def known_of_files(daemon):
    """States, facts and entries by view and key; none where the catalogue has no such tables."""
    found = {}
    for view, (keys, columns) in VIEWS.items():
        rows = daemon.rows(view)
        found[view] = {key_of(row, keys): {name: row[name] for name in columns} for row in rows}
        assert len(found[view]) == len(rows), f"{view}: something is there twice"
    return found


def key_of(row, keys):
    return row[keys[0]] if len(keys) == 1 else tuple(row[name] for name in keys)


def covers_below(daemon):
    """The files of covers. A picture that a cover is has its own name, too, for the next file that has it; without a cover
    it is left over."""
    return [path for path in files_below(daemon, COVERS) if PICTURES not in path or os.stat(path).st_nlink < 2]


def place_of(path):
    """Where a file's cover lies, below the folder of all."""
    digest = hashlib.sha256(path.encode("latin-1")).hexdigest()
    return f"{digest[:2]}/{digest}"


def torn(daemon, moving=()):
    """Rows and states that are there twice or one without the other, facts and entries of no file, and facts of another artist
    than the row has. `moving`: trees to which a rename goes on to move files: their states may come first, lest it be forgotten when they
    were added."""
    rows = [row for table in MEDIA_TABLES for row in daemon.rows(table)]
    count = collections.Counter(row["path"] for row in rows)
    states = collections.Counter(row["path"] for row in daemon.rows("file_state")
                                 if row["path"] in count or not any(f"{row['path']}/".startswith(f"{top}/") for top in moving))
    if count != states or set(count.values()) > {1}:
        yield f"rows and states: {sorted((count - states).items())} {sorted((states - count).items())}"
    known = {row["id"] for row in daemon.rows("file_state")}
    lost = [row for table in ("file_fact", "file_entry") for row in daemon.rows(table) if row["file"] not in known]
    if lost:
        yield f"{len(lost)} facts and entries of no file"
    artists = collections.defaultdict(list)
    for row in sorted(daemon.rows("fact"), key=lambda row: row["position"]):
        if row["name"] == "artist":
            artists[row["path"]].append(row["value"])
    for row in daemon.rows("music"):
        if row["artist"] != "; ".join(artists[row["path"]]):
            yield f"{row['path']!r} is by {row['artist']!r}, its facts say {artists[row['path']]}"


def wrong_covers(daemon):
    """Covers that are missing or left over, when all is at rest."""
    top = len(daemon.box.path(COVERS)) + 1
    found = collections.Counter(os.path.dirname(path[top:]) for path in covers_below(daemon))
    wanted = {place_of(row["path"]): row["path"] for table in MEDIA_TABLES for row in daemon.rows(table) if row["has_cover"]}
    for place in found | collections.Counter(wanted.keys()):
        if found[place] != (place in wanted):
            yield f"{found[place]} covers of {wanted.get(place, place)!r}"
