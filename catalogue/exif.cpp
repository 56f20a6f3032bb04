// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/exif.h"

#include <libexif/exif-data.h>
#include <libexif/exif-loader.h>
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include <algorithm>

#include "platform/handle.h"
#include "platform/limits.h"

namespace {

constexpr char kLogName[] = "exif.c";

constexpr char kDateFormat[] = "%Y:%m:%d %H:%M:%S";

// Room for the text of one value; longer ones are cut by libexif.
constexpr size_t kValueSize = 128;

using LoaderHandle = std::unique_ptr<ExifLoader, CloseWith<exif_loader_unref>>;
using DataHandle = std::unique_ptr<ExifData, CloseWith<exif_data_unref>>;
using MemoryHandle = std::unique_ptr<ExifMem, CloseWith<exif_mem_unref>>;

// --- libexif's memory: any number of entries of a file may claim the same 64 KiB, and each gets a copy.

size_t memory_used; // libexif hands its memory functions no context, and the daemon has one thread

void *MemoryRealloc(void *block, ExifLong size) {
    const size_t old_size = malloc_usable_size(block);
    const size_t others = memory_used - old_size;
    if (size > kExifMemoryMax || others > kExifMemoryMax - size)
        return nullptr;
    void *moved = realloc(block, size);
    if (moved != nullptr)
        memory_used = others + malloc_usable_size(moved);
    return moved;
}

// libexif counts on zeroed memory.
void *MemoryAlloc(ExifLong size) {
    void *block = MemoryRealloc(nullptr, std::max<ExifLong>(size, 1));
    if (block != nullptr)
        memset(block, 0, size);
    return block;
}

void MemoryFree(void *block) {
    memory_used -= malloc_usable_size(block);
    free(block);
}

// --- Values

template <size_t N>
void TextStore(char (&field)[N], const char *text) {
    snprintf(field, N, "%s", text);
}

int32_t NumberOf(const char *text) {
    return static_cast<int32_t>(std::clamp<long long>(strtoll(text, nullptr, 10), INT32_MIN, INT32_MAX));
}

bool IsDate(const char *text) {
    struct tm parsed = {};
    return strptime(text, kDateFormat, &parsed) != nullptr;
}

constexpr ExifTag kTags[] = {EXIF_TAG_MAKE,
                             EXIF_TAG_MODEL,
                             EXIF_TAG_EXPOSURE_TIME,
                             EXIF_TAG_FNUMBER,
                             EXIF_TAG_DATE_TIME_ORIGINAL,
                             EXIF_TAG_ISO_SPEED_RATINGS,
                             EXIF_TAG_PIXEL_X_DIMENSION,
                             EXIF_TAG_PIXEL_Y_DIMENSION};

bool IsWanted(ExifTag tag) {
    return std::find(std::begin(kTags), std::end(kTags), tag) != std::end(kTags);
}

int ValueStore(PhotoRecord *record, ExifTag tag, const char *text) {
    switch (tag) {
    case EXIF_TAG_MAKE:
        TextStore(record->make, text);
        return 0;
    case EXIF_TAG_MODEL:
        TextStore(record->model, text);
        return 0;
    case EXIF_TAG_EXPOSURE_TIME:
        TextStore(record->exposure, text);
        return 0;
    case EXIF_TAG_FNUMBER:
        TextStore(record->fnumber, text);
        return 0;
    case EXIF_TAG_DATE_TIME_ORIGINAL:
        if (IsDate(text))
            TextStore(record->date_taken, text);
        return 0;
    case EXIF_TAG_ISO_SPEED_RATINGS:
        record->iso = NumberOf(text);
        return 0;
    case EXIF_TAG_PIXEL_X_DIMENSION:
        record->width = NumberOf(text);
        return 0;
    case EXIF_TAG_PIXEL_Y_DIMENSION:
        record->height = NumberOf(text);
        return 0;
    default:
        syslog(LOG_ERR, "%s (%d) Impossible error occurred.", kLogName, __LINE__);
        return -1;
    }
}

int EntriesStore(PhotoRecord *record, const ExifContent &directory) {
    for (unsigned i = 0; i < directory.count; ++i) {
        ExifEntry *entry = directory.entries[i];
        if (!IsWanted(entry->tag))
            continue;
        char text[kValueSize] = "";
        exif_entry_get_value(entry, text, sizeof text);
        if (ValueStore(record, entry->tag, text) != 0)
            return -1;
    }
    return 0;
}

DataHandle DataLoad(const char *path) {
    const MemoryHandle memory(exif_mem_new(MemoryAlloc, MemoryRealloc, MemoryFree));
    const LoaderHandle loader(exif_loader_new_mem(memory.get()));
    if (loader == nullptr)
        return nullptr;
    exif_loader_write_file(loader.get(), path);
    return DataHandle(exif_loader_get_data(loader.get()));
}

} // namespace

int ExifInfoGet(PhotoRecord *record) {
    if (record == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    const DataHandle data = DataLoad(record->path);
    if (data == nullptr)
        return 0;
    for (const ExifContent *directory : data->ifd) {
        if (directory != nullptr && EntriesStore(record, *directory) != 0)
            return -1;
    }
    return 0;
}
