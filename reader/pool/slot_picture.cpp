// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/pool/slot_picture.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>

#include <algorithm>
#include <span>

#include "platform/file.h"
#include "platform/limits.h"
#include "reader/protocol/picture_format.h"

namespace {

bool BytesCopy(int from, int to, size_t bytes) {
    off_t offset = 0;
    while (bytes > 0) {
        const ssize_t copied = sendfile(to, from, &offset, bytes);
        if (copied > 0)
            bytes -= static_cast<size_t>(copied);
        else if (copied == 0 || errno != EINTR)
            return false;
    }
    return true;
}

} // namespace

FdHandle SlotPictureTake(const FdHandle &slot, PictureFormat format, uint32_t bytes) {
    if (bytes == 0 || bytes > kReaderPictureMax)
        return {};
    FdHandle picture(memfd_create("picture", MFD_CLOEXEC));
    if (!picture || !BytesCopy(slot.get(), picture.get(), bytes))
        return {};
    std::byte head[kPictureHeadSize];
    const size_t looked_at = std::min<size_t>(sizeof head, bytes);
    if (!FileReadAt(picture, 0, head, looked_at) ||
        PictureFormatOf(std::span(head).first(looked_at)) != format)
        return {};
    return picture;
}

void SlotEmpty(const FdHandle &slot) {
    struct stat status;
    if (fstat(slot.get(), &status) == 0 && status.st_blocks > 0)
        fallocate(slot.get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, kReaderPictureMax);
}
