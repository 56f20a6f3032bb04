# SPDX-License-Identifier: GPL-2.0-or-later
"""Reads the catalogues, as another program on the appliance would while the daemon writes."""
import sqlite3

MEDIA_TABLES = ("music", "video", "photo", "playlist")
PHOTO_TABLES = ("photo_image", "video_desc", "video_comment", "photo_share", "photo_access_right")


def _connect(path):
    connection = sqlite3.connect(f"file:{path}?mode=ro", uri=True, timeout=30)
    connection.row_factory = sqlite3.Row
    # Paths and names are bytes; latin-1 shows each of them as one character.
    connection.text_factory = lambda text: text.decode("latin-1")
    return connection


def rows(path, table):
    """The rows of a table as dictionaries, in the order of their paths. A file that is not there has none."""
    try:
        connection = _connect(path)
    except sqlite3.OperationalError:
        return []
    try:
        found = connection.execute(f'select * from "{table}"').fetchall()
    except sqlite3.OperationalError as problem:
        if "no such table" in str(problem):
            return []
        raise
    finally:
        connection.close()
    return sorted((dict(row) for row in found), key=lambda row: str(row.get("path", row)))


def count(path, table):
    try:
        connection = _connect(path)
    except sqlite3.OperationalError:
        return 0
    try:
        return connection.execute(f'select count(*) from "{table}"').fetchone()[0]
    except sqlite3.OperationalError:
        return 0
    finally:
        connection.close()


def execute(path, sql, *values):
    """Writes to a catalogue: what another program on the appliance has stored there."""
    connection = sqlite3.connect(path, timeout=30)
    try:
        connection.execute(sql, values)
        connection.commit()
    finally:
        connection.close()
