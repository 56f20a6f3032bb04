// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_sql.h"

#include <algorithm>

#include "platform/folding/folding.h"
#include "tools/veluctl/search/bounds.h"
#include "tools/veluctl/search/search_field_sql.h"
#include "tools/veluctl/search/search_fields.h"
#include "tools/veluctl/search/text_match.h"

namespace {

// What is known of a condition from a row's kind alone.
enum class Truth { no, maybe, yes };

Truth TruthOf(const SearchNode &node, const CatalogueTable &table) {
    const auto of_parts = [&](Truth all, Truth one) {
        // `one` decides, else what is not decided leaves it open.
        Truth truth = all;
        for (const SearchNode &part : node.parts) {
            const Truth of_part = TruthOf(part, table);
            if (of_part == one)
                return one;
            truth = of_part == Truth::maybe ? Truth::maybe : truth;
        }
        return truth;
    };
    switch (node.kind) {
    case SearchNode::Kind::all_of:
        return of_parts(Truth::yes, Truth::no);
    case SearchNode::Kind::any_of:
        return of_parts(Truth::no, Truth::yes);
    case SearchNode::Kind::none_of: {
        const Truth part = TruthOf(node.parts.front(), table);
        return part == Truth::maybe ? part : part == Truth::no ? Truth::yes : Truth::no;
    }
    default:
        break;
    }
    if (!node.name.empty() && FieldIsNever(*SearchFieldFind(node.name), table))
        return Truth::no;
    if (!SearchIsKind(node))
        return Truth::maybe;
    return SearchKindFind(node.value) == &table ? Truth::yes : Truth::no;
}

bool PartsPut(const SearchNode &node, const char *joint, const SearchTarget &target, SqlText *query,
              SearchProblem *problem) {
    query->Add("(").Add(node.parts.empty() ? kSqlYes : "");
    for (size_t i = 0; i < node.parts.size(); ++i) {
        query->Add(i == 0 ? "" : joint);
        if (!SearchConditionPut(node.parts[i], target, query, problem))
            return false;
    }
    query->Add(")");
    return true;
}

void WordsPut(const SearchNode &node, const SearchTarget &target, SqlText *query) {
    std::vector<std::string> names;
    for (const char *column : target.table->texts)
        names.push_back(QualifiedName(*target.table, column));
    TextHoldsPut(names, TextFolded(node.value, kSearchTextMax), *target.words, query);
}

bool MissingPut(const SearchNode &node, const SearchTarget &target, SqlText *query, SearchProblem *problem) {
    query->Add("(");
    if (!PresencePut(node, target, query, problem))
        return false;
    query->Add(") is not true");
    if (!FieldIsExpected(*SearchFieldFind(node.name), *target.table))
        query->Add(" and ").Add(kSqlNo);
    return true;
}

} // namespace

bool SearchMayMean(const SearchNode &tree, const CatalogueTable &table) {
    return TruthOf(tree, table) != Truth::no;
}

bool SearchNames(const SearchNode &tree, const CatalogueTable &table) {
    if (SearchIsKind(tree))
        return SearchKindFind(tree.value) == &table;
    return tree.kind != SearchNode::Kind::none_of &&
           std::any_of(tree.parts.begin(), tree.parts.end(),
                       [&](const SearchNode &part) { return SearchNames(part, table); });
}

bool SearchConditionPut(const SearchNode &tree, const SearchTarget &target, SqlText *query,
                        SearchProblem *problem) {
    switch (tree.kind) {
    case SearchNode::Kind::all_of:
        return PartsPut(tree, " and ", target, query, problem);
    case SearchNode::Kind::any_of:
        return PartsPut(tree, " or ", target, query, problem);
    case SearchNode::Kind::none_of:
        if (!PartsPut(tree, "", target, query, problem))
            return false;
        query->Add(" is not true");
        return true;
    case SearchNode::Kind::words:
        WordsPut(tree, target, query);
        return true;
    case SearchNode::Kind::field:
        return FieldConditionPut(tree, target, query, problem);
    case SearchNode::Kind::has:
        return PresencePut(tree, target, query, problem);
    case SearchNode::Kind::missing:
        return MissingPut(tree, target, query, problem);
    }
    return false;
}
