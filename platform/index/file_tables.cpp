// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/file_tables.h"

#include <string.h>
#include <syslog.h>
#include <time.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/index/added_time.h"
#include "platform/index/file_folding.h"
#include "platform/index/schema.h"
#include "platform/index/statements.h"
#include "platform/index/store.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "file_tables.c";

constexpr int kRowsAtOnce = 500;

struct Filled {
    std::string path;
    std::string added;
};

// Writes the states of files that were catalogued before there were any.
bool StatesAdd(VELUDB *db, int insert, const std::vector<Filled> &files) {
    std::vector<VELUDBValue> values(2 * kStatesAtOnce);
    for (size_t at = 0; at < files.size(); at += kStatesAtOnce) {
        for (size_t i = 0; i < kStatesAtOnce; ++i) {
            const bool there = at + i < files.size();
            const Filled none;
            const Filled &file = there ? files[at + i] : none;
            values[2 * i] = there ? VELUDBValue::Text(file.path.data(), file.path.size()) : VELUDBValue();
            values[2 * i + 1] =
                there ? VELUDBValue::Text(file.added.data(), file.added.size()) : VELUDBValue();
        }
        if (VELUDBRun(db, insert, values.data(), values.size(), nullptr) < 0)
            return false;
    }
    return true;
}

// Gives each row of a table that lacks one a state.
bool TableFill(VELUDB *db, const char *table, int insert) {
    const int select =
        VELUDBPrepare(db, StatementText(StatementOf(StoreOperation::rowsWithoutState, table)).c_str());
    if (select < 0)
        return false;
    const std::string now = AddedTimeText(time(nullptr));
    std::string last;
    for (;;) {
        const VELUDBValue values[] = {VELUDBValue::Text(last.data(), last.size()),
                                      VELUDBValue::Integer(kRowsAtOnce)};
        const ResultHandle rows = VELUDBRunQuery(db, select, values, std::size(values));
        if (rows == nullptr)
            return false;
        std::vector<Filled> files;
        for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;)
            files.push_back({VELUDBFetchText(rows.get(), row, "path"),
                             AddedTimeOf(VELUDBFetchText(rows.get(), row, "create_time"),
                                         VELUDBFetchText(rows.get(), row, "modify_time"), now)});
        if (!StatesAdd(db, insert, files))
            return false;
        if (files.size() < static_cast<size_t>(kRowsAtOnce))
            return true;
        last = files.back().path;
    }
}

bool Executed(VELUDB *db, const std::string &sql) {
    return VELUDBExecute(db, sql.c_str(), nullptr) >= 0;
}

// Triggers keep states and rows in step; what has come about without them (an emptied table of a server, a catalogue from
// a copy) is mended here.
bool Reconcile(VELUDB *db) {
    if (!Executed(db, "update file_state set stamp = '', trouble = '' where stamp <> '' or trouble <> ''") ||
        !Executed(db, StatementText(StatementOf(StoreOperation::removeLostStates))) ||
        !Executed(db,
                  "delete from file_fact where not exists (select 1 from file_state s where s.id = file)") ||
        !Executed(db,
                  "delete from file_entry where not exists (select 1 from file_state s where s.id = file)"))
        return false;
    const int insert = VELUDBPrepare(db, StatementText(StatementOf(StoreOperation::addStates)).c_str());
    return insert >= 0 && std::all_of(std::begin(kMediaTables), std::end(kMediaTables),
                                      [&](const char *table) { return TableFill(db, table, insert); });
}

bool RulesNote(VELUDB *db, RuleSet rules) {
    return Executed(db, "delete from file_rules") &&
           Executed(db, std::string("insert into file_rules (rules) values ('") + RuleSetWord(rules) + "')");
}

// Whether the catalogue was last written by other rules; -1 when that cannot be told.
int RulesDiffer(VELUDB *db, RuleSet rules) {
    int differ = -1;
    return StoreAlone(db, Catalogue::media,
                      [&] {
                          const ResultHandle rows = VELUDBQuery(db, "select rules from file_rules");
                          if (rows == nullptr)
                              return -1;
                          differ =
                              std::string_view(VELUDBFetchText(rows.get(), 0, "rules")) != RuleSetWord(rules)
                                  ? 1
                                  : 0;
                          return 0;
                      }) < 0
               ? -1
               : differ;
}

int RulesFollow(VELUDB *db, RuleSet rules) {
    const int differ = RulesDiffer(db, rules);
    if (differ <= 0)
        return differ;
    return StoreTogether(db, Catalogue::media, [&] {
        return (rules == RuleSet::appliance || Reconcile(db)) && RulesNote(db, rules);
    });
}

} // namespace

int FileStatesReconcile(VELUDB *db) {
    return StoreTogether(db, Catalogue::media, [&] { return Reconcile(db); });
}

int FileTablesReady(VELUDB *db, RuleSet rules, bool *present, bool tell) {
    if (rules == RuleSet::appliance) {
        // A newer program's tables are its own affair, and follow the rows as these do.
        *present = *present && FileSchemaIsOurs(db);
        if (!*present)
            return 0;
    } else if (FileSchemaApply(db, tell) != 0) {
        return -1;
    }
    *present = true;
    if (RulesFollow(db, rules) == 0 && (rules == RuleSet::appliance || FilesFoldAgain(db) == 0))
        return 0;
    if (tell)
        syslog(LOG_ERR, "%s (%d) Failed to prepare the %s for the rules \"%s\". (%s)", kLogName, __LINE__,
               CatalogueName(Catalogue::media), RuleSetWord(rules), VELUDBErrorGet(db));
    return -1;
}
