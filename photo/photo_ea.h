// SPDX-License-Identifier: GPL-2.0-or-later
//
// Attribute files: what a user typed about a picture elsewhere, handed over in a file beside it.
#pragma once

#include <stddef.h>

#include "platform/photo_record.h"

// What came of an attribute. Of one that failed the reason is logged, and the file is where it was.
enum class HandOver { absent, failed, empty, text };

[[nodiscard]] constexpr bool IsHandedOver(HandOver found) {
    return found == HandOver::empty || found == HandOver::text;
}

// Takes the value of an attribute: the first line of its file, its newline included, cut to `size`. The file
// is gone afterwards, whatever it held, and its text in the spool; a first line without any text is an empty value. A
// request that is carried out again is given what the spool has for it.
HandOver HandOverTake(const char *path, const char *attribute, char *buffer, int size);

// The same. Returns 0, or -1 when there is no value or an empty one.
int PhotoEaRead(const char *path, const char *attribute, char *buffer, int size);

// Take the title or the description of a picture into its record, which stays as it is unless there is a text.
HandOver PhotoTitleTake(const char *path, PhotoRecord *record);
HandOver PhotoDescTake(const char *path, PhotoRecord *record);

// True when texts are handed over to a picture, and when any may be to one in a directory, as far as files tell.
[[nodiscard]] bool PhotoTextsWait(const char *path);
[[nodiscard]] bool PhotoTextsMayBeIn(const char *directory);

// The same. They return 1 when there was a text, else 0.
int PhotoTitleGet(const char *path, PhotoRecord *record);
int PhotoDescGet(const char *path, PhotoRecord *record);
