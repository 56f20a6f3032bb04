// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/program/serve.h"

#include <array>
#include <utility>

#include "platform/file.h"
#include "platform/handle.h"
#include "reader/program/library.h"

namespace {

constexpr char kUnreadable[] = "its bytes cannot be read";
constexpr char kNoPlace[] = "there is no memory for what it holds";

// Closed however the work on it ends.
using Descriptors = std::vector<FdHandle>;

ssize_t RequestReceive(std::span<std::byte> packet, Descriptors *descriptors) {
    std::vector<int> received;
    received.reserve(kReaderDescriptorsMax);
    const ssize_t got = PacketReceive(kReaderSocket, packet, &received, kReaderDescriptorsMax, 0);
    for (const int descriptor : received)
        descriptors->emplace_back(descriptor);
    return got;
}

ReaderInput InputOf(const Request &request, const Descriptors &descriptors) {
    ReaderInput input;
    input.fd = descriptors.front().get();
    input.size = request.size;
    input.extension = request.extension;
    input.charset = request.charset;
    for (size_t i = 1; i < descriptors.size(); ++i)
        input.companions.push_back(descriptors[i].get());
    return input;
}

AnswerStatus HandedOn(ReaderKind kind) {
    return kind == ReaderKind::films ? AnswerStatus::films : AnswerStatus::sound;
}

// What nobody knows by its content is left to libavformat, which knows most.
ReaderKind ReaderOf(ContentFormat format) {
    return format == ContentFormat::unknown ? ReaderKind::films : ContentReader(format);
}

ReadOutcome InputHandle(ReaderInput *input, FactList *facts, EntryList *entries, PictureSink *picture) {
    const ContentFormat format = ContentLook(input);
    if (input->failed)
        return {AnswerStatus::unreadable, ContentClass::unknown, kUnreadable};
    const bool playlist = format == ContentFormat::playlist;
    if (const ReaderKind kind = ReaderOf(format); kind != kLibraryKind && !playlist)
        return {HandedOn(kind), ContentClassOf(format), {}};
    ReadOutcome outcome =
        playlist ? LibraryPlaylistRead(input, facts, entries) : LibraryRead(input, format, facts, picture);
    // Whatever the library made of what it could get.
    if (input->failed)
        return {AnswerStatus::unreadable, outcome.content, kUnreadable};
    return outcome;
}

// Entries go where a picture would.
bool EntriesPut(const PictureSink &slot, const EntryList &entries, Answer *answer) {
    if (!FileWriteAt(slot.fd, 0, entries.packed))
        return false;
    answer->entries_bytes = static_cast<uint32_t>(entries.packed.size());
    answer->entries_cut = entries.cut ? 1 : 0;
    return true;
}

Answer FileAnswer(const Request &request, const Descriptors &descriptors) {
    ReaderInput input = InputOf(request, descriptors);
    PictureSink picture;
    picture.fd = kReaderFirstSlot + static_cast<int>(request.slot);
    picture.wanted = (request.wants & kWantsPicture) != 0;
    Answer answer;
    picture.small = &answer.small_picture;
    answer.number = request.number;
    EntryList entries;
    ReadOutcome outcome = InputHandle(&input, &answer.facts, &entries, &picture);
    if (outcome.content == ContentClass::playlist && outcome.status == AnswerStatus::read &&
        !EntriesPut(picture, entries, &answer))
        outcome = {AnswerStatus::unreadable, outcome.content, kNoPlace};
    answer.status = outcome.status;
    answer.content = outcome.content;
    answer.reason = std::move(outcome.reason);
    if (answer.status == AnswerStatus::films || answer.status == AnswerStatus::sound) {
        answer.facts = {};
        answer.small_picture.clear();
    } else {
        answer.picture = picture.format;
        answer.picture_bytes = picture.bytes;
    }
    return answer;
}

bool IsSent(std::span<const std::byte> packet) {
    return PacketSend(kReaderSocket, packet, {}, 0) == static_cast<ssize_t>(packet.size());
}

} // namespace

ReaderExit RequestsServe() {
    Hello hello;
    hello.kind = kLibraryKind;
    if (!IsSent(std::as_bytes(std::span(&hello, 1))))
        return kReaderEnded;
    std::vector<std::byte> packet;
    std::array<std::byte, sizeof(Request)> received = {};
    for (;;) {
        Descriptors descriptors;
        Request request;
        const ssize_t got = RequestReceive(received, &descriptors);
        if (got == 0)
            return kReaderEnded;
        if (got < 0 || descriptors.empty() ||
            !RequestDecode(std::span(received).first(static_cast<size_t>(got)), &request))
            return kReaderMisled;
        AnswerEncode(FileAnswer(request, descriptors), &packet);
        descriptors.clear(); // the daemon may count on it once it has the answer
        if (!IsSent(packet))
            return kReaderEnded;
    }
}
