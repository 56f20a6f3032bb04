# SPDX-License-Identifier: GPL-2.0-or-later
"""Random work on the shares, as people do it, and the lines that a watcher writes about it."""
import os

from harness.photo import attribute_file
from rows_model import MUSIC, PHOTO, SHARES, below, share_of

DISK, STICK = f"{MUSIC}/disk", f"{PHOTO}/stick"
MOUNTS = (MUSIC, PHOTO, DISK, STICK)
FOLDERS = ("a", "b", "c d", "it's", "100%", "a_b", "back\\slash", "1.2")
NAMES = ("1", "2", "x y", "q'", "u_v", "%s", "1.2")
EXTENSIONS = {MUSIC: (".pcm", ".pcm", ".m3u", ".txt"), "/volume1/video": (".srt", ".txt"), PHOTO: (".jpg", ".jpg", ".m3u")}
FILES_MAX = 60


class Work:
    """`handed`: by path, the texts that lie beside a picture, or where one was. `tell` takes a line about each thing that happens."""

    extensions = EXTENSIONS

    def __init__(self, random, world, tell):
        self.random, self.world, self.tell = random, world, tell
        self.number = 0
        self.handed = {}

    def disk(self):
        """What is on the disk, mounted or not, by path."""
        found = {}
        for place in (*MOUNTS, "/volume1/video"):
            top = self.world.path(f"{place}/").rstrip("/")
            for folder, folders, names in os.walk(top):
                folders[:] = [name for name in folders if name != "@eaDir"]
                inside = place + folder[len(top):]
                found[inside] = "dir"
                found.update((f"{inside}/{name}", "file") for name in names)
        return found

    # --- each of these gives the line that a watcher would write, or none

    def write(self, path):
        self.world.write(path)

    def some_folder(self, disk):
        return self.random.choice([path for path, kind in disk.items() if kind == "dir"])

    def some_file(self, disk):
        files = [path for path, kind in disk.items() if kind == "file"]
        return self.random.choice(files) if files else None

    def name_in(self, folder):
        return f"{folder}/{self.random.choice(NAMES)}{self.random.choice(self.extensions[share_of(folder)])}"

    def new_file(self, disk):
        path = self.name_in(self.some_folder(disk))
        if disk.get(path) == "dir" or len(disk) > FILES_MAX * 2:
            return self.delete(disk)
        self.write(path)
        return f"a:{path}"

    def new_folder(self, disk):
        top = self.some_folder(disk)
        folder = f"{top}/{self.random.choice(FOLDERS)}"
        if folder in disk or folder.count("/") > 6 or len(disk) > FILES_MAX * 2:
            return None
        os.makedirs(self.world.path(folder))
        for _ in range(self.random.randrange(4)):
            self.write(self.name_in(folder))
        return f"A:{folder}"

    def delete(self, disk):
        path = self.some_file(disk)
        if path is None:
            return None
        self.world.remove(path)
        return f"d:{path}"

    def _movable(self, disk):
        folders = [path for path, kind in disk.items() if kind == "dir" and path not in SHARES
                   and not any(below(place, path) for place in MOUNTS)]
        return self.random.choice(folders) if folders else None

    def delete_folder(self, disk):
        path = self._movable(disk)
        if path is None:
            return None
        self.world.remove(path)
        self.handed = {key: texts for key, texts in self.handed.items() if not below(key, path)}
        return f"D:{path}"

    def rename(self, disk):
        old = self.some_file(disk)
        if old is None:
            return None
        folder = os.path.dirname(old)
        if self.random.random() < 0.4:
            folder = self.random.choice([path for path, kind in disk.items()
                                         if kind == "dir" and share_of(path) == share_of(old)])
        new = f"{folder}/{self.random.choice(NAMES)}{os.path.splitext(old)[1]}"
        if new == old or disk.get(new) == "dir" or self.world.mount_of(new) != self.world.mount_of(old):
            return None
        self.world.move(old, new)
        return f"N:{new}:{old}"

    def rename_folder(self, disk):
        old = self._movable(disk)
        if old is None:
            return None
        parent = os.path.dirname(old)
        if self.random.random() < 0.3:
            parent = self.random.choice([path for path, kind in disk.items() if kind == "dir"
                                         and share_of(path) == share_of(old) and not below(path, old)])
        new = f"{parent}/{self.random.choice(FOLDERS)}"
        if new in disk or self.world.mount_of(new) != self.world.mount_of(old):
            return None
        self.world.move(old, new)
        self.handed = {new + key[len(old):] if below(key, old) else key: texts for key, texts in self.handed.items()}
        return f"N:{new}:{old}"

    def handed_files(self, path):
        """Which of the two files that hand over texts of a picture are still there."""
        return [os.path.exists(self.world.path(attribute_file(path, name))) for name in ("TITLE", "DESC")]

    def forget_taken(self):
        """What has been taken lies nowhere any more."""
        self.handed = {path: texts for path, texts in self.handed.items() if any(self.handed_files(path))}

    def hand_over(self, disk):
        pictures = [path for path, kind in disk.items() if kind == "file" and path.endswith(".jpg")]
        if not pictures:
            return None
        path = self.random.choice(pictures)
        self.number += 1
        texts = (f"handed over {self.number}", f"with {self.number}")
        for attribute, text in zip(("TITLE", "DESC"), texts):
            self.world.write(attribute_file(path, attribute), text.encode())
        self.handed[path] = texts
        return f"a:{path}"

    def ask(self, disk):
        """A request for which nothing has happened."""
        folder = self.some_folder(disk)
        path = self.some_file(disk) or folder
        return self.random.choice([f"A:{folder}", f"a:{path}", f"D:{folder}", f"d:{path}", f"A:{share_of(folder)}", "R:music",
                                   "R:video", "R:photo", "R:all", "U:photo", "R:photo", "U:photo", f"a:{folder}",
                                   f"D:{folder}/none", self.random.choice(["T:music", "T:photo_image", "T:photo_share",
                                                                           "T:directory", "bad line", "U:else"])])

    def kinds(self):
        return {self.new_file: 10, self.new_folder: 4, self.delete: 4, self.delete_folder: 2, self.rename: 6,
                self.rename_folder: 5, self.hand_over: 3, self.ask: 6}

    def work(self):
        """A few things happen. Gives the lines."""
        kinds, lines = self.kinds(), []
        for _ in range(self.random.choice((1, 1, 2, 3, 6))):
            kind = self.random.choices(list(kinds), list(kinds.values()))[0]
            line = kind(self.disk())
            if line is None:
                continue
            noticed = kind in (self.hand_over, self.ask) or self.random.random() < 0.9
            self.tell(f"{kind.__name__}: {line}{'' if noticed else ' (nobody asks)'}")
            if noticed:
                lines.append(line)
                if self.random.random() < 0.05:
                    lines.append(line)
        return lines

    def texts(self):
        """What somebody types about a picture or an album."""
        self.number += 1
        return f"typed {self.number}", self.random.choice(["", f"more {self.number}"])
