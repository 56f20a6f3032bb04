# SPDX-License-Identifier: GPL-2.0-or-later
"""A program of another user that reads the catalogues without a pause, until a file tells it to stop; to be run inside
the sandbox. Then it prints, as JSON, how often it has read, and the first things that it should not have seen.

Arguments: the file, the URIs of the media and the photo catalogue. Each row that was there once must stay, and be one of
the two states that its file has had (see `State` of test_readers.py): bytes and time of the file always match.
"""
import json
import os
import sqlite3
import sys

COLUMNS = {"music": "path, title, file_size, modify_time", "photo_image": "path, name, file_size, create_time"}


def connect(uri):
    """Opens a catalogue as docs/catalogue.md tells other programs to. Gives a function that runs a query."""
    if uri.startswith("sqlite:"):
        connection = sqlite3.connect(f"file:{uri.removeprefix('sqlite:')}?mode=ro", uri=True, timeout=5)
        return connection, lambda sql: connection.execute(sql).fetchall()
    import psycopg2  # pylint: disable=import-outside-toplevel
    connection = psycopg2.connect(uri)
    connection.autocommit = True

    def query(sql):
        with connection.cursor() as cursor:
            cursor.execute(sql)
            return cursor.fetchall()
    return connection, query


def half_written(row, states):
    path, name, size, when = row
    if name not in (os.path.basename(path), os.path.splitext(os.path.basename(path))[0]):
        return True
    # The photo library keeps the time of the picture's last change, which no program can set.
    known = {state["size"]: state["time"] for state in states}
    return size not in known or ("/music/" in path and known[size] != when)


def main():
    stop, states, *uris = sys.argv[1:]
    states = json.loads(states)
    problems, reads, seen = [], 0, {table: set() for table in COLUMNS}
    kept = [connect(uri) for uri in uris]
    while len(problems) < 10:
        last = os.path.exists(stop)
        for (table, columns), uri, (_, query) in zip(COLUMNS.items(), uris, kept):
            once, query_once = connect(uri)
            for ask in (query, query_once):
                try:
                    rows = ask(f"select {columns} from {table}")
                except Exception as problem:  # pylint: disable=broad-except
                    problems.append(f"{table}: {problem!r}")
                    continue
                paths = {row[0] for row in rows}
                problems += [f"{table}: {path} has gone" for path in sorted(seen[table] - paths)[:3]]
                problems += [f"{table}: {row}" for row in rows if half_written(row, states)][:3]
                seen[table] |= paths
                reads += 1
            once.close()
        if last:
            break
    print(json.dumps({"reads": reads, "problems": problems, "seen": {table: len(paths) for table, paths in seen.items()}}))


if __name__ == "__main__":
    main()
