// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/run_session.h"

#include <syslog.h>

#include <algorithm>
#include <deque>
#include <new>
#include <set>
#include <utility>

#include "platform/clock.h"
#include "platform/index/cover_notes.h"
#include "platform/index/cover_place.h"
#include "platform/index/file_tables.h"
#include "platform/limits.h"

RunState run_state;

int64_t (*run_clock)() = MonotonicMilliseconds;

namespace {

constexpr char kLogName[] = "store.c";

Run &run = run_state.run;
RunAccount &account = run_state.account;

void LogFailure(Catalogue catalogue, const char *about, const char *reason) {
    syslog(LOG_ERR, "%s (%d) The %s failed at [%s]. (%s)", kLogName, __LINE__, CatalogueName(catalogue),
           about, reason);
}

void SetAway(Session *session) {
    session->away = true;
    session->away_since = run_clock();
    run.away = true;
}

// What had been reported as done is not.
void SetLost(Catalogue catalogue) {
    run.lost = true;
    ++AccountOf(catalogue).losses;
}

// Counts a failure, with a line: one that has its own row to blame has one of its own; of those that find no store to take them,
// the first of a run has.
bool StatementFailed(Catalogue catalogue, uint64_t request, const char *about, const VELUDB *db) {
    const bool store_failed = SessionCountFailure(catalogue, request, db);
    bool &told = SessionOf(catalogue).away_told;
    if (!store_failed || !told)
        LogFailure(catalogue, about, VELUDBErrorGet(db));
    told = told || store_failed;
    return store_failed;
}

// Writes of a batch that stand or fall together.
struct BatchUnit {
    uint64_t request = 0;
    std::deque<std::vector<VELUDBValue>> values; // whose elements never move
    std::vector<StoreWrite> writes;
};

// False behind the last.
bool BatchNextUnit(const Batch &batch, size_t *position, BatchUnit *unit) {
    *unit = {};
    for (bool more = true; more;) {
        int statement = 0;
        std::vector<VELUDBValue> &values = unit->values.emplace_back();
        if (!BatchNext(batch, position, &unit->request, &statement, &values, &more))
            return false;
        unit->writes.push_back({statement, values.data(), values.size()});
    }
    return true;
}

void BatchDoAgain(Catalogue catalogue, const Batch &batch) {
    Session &session = SessionOf(catalogue);
    std::set<std::string> unstored(batch.first_covers.begin(), batch.first_covers.end());
    size_t position = 0;
    BatchUnit unit;
    while (BatchNextUnit(batch, &position, &unit)) {
        if (!SessionConnect(catalogue, unit.request)) {
            SetLost(catalogue);
            continue;
        }
        const std::string about = SessionAbout(unit.writes[0].values, unit.writes[0].count);
        if (SessionRunUnit(&session, unit.writes) >= 0) {
            session.committed = true;
            unstored.erase(about);
            continue;
        }
        SetLost(catalogue);
        if (StatementFailed(catalogue, unit.request, about.c_str(), session.connection->db.get()))
            SessionDrop(catalogue);
    }
    std::ranges::for_each(unstored, CoversRemove);
}

// Does the writes of a batch that was given up again, each for itself.
void Replay(Catalogue catalogue) {
    try {
        const Batch batch = std::exchange(SessionOf(catalogue).batch, {});
        SessionDrop(catalogue);
        BatchDoAgain(catalogue, batch);
    } catch (const std::bad_alloc &) {
        // It hits whoever writes now, and may have cost others their rows.
        CoverNotesKeep();
        run.lost = true;
        SessionDoubt(catalogue);
        throw;
    }
}

// Of an open batch, for an engine that takes nothing more after a statement that failed.
constexpr char kMarkSet[] = "savepoint velu";
constexpr size_t kFirstMark = 4; // a mark costs as much as three writes
constexpr char kMarkDrop[] = "release savepoint velu";
constexpr char kMarkReturn[] = "rollback to savepoint velu";

bool Executed(const Session &session, const char *sql) {
    return VELUDBExecute(session.connection->db.get(), sql, nullptr) >= 0;
}

bool MarkReturn(const Session &session) {
    if (session.mark.set)
        return Executed(session, kMarkReturn);
    VELUDB *db = session.connection->db.get();
    VELUDBRollback(db);
    return StoreBegin(db, session.connection->catalogue) == 0;
}

// Gives the transaction what the batch has behind its mark.
bool Rewrite(Session *session) {
    size_t position = session->mark.bytes;
    uint64_t request = 0;
    int statement = 0;
    std::vector<VELUDBValue> values;
    while (BatchNext(session->batch, &position, &request, &statement, &values))
        if (SessionRun(session, statement, values.data(), values.size()) < 0)
            return false;
    return true;
}

// False when the catalogue cannot be made what the rules of the run want.
bool RulesReady(Catalogue catalogue, Session *session) {
    StoreConnection *connection = session->connection.get();
    return catalogue != Catalogue::media || !run.rules ||
           FileTablesReady(connection->db.get(), *run.rules, &connection->has_files, !session->away_told) ==
               0;
}

// True when what failed a moment ago takes writes that belong together back with it. One that failed by itself does not.
bool TakesBack(const Session &session) {
    return session.together && BlVELUDBStoreFailed(session.connection->db.get()) != 0;
}

} // namespace

bool SessionWasAway(const Session &session) {
    return session.away && run_clock() - session.away_since < kDatabaseAwayMilliseconds;
}

void SessionDoubt(Catalogue catalogue) {
    ++AccountOf(catalogue).losses;
    AccountDoubt(&account, catalogue);
    run.away = true;
}

bool SessionCountFailure(Catalogue catalogue, uint64_t request, const VELUDB *db) {
    ++AccountOf(catalogue).failures;
    if (BlVELUDBStoreFailed(db) == 0)
        return false;
    if (BlVELUDBOutOfMemory(db) != 0)
        run.away = true; // for this statement, while the next may find memory
    else
        SetAway(&SessionOf(catalogue));
    AccountLost(&account, catalogue, request, VELUDBErrorGet(db));
    return true;
}

bool SessionOpen(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (session.connection != nullptr)
        return true;
    if (SessionWasAway(session))
        return false;
    session.away = false;
    session.connection = StoreConnect(catalogue, !session.away_told);
    if (session.connection != nullptr && !RulesReady(catalogue, &session))
        session.connection.reset();
    if (session.connection != nullptr)
        return true;
    session.away_told = true;
    SetAway(&session);
    return false;
}

bool SessionHasFiles() {
    return SessionOpen(Catalogue::media) && SessionOf(Catalogue::media).connection->has_files;
}

bool SessionLacksFiles() {
    return SessionOpen(Catalogue::media) && !SessionOf(Catalogue::media).connection->has_files;
}

bool SessionConnect(Catalogue catalogue, uint64_t request) {
    if (SessionOpen(catalogue))
        return true;
    ++AccountOf(catalogue).failures;
    AccountLost(&account, catalogue, request, "the database was out of reach");
    return false;
}

int SessionRun(Session *session, int statement, const VELUDBValue *values, size_t count) {
    StoreConnection *connection = session->connection.get();
    VELUDB *db = connection->db.get();
    return StoreAlone(db, connection->catalogue, [&] {
        if (statement == kPlainText)
            return VELUDBExecute(db, std::string(values->text, values->length).c_str(), nullptr);
        return StoreRun(connection, statement, values, count, nullptr);
    });
}

int SessionRunUnit(Session *session, std::span<const StoreWrite> writes) {
    const auto run_one = [&](const StoreWrite &write) {
        return SessionRun(session, write.statement, write.values, write.count);
    };
    if (writes.size() == 1)
        return run_one(writes[0]);
    VELUDB *db = session->connection->db.get();
    const bool alone = VELUDBInTransaction(db) == 0;
    if (alone && StoreBegin(db, session->connection->catalogue) != 0)
        return -1;
    const int affected = run_one(writes[0]);
    const bool all = affected >= 0 && std::all_of(writes.begin() + 1, writes.end(),
                                                  [&](const auto &write) { return run_one(write) >= 0; });
    if (!alone)
        return all ? affected : -1;
    if (all && VELUDBCommit(db) == 0)
        return affected;
    VELUDBRollback(db);
    return -1;
}

void BatchCoversRemove(const Batch &batch) {
    std::ranges::for_each(batch.first_covers, CoversRemove);
}

std::string SessionAbout(const VELUDBValue *values, size_t count) {
    return count > 0 && values->type == VELUDBValue::Type::text ? std::string(values->text, values->length)
                                                                : "";
}

void SessionDrop(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (session.connection != nullptr) {
        VELUDB *db = session.connection->db.get();
        VELUDBRollback(db);
        if (BlVELUDBConnected(db) == 0 || (session.committed && VELUDBSync(db) != 0))
            SessionDoubt(catalogue);
    }
    session.committed = false;
    session.connection.reset();
    session.batch_open = false;
}

void SessionTakeBack(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    const Batch batch = std::exchange(session.batch, {});
    const size_t writes = batch.rows;
    BatchCoversRemove(batch);
    const std::string reason = VELUDBErrorGet(session.connection->db.get());
    session.together = false;
    SessionDrop(catalogue);
    for (size_t i = 0; i < writes; ++i)
        AccountLost(&account, catalogue, account.request, reason.c_str());
    if (writes > 0)
        SetLost(catalogue);
}

void SessionCommit(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (!session.batch_open)
        return;
    session.batch_open = false;
    if (VELUDBCommit(session.connection->db.get()) == 0) {
        session.committed = true;
    } else if (TakesBack(session)) {
        StatementFailed(catalogue, account.request, "writes that belong together",
                        session.connection->db.get());
        SessionTakeBack(catalogue);
    } else {
        Replay(catalogue);
    }
    session.batch.bytes.clear();
    session.batch.rows = 0;
    session.batch.first_covers.clear();
    if (catalogue == Catalogue::media)
        CoverNotesCommitted();
}

bool SessionMark(Session *session) {
    BatchMark &mark = session->mark;
    if (!session->batch_open || session->batch.rows - mark.rows < mark.next)
        return true;
    if (mark.set && !Executed(*session, kMarkDrop))
        return false;
    if (!Executed(*session, kMarkSet))
        return false;
    mark = {true, session->batch.bytes.size(), session->batch.rows, mark.next * 2};
    return true;
}

bool SessionRewound(Catalogue catalogue, bool half_done) {
    Session &session = SessionOf(catalogue);
    if (!session.batch_open)
        return false;
    VELUDB *db = session.connection->db.get();
    const bool undo = half_done && VELUDBInTransaction(db) != 0;
    const bool given_up = VELUDBWordsOf(db).fails_whole && VELUDBInTransaction(db) == 0;
    if (BlVELUDBStoreFailed(db) != 0) {
        if (undo)
            VELUDBRollback(db); // as the engine does by itself for much else
        return false;
    }
    if (!undo && !given_up)
        return false;
    session.mark.next = kFirstMark;
    try {
        if (MarkReturn(session) && Rewrite(&session))
            return true;
    } catch (const std::bad_alloc &) {
        VELUDBRollback(db);
        throw;
    }
    VELUDBRollback(db); // what is written again in part must not be committed
    return false;
}

bool SessionBatchIsOld(const Session &session) {
    return session.batch_open && run_clock() - session.batch_start >= kBatchMillisecondsMax;
}

bool SessionBatchIsFull(const Session &session) {
    if (!session.batch_open || session.batch.bytes.size() >= kBatchBytesMax)
        return session.batch_open;
    return !session.together && (session.batch.rows >= kBatchRowsMax || SessionBatchIsOld(session));
}

bool SessionReadBegin(Session *session) {
    const bool pooled = VELUDBWordsOf(session->connection->db.get()).pooled;
    return !(pooled && session->together) || SessionBatchBegin(session);
}

bool SessionBatchBegin(Session *session) {
    // Rows that are being read lend the connection to their reader, whose own statements on it no batch would do
    // again: until they are freed each write stands for itself.
    const bool lent = session->connection.use_count() > 1 && !session->together;
    if (session->batch_open || lent)
        return true;
    if (StoreBegin(session->connection->db.get(), session->connection->catalogue) != 0)
        return false;
    session->batch_open = true;
    session->mark = {.next = session->mark.next};
    session->batch_start = run_clock();
    return true;
}

bool SessionRecovered(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (!session.batch_open || VELUDBInTransaction(session.connection->db.get()) || TakesBack(session))
        return false;
    Replay(catalogue);
    return true;
}

int SessionFailed(Catalogue catalogue, const char *about) {
    Session &session = SessionOf(catalogue);
    if (!StatementFailed(catalogue, account.request, about, session.connection->db.get()))
        return -1;
    if (session.together)
        SessionTakeBack(catalogue);
    else if (!session.batch_open)
        SessionDrop(catalogue);
    return -1;
}
