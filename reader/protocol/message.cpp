// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/message.h"

#include <string.h>

namespace {

template <typename Message>
bool MessageCopy(std::span<const std::byte> packet, uint32_t magic, Message *message) {
    if (packet.size() != sizeof *message)
        return false;
    memcpy(message, packet.data(), sizeof *message);
    return message->magic == magic;
}

bool IsEnded(std::span<const char> text) {
    return memchr(text.data(), '\0', text.size()) != nullptr;
}

} // namespace

bool HelloDecode(std::span<const std::byte> packet, Hello *hello) {
    return MessageCopy(packet, kHelloMagic, hello) && hello->revision == kReaderRevision &&
           hello->kind <= ReaderKind::films;
}

bool RequestDecode(std::span<const std::byte> packet, Request *request) {
    return MessageCopy(packet, kRequestMagic, request) && request->slot < kReaderSlots &&
           request->size >= 0 && IsEnded(request->extension) && IsEnded(request->charset);
}
