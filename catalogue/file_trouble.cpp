// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/file_trouble.h"

#include "catalogue/bounds.h"

namespace {

std::string CountText(int count) {
    return " (" + std::to_string(count) + " of " + std::to_string(kTroubleTimes) + " times)";
}

// How often it was tried, as its text says.
int CountOf(const std::string &trouble) {
    for (int count = 1; count < kTroubleTimes; ++count)
        if (trouble.ends_with(CountText(count)))
            return count;
    return 0;
}

} // namespace

std::string ReadReason(const ReadResult &read) {
    if (read.end != ReadEnd::answered)
        return read.reason;
    return read.answer.reason.empty() ? "its reader could not read it" : read.answer.reason;
}

std::string TroubleOf(const ReadResult &read, const std::string &before) {
    switch (read.end) {
    case ReadEnd::answered:
        // What the storage does not give now, it may give the next time.
        return read.answer.status == AnswerStatus::failed ? ReadReason(read) : std::string();
    case ReadEnd::crashed:
    case ReadEnd::processor_time:
        return read.reason;
    case ReadEnd::killed:
    case ReadEnd::clock:
    case ReadEnd::memory: {
        const int count = CountOf(before) + 1;
        return count < kTroubleTimes ? read.reason + CountText(count) : read.reason;
    }
    case ReadEnd::no_reader:
        break;
    }
    return {};
}

bool TroubleHolds(const std::string &trouble) {
    return !trouble.empty() && CountOf(trouble) == 0;
}
