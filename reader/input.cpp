// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/input.h"

#include <string.h>

#include <algorithm>

#include "platform/file.h"
#include "platform/limits.h"

namespace {

// A window begins at a page: what a library looks for at the end of a file it looks for backwards.
constexpr int64_t kPage = 4096;

size_t ReadFully(ReaderInput *input, int64_t offset, std::span<std::byte> out) {
    int failure = 0;
    const size_t done =
        FileReadUpTo(input->fd, static_cast<uint64_t>(offset), out.data(), out.size(), &failure);
    input->failed = input->failed || failure != 0;
    return done;
}

// The bytes of a part that lie in the file.
size_t Within(int64_t size, int64_t offset, size_t part) {
    return static_cast<size_t>(std::min<uint64_t>(part, static_cast<uint64_t>(size - offset)));
}

bool IsInWindow(const ReaderInput &input, int64_t offset, size_t part) {
    const int64_t place = offset - input.window_offset;
    return place >= 0 && static_cast<uint64_t>(place) <= input.window.size() &&
           part <= input.window.size() - static_cast<size_t>(place);
}

void WindowFill(ReaderInput *input, int64_t offset) {
    input->window_offset = offset - offset % kPage;
    input->window.resize(Within(input->size, input->window_offset, kReaderWindow));
    input->window.resize(ReadFully(input, input->window_offset, input->window));
}

} // namespace

size_t InputRead(ReaderInput *input, int64_t offset, std::span<std::byte> out) {
    if (offset < 0 || offset >= input->size || out.empty())
        return 0;
    const size_t part = Within(input->size, offset, out.size());
    const bool small = part <= kReaderWindow / 2;
    if (!IsInWindow(*input, offset, part)) {
        if (!small)
            return ReadFully(input, offset, out.first(part));
        WindowFill(input, offset);
    }
    const auto begin = static_cast<size_t>(offset - input->window_offset);
    if (begin >= input->window.size())
        return 0;
    const size_t there = std::min(part, input->window.size() - begin);
    memcpy(out.data(), input->window.data() + begin, there);
    return there;
}
