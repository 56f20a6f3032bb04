# SPDX-License-Identifier: GPL-2.0-or-later
"""Prints catalogue rows as a table that fits the terminal."""
import shutil

HEADS = ("kind", "title", "artist", "album", "length", "size", "picture", "file")
KINDS = {"music": "music", "video": "video", "photo": "photo", "playlist": "list"}
SHRINKING = ("file", "album", "title", "artist")
LEAST = 8


def _text(value):
    """Text of the catalogue for the terminal: nothing in it can steer that."""
    text = str(value or "").encode("latin-1", "replace").decode("utf-8", "replace")
    return "".join(char if char.isprintable() else "?" for char in text)


def _length(seconds):
    if not seconds:
        return ""
    minutes, seconds = divmod(seconds, 60)
    return f"{int(minutes)}:{seconds:04.1f}"


def _size(count):
    for unit in ("B", "KB", "MB"):
        if count < 1024:
            return f"{count:.0f} {unit}" if unit == "B" else f"{count:.1f} {unit}"
        count /= 1024
    return f"{count:.1f} GB"


def _line(kind, row, base):
    path = row["path"]
    shown = path[len(base):].lstrip("/") if path.startswith(base) else path
    return (KINDS[kind], _text(row["title"]), _text(row["artist"]), _text(row["album"]), _length(row["duration"]),
            _size(row["file_size"] or 0), f"{row['width']}x{row['height']}" if row["width"] else "", _text(shown))


def _cut(text, width):
    return text if len(text) <= width else text[:width - 1] + "~"


def print_rows(tables, base, limit):
    """`tables`: kind -> rows. Prints at most `limit` rows of each kind."""
    lines = [_line(kind, row, base) for kind, rows in tables.items() for row in rows[:limit]]
    widths = {head: max(len(head), *(len(line[column]) for line in lines)) for column, head in enumerate(HEADS)}
    room = shutil.get_terminal_size((140, 24)).columns - 2 * (len(HEADS) - 1)
    while sum(widths.values()) > room:
        widest = max(SHRINKING, key=lambda head: widths[head])
        if widths[widest] <= LEAST:
            break
        widths[widest] -= 1
    for line in (HEADS, tuple("-" * widths[head] for head in HEADS), *lines):
        print("  ".join(_cut(text, widths[head]).ljust(widths[head]) for head, text in zip(HEADS, line)).rstrip())
    for kind, rows in tables.items():
        if len(rows) > limit:
            print(f"... and {len(rows) - limit} more rows in {kind}")
