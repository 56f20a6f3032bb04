# SPDX-License-Identifier: GPL-2.0-or-later
"""The manuals as sources: two formatters have nothing to complain of."""
import os
import subprocess

import pytest


@pytest.fixture(scope="module")
def pages(unpacked):
    return sorted(unpacked.glob("usr/share/man/man?/*.gz"))


def test_man_has_no_warnings(pages):
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "MANROFFSEQ": "", "MANWIDTH": "80"}
    for page in pages:
        done = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", page], env=environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True)
        assert done.stderr == "", page.name


def test_mandoc_has_no_warnings(pages, tmp_path):
    for page in pages:
        source = tmp_path / page.stem
        source.write_bytes(subprocess.run(["gzip", "-dc", page], capture_output=True, check=True).stdout)
        done = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", source], capture_output=True, text=True, check=False)
        assert (done.returncode, done.stdout) == (0, "")
