// SPDX-License-Identifier: GPL-2.0-or-later
//
// Searches as they are typed, and what is said of those that mean nothing.
#include "tools/veluctl/search/search_tree.h"

#include <gtest/gtest.h>

#include "tools/veluctl/search/bounds.h"
#include "tools/veluctl/search/search_fields.h"
#include "tools/veluctl/search/search_order.h"

namespace {

using Words = std::vector<std::string>;

std::string Shown(const SearchNode &node) {
    constexpr const char *kRelations[] = {"=", "~", "<", "<=", ">", ">="};
    const char *heads[] = {"(and", "(or", "(not"};
    switch (node.kind) {
    case SearchNode::Kind::words:
        return "'" + node.value + "'";
    case SearchNode::Kind::field:
        return node.name + kRelations[static_cast<size_t>(node.relation)] + "'" + node.value + "'";
    case SearchNode::Kind::has:
        return "has:" + node.name;
    case SearchNode::Kind::missing:
        return "missing:" + node.name;
    default:
        break;
    }
    std::string text = heads[static_cast<size_t>(node.kind)];
    for (const SearchNode &part : node.parts)
        text += " " + Shown(part);
    return text + ")";
}

std::string Parsed(const Words &words) {
    SearchNode tree;
    SearchProblem problem;
    return SearchParse(words, &tree, &problem) ? Shown(tree) : problem.what;
}

// What is marked of a search that means nothing.
std::string Marked(const Words &words) {
    SearchNode tree;
    SearchProblem problem;
    EXPECT_FALSE(SearchParse(words, &tree, &problem)) << Shown(tree);
    return SearchTextOf(words).substr(problem.place.at, problem.place.length);
}

std::string Complaint(const Words &words) {
    SearchNode tree;
    SearchProblem problem;
    EXPECT_FALSE(SearchParse(words, &tree, &problem)) << Shown(tree);
    return problem.what;
}

} // namespace

TEST(SearchTree, WordsSideBySideAllHold) {
    EXPECT_EQ(Parsed({"love"}), "'love'");
    EXPECT_EQ(Parsed({"love", "live"}), "(and 'love' 'live')");
    EXPECT_EQ(Parsed({" love \t live "}), "(and 'love' 'live')");
    EXPECT_EQ(Parsed({"\"feeling good\"", "love"}), "(and 'feeling good' 'love')");
}

TEST(SearchTree, OrPartsGroupsAndDashMeansNot) {
    EXPECT_EQ(Parsed({"a", "b", "or", "c", "OR", "-d"}), "(or (and 'a' 'b') 'c' (not 'd'))");
    EXPECT_EQ(Parsed({"-year=1999", "-has:cover", "-\"b c\""}),
              "(and (not year='1999') (not has:cover) (not 'b c'))");
    EXPECT_EQ(Parsed({"\"or\""}), "'or'");
    EXPECT_EQ(Parsed({"order", "nor"}), "(and 'order' 'nor')");
}

TEST(SearchTree, FieldsHaveARelationAndAValue) {
    EXPECT_EQ(Parsed({"artist=X", "title~part", "year=1990..1999", "duration>10:00", "track<=3", "disc>=2"}),
              "(and artist='X' title~'part' year='1990..1999' duration>'10:00' track<='3' disc>='2')");
    EXPECT_EQ(Parsed({"has:cover", "missing:year", "kind=film"}), "(and has:cover missing:year kind='film')");
    EXPECT_EQ(Parsed({"Artist=X"}), "Artist='X'");
}

TEST(SearchTree, WhatAShellHasTakenTheQuotesFromBelongsTogether) {
    EXPECT_EQ(Parsed({"artist=Nina Simone"}), "artist='Nina Simone'");
    EXPECT_EQ(Parsed({"artist=Nina", "Simone"}), "(and artist='Nina' 'Simone')");
    EXPECT_EQ(Parsed({"artist=Nina Simone year=1965 live"}), "(and artist='Nina Simone' year='1965' 'live')");
    EXPECT_EQ(Parsed({"artist=\"Nina Simone\" live"}), "(and artist='Nina Simone' 'live')");
    EXPECT_EQ(Parsed({"artist=Nina Simone -live or title~love"}),
              "(or (and artist='Nina Simone' (not 'live')) title~'love')");
    EXPECT_EQ(Parsed({"kind=film love"}), "(and kind='film' 'love')");
    EXPECT_EQ(Parsed({"codec=hevc love"}), "(and codec='hevc' 'love')");
}

TEST(SearchTree, OrdinaryTextStaysText) {
    for (const char *text :
         {"\"", "-", "100%_", "%", "AC/DC", "10:00", "1+1=2", "=", "Mission:", "what?", "(live)", "'"})
        EXPECT_EQ(Parsed({text}), std::string("'") + text + "'");
}

TEST(SearchTree, WhatMeansNothingIsMarked) {
    EXPECT_EQ(Marked({"love", "artits=X", "year=1990"}), "artits");
    EXPECT_EQ(Complaint({"artits=X"}),
              "there is no field artits; did you mean artist? (in quotes it is a text)");
    EXPECT_EQ(Complaint({"unheardof=X"}), "there is no field unheardof (in quotes it is a text)");
    EXPECT_EQ(Complaint({"has:covr"}), "there is no field covr; did you mean cover?");
    EXPECT_EQ(Marked({"has:covr"}), "covr");
    EXPECT_EQ(Marked({"love", "has:"}), "has:");
    EXPECT_EQ(Marked({"love", "artist="}), "artist=");
    EXPECT_EQ(Marked({"love", "\"abc"}), "\"");
    EXPECT_EQ(Marked({"a", "or"}), "or");
    EXPECT_EQ(Marked({"or", "a"}), "or");
    EXPECT_EQ(Marked({"a", "or", "OR", "b"}), "OR");
    EXPECT_EQ(Marked({"kind=flim"}), "flim");
    EXPECT_EQ(Marked({"kind~film"}), "kind");
    EXPECT_EQ(Marked({"artist:queen"}), "artist:");
    EXPECT_EQ(Complaint({}), "there is nothing to look for");
    EXPECT_EQ(Complaint({"", " "}), "there is nothing to look for");
}

TEST(SearchTree, LargeSearchesAreRefused) {
    EXPECT_EQ(Parsed(Words(kSearchTermsMax, "a")).substr(0, 8), "(and 'a'");
    EXPECT_EQ(Complaint(Words(kSearchTermsMax + 1, "a")), "a search has at most 64 words and fields");
    EXPECT_EQ(Parsed({std::string(kSearchValueMax, 'a')}), "'" + std::string(kSearchValueMax, 'a') + "'");
    EXPECT_EQ(Complaint({std::string(kSearchValueMax + 1, 'a')}), "a word has at most 256 bytes");
    const std::string path = "path=/" + std::string(kSearchTextMax - 6, 'a');
    EXPECT_EQ(Parsed({path}), "path='" + path.substr(5) + "'");
    EXPECT_EQ(Complaint({path + "a"}), "a search has at most 4096 bytes");
    EXPECT_EQ(Complaint({"a", path}), "a search has at most 4096 bytes");
}

TEST(SearchTree, TheMarkStandsUnderTheWord) {
    EXPECT_EQ(SearchMark("love artits=X", {5, 6}, 80), "  love artits=X\n       ^^^^^^\n");
    EXPECT_EQ(SearchMark("x or", {4, 0}, 80), "  x or\n      ^\n");
    EXPECT_EQ(SearchMark(std::string("a\x1B") + "b=1", {2, 1}, 80), "  a\\x1Bb=1\n       ^\n");
    for (const size_t at : {size_t{0}, size_t{30}, size_t{300}}) {
        const std::string mark =
            SearchMark(std::string(at, 'a') + "WRONG" + std::string(300, 'b'), {at, 5}, 40);
        const size_t line = mark.find('\n');
        EXPECT_LE(line, 40u);
        EXPECT_EQ(mark.substr(mark.find('^') - line - 1, 5), "WRONG") << mark;
    }
}

TEST(SearchOrder, NamesAndDirections) {
    std::vector<SearchOrderKey> order;
    SearchProblem problem;
    ASSERT_TRUE(SearchOrderRead("-year,title,files", &order, &problem));
    ASSERT_EQ(order.size(), 3u);
    EXPECT_TRUE(order[0].descending && !order[1].descending);
    EXPECT_STREQ(order[0].field->name, "year");
    EXPECT_EQ(order[2].field, &kFilesField);
    for (const auto &[text, marked] :
         {std::pair("year,yaer", "yaer"), {"-yaer", "yaer"}, {"year,,title", ""}, {"", ""}}) {
        order.clear();
        EXPECT_FALSE(SearchOrderRead(text, &order, &problem)) << text;
        EXPECT_EQ(std::string(text).substr(problem.place.at, problem.place.length), marked);
    }
    std::string many = "year";
    for (size_t i = 0; i < kSearchOrderMax; ++i)
        many += ",year";
    order.clear();
    EXPECT_FALSE(SearchOrderRead(many, &order, &problem));
    EXPECT_EQ(problem.what, "there are at most 8 fields");
}

TEST(SearchFields, EachNameIsThereOnceAndHasAPlace) {
    for (const SearchField &field : SearchFields()) {
        EXPECT_EQ(SearchFieldFind(field.name), &field) << field.name;
        bool has_place = false;
        for (const CatalogueTable &table : CatalogueTables()) {
            const FieldPlace place = FieldSourceOf(field, table, true).place;
            has_place = has_place || (place != FieldPlace::none && place != FieldPlace::missing);
        }
        EXPECT_TRUE(has_place) << field.name;
    }
}
