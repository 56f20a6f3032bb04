// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/id3v1.h"

#include "reader/sound/genres.h"
#include "reader/sound/sound_bytes.h"
#include "reader/sound/tag_tables.h"
#include "reader/sound/text.h"
#include "reader/text/code_pages.h"

void Id3v1Read(SoundFile *file, int64_t offset) {
    uint8_t tag[kId3v1Size];
    if (SoundRead(file->input, offset, tag) < sizeof tag)
        return;
    Cursor cursor{tag};
    Take(&cursor, 3);
    TagItems items;
    const auto add = [&](const char *key, Bytes field) {
        Cursor rest{field};
        const Bytes text = TakeText(&rest, TextEncoding::single_bytes);
        items.push_back({key, TextOfPage(Characters(text), file->input->charset)});
    };
    add("TIT2", Take(&cursor, 30));
    add("TPE1", Take(&cursor, 30));
    add("TALB", Take(&cursor, 30));
    add("TDRC", Take(&cursor, 4));
    const Bytes comment = Take(&cursor, 30);
    // Version 1.1: a NUL and the number of the track at the end of the comment.
    if (comment[28] == 0 && comment[29] != 0)
        items.push_back({"TRCK", std::to_string(comment[29])});
    add("COMM:", comment.first(comment[28] == 0 ? 28 : 30));
    items.push_back({"TCON", GenreName(cursor.rest[0])});
    FactsFromItems(items, kId3Table, FactSource::own, file->facts);
}
