// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/message.h"

#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Room for the descriptors of a packet.
struct Control {
    alignas(cmsghdr) char bytes[CMSG_SPACE(kReaderDescriptorsMax * sizeof(int))] = {};
};

ssize_t Failed(int error) {
    errno = error;
    return -1;
}

// The descriptors that came with a packet.
std::vector<int> DescriptorsTake(msghdr *message) {
    std::vector<int> taken;
    for (cmsghdr *part = CMSG_FIRSTHDR(message); part != nullptr; part = CMSG_NXTHDR(message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            memcpy(&descriptor, CMSG_DATA(part) + i * sizeof descriptor, sizeof descriptor);
            taken.push_back(descriptor);
        }
    }
    return taken;
}

} // namespace

ssize_t PacketSend(int socket, std::span<const std::byte> packet, std::span<const int> descriptors,
                   int flags) {
    if (descriptors.size() > kReaderDescriptorsMax)
        return Failed(EINVAL);
    iovec part = {const_cast<std::byte *>(packet.data()), packet.size()};
    Control control;
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
        message.msg_control = control.bytes;
        message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr *head = CMSG_FIRSTHDR(&message);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        memcpy(CMSG_DATA(head), descriptors.data(), descriptors.size_bytes());
    }
    ssize_t sent = 0;
    do {
        sent = sendmsg(socket, &message, flags | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent;
}

ssize_t PacketReceive(int socket, std::span<std::byte> packet, std::vector<int> *descriptors,
                      size_t descriptors_max, int flags) {
    iovec part = {packet.data(), packet.size()};
    Control control;
    msghdr message = {};
    ssize_t got = 0;
    do {
        message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        if (descriptors != nullptr && descriptors_max > 0) {
            message.msg_control = control.bytes;
            message.msg_controllen = sizeof control.bytes;
        }
        got = recvmsg(socket, &message, flags | MSG_CMSG_CLOEXEC);
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        return -1;
    std::vector<int> taken = DescriptorsTake(&message);
    if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 || taken.size() > descriptors_max) {
        for (const int descriptor : taken)
            close(descriptor);
        return Failed(EPROTO);
    }
    if (descriptors != nullptr)
        *descriptors = std::move(taken);
    return got;
}
