# SPDX-License-Identifier: GPL-2.0-or-later
"""What people do with their files, at random. A file has one name: of a change by another of its names, a watcher hears nothing."""
import os
import pathlib
import shutil
import time

import mutagen
from mutate import mutate

FEWEST, MOST = 200, 1500  # files: below the one they come, above the other they go
FOLDERS = 60
DEPTH = 6  # folders below a share
TAGGED = (".mp3", ".flac", ".ogg", ".opus", ".m4a")
PICTURES = ("jpg", "jpeg", "png", "gif", "bmp", "tif", "heic", "avif", "webp")
NAMES = ("Kind of Blue", "Été", "2004", "Überschuß", "a'b", "Live (disc 2)", "東京", "x" * 60, "Trip", "IMG")


class Deeds:
    """`where(path)` says where a path of the machine is to be found here; `corpus`: by extension, names and bytes."""

    def __init__(self, random, corpus, where, shares):
        self.random, self.corpus, self.where = random, corpus, where
        self.extensions = sorted(corpus)
        self.shares = [f"/srv/{share}" for share in shares]
        self.number = 0
        self.counts = {}
        self.journal = []  # when, what, where
        self.halves = []  # files that are still being copied: path, the rest of it

    KINDS = {"copy": 12, "begin_copy": 2, "end_copy": 3, "copy_folder": 2, "move": 5, "move_folder": 3, "swap": 1, "delete": 4, "delete_folder": 1,
             "retag": 7, "damage": 3, "replace": 3, "touch": 2, "cover": 2, "playlist": 2, "hide": 1, "mode": 1}

    def one(self):
        """Does something. What has gone meanwhile, or has no place, is no matter."""
        kind = self.random.choices(list(self.KINDS), self.KINDS.values())[0]
        count = len(self.files())
        if count < FEWEST:
            kind = "copy"
        elif count > MOST:
            kind = "delete_folder" if self.random.random() < 0.2 else "delete"
        self.counts[kind] = self.counts.get(kind, 0) + 1
        getattr(self, kind)()

    def did(self, what, *paths):
        self.journal.append((time.time(), what, *(f"/srv/{path.relative_to(self.top)}" for path in paths)))

    def finish(self):
        """Ends what has been begun."""
        while self.halves:
            self.end_copy()

    # --- what there is

    @property
    def top(self):
        """Of the shares, as the machine is now."""
        return pathlib.Path(self.where("/srv"))

    def files(self):
        found = []
        for share in self.shares:
            for folder, directories, names in os.walk(self.where(share)):
                directories.sort()
                found += [pathlib.Path(folder, name) for name in sorted(names) if name != ".nomedia"]
        return found

    def folders(self):
        found = []
        for share in self.shares:
            for folder, directories, _ in os.walk(self.where(share)):
                directories.sort()
                found.append(pathlib.Path(folder))
        return found

    def file(self, extensions=None):
        found = [path for path in self.files() if extensions is None or path.suffix.lower() in extensions]
        return self.random.choice(found) if found else None

    def below(self):
        """A folder below the shares, or none."""
        shares = [pathlib.Path(self.where(share)) for share in self.shares]
        found = [folder for folder in self.folders() if folder not in shares]
        return self.random.choice(found) if found else None

    def new_name(self, extension=""):
        self.number += 1
        return f"{self.random.choice(NAMES)} {self.number}{extension}"

    def place(self):
        """A folder, at times a new one."""
        folders = self.folders()
        folder = self.random.choice(folders)
        if len(folders) < FOLDERS and self.depth(folder) < DEPTH and self.random.random() < 0.15:
            folder = folder / self.new_name()
            folder.mkdir()
        return folder

    def depth(self, folder):
        return len(folder.relative_to(self.top).parts)

    def fits(self, folder, target):
        """True when a tree may come to a place."""
        height = max(self.depth(pathlib.Path(place)) for place, _, _ in os.walk(folder)) - self.depth(folder) + 1
        return not target.is_relative_to(folder) and self.depth(target) + height <= DEPTH

    def content(self, extension=None):
        extension = extension if extension in self.corpus else self.random.choice(self.extensions)
        return extension, self.random.choice(self.corpus[extension])[1]

    # --- what is done

    def copy(self):
        extension, content = self.content()
        path = self.place() / self.new_name(f".{extension}")
        path.write_bytes(content)
        self.did("written", path)

    def begin_copy(self):
        extension, content = self.content()
        path = self.place() / self.new_name(f".{extension}")
        path.write_bytes(content[:len(content) // 2])
        self.halves.append((path, content[len(content) // 2:]))
        self.did("begun", path)

    def end_copy(self):
        if self.halves:
            path, rest = self.halves.pop(0)
            if path.exists():
                with open(path, "ab") as file:
                    file.write(rest)
                self.did("ended", path)

    def copy_folder(self):
        folder, target = self.below(), self.place()
        if folder and len(self.folders()) < FOLDERS and self.fits(folder, target):
            copied = target / self.new_name()
            shutil.copytree(folder, copied, copy_function=shutil.copy)
            self.did("copied", folder, copied)

    def rename(self, old, new):
        os.rename(old, new)
        self.did("renamed", old, new)

    def move(self):
        path = self.file()
        if path:
            self.rename(path, self.place() / self.new_name(path.suffix))

    def move_folder(self):
        folder, target = self.below(), self.place()
        if folder and self.fits(folder, target):
            self.rename(folder, target / self.new_name())

    def swap(self):
        one = self.file()
        other = self.file((one.suffix.lower(),)) if one else None
        if other and one != other:
            between = one.with_name(f"{one.name}.between")
            self.rename(one, between)
            self.rename(other, one)
            self.rename(between, other)

    def delete(self):
        path = self.file()
        if path:
            path.unlink()
            self.did("deleted", path)

    def delete_folder(self):
        folder = self.below()
        if folder:
            shutil.rmtree(folder)
            self.did("deleted", folder)

    def retag(self):
        path = self.file(TAGGED)
        if not path:
            return
        try:
            song = mutagen.File(path, easy=True)
            if song is not None:
                song["title"], song["album"] = self.new_name(), self.random.choice(NAMES)
                song.save()
                self.did("tagged", path)
        except (mutagen.MutagenError, KeyError, TypeError, ValueError):
            pass  # it has been damaged

    def damage(self):
        path = self.file()
        if path:
            content = path.read_bytes()
            path.write_bytes(mutate(self.random, content, content) if content else b"")
            self.did("damaged", path)

    def replace(self):
        """As programs save: another file takes its place."""
        path = self.file()
        if path:
            between = path.with_name(f".{path.name}.new")
            between.write_bytes(self.content(path.suffix[1:].lower())[1])
            self.rename(between, path)

    def touch(self):
        path = self.file()
        if path:
            os.utime(path)
            self.did("touched", path)

    def cover(self):
        pictures = [extension for extension in PICTURES if extension in self.corpus]
        path = self.place() / self.random.choice(("cover.jpg", "folder.jpg"))
        path.write_bytes(self.content(self.random.choice(pictures))[1])
        self.did("written", path)

    def playlist(self):
        files = self.files()
        chosen = self.random.sample(files, min(len(files), 5))
        folder = self.place()
        lines = [os.path.relpath(path, folder) for path in chosen]
        path = folder / self.new_name(".m3u8")
        path.write_text("\n".join(["#EXTM3U", *lines, ""]), encoding="utf-8")
        self.did("written", path)

    def hide(self):
        """A folder is left out, or no longer."""
        hidden = [folder for folder in self.folders() if (folder / ".nomedia").exists()]
        if hidden and self.random.random() < 0.6:
            mark = self.random.choice(hidden) / ".nomedia"
            mark.unlink()
            self.did("deleted", mark)
        elif folder := self.below():
            (folder / ".nomedia").touch()
            self.did("written", folder / ".nomedia")

    def mode(self):
        path = self.file()
        if path:
            path.chmod(self.random.choice((0o644, 0o600, 0o664)))
            self.did("mode", path)
