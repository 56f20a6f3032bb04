// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tables of the two catalogues, made and migrated by whichever program opens them first.
#pragma once

#include "platform/veludb.h"

enum class Catalogue : int { media = 0, photo = 1 };
inline constexpr size_t kCatalogues = 2;

// The tables by the numbers that the store's callers use.
inline constexpr const char *kMediaTables[] = {"music", "video", "photo", "playlist"};
inline constexpr const char *kPhotoTables[] = {"photo_image", "video_desc", "video_comment", "photo_share",
                                               "photo_access_right"};
inline constexpr char kDirectoryTable[] = "directory";

// Brings the tables of a fresh or older database up to date. Returns 0, or -1 with one log line; a database
// of a newer program fails, untouched.
int SchemaApply(VELUDB *db, Catalogue catalogue);
