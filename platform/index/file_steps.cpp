// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tables about files that the rules `complete` bring, as a list of steps. Triggers keep them in step with the media rows,
// so that it does not matter who writes those: this program by any rules, one that is older, or another one.
#include "platform/index/schema.h"

#include "platform/db/words.h"

namespace {

bool TriggersHoldStatements(const VELUDBWords &engine) {
    return !engine.triggers_call;
}

bool TriggersCall(const VELUDBWords &engine) {
    return engine.triggers_call;
}

#define IN_NO_TABLE                                                                                          \
    "not exists (select 1 from music t where t.path = old.path) and "                                        \
    "not exists (select 1 from video t where t.path = old.path) and "                                        \
    "not exists (select 1 from photo t where t.path = old.path) and "                                        \
    "not exists (select 1 from playlist t where t.path = old.path)"

// Whoever saves a row has not said of what state its file is: that comes behind, from those who know. What a save writes
// and a look at the file does not is `duration`.
#define ROW_SAVED(now)                                                                                       \
    "insert into file_state (path, stamp, added, trouble) values (new.path, '', " now ", '') "               \
    "on conflict (path) do update set stamp = '' where file_state.stamp <> ''; "

// A row that moves takes along what is known of its file.
#define ROW_MOVED                                                                                            \
    "delete from file_state where path = new.path; "                                                         \
    "update file_state set path = new.path, folded_name = null where path = old.path; "

#define ENTRIES_REMOVED                                                                                      \
    "delete from file_entry where file = (select id from file_state where path = old.path); "

#define FINDINGS_REMOVED                                                                                     \
    "delete from file_fact where file = old.id; delete from file_entry where file = old.id; "

// Entries are to be looked at again whose file comes, goes or gets another path, and those of a playlist that is elsewhere.
#define ENTRIES_UNRESOLVED(condition)                                                                        \
    "update file_entry set unresolved = 1 where unresolved is null and " condition "; "
#define FILE_NAMED                                                                                           \
    ENTRIES_UNRESOLVED("folded_name = old.folded_name")                                                      \
    ENTRIES_UNRESOLVED("folded_name = new.folded_name")                                                      \
    ENTRIES_UNRESOLVED("folded_name is not null and file = new.id and new.path <> old.path")
#define FILE_GONE ENTRIES_UNRESOLVED("folded_name = old.folded_name")

#define SQLITE_NOW "strftime('%Y-%m-%dT%H:%M:%SZ', 'now')"
#define SERVER_NOW "to_char(now() at time zone 'UTC', 'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"')"

#define HOLDS_OF(version, sql)                                                                               \
    { version, Catalogue::media, TriggersHoldStatements, sql }
#define CALLS_OF(version, sql)                                                                               \
    { version, Catalogue::media, TriggersCall, sql }
#define FUNCTION_OF(version, name, body)                                                                     \
    CALLS_OF(version, "create function " name "() returns trigger language plpgsql as $$ begin " body        \
                      "return null; end $$")
#define HOLDS(sql) HOLDS_OF(1, sql)
#define CALLS(sql) CALLS_OF(1, sql)
#define FUNCTION(name, body) FUNCTION_OF(1, name, body)

// The triggers of a media table.
#define TRIGGERS_OF(table)                                                                                   \
    HOLDS("create trigger " table "_added after insert on " table " begin " ROW_SAVED(SQLITE_NOW) "end"),    \
        HOLDS("create trigger " table "_saved after update of duration on " table                            \
              " begin " ROW_SAVED(SQLITE_NOW) "end"),                                                        \
        HOLDS("create trigger " table "_moved after update of path on " table                                \
              " when old.path <> new.path begin " ROW_MOVED "end"),                                          \
        HOLDS("create trigger " table "_removed after delete on " table " when " IN_NO_TABLE                 \
              " begin delete from file_state where path = old.path; end"),                                   \
        CALLS("create trigger " table "_saved after insert or update of duration on " table                  \
              " for each row execute function velu_row_saved()"),                                            \
        CALLS("create trigger " table "_moved after update of path on " table                                \
              " for each row when (old.path <> new.path) execute function velu_row_moved()"),                \
        CALLS("create trigger " table "_removed after delete on " table                                      \
              " for each row execute function velu_row_removed()")

constexpr SchemaStep kSteps[] = {
    {1, Catalogue::media, nullptr,
     "create table file_state (id SERIAL primary key, path PATH not null unique, stamp text not null, "
     "added text not null, trouble text not null, folded_name PATH)"},
    {1, Catalogue::media, nullptr, "create index file_state_folded_name on file_state (folded_name)"},
    {1, Catalogue::media, nullptr,
     "create table fact_name (id SERIAL primary key, name PATH not null unique)"},
    // `folded` is null where it is the value itself, as of most facts.
    {1, Catalogue::media, nullptr,
     "create table file_fact (file bigint not null, name integer not null, position integer not null, "
     "value PATH not null, folded PATH, primary key (file, name, position)) CLUSTERED"},
    {1, Catalogue::media, nullptr,
     "create index file_fact_folded on file_fact (name, coalesce(folded, value))"},
    {1, Catalogue::media, nullptr,
     "create view fact as select s.path as path, n.name as name, f.position as position, f.value as value, "
     "coalesce(f.folded, f.value) as folded from file_fact f join fact_name n on n.id = f.name "
     "join file_state s on s.id = f.file"},
    {1, Catalogue::media, nullptr,
     "create table file_entry (file bigint not null, position integer not null, target text not null, "
     "found text not null, folded_name PATH, primary key (file, position)) CLUSTERED"},
    {1, Catalogue::media, nullptr, "create index file_entry_folded_name on file_entry (folded_name)"},
    {1, Catalogue::media, nullptr,
     "create view playlist_entry as select s.path as path, e.position as position, e.target as target, "
     "e.found as found from file_entry e join file_state s on s.id = e.file"},
    {1, Catalogue::media, nullptr, "create table file_rules (rules text not null)"},
    FUNCTION("velu_row_saved", ROW_SAVED(SERVER_NOW)),
    FUNCTION("velu_row_moved", ROW_MOVED),
    FUNCTION("velu_row_removed", "if tg_table_name = 'playlist' then " ENTRIES_REMOVED "end if; "
                                 "delete from file_state where path = old.path and " IN_NO_TABLE "; "),
    FUNCTION("velu_state_removed", FINDINGS_REMOVED),
    TRIGGERS_OF("music"),
    TRIGGERS_OF("video"),
    TRIGGERS_OF("photo"),
    TRIGGERS_OF("playlist"),
    HOLDS("create trigger playlist_entries_removed after delete on playlist begin " ENTRIES_REMOVED "end"),
    HOLDS("create trigger file_state_removed after delete on file_state begin " FINDINGS_REMOVED "end"),
    CALLS("create trigger file_state_removed after delete on file_state for each row execute function "
          "velu_state_removed()"),
    // By which folding (FoldingVersion) texts are folded at least; `folded_to` is the file up to which that is so already, null
    // when it is of all. What was folded before there was a version is not folded.
    {2, Catalogue::media, nullptr, "create table file_folding (version bigint not null, folded_to bigint)"},
    {2, Catalogue::media, nullptr, "insert into file_folding (version) values (0)"},
    {2, Catalogue::media, nullptr,
     "create index file_state_unfolded on file_state (id) where folded_name is null"},
    // `written`: the bytes of an entry whose text was in another encoding. An entry that is to be looked at is not looked for, so that
    // no name costs more than the entries that it has.
    {3, Catalogue::media, nullptr, "alter table file_entry add column written PATH"},
    {3, Catalogue::media, nullptr, "alter table file_entry add column unresolved integer"},
    {3, Catalogue::media, nullptr, "drop index file_entry_folded_name"},
    {3, Catalogue::media, nullptr,
     "create index file_entry_resolved on file_entry (folded_name) where unresolved is null"},
    {3, Catalogue::media, nullptr,
     "create index file_entry_unresolved on file_entry (folded_name, file, position) where unresolved = 1"},
    HOLDS_OF(3, "create trigger file_state_named after update of path, folded_name on file_state when "
                "new.folded_name is not old.folded_name or new.path <> old.path begin " FILE_NAMED "end"),
    HOLDS_OF(3, "create trigger file_state_gone after delete on file_state begin " FILE_GONE "end"),
    FUNCTION_OF(3, "velu_file_named", FILE_NAMED),
    FUNCTION_OF(3, "velu_file_gone", FILE_GONE),
    CALLS_OF(
        3,
        "create trigger file_state_named after update of path, folded_name on file_state for each row when "
        "(new.folded_name is distinct from old.folded_name or new.path <> old.path) execute function "
        "velu_file_named()"),
    CALLS_OF(3, "create trigger file_state_gone after delete on file_state for each row execute function "
                "velu_file_gone()"),
};

#undef TRIGGERS_OF
#undef FUNCTION
#undef CALLS
#undef HOLDS
#undef FUNCTION_OF
#undef CALLS_OF
#undef HOLDS_OF
#undef SERVER_NOW
#undef SQLITE_NOW
#undef FINDINGS_REMOVED
#undef FILE_GONE
#undef FILE_NAMED
#undef ENTRIES_UNRESOLVED
#undef ENTRIES_REMOVED
#undef ROW_MOVED
#undef ROW_SAVED
#undef IN_NO_TABLE

} // namespace

std::span<const SchemaStep> FileSchemaSteps() {
    return kSteps;
}
