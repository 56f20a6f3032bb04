# SPDX-License-Identifier: GPL-2.0-or-later
"""A cross-section of the library of a household, through the shipped daemon into either engine's catalogue. tests/household takes
all of it."""
from harness import household, household_rows, values
from harness.household_rows import Catalogue


def test_each_file_has_its_row_and_each_field_what_the_reference_programs_say(make_daemon):
    box = make_daemon(speed=1)
    box.configure(rules="complete")
    household.fill(box.box.path("/volume1"), large=False)
    box.queue(*(f"A:/volume1/{share}" for share in ("music", "video", "photo")))
    box.start()
    files, catalogue = household.items(large=False), Catalogue(box)
    wrong = [*household_rows.wrong_places(catalogue, files), *household_rows.wrong_looks(catalogue, files),
             *household_rows.wrong_reasons(box.log.texts(), files)]
    wrong += [line for table in household_rows.tables(catalogue, files) for line in values.faults(table)]
    assert not wrong, "\n".join(wrong)
