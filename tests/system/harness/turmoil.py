# SPDX-License-Identifier: GPL-2.0-or-later
"""Random work on the shares: files and directories are copied, written over, moved, renamed and removed."""
import os
import random
import shutil

# Extensions with a row of each table, and one without. Only pictures and lists go to the photo share: its videos are
# handed to a converter, one process each.
EVERYWHERE = (".jpg", ".m3u", ".mp3", ".txt")
MEDIA_ONLY = (".pcm", ".srt")
# What a name may hold, apart from the newline, which no request can carry.
TEXTS = ("a", "b c", "d:e", "\xe9\xff", "%s", ".h", "._r", "ä", "#recycle", "x.mp3")


class Turmoil:
    """Does `files` operations under a root, in an order that the seed gives."""

    def __init__(self, root, contents, seed):
        self.random = random.Random(seed)
        self.contents = contents
        self.shares = [os.fsencode(f"{root}/volume1/{name}") for name in ("music", "video", "photo")]
        self.number = 0
        self.files = []
        self.folders = list(self.shares)

    def share_of(self, path):
        return next(share for share in self.shares if path == share or path.startswith(share + b"/"))

    def in_photo(self, path):
        return self.share_of(path) == self.shares[2]

    def name(self, extension):
        self.number += 1
        text = self.random.choice(TEXTS) if self.random.random() < 0.2 else "n"
        # A few names come again and again.
        number = self.random.randrange(30) if self.random.random() < 0.2 else self.number
        return f"{text}{number}{extension}".encode("latin-1" if "\xff" in text else "utf-8")

    def folder_name(self, parent):
        """A request for the whole photo library passes hidden folders by, one for a tree does not: it has none here."""
        name = self.name("")
        return name.lstrip(b".") if self.in_photo(parent) else name

    def folder(self):
        return self.random.choice(self.folders)

    def file(self):
        return self.random.choice(self.files) if self.files else None

    def extension(self, folder):
        return self.random.choice(EVERYWHERE if self.in_photo(folder) else EVERYWHERE + MEDIA_ONLY)

    def write(self, path):
        with open(path, "wb") as file:
            file.write(self.contents.get(os.path.splitext(path)[1].decode("latin-1").lower(), b"text"))

    # --- operations

    def copy(self):
        # The photo library shrinks by what is moved out of it.
        folder = self.folder() if self.random.random() < 0.8 else self.shares[2]
        path = folder + b"/" + self.name(self.extension(folder))
        self.write(path)
        self.files.append(path)

    def copy_as_programs_do(self):
        """Under another name first, then in the place of what may be there."""
        folder = self.folder()
        path = self.file() if self.random.random() < 0.3 else None
        path = path or folder + b"/" + self.name(self.extension(folder))
        temporary = os.path.dirname(path) + b"/." + os.path.basename(path) + b".Xy12"
        self.write(temporary)
        os.rename(temporary, path)
        self.files.append(path)

    def overwrite(self):
        self.write(self.file())

    def move(self):
        old = self.file()
        extension = os.path.splitext(old)[1].decode("latin-1").lower()
        if extension in EVERYWHERE and self.random.random() < 0.1:
            extension = self.random.choice((*EVERYWHERE, ""))
        folder = os.path.dirname(old) if self.random.random() < 0.5 else self.folder()
        if self.in_photo(folder) and extension in MEDIA_ONLY:
            return
        new = self.file() if self.random.random() < 0.1 else folder + b"/" + self.name(extension)
        if self.in_photo(new) and extension in MEDIA_ONLY:
            return
        os.rename(old, new)
        self.files.append(new)

    def remove(self):
        os.unlink(self.file())

    def touch(self):
        os.utime(self.file(), (1, self.random.randrange(1 << 30)))

    def folder_make(self):
        path = self.folder()
        for _ in range(self.random.choice((1, 1, 1, 4))):
            path += b"/" + self.folder_name(path)
            os.mkdir(path)
            self.folders.append(path)
            self.write(path + b"/in.m3u")
            self.files.append(path + b"/in.m3u")

    def folder_move(self):
        old, parent = self.folder(), self.folder()
        if self.random.random() < 0.5:
            parent = os.path.dirname(old)
        if old in self.shares or (parent + b"/").startswith(old + b"/"):
            return
        if self.in_photo(parent) != self.in_photo(old) and (self.in_photo(parent) or self.random.random() < 0.9):
            return
        new = parent + b"/" + self.folder_name(parent)
        os.rename(old, new)
        self.moved(old, new)

    def moved(self, old, new):
        for paths in (self.files, self.folders):
            for at, path in enumerate(paths):
                if path == old or path.startswith(old + b"/"):
                    paths[at] = new + path[len(old):]

    def folder_remove(self):
        path = self.folder()
        below = path + b"/"
        if path in self.shares or sum(file.startswith(below) for file in self.files) > 200:
            return
        shutil.rmtree(path)
        self.files = [file for file in self.files if not file.startswith(below)]
        self.folders = [folder for folder in self.folders if folder != path and not folder.startswith(below)]
        if self.random.random() < 0.3:
            os.mkdir(path)
            self.folders.append(path)

    def folder_copy(self):
        old = self.folder()
        parent = self.folder()
        if old in self.shares or (parent + b"/").startswith(old + b"/") or self.in_photo(parent):
            return
        if sum(file.startswith(old + b"/") for file in self.files) > 100:
            return
        new = parent + b"/" + self.name("")
        shutil.copytree(old, new)
        for folder, _, names in os.walk(new):
            self.folders.append(folder)
            self.files += [folder + b"/" + name for name in names]

    def discard(self):
        """Into the bin, which is no part of the share, and there something goes on."""
        old = self.folder() if self.random.random() < 0.3 else self.file()
        if old is None or old in self.shares or sum(file.startswith(old + b"/") for file in self.files) > 200:
            return
        bin_folder = self.share_of(old) + b"/#recycle"
        os.makedirs(bin_folder, exist_ok=True)
        new = bin_folder + b"/" + self.name("")
        os.rename(old, new)
        self.files = [file for file in self.files if file != old and not file.startswith(old + b"/")]
        self.folders = [folder for folder in self.folders if folder != old and not folder.startswith(old + b"/")]
        if os.path.isdir(new):
            os.mkdir(new + b"/more")

    def forget_missing(self):
        self.files = [path for path in self.files if os.path.lexists(path)]
        self.folders = [path for path in self.folders if os.path.isdir(path)]

    def work(self, operations):
        """Does so many operations. What others have left impossible is none."""
        kinds = {self.copy: 40, self.copy_as_programs_do: 15, self.overwrite: 5, self.move: 18, self.remove: 12,
                 self.touch: 2, self.folder_make: 3, self.folder_move: 2, self.folder_remove: 1,
                 self.folder_copy: 1, self.discard: 2}
        done = 0
        while done < operations:
            if done % 1000 == 0:
                self.forget_missing()
            kind = self.random.choices(list(kinds), list(kinds.values()))[0]
            try:
                kind()
                done += 1
            except (FileNotFoundError, FileExistsError, NotADirectoryError, IsADirectoryError, TypeError, OSError):
                continue
