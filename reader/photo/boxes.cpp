// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/boxes.h"

#include "platform/limits.h"

std::vector<Box> FileBoxes(ReaderInput *input) {
    std::vector<Box> boxes;
    BoxWalk walk = {input, kPhotoBoxesMax};
    Box box;
    for (int64_t at = 0; BoxTake(&walk, &at, input->size, &box);)
        boxes.push_back(box);
    return boxes;
}

std::vector<uint8_t> FilePart(ReaderInput *input, uint64_t offset, uint64_t size) {
    const auto end = static_cast<uint64_t>(input->size);
    if (size > kPhotoValueMax || offset > end || size > end - offset)
        return {};
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (InputRead(input, static_cast<int64_t>(offset), std::as_writable_bytes(std::span(bytes))) !=
        bytes.size())
        return {};
    return bytes;
}

std::vector<uint8_t> FileBoxRead(ReaderInput *input, const Box &box) {
    return FilePart(input, static_cast<uint64_t>(box.begin), static_cast<uint64_t>(box.end - box.begin));
}
