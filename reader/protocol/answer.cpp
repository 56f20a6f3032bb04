// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/message.h"

#include <string.h>

#include <algorithm>

#include "platform/playlist_bounds.h"
#include "platform/utf8.h"

namespace {

struct Head {
    uint32_t magic;
    uint32_t number;
    AnswerStatus status;
    ContentClass content;
    PictureFormat picture;
    uint32_t picture_bytes;
    uint32_t facts;
    uint32_t reason_bytes; // they come behind the facts, and then a small picture
    uint32_t entries_bytes;
    uint32_t entries_cut;
};
static_assert(sizeof(Head) == kAnswerHeadSize);

// What stands before a fact's number or text.
struct FactHead {
    FactName name;
    FactSource source;
    uint8_t unused;
};
static_assert(sizeof(FactHead) + sizeof(double) == kAnswerFactSize);

// The part of a packet that is not read yet.
struct Rest {
    std::span<const std::byte> bytes;
    bool good = true; // false for ever, once something did not fit
};

std::span<const std::byte> Take(Rest *rest, size_t size) {
    rest->good = rest->good && size <= rest->bytes.size();
    if (!rest->good)
        return {};
    const auto taken = rest->bytes.first(size);
    rest->bytes = rest->bytes.subspan(size);
    return taken;
}

template <typename Value>
Value TakeValue(Rest *rest) {
    Value value = {};
    const auto bytes = Take(rest, sizeof value);
    if (rest->good)
        memcpy(&value, bytes.data(), sizeof value);
    return value;
}

std::string_view TakeText(Rest *rest, size_t size) {
    const auto bytes = Take(rest, size);
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

void Put(std::vector<std::byte> *packet, const void *value, size_t size) {
    const auto *bytes = static_cast<const std::byte *>(value);
    packet->insert(packet->end(), bytes, bytes + size);
}

void PutFact(std::vector<std::byte> *packet, const Fact &fact) {
    const FactHead head = {fact.name, fact.source, 0};
    Put(packet, &head, sizeof head);
    if (FactKindOf(fact.name).type != FactType::text) {
        Put(packet, &fact.number, sizeof fact.number);
        return;
    }
    const auto size = static_cast<uint32_t>(fact.text.size());
    Put(packet, &size, sizeof size);
    Put(packet, fact.text.data(), fact.text.size());
}

bool TakeFact(Rest *rest, FactList *list) {
    const auto head = TakeValue<FactHead>(rest);
    if (!rest->good || static_cast<size_t>(head.name) >= kFactNames ||
        head.source > FactSource::libavformat || head.unused != 0)
        return false;
    if (FactKindOf(head.name).type != FactType::text) {
        const auto number = TakeValue<double>(rest);
        return rest->good && FactAddNumber(list, head.name, head.source, number);
    }
    const std::string_view text = TakeText(rest, TakeValue<uint32_t>(rest));
    return rest->good && FactAddText(list, head.name, head.source, text) && list->facts.back().text == text;
}

// A reason as it stands in a line of the log.
std::string ReasonText(std::string_view reason) {
    std::string text = FactText(reason.substr(0, kReaderReasonMax));
    for (char &byte : text) {
        if (static_cast<uint8_t>(byte) < ' ' || byte == '\x7F')
            byte = ' ';
    }
    // A byte that is no UTF-8 has become three.
    return text.size() <= kReaderReasonMax ? text : FactText(text.substr(0, kReaderReasonMax));
}

bool HasReason(AnswerStatus status) {
    return status == AnswerStatus::failed || status == AnswerStatus::unreadable;
}

bool MayHaveEntries(const Head &head) {
    return head.status == AnswerStatus::read && head.content == ContentClass::playlist &&
           head.picture == PictureFormat::none;
}

bool IsHeadGood(const Head &head) {
    const bool handed_on = head.status == AnswerStatus::films || head.status == AnswerStatus::sound;
    return head.magic == kAnswerMagic && head.status <= AnswerStatus::sound &&
           head.content <= ContentClass::playlist && head.picture <= PictureFormat::gif &&
           head.picture_bytes <= kReaderPictureMax &&
           (head.picture == PictureFormat::none) == (head.picture_bytes == 0) &&
           head.facts <= kReaderFactsMax && head.reason_bytes <= kReaderReasonMax &&
           (HasReason(head.status) || head.reason_bytes == 0) &&
           (!handed_on || (head.facts == 0 && head.picture == PictureFormat::none)) &&
           head.entries_bytes <= kPlaylistTextMax && head.entries_cut <= 1 &&
           (MayHaveEntries(head) || (head.entries_bytes == 0 && head.entries_cut == 0));
}

} // namespace

void AnswerEncode(const Answer &answer, std::vector<std::byte> *packet) {
    const std::string reason = HasReason(answer.status) ? ReasonText(answer.reason) : std::string();
    const Head head = {kAnswerMagic,
                       answer.number,
                       answer.status,
                       answer.content,
                       answer.picture,
                       answer.picture_bytes,
                       static_cast<uint32_t>(answer.facts.facts.size()),
                       static_cast<uint32_t>(reason.size()),
                       answer.entries_bytes,
                       answer.entries_cut};
    packet->clear();
    Put(packet, &head, sizeof head);
    for (const Fact &fact : answer.facts.facts)
        PutFact(packet, fact);
    Put(packet, reason.data(), reason.size());
    Put(packet, answer.small_picture.data(), answer.small_picture.size());
}

bool AnswerDecode(std::span<const std::byte> packet, Answer *answer) {
    Rest rest = {packet};
    const auto head = TakeValue<Head>(&rest);
    if (!rest.good || !IsHeadGood(head))
        return false;
    *answer = {.number = head.number,
               .status = head.status,
               .content = head.content,
               .picture = head.picture,
               .picture_bytes = head.picture_bytes,
               .facts = {},
               .reason = {},
               .entries_bytes = head.entries_bytes,
               .entries_cut = head.entries_cut,
               .small_picture = {}};
    for (uint32_t i = 0; i < head.facts; ++i) {
        if (!TakeFact(&rest, &answer->facts))
            return false;
    }
    answer->reason = TakeText(&rest, head.reason_bytes);
    if (IsSmallPicture(head.picture, head.picture_bytes))
        answer->small_picture = TakeText(&rest, head.picture_bytes);
    return rest.good && rest.bytes.empty() && answer->reason == ReasonText(answer->reason);
}
