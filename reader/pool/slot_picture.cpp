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

ReadPictureRef RecentFind(const BytesRef &bytes, PictureFormat format, RecentPictures *recent) {
    auto &all = recent->pictures;
    const auto found = std::ranges::find_if(all, [&](const ReadPictureRef &picture) {
        return picture->format == format && BytesEqual(bytes, ReadPictureBytes(*picture));
    });
    if (found == all.end())
        return nullptr;
    all.splice(all.begin(), all, found);
    return all.front();
}

size_t HeldBytes(const RecentPictures &recent) {
    size_t bytes = 0;
    for (const ReadPictureRef &picture : recent.pictures)
        bytes += picture->held.size();
    return bytes;
}

void RecentAdd(const ReadPictureRef &picture, RecentPictures *recent) {
    if (picture->bytes > kReaderPicturesBytes)
        return;
    recent->pictures.push_front(picture);
    recent->bytes += picture->bytes;
    while (recent->bytes > kReaderPicturesBytes || recent->pictures.size() > kReaderPicturesMax ||
           HeldBytes(*recent) > kReaderHeldBytes) {
        recent->bytes -= recent->pictures.back()->bytes;
        recent->pictures.pop_back();
    }
}

bool IsOfFormat(const BytesRef &picture, PictureFormat format) {
    char read[kPictureHeadSize];
    const auto looked_at = static_cast<size_t>(std::min<uint64_t>(sizeof read, picture.bytes));
    const char *head = BytesPart(picture, 0, looked_at, read);
    return head != nullptr && PictureFormatOf(std::as_bytes(std::span(head, looked_at))) == format;
}

} // namespace

ReadPictureRef AnswerPictureTake(const FdHandle &slot, Answer *answer, size_t waiting, RecentPictures *recent,
                                 bool *had) {
    errno = 0;
    if (answer->picture_bytes == 0 || answer->picture_bytes > kReaderPictureMax)
        return nullptr;
    std::string small = std::exchange(answer->small_picture, {});
    const BytesRef there = {answer->picture_bytes, slot.get(), small};
    ReadPictureRef picture = RecentFind(there, answer->picture, recent);
    *had = picture != nullptr;
    if (*had)
        return picture;
    picture = std::make_shared<ReadPicture>();
    picture->bytes = answer->picture_bytes;
    picture->format = answer->picture;
    if (!small.empty() && waiting + small.size() <= kReaderHeldBytes) {
        picture->held = std::move(small);
    } else {
        picture->file = FdHandle(memfd_create("picture", MFD_CLOEXEC));
        if (!picture->file || !BytesWrite(there, picture->file.get()))
            return nullptr;
    }
    if (!IsOfFormat(ReadPictureBytes(*picture), picture->format)) {
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
