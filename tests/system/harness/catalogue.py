# SPDX-License-Identifier: GPL-2.0-or-later
"""The catalogues of a daemon, as another program on the appliance reads them while the daemon writes."""
import os
import shutil
import sqlite3

# The engine that the daemons of this test run have, unless a test says otherwise.
ON_SERVER = os.environ.get("VELU_ENGINE") == "postgresql"

MEDIA_TABLES = ("music", "video", "photo", "playlist")
PHOTO_TABLES = ("photo_image", "video_desc", "video_comment", "photo_share", "photo_access_right")
FOLDER = "/var/lib/velu"


def _key_of(table):
    """The key of the configuration that names the database of a table."""
    return "photodb" if table in PHOTO_TABLES else "mediadb"


def _sorted(rows):
    return sorted(rows, key=lambda row: str(row.get("path", row)))


class SqliteCatalogues:
    """Files at their default places, so that nothing need be configured, or in another folder of the sandbox."""

    keys = {}

    def __init__(self, box, folder=FOLDER):
        self.box = box
        self.places = {"mediadb": f"sqlite:{folder}/mediaserver.db", "photodb": f"sqlite:{folder}/photo.db"}

    def _file(self, table):
        return self.box.path(self.places[_key_of(table)].removeprefix("sqlite:"))

    def _read(self, table, sql):
        """The rows of a query; a file or table that is not there has none."""
        try:
            connection = sqlite3.connect(f"file:{self._file(table)}?mode=ro", uri=True, timeout=30)
        except sqlite3.OperationalError:
            return []
        connection.row_factory = sqlite3.Row
        # Paths and names are bytes; latin-1 shows each of them as one character.
        connection.text_factory = lambda text: text.decode("latin-1")
        try:
            return [dict(row) for row in connection.execute(sql).fetchall()]
        except sqlite3.OperationalError as problem:
            if "no such table" in str(problem) or "unable to open" in str(problem):
                return []
            raise
        finally:
            connection.close()

    def rows(self, table):
        """The rows of a table as dictionaries, in the order of their paths."""
        return _sorted(self._read(table, f'select * from "{table}"'))

    def versions(self):
        """The version tables of both databases."""
        return [self._read(table, "select * from schema_version") for table in ("music", "photo_image")]

    def count(self, table):
        found = self._read(table, f'select count(*) as n from "{table}"')
        return found[0]["n"] if found else 0

    def store(self, sql, values, table="photo_image"):
        """Writes to the catalogue of a table, with `values` in the places of "?"."""
        connection = sqlite3.connect(self._file(table), timeout=30)
        try:
            connection.execute(sql, values)
            connection.commit()
        finally:
            connection.close()

    def forget(self):
        """Empties the catalogues of a daemon that does not run."""
        shutil.rmtree(self.box.path(FOLDER))
        (self.box.root / FOLDER[1:]).mkdir()

    def close(self):
        """The files go with the sandbox."""


class ServerCatalogues:
    """Two databases of a PostgreSQL server, which go back to it when they are closed."""

    def __init__(self, server):
        self.server = server
        self.keys = self.places = {key: server.lend_database() for key in ("mediadb", "photodb")}

    def _read(self, table, sql):
        import psycopg2.errors  # pylint: disable=import-outside-toplevel
        try:
            rows = self.server.query(self.keys[_key_of(table)], sql)
        except psycopg2.errors.UndefinedTable:
            return []
        # A boolean is its text on either engine.
        return [{name: ("t" if value else "f") if isinstance(value, bool) else value for name, value in row.items()}
                for row in rows]

    def rows(self, table):
        return _sorted(self._read(table, f'select * from "{table}"'))

    def versions(self):
        """The version tables of both databases."""
        return [self._read(table, "select * from schema_version") for table in ("music", "photo_image")]

    def count(self, table):
        found = self._read(table, f'select count(*) as n from "{table}"')
        return found[0]["n"] if found else 0

    def store(self, sql, values, table="photo_image"):
        self.server.query(self.keys[_key_of(table)], sql.replace("?", "%s") if values else sql, values or None)

    def forget(self):
        for uri in self.keys.values():
            self.server.clear(uri)

    def close(self):
        for uri in self.keys.values():
            self.server.take_back(uri)


def everything(catalogues):
    """Every row of every table."""
    return {table: catalogues.rows(table) for table in (*MEDIA_TABLES, "directory", *PHOTO_TABLES)}


def snapshot(catalogues):
    """Every row of every table, less what differs from run to run: serial keys."""
    return {table: [{key: value for key, value in row.items() if key != "id"} for row in rows]
            for table, rows in everything(catalogues).items()}
