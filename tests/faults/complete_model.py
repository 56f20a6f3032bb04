# SPDX-License-Identifier: GPL-2.0-or-later
"""The model by the rules `complete`: random work on songs, pictures and playlists that tell which they are, what becomes of their
rows, and what holds of states, facts, covers and entries.

The text of a row is when its file was added, which is kept by renames and by reading again."""
import collections
import os
import re
import time

from harness import id3, photo
from harness.known import COVERS, place_of, torn, wrong_covers
from rows_model import MAYBE, MUSIC, NO, PHOTO, SHARES, UNKNOWN, VIDEO, YES, Rows, below
from storm import Storm, Wrong
from work import Work

MEDIA = {".mp3": "music", ".jpg": "photo", ".cr2": "photo", ".m3u": "playlist"}
OTHERS = {".jpg": ".cr2", ".cr2": ".jpg"}  # of a photo that was taken with one
FILE_TABLES = ("music", "video", "photo", "playlist")
NEW = ("", "")  # of a row whose file is added now
SOUND = (b"\xff\xfb\x90\x64" + bytes(413)) * 3
TOKEN = re.compile(rb"token (\d+)\n")
STEADY = 3  # seconds that rows and facts may seem to be of two files while requests are tried again
PLAIN = re.compile(r"[\w /.']*")  # targets whose text says the path and nothing else


def cover(token):
    return photo.jpeg(3, 2) + f"cover {token}".encode()


def song(token):
    frames = (id3.text(4, "TIT2", f"T{token}"), id3.text(4, "TPE1", f"A{token}"), id3.picture(4, cover(token)))
    return id3.tag(4, *frames) + SOUND + f"token {token}\n".encode()


class CompleteWork(Work):
    """`lists`: by token, the entries of a playlist."""
    extensions = {MUSIC: (".mp3", ".mp3", ".mp3", ".m3u", ".txt"), VIDEO: (".mp3", ".txt"), PHOTO: (".jpg", ".jpg", ".cr2", ".m3u")}

    def __init__(self, random, world, tell):
        super().__init__(random, world, tell)
        self.lists = {}

    def write(self, path):
        self.number += 1
        extension = os.path.splitext(path)[1]
        end = f"token {self.number}\n".encode()
        if extension == ".mp3":
            content = song(self.number)
        elif MEDIA.get(extension) == "photo":
            content = photo.jpeg(3, 2) + end
        elif extension == ".m3u":
            songs = [one for one in self.disk() if one.endswith(".mp3") and PLAIN.fullmatch(one)]
            self.lists[self.number] = self.random.sample(songs, min(len(songs), 3)) + [f"{MUSIC}/gone {self.number}.mp3"]
            lines = ["#EXTM3U", f"#PLAYLIST:L{self.number}", *self.lists[self.number], f"#token {self.number}"]
            content = "".join(f"{line}\n" for line in lines).encode()
        else:
            content = end
        self.world.write(path, content)

    def token(self, path):
        """Which file lies at a path."""
        with open(self.world.path(path), "rb") as file:
            found = TOKEN.search(file.read())
        return int(found[1])

    def kinds(self):
        return {kind: weight for kind, weight in super().kinds().items() if kind != self.hand_over}

    def ask(self, disk):
        folder = self.some_folder(disk)
        path = self.some_file(disk) or folder
        return self.random.choice([f"A:{folder}", f"a:{path}", f"D:{folder}", f"d:{path}", f"A:{MUSIC}", "R:music", "R:all", "R:all",
                                   f"a:{folder}", f"D:{folder}/none", self.random.choice(["T:music", "T:file_state", "bad line"])])


class CompleteRows(Rows):
    """`moved`: trees that rows have come to in this run: what of them has gone on from there is forgotten at its end."""
    media = MEDIA
    texted = FILE_TABLES

    def __init__(self, rows=None, renamed_over=()):
        super().__init__(rows, renamed_over)
        self.moved = set()

    def copy(self):
        copied = super().copy()
        copied.moved = set(self.moved)
        return copied

    def merged(self, other):
        merged = super().merged(other)
        merged.moved = self.moved | other.moved
        return merged

    def keeps_texts(self, table, texts):
        return super().keeps_texts(table, texts) and texts != NEW

    def settle(self, disk):
        for top in self.moved:
            for table in FILE_TABLES:
                for key in self.keys(table, top):
                    if key not in disk:
                        self._remove(table, key)
        self.moved_settled()

    def moved_settled(self):
        self.moved.clear()

    def _add_photo(self, path, handed):
        """The photo library has its own model."""

    def _add_album(self, path):
        pass

    def _whole(self, line, disk, handed, again, sweeps):
        if line.letter == "R":
            for share in line.places():
                if sweeps:
                    self._sweep(share, disk)
                self._walk(share, disk, {}, photo=False)

    def _sweep(self, top, disk):
        """Rows of files that are there stay what they are."""
        for table in (*self.media.values(), "directory"):
            for key in self.keys(table, top):
                if key not in disk:
                    self._remove(table, key)

    def _rename(self, new, old, disk, handed, again):
        directory = disk.get(new) == "dir" or new not in disk or (again and old in disk)
        if directory:
            self._move(new, old, disk, again)
            if disk.get(new) == "dir":
                self._walk(new, disk, {}, photo=False)
        elif old in disk:
            if self.table_of(old) and disk[old] == "dir":
                self._remove(self.table_of(old), old)
        else:
            self._move(new, old, disk, again)
        if disk.get(new) == "file":
            self._add_media(new)

    def unseen(self, line, disk, places):
        """Rows follow a rename on storage that is away, whatever has come to the old path since."""
        if line.letter != "N":
            return ()
        moved = self.copy()
        moved._move(*line.paths, {path: kind for path, kind in disk.items() if not any(below(path, place) for place in places)}, False)
        return (moved,)

    def _move(self, new, old, disk, again):
        back = old in disk
        if not below(new, old) and not below(old, new):
            self.moved.add(new)
        for table in FILE_TABLES:
            for key in self.keys(table, old):
                target = new + key[len(old):]
                if back and key in disk and (again or target not in disk):
                    continue
                there, texts = self.get(table, key)
                before, texts_before = self.get(table, target)
                self._remove(table, key)
                if there == NO:
                    continue
                certain = there == YES and not again
                self.set(table, target, (YES if YES in (there, before) else MAYBE, texts if certain else UNKNOWN))
        for key in self.keys("directory", old):
            if key not in disk:
                self.set("directory", key, (MAYBE, UNKNOWN) if back else (NO, NEW))


class CompleteStorm(Storm):
    make_work, make_rows, whole = CompleteWork, CompleteRows, ("R:all",)

    def actual(self):
        added = {row["path"]: row["added"] for row in self.daemon.rows("file_state")}
        rows = {("directory", row["path"]): NEW for row in self.daemon.rows("directory")}
        for table in FILE_TABLES:
            rows.update(((table, row["path"]), (added.get(row["path"], "no state"), "")) for row in self.daemon.rows(table))
        return rows

    def learn(self):
        """Each file has a moment of its own from then on."""
        super().learn()
        for (table, path), (there, texts) in self.model.rows.items():
            if table in FILE_TABLES and there == YES and not texts[0].startswith("mark"):
                self.work.number += 1
                mark = f"mark {self.work.number}"
                self.daemon.catalogue.store("update file_state set added = ? where path = ?", (mark, path), "file_state")
                self.model.rows[table, path] = (YES, (mark, ""))

    def cover_of(self, path):
        return self.daemon.read(f"{COVERS}/{place_of(path)}/3_1.jpg")

    def type_in(self):
        """Nobody types anything."""

    # --- what belongs together

    def check(self, model, when):
        super().check(model, when)
        # Requests that are kept are tried again at any time, and the tables are read one behind the other.
        end = time.monotonic() + STEADY
        moving = SHARES if when.startswith("during") else ()
        while (wrong := list(self.torn(moving))) and moving and time.monotonic() < end:
            time.sleep(0.1)
        if not moving:
            wrong += wrong_covers(self.daemon)
        if wrong:
            raise Wrong(f"{when}:\n  " + "\n  ".join(wrong[:12]))

    def torn(self, moving):
        """What is not of the same file, or is there twice or without the rest of it."""
        daemon = self.daemon
        yield from torn(daemon, moving)
        entries = collections.defaultdict(list)
        for row in sorted(daemon.rows("playlist_entry"), key=lambda row: row["position"]):
            entries[row["path"]].append(row["target"])
        for table, row in [(table, row) for table in FILE_TABLES for row in daemon.rows(table)]:
            path, title = row["path"], row["title"]
            token = int(title[1:]) if re.fullmatch(r"[TL]\d+", title) else None
            if table == "music" and row["artist"] != (f"A{token}" if token else ""):
                yield f"{path!r} is {title!r} by {row['artist']!r}"
            if table == "playlist" and entries[path] != (self.work.lists[token] if token else []):
                yield f"{path!r} is {title!r} with {entries[path]}"
            if table == "music" and row["has_cover"] != (1 if token else 0):
                yield f"{path!r} is {title!r}, has_cover {row['has_cover']}"

    def check_in_step(self):
        """Each row is of the file that is there now, and its cover too; entries lead to what is catalogued, and raw photos and their
        pictures to each other."""
        daemon, wrong = self.daemon, []
        there = {row["path"]: (table, row) for table in FILE_TABLES for row in daemon.rows(table)}
        for path, (table, row) in there.items():
            token = self.work.token(path)
            if table in ("music", "playlist") and row["title"] != f"{'T' if table == 'music' else 'L'}{token}":
                wrong.append(f"{path!r} is {row['title']!r}, the file is {token}")
            if table == "music" and self.cover_of(path) != cover(token):
                wrong.append(f"{path!r} has the cover of another file")
        disk, companions = self.work.disk(), collections.defaultdict(list)
        for row in daemon.rows("fact"):
            if row["name"] == "companion":
                companions[row["path"]].append(row["value"])
        for path, (table, _) in there.items():
            stem, extension = os.path.splitext(path)
            other = stem + OTHERS.get(extension, "")
            if companions[path] != ([other] if extension in OTHERS and disk.get(other) == "file" else []):
                wrong.append(f"{path!r} was taken with {companions[path]}")
        for row in daemon.rows("playlist_entry"):
            if row["found"] != (row["target"] if row["target"] in there else ""):
                wrong.append(f"{row['path']!r}: {row['target']!r} is found at {row['found']!r}")
        if wrong:
            raise Wrong("in step with the disk:\n  " + "\n  ".join(wrong[:12]))
