// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_order.h"

#include <algorithm>

#include "platform/letters.h"
#include "tools/veluctl/search/bounds.h"
#include "tools/veluctl/search/search_source.h"

namespace {

void FirstFactPut(const SearchField &field, const std::string &path, SqlText *query) {
    query->Add("(select value from fact where fact.path = ").Add(path).Add(" and name ");
    FactNamesPut(field, query);
    // Of several names the picture's comes before the sound's.
    query->Add(" order by name desc, position limit 1)");
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

bool SearchValuePut(const SearchOrderKey &key, const SearchTarget &target, bool for_sorting, SqlText *query,
                    SearchProblem *problem) {
    FieldSource source = {};
    if (!SearchSourceFind(*key.field, key.place, target, &source, problem))
        return false;
    const std::string path = QualifiedName(*target.table, target.table->key);
    if (source.place == FieldPlace::kind) {
        query->Add("cast(").Put(target.table->kind).Add(" as text)");
        return true;
    }
    if (source.kind == FieldKind::boolean) {
        query->Add(QualifiedName(*target.table, source.column->name));
        return true;
    }
    const bool text = FieldIsText(source.kind) || source.kind == FieldKind::date;
    query->Add(text && for_sorting ? "lower(coalesce(" : "(coalesce(");
    if (source.place == FieldPlace::column) {
        query->Add(QualifiedName(*target.table, source.column->name));
    } else if (source.place == FieldPlace::state) {
        query->Add("(select ").Add(key.field->name).Add(" from file_state where file_state.path = ");
        query->Add(path).Add(")");
    } else {
        query->Add(text ? "" : "cast(");
        FirstFactPut(*key.field, path, query);
        query->Add(text ? "" : " as ").Add(text ? "" : target.words->real).Add(text ? "" : ")");
    }
    query->Add(text ? ", ''))" : ", 0))");
    return true;
}
