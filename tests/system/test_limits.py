# SPDX-License-Identifier: GPL-2.0-or-later
"""Bounds that only the whole daemon meets."""
import os
import signal
import sqlite3
import time

import pytest

from harness.daemon import SPEED, WORKING_COPY, wait_for
from harness.limits import LIMITS

SONG = "/volume1/music/a.aac"
PCM, GONE = "/volume1/music/a.pcm", "/volume1/music/gone.pcm"
DECODER = "/tmp/decoder"
ANSWER = "a.aac duration;10.0;samplerate;44100;channel;2;bitrate;128000;"
PATIENCE = LIMITS["kDecoderTimeMax"] / 1000
# Of 50 seconds of the daemon's clock one is real, and starting a shell takes some of it.
TOLERANCE = 20


@pytest.fixture
def song(box):
    """A running daemon with a song for the external decoder."""
    box.write(SONG, "no sound")
    box.configure(aacdecoder=DECODER)
    return box.start()


def decoder_that_takes(daemon, seconds):
    daemon.write(DECODER, f'#!/bin/sh\nsleep {seconds}\necho "{ANSWER}"\n')
    os.chmod(daemon.box.path(DECODER), 0o755)


def test_a_decoder_that_is_slow_is_waited_for(song):
    decoder_that_takes(song, PATIENCE - TOLERANCE)
    song.index(f"a:{SONG}")
    assert song.row("music", SONG)["sample_rate"] == 44100


def test_a_decoder_that_is_too_slow_is_killed_and_the_song_keeps_its_names(song):
    decoder_that_takes(song, PATIENCE + TOLERANCE)
    song.index(f"a:{SONG}")
    row = song.row("music", SONG)
    assert row["title"] == "a" and not row["sample_rate"]
    command = f"{DECODER} -i {SONG} 2> /dev/null"
    assert song.logged("aac.c", f"Killed after {LIMITS['kDecoderTimeMax']} ms without a result. [{command}]") == 1
    assert song.children() == []


@pytest.mark.parametrize("number", [signal.SIGKILL, signal.SIGTERM])
def test_a_decoder_does_not_outlive_the_daemon(song, number):
    song.write(DECODER, "#!/bin/sh\nsetsid sleep 36000 &\necho $! > /tmp/half\nmv /tmp/half /tmp/decoding\nwait\n")
    os.chmod(song.box.path(DECODER), 0o755)
    song.queue(f"a:{SONG}")
    song.signal()
    wait_for(lambda: song.exists("/tmp/decoding"), "the decoder")
    decoding = [int(song.read("/tmp/decoding")), *song.children()]
    song.signal(number)
    song.wait_gone()
    for process in decoding:
        song.wait_gone(process)
    song.pid = 0


@pytest.mark.sqlite
@pytest.mark.parametrize("beyond", [False, True])
def test_another_writer_is_waited_for_up_to_a_bound(box, beyond):
    box.write(PCM)
    box.start()
    box.index(f"a:{PCM}")
    other = sqlite3.connect(box.box.path("/var/lib/velu/mediaserver.db"), isolation_level=None)
    other.execute("begin immediate")
    box.queue(f"d:{GONE}")
    box.signal()
    wait_for(lambda: box.exists(WORKING_COPY), "the run")
    bound = LIMITS["kDatabaseBusyMilliseconds"] / 1000 / SPEED
    if beyond:
        # Three times the bound, and what a busy machine takes to get there.
        wait_for(lambda: any("database is locked" in text for text in box.log.texts()), "the bound", timeout=3 * bound + 5)
    else:
        time.sleep(bound * 0.4)
    other.execute("rollback")
    other.close()
    wait_for(lambda: not box.exists(WORKING_COPY), "the end of the run")
    assert any("database is locked" in text for text in box.log.texts()) == beyond
