// SPDX-License-Identifier: GPL-2.0-or-later
//
// The writes of a batch come back as they were added, whatever happened to others.
#include "platform/index/batch.h"

#include <gtest/gtest.h>
#include <stdint.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Values = std::vector<VELUDBValue>;

VELUDBValue Text(const std::string &text) {
    return VELUDBValue::Text(text.data(), text.size());
}

void Add(Batch *batch, int statement, const Values &values, uint64_t request = 0) {
    BatchAdd(batch, request, statement, values.data(), values.size());
}

// The next write: its statement, and its values as words; its request if it has one.
std::string Next(const Batch &batch, size_t *position) {
    uint64_t request = 0;
    int statement = 0;
    Values values;
    if (!BatchNext(batch, position, &request, &statement, &values))
        return "end";
    std::string words = (request != 0 ? "#" + std::to_string(request) + " " : "") + std::to_string(statement);
    for (const VELUDBValue &value : values) {
        if (value.type == VELUDBValue::Type::text)
            words += " " + std::string(value.text, value.length);
        else
            words +=
                value.type == VELUDBValue::Type::integer ? " " + std::to_string(value.integer) : " other";
    }
    return words;
}

const std::string kPath = "/volume1/music/a.mp3"; // longer than a string holds without memory of its own

TEST(Batch, GivesItsWritesBackInOrder) {
    Batch batch;
    Add(&batch, 3, {Text(kPath), VELUDBValue::Integer(-7), VELUDBValue(), VELUDBValue::Real(0.5)});
    Add(&batch, -1, {Text("")});
    Add(&batch, 0, {});
    size_t position = 0;
    EXPECT_EQ("3 " + kPath + " -7 other other", Next(batch, &position));
    EXPECT_EQ("-1 ", Next(batch, &position));
    EXPECT_EQ("0", Next(batch, &position));
    EXPECT_EQ("end", Next(batch, &position));
    EXPECT_EQ(3U, batch.rows);
}

TEST(Batch, KnowsWhoAskedForAWrite) {
    Batch batch;
    Add(&batch, 1, {Text(kPath)}, 7);
    Add(&batch, 2, {}, UINT64_MAX);
    size_t position = 0;
    EXPECT_EQ("#7 1 " + kPath, Next(batch, &position));
    EXPECT_EQ("#18446744073709551615 2", Next(batch, &position));
}

TEST(Batch, AWriteThatDoesNotFitLeavesNothingBehind) {
    Batch batch;
    Add(&batch, 1, {Text(kPath)});
    const VELUDBValue longer_than_any = VELUDBValue::Text("", SIZE_MAX);
    EXPECT_THROW(Add(&batch, 2, {Text(kPath), longer_than_any}), std::length_error);
    Add(&batch, 3, {Text(kPath)});
    size_t position = 0;
    EXPECT_EQ("1 " + kPath, Next(batch, &position));
    EXPECT_EQ("3 " + kPath, Next(batch, &position));
    EXPECT_EQ("end", Next(batch, &position));
    EXPECT_EQ(2U, batch.rows);
}

} // namespace
