// SPDX-License-Identifier: GPL-2.0-or-later
//
// Numbers as files hold them (platform/bytes.h).
#include <gtest/gtest.h>

#include "platform/bytes.h"

namespace {

constexpr uint8_t kBytes[] = {0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8};

static_assert(BigEndian16(kBytes) == 0x8192);
static_assert(BigEndian24(kBytes) == 0x8192A3);
static_assert(BigEndian32(kBytes) == 0x8192A3B4);
static_assert(BigEndian64(kBytes) == 0x8192A3B4C5D6E7F8);
static_assert(LittleEndian16(kBytes) == 0x9281);

TEST(Bytes, GiveNumbersOfAnySizeInEitherOrder) {
    EXPECT_EQ(BytesNumber(kBytes, 0, ByteOrder::kBig), 0u);
    EXPECT_EQ(BytesNumber(kBytes, 1, ByteOrder::kLittle), 0x81u);
    EXPECT_EQ(BytesNumber(kBytes, 3, ByteOrder::kBig), 0x8192A3u);
    EXPECT_EQ(BytesNumber(kBytes, 3, ByteOrder::kLittle), 0xA39281u);
    EXPECT_EQ(BytesNumber(kBytes, 8, ByteOrder::kBig), BigEndian64(kBytes));
    EXPECT_EQ(BytesNumber(kBytes, 8, ByteOrder::kLittle), 0xF8E7D6C5B4A39281u);
}

TEST(Bytes, TakeNumbersOfAnySizeInEitherOrder) {
    for (const ByteOrder order : {ByteOrder::kBig, ByteOrder::kLittle}) {
        uint8_t bytes[] = {0x55, 0x55, 0x55, 0x55, 0x55};
        BytesNumberPut(bytes + 1, 3, 0xFF8192A3, order);
        EXPECT_EQ(BytesNumber(bytes + 1, 3, order), 0x8192A3u);
        EXPECT_EQ(bytes[0], 0x55);
        EXPECT_EQ(bytes[4], 0x55);
    }
}

TEST(Bytes, OfATagSizeCountTheirLowerSevenBits) {
    EXPECT_EQ(Syncsafe32(kBytes), uint32_t{0x01 << 21 | 0x12 << 14 | 0x23 << 7 | 0x34});
}

} // namespace
