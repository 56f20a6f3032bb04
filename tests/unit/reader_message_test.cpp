// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/message.h"

#include "platform/handle.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>

#include <array>
#include <filesystem>
#include <string>

namespace {

struct SocketPair {
    SocketPair() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends));
        here = FdHandle(ends[0]);
        there = FdHandle(ends[1]);
    }
    FdHandle here;
    FdHandle there;
};

std::span<const std::byte> Bytes(std::string_view text) {
    return std::as_bytes(std::span(text));
}

size_t OpenDescriptors() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

template <typename Message>
std::span<const std::byte> BytesOf(const Message &message) {
    return std::as_bytes(std::span(&message, 1));
}

TEST(ReaderMessage, HelloIsOfThisBuild) {
    Hello hello;
    hello.kind = ReaderKind::films;
    Hello got;
    EXPECT_TRUE(HelloDecode(BytesOf(hello), &got));
    EXPECT_EQ(ReaderKind::films, got.kind);
    EXPECT_FALSE(HelloDecode(BytesOf(hello).first(sizeof hello - 1), &got));
    EXPECT_FALSE(HelloDecode({}, &got));
    hello.kind = static_cast<ReaderKind>(2);
    EXPECT_FALSE(HelloDecode(BytesOf(hello), &got));
    hello = {};
    hello.magic += 1;
    EXPECT_FALSE(HelloDecode(BytesOf(hello), &got));
    hello = {};
    hello.revision += 1;
    EXPECT_FALSE(HelloDecode(BytesOf(hello), &got));
}

TEST(ReaderMessage, RequestsAreWithinTheirBounds) {
    Request request;
    request.number = 9;
    request.slot = kReaderSlots - 1;
    strcpy(request.extension, "mp3");
    Request got;
    EXPECT_TRUE(RequestDecode(BytesOf(request), &got));
    EXPECT_EQ(9U, got.number);
    EXPECT_STREQ("mp3", got.extension);
    EXPECT_FALSE(RequestDecode(BytesOf(request).first(sizeof request - 1), &got));
    request.slot = kReaderSlots;
    EXPECT_FALSE(RequestDecode(BytesOf(request), &got));
    request = {};
    request.size = -1;
    EXPECT_FALSE(RequestDecode(BytesOf(request), &got));
    request = {};
    memset(request.extension, 'x', sizeof request.extension);
    EXPECT_FALSE(RequestDecode(BytesOf(request), &got));
    request = {};
    memset(request.charset, 'x', sizeof request.charset);
    EXPECT_FALSE(RequestDecode(BytesOf(request), &got));
}

TEST(ReaderPacket, DescriptorsComeWithIt) {
    SocketPair pair;
    const FdHandle file(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const std::array<int, 2> sent = {file.get(), pair.here.get()};
    ASSERT_EQ(4, PacketSend(pair.here.get(), Bytes("abcd"), sent, 0));
    std::array<std::byte, 8> packet;
    std::vector<int> descriptors;
    ASSERT_EQ(4, PacketReceive(pair.there.get(), packet, &descriptors, 2, 0));
    EXPECT_EQ(0, memcmp("abcd", packet.data(), 4));
    ASSERT_EQ(2U, descriptors.size());
    for (const int descriptor : descriptors) {
        EXPECT_EQ(FD_CLOEXEC, fcntl(descriptor, F_GETFD));
        close(descriptor);
    }
}

TEST(ReaderPacket, TheEndAndNothingYet) {
    SocketPair pair;
    std::array<std::byte, 8> packet;
    EXPECT_EQ(-1, PacketReceive(pair.there.get(), packet, nullptr, 0, 0));
    EXPECT_EQ(EAGAIN, errno);
    pair.here.Close();
    EXPECT_EQ(0, PacketReceive(pair.there.get(), packet, nullptr, 0, 0));
    EXPECT_EQ(-1, PacketSend(pair.there.get(), Bytes("x"), {}, 0)); // and no SIGPIPE
    EXPECT_EQ(EPIPE, errno);
}

TEST(ReaderPacket, OneThatIsCutIsNone) {
    SocketPair pair;
    const int file = pair.here.get();
    const size_t open_before = OpenDescriptors();
    ASSERT_EQ(9, PacketSend(pair.here.get(), Bytes("ninebytes"), {&file, 1}, 0));
    std::array<std::byte, 8> packet;
    std::vector<int> descriptors;
    EXPECT_EQ(-1, PacketReceive(pair.there.get(), packet, &descriptors, 1, 0));
    EXPECT_EQ(EPROTO, errno);
    EXPECT_TRUE(descriptors.empty());
    EXPECT_EQ(open_before, OpenDescriptors());
}

TEST(ReaderPacket, MoreDescriptorsThanAskedForStayClosed) {
    SocketPair pair;
    const size_t open_before = OpenDescriptors();
    const std::vector<int> many(kReaderDescriptorsMax, pair.here.get());
    std::array<std::byte, 8> packet;
    std::vector<int> descriptors;
    for (const size_t wanted : {size_t{0}, kReaderDescriptorsMax - 1}) {
        ASSERT_EQ(1, PacketSend(pair.here.get(), Bytes("x"), many, 0));
        EXPECT_EQ(-1, PacketReceive(pair.there.get(), packet, &descriptors, wanted, 0));
        EXPECT_EQ(EPROTO, errno);
        EXPECT_EQ(open_before, OpenDescriptors());
    }
    ASSERT_EQ(1, PacketSend(pair.here.get(), Bytes("x"), many, 0));
    EXPECT_EQ(1, PacketReceive(pair.there.get(), packet, &descriptors, kReaderDescriptorsMax, 0));
    EXPECT_EQ(kReaderDescriptorsMax, descriptors.size());
    for (const int descriptor : descriptors)
        close(descriptor);
    const std::vector<int> too_many(kReaderDescriptorsMax + 1, pair.here.get());
    EXPECT_EQ(-1, PacketSend(pair.here.get(), Bytes("x"), too_many, 0));
    EXPECT_EQ(EINVAL, errno);
}

TEST(ReaderPacket, MoreDescriptorsThanThereIsRoomForStayClosed) {
    // What PacketSend refuses to send, another sender may.
    SocketPair pair;
    const size_t open_before = OpenDescriptors();
    constexpr size_t kMany = kReaderDescriptorsMax + 30;
    alignas(cmsghdr) char control[CMSG_SPACE(kMany * sizeof(int))] = {};
    char byte = 'x';
    iovec part = {&byte, 1};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr *head = CMSG_FIRSTHDR(&message);
    head->cmsg_level = SOL_SOCKET;
    head->cmsg_type = SCM_RIGHTS;
    head->cmsg_len = CMSG_LEN(kMany * sizeof(int));
    const std::vector<int> many(kMany, pair.here.get());
    memcpy(CMSG_DATA(head), many.data(), kMany * sizeof(int));
    ASSERT_EQ(1, sendmsg(pair.here.get(), &message, 0));
    std::array<std::byte, 8> packet;
    std::vector<int> descriptors;
    EXPECT_EQ(-1, PacketReceive(pair.there.get(), packet, &descriptors, kReaderDescriptorsMax, 0));
    EXPECT_EQ(EPROTO, errno);
    EXPECT_EQ(open_before, OpenDescriptors());
}

TEST(ReaderPicture, IsKnownByItsFirstBytes) {
    const auto format = [](std::string_view bytes) { return PictureFormatOf(Bytes(bytes)); };
    EXPECT_EQ(PictureFormat::jpeg, format("\xFF\xD8\xFF\xE0"));
    EXPECT_EQ(PictureFormat::png, format("\x89PNG\r\n\x1A\n...."));
    EXPECT_EQ(PictureFormat::gif, format("GIF89a......"));
    EXPECT_EQ(PictureFormat::gif, format("GIF87a"));
    EXPECT_EQ(PictureFormat::webp, format("RIFF....WEBP"));
    EXPECT_EQ(PictureFormat::none, format("RIFF....WAVE"));
    EXPECT_EQ(PictureFormat::none, format("RIFF....WEB"));
    EXPECT_EQ(PictureFormat::none, format("BM.........."));
    EXPECT_EQ(PictureFormat::none, format("\xFF\xD8"));
    EXPECT_EQ(PictureFormat::none, format(""));
}

} // namespace
