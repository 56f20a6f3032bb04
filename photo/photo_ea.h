// SPDX-License-Identifier: GPL-2.0-or-later
//
// Attribute files: what a user typed about a picture elsewhere, handed over in a file beside it.
#pragma once

#include <stddef.h>

#include "platform/photo_record.h"

// Takes the value of an attribute: the first line of its file, its newline included, cut to `size`. The file
// is gone afterwards, whatever it held. Returns 0, or -1 when there is no value.
int PhotoEaRead(const char *path, const char *attribute, char *buffer, int size);

// Take the title or the description of a picture into its record. They return 1 when there was one, else 0.
int PhotoTitleGet(const char *path, PhotoRecord *record);
int PhotoDescGet(const char *path, PhotoRecord *record);
