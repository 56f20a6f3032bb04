// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_field_sql.h"

#include "platform/folding/folding.h"
#include "platform/folding/language_words.h"
#include "platform/limits.h"
#include "tools/veluctl/search/bounds.h"
#include "tools/veluctl/search/search_source.h"
#include "tools/veluctl/search/search_values.h"
#include "tools/veluctl/search/text_match.h"

namespace {

// A folded text that was cut has at least so many characters.
constexpr size_t kCutCharacters = (kFactFoldedMax - 3) / 4;

struct Putting {
    const SearchTarget &target;
    SqlText *query;
    SearchProblem *problem;

    [[nodiscard]] std::string Name(const char *column) const { return QualifiedName(*target.table, column); }
};

bool RelationCheck(const SearchNode &node, FieldKind kind, SearchProblem *problem) {
    const bool for_text = node.relation == SearchRelation::is || node.relation == SearchRelation::holds;
    if (FieldIsText(kind) && !for_text)
        return SearchWrong(problem, node.name + " is a text: = and ~ look into it", node.name_place);
    if (!FieldIsText(kind) && node.relation == SearchRelation::holds)
        return SearchWrong(problem, node.name + " is no text: ~ does not apply, = < > <= >= do",
                           node.name_place);
    const bool is_yes_or_no = kind == FieldKind::flag || kind == FieldKind::boolean;
    if (is_yes_or_no && node.relation != SearchRelation::is)
        return SearchWrong(problem, node.name + " is yes or no: write " + node.name + "=yes",
                           node.name_place);
    return true;
}

// `value` is an expression of the kind's type, `type` what a bound becomes.
void RangePut(const std::string &value, const char *type, const ValueRange &range, SqlText *query) {
    const char *joint = "";
    const auto bound = [&](const std::optional<std::string> &one, const char *sign) {
        if (!one)
            return;
        query->Add(joint).Add(value).Add(sign);
        if (type != nullptr)
            query->Add("cast(").Put(*one).Add(" as ").Add(type).Add(")");
        else
            query->Put(*one);
        joint = " and ";
    };
    query->Add("(");
    bound(range.low, range.has_low ? " >= " : " > ");
    bound(range.high, range.has_high ? " <= " : " < ");
    query->Add(")");
}

// An unknown number is 0.
void UnknownRuleOut(ValueRange *range) {
    if (range->low)
        return;
    range->low = "0";
    range->has_low = false;
}

// Of columns: an unknown number is 0, and what is no date at all begins with a letter.
void ColumnRangePut(const FieldSource &source, ValueRange range, const Putting &to) {
    const std::string name = to.Name(source.column->name);
    if (source.kind == FieldKind::date) {
        const std::string date = DateColumn(*source.column, to.target);
        constexpr char kBehindDigits[] = ":";
        if (!range.low)
            range.low = "0";
        if (!range.high) {
            range.high = kBehindDigits;
            range.has_high = false;
        }
        return RangePut(date, nullptr, range, to.query);
    }
    const bool has_unknown = to.target.table->is_media && source.kind != FieldKind::flag;
    if (has_unknown)
        UnknownRuleOut(&range);
    RangePut(name, to.target.words->real, range, to.query);
}

bool ColumnPut(const SearchNode &node, const FieldSource &source, const Putting &to) {
    const std::string name = to.Name(source.column->name);
    if (source.kind == FieldKind::path && node.relation == SearchRelation::is) {
        to.query->Add(name).Add(" = ").Put(node.value);
        return true;
    }
    if (FieldIsText(source.kind)) {
        const std::string folded = TextFolded(node.value, kSearchTextMax);
        if (node.relation == SearchRelation::is)
            TextIsPut(name, folded, *to.target.words, to.query);
        else
            TextHoldsPut({name}, folded, *to.target.words, to.query);
        return true;
    }
    ValueRange range;
    if (!ValueRangeRead(node, source.kind, DateForm::local, &range, to.problem))
        return false;
    if (source.kind == FieldKind::boolean)
        to.query->Add(name).Add(" = ").Put(*range.low == "1" ? "t" : "f");
    else
        ColumnRangePut(source, range, to);
    return true;
}

bool MadeConditionPut(const SearchNode &node, const SearchField &field, FieldKind kind, const Putting &to) {
    ValueRange range;
    if (!ValueRangeRead(node, kind, DateForm::local, &range, to.problem))
        return false;
    UnknownRuleOut(&range);
    RangePut(MadeNumber(field, *to.target.table), to.target.words->real, range, to.query);
    return true;
}

// The values that may hold a text are looked for among the values, which are fewer than the facts.
void SharedValuesPut(const SearchField &field, const std::string &folded, const Putting &to) {
    const char *joint = " in (";
    to.query->Add(kFactFolded);
    for (const char *fact : field.facts) {
        if (fact == nullptr)
            continue;
        to.query->Add(joint).Add("select value from (").Add(FactValuesFound(fact));
        to.query->Add("select value from found) v where value like ").Put(LikePattern(folded));
        to.query->Add(" or length(value) >= ").Add(std::to_string(kCutCharacters));
        joint = " union all ";
    }
    to.query->Add(") and ");
}

// A text that is longer than what is kept of it folded is looked into as well.
void FactTextPut(const SearchNode &node, const SearchField &field, const Putting &to) {
    const std::string folded = TextFolded(node.value, kFactFoldedMax);
    if (node.relation == SearchRelation::is) {
        const std::vector<std::string> words =
            FieldIsLanguage(field) ? LanguageWords(folded) : std::vector<std::string>{folded};
        for (const std::string &word : words)
            to.query->Add(&word == &words.front() ? std::string(kFactFolded) + " in (" : ", ").Put(word);
        to.query->Add(")");
        return;
    }
    if (FieldIsShared(field))
        SharedValuesPut(field, folded, to);
    const std::string cut = std::string("(length(") + kFactFolded + ") >= " + std::to_string(kCutCharacters);
    to.query->Add("(")
        .Add(kFactFolded)
        .Add(" like ")
        .Put(LikePattern(folded))
        .Add(" or ")
        .Add(cut)
        .Add(" and ");
    TextHoldsPut({"f.value"}, folded, *to.target.words, to.query);
    to.query->Add("))");
}

// An engine may look at the values of other names first, which need not be numbers.
void NumberFactsPut(const SearchField &field, const Putting &to) {
    to.query->Add("(select path, cast(case when name ");
    FactNamesPut(field, to.query);
    to.query->Add(" then value else '0' end as ")
        .Add(to.target.words->real)
        .Add(") as number from fact where name ");
    FactNamesPut(field, to.query);
    to.query->Add(") numbers where ");
}

// By the tables of the view: a cross join has SQLite begin with the facts, which it finds by their values, whatever it expects of them.
void FactsPut(const SearchField &field, const Putting &to) {
    to.query->Add("file_fact f cross join file_state fs where fs.id = f.file and f.name in (select id from "
                  "fact_name where name ");
    FactNamesPut(field, to.query);
    to.query->Add(") and ");
}

bool FactPut(const SearchNode &node, const SearchField &field, const Putting &to) {
    ValueRange range;
    if (!FieldIsText(field.kind) && !ValueRangeRead(node, field.kind, DateForm::local, &range, to.problem))
        return false;
    to.query->Add(to.Name(to.target.table->key)).Add(" in (select path from ");
    if (field.kind == FieldKind::number) {
        NumberFactsPut(field, to);
        RangePut("number", to.target.words->real, range, to.query);
    } else {
        FactsPut(field, to);
        if (FieldIsText(field.kind))
            FactTextPut(node, field, to);
        else
            RangePut("f.value", nullptr, range, to.query);
    }
    to.query->Add(")");
    return true;
}

// Every file has a state: to ask each for its own takes less than to gather and sort those that fit. Returns the name of the states in
// the condition.
const char *StateBegin(const Putting &to) {
    if (to.target.state_joined) {
        to.query->Add("(");
        return "file_state.";
    }
    to.query->Add("exists (select 1 from file_state s where s.path = ")
        .Add(to.Name(to.target.table->key))
        .Add(" and ");
    return "s.";
}

bool StatePut(const SearchNode &node, const SearchField &field, const Putting &to) {
    ValueRange range;
    if (!FieldIsText(field.kind) && !ValueRangeRead(node, field.kind, DateForm::utc, &range, to.problem))
        return false;
    const std::string name = std::string(StateBegin(to)) + field.name;
    const std::string folded = TextFolded(node.value, kSearchTextMax);
    if (!FieldIsText(field.kind))
        RangePut(name, nullptr, range, to.query);
    else if (node.relation == SearchRelation::is)
        TextIsPut(name, folded, *to.target.words, to.query);
    else
        TextHoldsPut({name}, folded, *to.target.words, to.query);
    to.query->Add(")");
    return true;
}

} // namespace

bool FieldConditionPut(const SearchNode &node, const SearchTarget &target, SqlText *query,
                       SearchProblem *problem) {
    const Putting to = {target, query, problem};
    const SearchField &field = *SearchFieldFind(node.name);
    FieldSource source = {};
    if (!SearchSourceFind(field, node.name_place, target, &source, problem) ||
        !RelationCheck(node, source.kind, problem))
        return false;
    switch (source.place) {
    case FieldPlace::column:
        return ColumnPut(node, source, to);
    case FieldPlace::fact:
        return FactPut(node, field, to);
    case FieldPlace::state:
        return StatePut(node, field, to);
    case FieldPlace::made:
        return MadeConditionPut(node, field, source.kind, to);
    case FieldPlace::kind:
        query->Add(SearchKindFind(node.value) == target.table ? kSqlYes : kSqlNo);
        return true;
    case FieldPlace::missing:
    case FieldPlace::none:
        break;
    }
    return false;
}

bool PresencePut(const SearchNode &node, const SearchTarget &target, SqlText *query, SearchProblem *problem) {
    const Putting to = {target, query, problem};
    const SearchField &field = *SearchFieldFind(node.name);
    FieldSource source = {};
    if (!SearchSourceFind(field, node.name_place, target, &source, problem))
        return false;
    switch (source.place) {
    case FieldPlace::column:
        if (source.kind == FieldKind::boolean)
            return SearchWrong(problem, node.name + " is yes or no: write " + node.name + "=yes",
                               node.name_place);
        query->Add("coalesce(").Add(to.Name(source.column->name));
        query->Add(TypeIsText(source.column->type) ? ", '') <> ''" : ", 0) <> 0");
        return true;
    case FieldPlace::fact:
        query->Add(to.Name(target.table->key)).Add(" in (select path from fact where name ");
        FactNamesPut(field, query);
        query->Add(")");
        return true;
    case FieldPlace::state:
        query->Add(StateBegin(to)).Add(field.name).Add(" <> '')");
        return true;
    case FieldPlace::made:
        query->Add("(").Add(MadeNumber(field, *target.table)).Add(") <> 0");
        return true;
    case FieldPlace::kind:
        query->Add(kSqlYes);
        return true;
    case FieldPlace::missing:
    case FieldPlace::none:
        break;
    }
    return false;
}
