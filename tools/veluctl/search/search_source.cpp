// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_source.h"

#include "tools/veluctl/search/resolution.h"

namespace {

// Where a text is like this, something stands in the place of its bytes behind the first few.
struct DateStep {
    const char *like;
    size_t keep;
    const char *put;
    size_t leave_out;
};
constexpr DateStep kColons[] = {{"____:%", 4, "-", 1}, {"____-__:%", 7, "-", 1}};
constexpr DateStep kSingleDigits[] = {{"____-_-%", 5, "0", 0}, {"____-__-_ %", 8, "0", 0}};

std::string DateStepSql(const std::string &date, const DateStep &step) {
    return "case when " + date + " like '" + step.like + "' then substr(" + date + ", 1, " +
           std::to_string(step.keep) + ") || '" + step.put + "' || substr(" + date + ", " +
           std::to_string(step.keep + step.leave_out + 1) + ") else " + date + " end";
}

} // namespace

std::string DateColumn(const Column &column, const SearchTarget &target) {
    std::string date = QualifiedName(*target.table, column.name);
    if (target.complete || column.name != std::string_view("date_taken"))
        return date;
    for (const DateStep &step : target.table->is_media ? kSingleDigits : kColons)
        date = DateStepSql(date, step);
    return date;
}

bool SearchSourceFind(const SearchField &field, SearchPlace place, const SearchTarget &target,
                      FieldSource *source, SearchProblem *problem) {
    *source = FieldSourceOf(field, *target.table, target.facts);
    const std::string name = field.name;
    if (source->place == FieldPlace::missing && target.complete)
        return SearchWrong(
            problem, name + " is known once a run by the rules complete has filled the catalogue", place);
    if (source->place == FieldPlace::missing)
        return SearchWrong(problem,
                           name + " has no column: it is kept by the rules complete alone, and these are "
                                  "the rules appliance (key rules)",
                           place);
    if (source->place == FieldPlace::none)
        return SearchWrong(
            problem, std::string("rows of the kind ") + target.table->kind + " have no field " + name, place);
    return true;
}

std::string MadeNumber(const SearchField &field, const CatalogueTable &table) {
    if (field.kind == FieldKind::year) {
        const std::string date = QualifiedName(table, "date_taken");
        const std::string digits = "substr(" + date + ", 1, 4)";
        return "case when " + date + " like '____%' and trim(" + digits + ", '0123456789') = '' then cast(" +
               digits + " as integer) else 0 end";
    }
    return table.kind == kKindOfFilms
               ? ResolutionSql(QualifiedName(table, "width"), QualifiedName(table, "height"))
               : "0";
}

std::string FactValuesFound(const std::string &fact) {
    const std::string value = kFactFolded;
    const std::string least = "select min(" + value +
                              ") from file_fact f where f.name = (select id from fact_name where name = '" +
                              fact + "')";
    return "with recursive found(value) as (" + least + " union all select (" + least + " and " + value +
           " > found.value) from found where found.value is not null) ";
}

void FactNamesPut(const SearchField &field, SqlText *query) {
    const char *joint = "in (";
    for (const char *fact : field.facts) {
        if (fact == nullptr)
            continue;
        query->Add(joint).Put(fact);
        joint = ", ";
    }
    query->Add(")");
}
