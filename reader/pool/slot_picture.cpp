// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/pool/slot_picture.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "platform/file_bytes.h"
#include "platform/limits.h"
#include "platform/playlist_bounds.h"
#include "reader/protocol/picture_format.h"

namespace {

ReadPictureRef RecentFind(const FdHandle &slot, PictureFormat format, uint32_t bytes,
                          RecentPictures *recent) {
    auto &all = recent->pictures;
    const auto found = std::ranges::find_if(all, [&](const ReadPictureRef &picture) {
        return picture->format == format && picture->bytes == bytes &&
               FileBytesEqual(slot.get(), picture->file.get(), bytes);
    });
    if (found == all.end())
        return nullptr;
    all.splice(all.begin(), all, found);
    return all.front();
}

void RecentAdd(const ReadPictureRef &picture, RecentPictures *recent) {
    if (picture->bytes > kReaderPicturesBytes)
        return;
    recent->pictures.push_front(picture);
    recent->bytes += picture->bytes;
    while (recent->bytes > kReaderPicturesBytes || recent->pictures.size() > kReaderPicturesMax) {
        recent->bytes -= recent->pictures.back()->bytes;
        recent->pictures.pop_back();
    }
}

} // namespace

ReadPictureRef SlotPictureTake(const FdHandle &slot, PictureFormat format, uint32_t bytes,
                               RecentPictures *recent, bool *had) {
    errno = 0;
    if (bytes == 0 || bytes > kReaderPictureMax)
        return nullptr;
    ReadPictureRef picture = RecentFind(slot, format, bytes, recent);
    *had = picture != nullptr;
    if (*had)
        return picture;
    picture = std::make_shared<ReadPicture>(
        ReadPicture{FdHandle(memfd_create("picture", MFD_CLOEXEC)), bytes, format, nullptr});
    if (!picture->file || !FileBytesCopy(slot.get(), picture->file.get(), bytes))
        return nullptr;
    std::byte head[kPictureHeadSize];
    const size_t looked_at = std::min<size_t>(sizeof head, bytes);
    if (!FileReadAt(picture->file, 0, head, looked_at) ||
        PictureFormatOf(std::span(head).first(looked_at)) != format) {
        errno = 0;
        return nullptr;
    }
    RecentAdd(picture, recent);
    return picture;
}

bool SlotEntriesTake(const FdHandle &slot, uint32_t bytes, EntryList *entries) {
    if (bytes > kPlaylistTextMax)
        return false;
    std::string packed(bytes, '\0');
    return FileReadAt(slot, 0, packed.data(), packed.size()) && EntriesDecode(std::move(packed), entries);
}

void SlotEmpty(const FdHandle &slot) {
    struct stat status;
    if (fstat(slot.get(), &status) == 0 && status.st_blocks > 0)
        fallocate(slot.get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, kReaderPictureMax);
}
