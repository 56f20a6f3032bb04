// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/head.h"

#include <span>

ContentHead HeadRead(ReaderInput *input, int64_t begin) {
    ContentHead head = {input, begin, 0, {}};
    if (begin < input->size)
        head.size = InputRead(input, begin, std::as_writable_bytes(std::span(head.bytes)));
    return head;
}

std::string_view HeadText(const ContentHead &head) {
    return {reinterpret_cast<const char *>(head.bytes.data()), head.size};
}

bool HeadHas(const ContentHead &head, size_t offset, std::string_view bytes) {
    return offset <= head.size && HeadText(head).substr(offset).starts_with(bytes);
}

bool FileBytes(ReaderInput *input, int64_t offset, uint8_t *out, size_t size) {
    return offset >= 0 && offset < input->size &&
           InputRead(input, offset, std::as_writable_bytes(std::span(out, size))) == size;
}
