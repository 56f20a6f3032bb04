// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/location.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Tags {
    Tags() = default;
    Tags(const Tags &) = delete;
    Tags &operator=(const Tags &) = delete;
    ~Tags() { av_dict_free(&all); }
    AVDictionary *all = nullptr;
};

// The numbers that were found, one behind the other.
std::string Found(const char *place) {
    Tags tags;
    av_dict_set(&tags.all, "location", place, 0);
    FactList facts;
    LocationRead(tags.all, &facts);
    std::string text;
    for (const Fact &fact : facts.facts)
        text += std::to_string(fact.number) + " ";
    return text;
}

TEST(FilmLocation, IsTakenAsWritten) {
    EXPECT_EQ(Found("+48.8577+002.2950+035.000/"), "48.857700 2.295000 35.000000 ");
    EXPECT_EQ(Found("-33.8568-151.2153/"), "-33.856800 -151.215300 ");
    EXPECT_EQ(Found("+48-002"), "48.000000 -2.000000 ");
    EXPECT_EQ(Found("+10.5+020.5-003.5CRSWGS_84/"), "10.500000 20.500000 -3.500000 ");
}

TEST(FilmLocation, WhatIsNoPlaceGivesNone) {
    for (const char *place : {"", "/", "+", "+48.8577", "48.8577+2.2950", "+91+000/", "+48+181/", "+nan+000/",
                              "+1e3+000/", "+-5+000/", "+48.8577,+002.2950/"})
        EXPECT_EQ(Found(place), "") << place;
}

} // namespace
