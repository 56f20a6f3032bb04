# SPDX-License-Identifier: GPL-2.0-or-later
"""Every extension of the index, with real files: each row holds what its encoder was given, and nothing else."""
import collections
import concurrent.futures
import json
import os
import pathlib
import re
import shutil

import pytest

import formats
from formats.case import FOLDER
from formats.tables import CASES, EXTENSIONS, TABLES
from harness.daemon import Daemon
from harness.log import LOG_ERR, LOG_NOTICE


def make_all(folder):
    """Makes the files of all cases; what a maker leaves beside its file is not for the share."""
    def make(case):
        work = f"{folder}/{case.name}.work"
        os.mkdir(work)
        case.make(f"{work}/{case.name}")
        os.rename(f"{work}/{case.name}", f"{folder}/{case.name}")
        shutil.rmtree(work)
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for _ in pool.map(make, (case for _, case in CASES)):
            pass


def index_all(binary, faketime, files):
    """One run over all files, of which the folder holds the originals. Gives the rows by table, and the error lines and notices of the run."""
    daemon = Daemon(binary, faketime)
    try:
        for _, case in CASES:
            daemon.copy(files / case.name, case.path)
        daemon.configure(aacdecoder=binary.with_name("veluaacinfo"))
        daemon.start()
        daemon.index(f"A:{FOLDER}", timeout=300)
        daemon.check_sanitizers()
        lines = {severity: [line.text for line in daemon.log.lines if line.severity == severity]
                 for severity in (LOG_ERR, LOG_NOTICE)}
        return {"rows": {table: daemon.rows(table) for table in TABLES}, "errors": lines[LOG_ERR],
                "notices": lines[LOG_NOTICE]}
    finally:
        daemon.close()


@pytest.fixture(scope="session")
def run(binary, faketime, once, encoded):
    """The outcome of the one run."""
    def make(folder):
        files = encoded("formats", make_all, *sorted(pathlib.Path(formats.__file__).parent.glob("*.py")))
        (folder / "outcome.json").write_text(json.dumps(index_all(binary, faketime, files)))
    return json.loads((once("formats", make) / "outcome.json").read_text())


@pytest.mark.parametrize("table", EXTENSIONS)
def test_the_cases_leave_no_extension_out(table):
    assert {case.extension for case in TABLES[table]} == set(EXTENSIONS[table].split())


@pytest.mark.parametrize("table, case", CASES, ids=[case.name for _, case in CASES])
def test_the_row_of_a_file(run, table, case):
    found = [row for row in run["rows"][table] if row["path"] == case.path]
    assert len(found) == 1
    row = found[0]
    assert row["file_size"] > 0
    expected = case.expected(row["file_size"])
    assert {key: row[key] for key in expected} == expected


def test_no_file_has_a_row_in_a_second_table(run):
    assert sum(len(rows) for rows in run["rows"].values()) == len(CASES)


def test_the_log_has_the_lines_of_the_files_that_cannot_be_read_and_no_other(run):
    found = collections.Counter(re.sub(r"^\w+\.c(?: \(\d+\)|:\d+) ", "", line) for line in run["errors"])
    expected = collections.Counter(line.replace("%s", case.path) for _, case in CASES for line in case.lines)
    assert found == expected


def test_each_file_that_cannot_be_read_is_reported_once(run):
    failed = [case.path for _, case in CASES if case.lines]
    assert len(run["notices"]) == len(failed)
    for path in failed:
        assert sum(path in notice and "0x11B00510" in notice for notice in run["notices"]) == 1
