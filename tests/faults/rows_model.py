# SPDX-License-Identifier: GPL-2.0-or-later
"""What rows there must be after a line of the queue, by what is on the disk: the daemon's rules once more, in a few words.

A row is there for certain, for certain not, or perhaps; its typed texts are known or not. Two courses of things are merged
into what holds in both."""
import os

MUSIC, VIDEO, PHOTO = SHARES = ("/volume1/music", "/volume1/video", "/volume1/photo")
YES, NO, MAYBE = "yes", "no", "maybe"
MEDIA = {".pcm": "music", ".srt": "video", ".jpg": "photo", ".m3u": "playlist"}
TABLES = ("music", "video", "photo", "playlist", "directory", "photo_image", "photo_share")
UNKNOWN = None
ABSENT = (NO, ("", ""))


def below(path, top):
    """Whether a path is another or lies in it."""
    return path == top or path.startswith(f"{top}/")


def touch(one, other):
    return below(one, other) or below(other, one)


def share_of(path):
    return "/".join(path.split("/")[:3])


def default_title(path):
    return os.path.splitext(os.path.basename(path))[0]


def album_of(path):
    """The name of the album that a directory is, or None."""
    name = path[len(PHOTO) + 1:]
    return name if below(path, PHOTO) and name and name.count("/") < 2 else None


class Line:
    """A line of the queue: its letter and its paths, or the word."""

    def __init__(self, text):
        self.text = text
        self.letter, argument = text[0], text[2:]
        self.word = argument if self.letter in "RUT" else ""
        self.paths = argument.split(":")[:2] if self.letter == "N" else [] if self.word else [argument]

    def places(self):
        """All that the line may be about."""
        if self.letter == "R":
            return {"music": [MUSIC], "video": [VIDEO], "photo": [PHOTO]}.get(self.word, list(SHARES))
        return [PHOTO] if self.letter == "U" else list(SHARES) if self.letter == "T" else self.paths


class Rows:
    """`rows`: by (table, key), whether the row is there and its typed texts. `disk`: paths, each "file" or "dir".
    `handed`: by path, the texts that lie beside a picture. `renamed_over`: pictures that had a row already when a rename
    brought them another, which may have taken the place of texts that were read before. `media`: the tables of files, by
    extension. `texted`: the tables whose rows have texts that are to be kept."""
    media = MEDIA
    texted = ("photo_image", "photo_share")

    def __init__(self, rows=None, renamed_over=()):
        self.rows = dict(rows or {})
        self.renamed_over = set(renamed_over)

    def copy(self):
        return type(self)(self.rows, self.renamed_over)

    def get(self, table, key):
        return self.rows.get((table, key), ABSENT)

    def set(self, table, key, value):
        self.rows[table, key] = value

    def merged(self, other):
        merged = type(self)(renamed_over=self.renamed_over | other.renamed_over)
        for key in {*self.rows, *other.rows}:
            (here, text), (there, other_text) = self.rows.get(key, ABSENT), other.rows.get(key, ABSENT)
            merged.rows[key] = (here if here == there else MAYBE,
                                text if text == other_text or there == NO else other_text if here == NO else UNKNOWN)
        return merged

    def table_of(self, path):
        return self.media.get(os.path.splitext(path)[1])

    def keeps_texts(self, table, texts):
        """Whether a row's texts are known and to be kept."""
        return table in self.texted and texts is not UNKNOWN

    def settle(self, disk):
        """Forgets what does so at the end of a run."""

    def moved_settled(self):
        """At the end of a run in which nothing was forgotten."""

    def keys(self, table, top):
        return [key for kind, key in self.rows if kind == table and below(key, top)]

    # --- one row

    def _save(self, table, key, texts=("", ""), new_texts=None):
        there, old = self.get(table, key)
        kept = old if there == YES else texts if there == NO or old == texts else UNKNOWN
        self.set(table, key, (YES, new_texts or kept))

    def _remove(self, table, key):
        self.set(table, key, ABSENT)

    def _add_media(self, path):
        table = self.table_of(path)
        if table:
            self._save(table, path)

    def _add_photo(self, path, handed):
        if below(path, PHOTO) and path.endswith(".jpg"):
            self._save("photo_image", path, (default_title(path), ""), handed.get(path))
            if path in handed and path in self.renamed_over:
                self.set("photo_image", path, (YES, UNKNOWN))

    def _add_album(self, path):
        name = album_of(path)
        if name:
            # Below an album that is not there its rights are not to be had.
            certain = "/" not in name or self.get("photo_share", name.split("/")[0])[0] == YES
            there, texts = self.get("photo_share", name)
            self.set("photo_share", name, (YES if certain or there == YES else MAYBE, texts))

    # --- lines

    def apply(self, line, disk, handed, again=False, sweeps=True):
        """Carries a line out, or carries it out once more when other things have happened since. A resync that the store
        fails in sweeps nothing."""
        letter = line.letter
        if letter == "T":
            for table, key in list(self.rows):
                if table == line.word:
                    self._remove(table, key)
        elif letter in "RU":
            self._whole(line, disk, handed, again, sweeps)
        elif letter == "N":
            self._rename(*line.paths, disk, handed, again)
        elif letter in "Aa":
            self._add(letter, line.paths[0], disk, handed)
        elif line.paths[0] not in disk:
            self._gone(letter, line.paths[0])

    def unseen(self, line, disk, places):
        """What else may come of a line while places cannot be seen."""
        return ()

    def _add(self, letter, path, disk, handed):
        kind = disk.get(path)
        if kind == "file":
            self._add_media(path)
            self._add_photo(path, handed)
        elif kind == "dir" and letter == "a":
            self._save("directory", path)
            self._add_album(path)
        elif kind == "dir":
            self._walk(path, disk, handed, photo=True)
            self._add_album(path)
            if album_of(path) and "/" not in album_of(path):
                for other, what in disk.items():
                    if what == "dir" and os.path.dirname(other) == path:
                        self._add_album(other)

    def _walk(self, top, disk, handed, photo):
        for path, kind in disk.items():
            if below(path, top):
                if kind == "dir":
                    self._save("directory", path)
                    continue
                self._add_media(path)
                if photo:
                    self._add_photo(path, handed)

    def _gone(self, letter, path):
        if letter == "d":
            table = self.table_of(path)
            if table:
                self._remove(table, path)
            if below(path, PHOTO) and path.endswith(".jpg"):
                self._remove("photo_image", path)
            return
        self._remove_media_tree(path)
        if below(path, PHOTO):
            for key in self.keys("photo_image", path):
                self._remove("photo_image", key)
            for key in self.keys("photo_share", path[len(PHOTO) + 1:]) if album_of(path) else ():
                self._remove("photo_share", key)

    def _remove_media_tree(self, path):
        for table in (*self.media.values(), "directory"):
            for key in self.keys(table, path):
                self._remove(table, key)

    def _whole(self, line, disk, handed, again, sweeps):
        if line.letter == "R" and line.word != "photo":
            for share in line.places():
                if sweeps:
                    self._remove_media_tree(share)
                self._walk(share, disk, {}, photo=False)
            return
        if line.letter == "U" and line.word != "photo":
            return
        for path, kind in disk.items():
            if kind == "dir" and below(path, PHOTO) and line.letter == "R" and "." in os.path.basename(path):
                self._save("directory", path)  # it passes for a file until it is looked at
            if kind == "file" and below(path, PHOTO):
                if line.letter == "R":
                    self._add_new_media(path, again)
                self._add_photo(path, handed)
        if line.letter == "R":
            for table, key in list(self.rows) if sweeps else ():
                if table == "photo_image" and key not in disk:
                    self._remove(table, key)
                if table == "photo_share" and disk.get(f"{PHOTO}/{key}") != "dir":
                    self._remove(table, key)
                elif table == "photo_share" and not album_of(f"{PHOTO}/{key}"):
                    self.set(table, key, (MAYBE, UNKNOWN))  # renamed to where no album is made
            for path, kind in disk.items():
                if kind == "dir" and album_of(path):
                    self.set("photo_share", album_of(path), (YES, self.get("photo_share", album_of(path))[1]))

    def _add_new_media(self, path, again):
        """A resync of the library tells the media catalogue of what it does not know itself; done again, of all it lacks."""
        known = self.get("photo_image", path)[0]
        table = self.table_of(path)
        if table and (again or known == NO or table != "photo"):
            self._add_media(path)
        elif table and known == MAYBE and self.get(table, path)[0] != YES:
            self.set(table, path, (MAYBE, ("", "")))

    def _rename(self, new, old, disk, handed, again):
        moved_on = again and new not in disk and old not in disk
        if again and old in disk:
            self._remove_gone(old, disk)
            self._walk(new, disk, {}, photo=False)
        elif disk.get(new) == "dir" or moved_on:
            self._remove_media_tree(old)
            self._walk(new, disk, {}, photo=False)
        else:
            if old not in disk and self.table_of(old):
                self._remove(self.table_of(old), old)
            if disk.get(new) == "file":
                self._add_media(new)
        if below(new, PHOTO):
            self._rename_pictures(new, old, disk, handed, again)
            self._rename_albums(new, old, disk, again)

    def _remove_gone(self, top, disk):
        for table in self.media.values():
            for key in self.keys(table, top):
                if key not in disk:
                    self._remove(table, key)
        for key in self.keys("directory", top):
            if key not in disk:
                self.set("directory", key, (MAYBE, UNKNOWN))

    def _rename_pictures(self, new, old, disk, handed, again):
        moved = [key for key in self.keys("photo_image", old) if not again or key not in disk]
        if disk.get(new) != "dir" and "." in new and not new.endswith(".jpg") and not again:
            if moved and old not in disk:  # what is no directory any more passes for a file of another kind
                self._remove("photo_image", old)
            return
        there = {self.get("photo_image", key)[0] for key in moved}
        rows = {new + key[len(old):]: self.get("photo_image", key) for key in moved}
        unchanged = self.copy()
        for key in moved:
            self._remove("photo_image", key)
        for key, (presence, texts) in rows.items():
            if presence != NO:
                old_key = old + key[len(new):]
                if texts is not None and texts[0] == default_title(old_key):
                    texts = (default_title(key), texts[1])
                if self.get("photo_image", key)[0] != NO:
                    self.renamed_over.add(key)
                self.set("photo_image", key, (presence, texts))
        if again and (disk.get(new) == "dir" or old in disk):
            self._add_pictures(new, disk, handed)
        elif YES not in there:
            unchanged._add_pictures(new, disk, handed)
            self.rows = (unchanged if MAYBE not in there else self.merged(unchanged)).rows

    def _add_pictures(self, new, disk, handed):
        if disk.get(new) == "dir":
            self._walk(new, disk, handed, photo=True)
        elif disk.get(new) == "file":
            self._add_photo(new, handed)

    def _rename_albums(self, new, old, disk, again):
        old_name, new_name = old[len(PHOTO) + 1:], new[len(PHOTO) + 1:]
        known = self.keys("photo_share", old_name)
        in_the_way = any(self.get("photo_share", name)[0] != NO for name in self.keys("photo_share", new_name))
        if below(old, PHOTO) and old not in disk and not in_the_way and self._moves_whole(new_name, old_name, new, disk, again):
            for name in known:
                self.set("photo_share", new_name + name[len(old_name):], self.get("photo_share", name))
                self._remove("photo_share", name)
            return
        for name in known:
            self.set("photo_share", name, (MAYBE, UNKNOWN))
            self.set("photo_share", new_name + name[len(old_name):], (MAYBE, UNKNOWN))
        for name in self.keys("photo_share", new_name):
            self.set("photo_share", name, (MAYBE, UNKNOWN))
        for path, kind in disk.items():
            if kind == "dir" and below(path, new) and album_of(path):
                self.set("photo_share", album_of(path), (MAYBE, UNKNOWN))

    def _moves_whole(self, new_name, old_name, new, disk, again):
        """Whether an album certainly takes all that is its own along: to a name of the same level, where all that comes with
        it has an album too."""
        level = old_name.count("/")
        if level > 1 or new_name.count("/") != level or self.get("photo_share", old_name)[0] != YES:
            return False
        if level == 1 and any(name != old_name and self.get("photo_share", name)[0] != NO
                              for name in self.keys("photo_share", old_name)):
            return False
        if disk.get(new) != "dir":
            return again and new not in disk
        albums = [album_of(path) for path, kind in disk.items() if kind == "dir" and below(path, new) and album_of(path)]
        return all(self.get("photo_share", old_name + name[len(new_name):])[0] == YES for name in albums)


def compare(model, actual):
    """What the model is certain of and the catalogue has otherwise. `actual`: by (table, key), the texts."""
    wrong = []
    for (table, key), (there, texts) in model.rows.items():
        if there == YES and (table, key) not in actual:
            wrong.append(f"{table}: {key!r} is forgotten")
        elif there == NO and (table, key) in actual:
            wrong.append(f"{table}: {key!r} is still there")
        elif there == YES and model.keeps_texts(table, texts) and actual[table, key] != texts:
            wrong.append(f"{table}: {key!r} has {actual[table, key]!r}, not {texts!r}")
    wrong += [f"{table}: {key!r} is made up" for table, key in actual if (table, key) not in model.rows]
    return wrong
