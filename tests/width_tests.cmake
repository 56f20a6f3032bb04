# SPDX-License-Identifier: GPL-2.0-or-later
# The unit tests of what may come out otherwise where a word has 32 bits: `./test` runs them on 32-bit ARM, `./test long` all
# that there are. Left out is what decides by names and states alone (rules of walks and requests, albums, hand-overs,
# configuration, programs that are started), which the compiler checks there for its conversions as everywhere.
set(width_tests
    # Lengths, offsets and counts out of files, which are added and multiplied before they are compared with what remains.
    aac aac_walk aiff bytes exif exif_memory flac
    id3_cover id3_merge id3v1 id3v2
    image_jpeg image_size image_tiff
    metavideo metavideo_reference mp3_file mp3_info
    mp4_file mp4_index mp4_items mp4_reader mp4_track
    mpeg_header vbr_header
    content content_boxes content_streams
    sound_bounds sound_containers sound_id3
    photo_formats photo_text photo_tiff
    # The layout of records: what is copied over them, what another process leaves in shared memory or sends.
    metamedia photo_record
    fact_list reader_answer reader_input reader_message
    # Files beyond 2 and 4 GiB, inodes, devices and times that need 64 bits.
    file file_times sdk_files storage_away tree_cursor
    # Bounds of address space and time that are computed.
    child_limits main_loop
    # Positions in a queue of any length, hashes of requests, ages of what is kept.
    queue_kept queue_line queue_reader queue_touch
    # Columns of 64 bits on their way in and out, text that is cut, sets of row numbers, names that are digests.
    batch catalogue_store catalogue_text cover_place number_set photo_store utf8 veludb veludb_sqlite
    # Process ids that are parsed; lists of arguments that end with a null pointer.
    pid_file sdk_exec sdk_pid_file)
