# SPDX-License-Identifier: GPL-2.0-or-later
# The unit tests that are not whole, or not bearable, under the sanitizers: `./test` builds these alone without them, and runs
# all the others under them once; `./test quick` and `./test long` run all without them, too.
set(plain_tests
    # Bounds of an address space, in which a sanitizer's own memory does not fit, and of memory that it takes more of.
    child_limits flac hostile_walk metamedia
    # Ways to end, environments of programs and open descriptors that are other ones there.
    reader_settings reader_wall
    # What does by the hundred thousand what others do by the dozen.
    catalogue_server mpeg_header queue_pass queue_touch queue_writer storage_away watch_changes)
