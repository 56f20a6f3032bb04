// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_order.h"

#include <algorithm>

#include "platform/letters.h"
#include "tools/veluctl/search/bounds.h"
#include "tools/veluctl/search/search_source.h"

namespace {

// What a fact of the field that stands at a place of the order is called in the statement.
std::string JoinedFactName(size_t at, size_t fact) {
    return "fact" + std::to_string(at) + "_" + std::to_string(fact);
}

FieldPlace PlaceOf(const SearchOrderKey &key, const SearchTarget &target) {
    return FieldSourceOf(*key.field, *target.table, target.facts).place;
}

// Of several facts the picture's, which stands behind, comes before the sound's.
void FactValuePut(const SearchField &field, size_t at, SqlText *query) {
    for (size_t fact = field.facts.size(); fact-- > 0;) {
        if (field.facts[fact] != nullptr)
            query->Add(JoinedFactName(at, fact)).Add(".value").Add(fact > 0 ? ", " : "");
    }
}

} // namespace

bool SearchOrderRead(std::string_view text, std::vector<SearchOrderKey> *order, SearchProblem *problem) {
    size_t at = 0;
    while (at <= text.size()) {
        const size_t end = std::min(text.find(',', at), text.size());
        std::string_view name = text.substr(at, end - at);
        const bool descending = name.starts_with('-');
        name.remove_prefix(descending ? 1 : 0);
        const SearchPlace place = {at + (descending ? 1 : 0), name.size()};
        const SearchField *field = IsSame(name, kFilesField.name) ? &kFilesField : SearchFieldFind(name);
        if (name.empty())
            return SearchWrong(problem, "a field is missing", place);
        if (field == nullptr)
            return SearchWrong(problem, "there is no field " + std::string(name) + SearchFieldHint(name),
                               place);
        if (order->size() == kSearchOrderMax)
            return SearchWrong(problem, "there are at most " + std::to_string(kSearchOrderMax) + " fields",
                               place);
        order->push_back({field, place, descending});
        at = end + 1;
    }
    return true;
}

void SearchJoinsPut(const std::vector<SearchOrderKey> &order, SearchTarget *target, bool each_value,
                    SqlText *query) {
    const bool wanted = std::any_of(order.begin(), order.end(), [&](const SearchOrderKey &key) {
        const FieldPlace place = PlaceOf(key, *target);
        return place == FieldPlace::state || place == FieldPlace::fact;
    });
    target->state_joined = wanted;
    if (!wanted)
        return;
    query->Add(" left join file_state on file_state.path = ");
    query->Add(QualifiedName(*target->table, target->table->key));
    for (size_t at = 0; at < order.size(); ++at) {
        const SearchField &field = *order[at].field;
        if (PlaceOf(order[at], *target) != FieldPlace::fact)
            continue;
        for (size_t fact = 0; fact < field.facts.size() && field.facts[fact] != nullptr; ++fact) {
            const std::string name = JoinedFactName(at, fact);
            query->Add(" left join file_fact " + name + " on " + name + ".file = file_state.id and " + name);
            query->Add(".name = (select id from fact_name where name = ").Put(field.facts[fact]).Add(")");
            query->Add(each_value ? "" : " and " + name + ".position = 0");
        }
    }
}

bool SearchValuePut(const std::vector<SearchOrderKey> &order, size_t at, const SearchTarget &target,
                    bool for_sorting, SqlText *query, SearchProblem *problem) {
    const SearchOrderKey &key = order[at];
    FieldSource source = {};
    if (!SearchSourceFind(*key.field, key.place, target, &source, problem))
        return false;
    if (source.place == FieldPlace::kind) {
        query->Add("cast(").Put(target.table->kind).Add(" as text)");
        return true;
    }
    if (source.place == FieldPlace::made) {
        query->Add(MadeNumber(*key.field, *target.table));
        return true;
    }
    if (source.kind == FieldKind::boolean) {
        query->Add(QualifiedName(*target.table, source.column->name));
        return true;
    }
    const bool text = FieldIsText(source.kind) || source.kind == FieldKind::date;
    query->Add(text && for_sorting ? "lower(coalesce(" : "(coalesce(");
    if (source.place == FieldPlace::column && source.kind == FieldKind::date) {
        query->Add(DateColumn(*source.column, target));
    } else if (source.place == FieldPlace::column) {
        query->Add(QualifiedName(*target.table, source.column->name));
    } else if (source.place == FieldPlace::state) {
        query->Add("file_state.").Add(key.field->name);
    } else if (text) {
        FactValuePut(*key.field, at, query);
    } else {
        query->Add("cast(");
        FactValuePut(*key.field, at, query);
        query->Add(" as ").Add(target.words->real).Add(")");
    }
    query->Add(text ? ", ''))" : ", 0))");
    return true;
}
