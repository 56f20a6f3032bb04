// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/midi.h"

#include <array>
#include <string_view>

namespace {

// "MThd", the length of what follows (6 or more), format, number of tracks, division of time.
constexpr size_t kHeaderSize = 14;

bool IsMidiHeader(std::string_view header) {
    return header.size() == kHeaderSize && header.starts_with(std::string_view("MThd\0\0", 6)) &&
           header.substr(8, 1) == std::string_view("\0", 1) && header[9] <= 2;
}

} // namespace

ReadOutcome MidiFactsRead(ReaderInput *input, FactList *facts) {
    std::array<std::byte, 20 + kHeaderSize> begin;
    std::string_view bytes(reinterpret_cast<const char *>(begin.data()), InputRead(input, 0, begin));
    // RMID: the same in a RIFF container.
    if (bytes.starts_with("RIFF") && bytes.size() > 20 && bytes.substr(8, 8) == "RMIDdata")
        bytes.remove_prefix(20);
    if (!IsMidiHeader(bytes.substr(0, kHeaderSize)))
        return {.status = AnswerStatus::failed, .content = ContentClass::unknown, .reason = "no MIDI header"};
    FactAddText(facts, FactName::container, FactSource::own, "midi");
    return {.status = AnswerStatus::read, .content = ContentClass::sound, .reason = {}};
}
