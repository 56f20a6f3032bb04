# SPDX-License-Identifier: GPL-2.0-or-later
"""Which tests run in which pass, and which begin. All of them run on SQLite with the plain binary; what another pass would
only repeat is left out of it here, by file or by test, under the mark that it gets."""
import re

# On the server: what depends on files, on the queue's writers or on the machine, and of the store needs the row alone, as
# the tests of the formats, commands and indexers show it on either engine.
ANY_ENGINE = (
    "test_configuration", "test_covers", "test_ctl_left_out", "test_ctl_log", "test_ctl_requests", "test_films", "test_hostile_reader",
    "test_library_faults", "test_music_aiff", "test_music_covers", "test_music_hostile", "test_music_id3_edges", "test_music_id3v1", "test_music_id3v2", "test_music_mp3",
    "test_photo_converters", "test_photo_exif", "test_photo_facts", "test_photo_hostile", "test_probe_faults", "test_reader_memory",
    "test_service", "test_ctl_catalogue::test_dump_begins_with_what_the_catalogue_then_holds", "test_ctl_setup",
    "test_sidecars", "test_start",
    "test_kept_requests", "test_kept_rows", "test_kept_storage", "test_kept_texts", "test_walk", "test_watch_service",
    "test_sound_streams", "test_sound_tags", "test_values",
    "test_loop::test_on_the_real_clock_it_sleeps_soundly_and_runs_10_to_20_seconds_after_a_signal",
)

# Under the sanitizers: what repeats the same few requests to find a bad moment (their code is run once by others), and what
# looks at a machine, a browser, the sample of a file or the memory that a film takes.
ANY_MEMORY = (
    "test_complete_faults", "test_configuration", "test_ctl_hammer", "test_kept_requests", "test_kept_rows", "test_kept_storage",
    "test_kept_texts", "test_random_kills",
    "test_household", "test_reader_memory", "test_readers", "test_service", "test_survival", "test_values",
    "test_watch_service", "test_watch_turmoil",
    "test_films::test_the_search_takes_no_memory_for_pictures",
    "test_films::test_a_varying_rate_beside_large_pictures_takes_no_memory_for_them",
    "test_ctl_report::test_a_browser_shows_it_on_a_phone_and_on_a_desk",
    "test_scale::test_two_hundred_thousand_entries_in_one_directory",
)

# What searches for faults that nobody has named: once on SQLite, and by name. `./test long` does more of it.
SEARCH = ("test_fault_matrix", "test_fault_model", "test_kept_power_loss", "test_failover::test_a_failover_at_any_moment")

# Of that, what a server may answer otherwise.
PAIRS = ("test_fault_matrix",)

# The cross-section for `./test quick`: every format, command and line of the queue, and a start of each tool.
QUICK = (
    "test_commands", "test_covers", "test_ctl_catalogue", "test_ctl_requests", "test_formats", "test_photo_rows", "test_queue",
    "test_start", "test_watch_requests",
)

# Those that take longest, which begin, so that none is waited for at the end. The first of the formats makes their files.
LENGTHY = (
    "test_fault_model", "test_fault_matrix", "test_kept_power_loss",
    "test_formats::test_no_file_has_a_row_in_a_second_table", "test_power_loss", "test_scale", "test_ctl_hammer",
    "test_loop::test_on_the_real_clock_it_sleeps_soundly_and_runs_10_to_20_seconds_after_a_signal", "test_watch_turmoil",
    "test_photo_resync::test_what_a_killed_resync_leaves_is_repaired_by_the_next", "test_library_faults",
    "test_failover", "test_poolers", "test_random_kills", "test_server_faults", "test_music_aiff::test_ffmpeg",
    "test_queue::test_ten_thousand_lines_in_one_run",
)

MARKS = {"search": SEARCH, "pairs": PAIRS, "any_engine": ANY_ENGINE, "any_memory": ANY_MEMORY, "quick": QUICK}


def names(item):
    """What a test goes by in the lists."""
    return {item.path.stem, f"{item.path.stem}::{item.originalname}"}


def select(items):
    """Gives each test its marks, and puts those that take longest first."""
    for item in items:
        for mark, listed in MARKS.items():
            if names(item) & set(listed):
                item.add_marker(mark)
    places = {name: place for place, name in enumerate(LENGTHY)}
    items.sort(key=lambda item: min(places.get(name, len(LENGTHY)) for name in names(item)))


def strangers(folder):
    """The names in the lists that stand for no test of the folder."""
    listed = {*LENGTHY, *(name for names_of_mark in MARKS.values() for name in names_of_mark)}
    texts = {file.stem: file.read_text(encoding="utf-8") for file in folder.glob("test_*.py")}
    return [name for name in listed if not re.search(rf"^def {name.partition('::')[2]}", texts.get(name.partition("::")[0], ""),
                                                     re.MULTILINE)]
