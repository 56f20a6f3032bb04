// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/hostile_reader/deeds.h"

#include <string.h>

#include <algorithm>
#include <iterator>

#include "reader/protocol/message.h"

namespace {

void Send(const std::vector<std::byte> &packet) {
    PacketSend(kReaderSocket, packet, {}, 0);
}

// Writes a number into a packet.
template <size_t Place, uint32_t Value>
void Put(std::vector<std::byte> *packet) {
    const uint32_t value = Value;
    memcpy(packet->data() + Place, &value, sizeof value);
}

// Adds to the number of the request.
template <int Step>
void OfAnother(std::vector<std::byte> *packet) {
    uint32_t number = 0;
    memcpy(&number, packet->data() + 4, sizeof number);
    number += static_cast<uint32_t>(Step);
    memcpy(packet->data() + 4, &number, sizeof number);
}

// Says that there is a picture of so many bytes, and sends zeros for it.
template <uint32_t Claimed, size_t Sent>
void PictureLie(std::vector<std::byte> *packet) {
    Put<16, static_cast<uint32_t>(PictureFormat::png)>(packet);
    Put<20, Claimed>(packet);
    packet->resize(packet->size() + Sent);
}

struct Lie {
    const char *word;
    void (*tell)(std::vector<std::byte> *packet);
};

// The fields of the head are numbers of four bytes each (AnswerEncode); the facts begin behind it.
constexpr Lie kLies[] = {
    {"twice", [](std::vector<std::byte> *packet) { Send(*packet); }},
    {"of-the-next", OfAnother<1>},
    {"of-the-last", OfAnother<-1>},
    {"of-nothing", OfAnother<1000000>},
    {"lie-magic", Put<0, 0>},
    {"lie-status", Put<8, 99>},
    {"lie-content", Put<12, 99>},
    {"lie-picture", Put<16, 99>},
    {"lie-picture-kind", Put<16, 1>},
    {"lie-picture-size", Put<20, UINT32_MAX>},
    {"lie-facts", Put<24, UINT32_MAX>},
    {"lie-one-fact", Put<24, 2>},
    {"lie-reason", Put<28, UINT32_MAX>},
    {"lie-entries", Put<32, 100>},
    {"lie-more-entries", Put<36, 1>},
    {"lie-fact-name", Put<kAnswerHeadSize, UINT32_MAX>},
    {"lie-fact-size", Put<kAnswerHeadSize + 4, UINT32_MAX>},
    {"lie-text", [](std::vector<std::byte> *packet) { packet->back() = std::byte{0xFF}; }},
    {"cut", [](std::vector<std::byte> *packet) { packet->pop_back(); }},
    {"longer", [](std::vector<std::byte> *packet) { packet->push_back({}); }},
    {"huge", [](std::vector<std::byte> *packet) { packet->resize(kReaderAnswerSize + 1); }},
    // Which looks like the end of the connection. Whoever went on would end by the next file, maybe before anybody looked.
    {"empty",
     [](std::vector<std::byte> *) {
         Send({});
         Sleep();
     }},
    // A picture that is none: its slot is as it was. Likewise small ones, of whose bytes all or one are missing, there is one too
    // many, or which are none of a picture.
    {"lie-no-picture", PictureLie<kReaderSmallPictureMax + 1, 0>},
    {"lie-small-picture", PictureLie<1000, 0>},
    {"lie-small-picture-cut", PictureLie<1000, 999>},
    {"lie-small-picture-longer", PictureLie<1000, 1001>},
    {"lie-no-small-picture", PictureLie<1000, 1000>},
    // A playlist whose entries are none, for the same reason.
    {"lie-no-entries",
     [](std::vector<std::byte> *packet) {
         Put<12, static_cast<uint32_t>(ContentClass::playlist)>(packet);
         Put<32, 1000>(packet);
     }},
    {"hello",
     [](std::vector<std::byte> *packet) {
         const Hello again;
         packet->assign(reinterpret_cast<const std::byte *>(&again),
                        reinterpret_cast<const std::byte *>(&again + 1));
     }},
};

} // namespace

void AnswerDeed(std::string_view word, std::vector<std::byte> *packet) {
    if (const auto *lie = std::ranges::find(kLies, word, &Lie::word); lie != std::end(kLies))
        lie->tell(packet);
}
