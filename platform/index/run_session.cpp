// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/run_session.h"

#include <syslog.h>

#include <new>
#include <utility>

#include "platform/clock.h"
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

void BatchDoAgain(Catalogue catalogue, const Batch &batch) {
    Session &session = SessionOf(catalogue);
    size_t position = 0;
    uint64_t request = 0;
    int statement = 0;
    std::vector<VELUDBValue> values;
    while (BatchNext(batch, &position, &request, &statement, &values)) {
        if (!SessionConnect(catalogue, request)) {
            SetLost(catalogue);
            continue;
        }
        if (SessionRun(&session, statement, values.data(), values.size()) >= 0) {
            session.committed = true;
            continue;
        }
        SetLost(catalogue);
        if (StatementFailed(catalogue, request, SessionAbout(values.data(), values.size()).c_str(),
                            session.connection->db.get()))
            SessionDrop(catalogue);
    }
}

// Does the writes of a batch that was given up again, each for itself.
void Replay(Catalogue catalogue) {
    try {
        const Batch batch = std::exchange(SessionOf(catalogue).batch, {});
        SessionDrop(catalogue);
        BatchDoAgain(catalogue, batch);
    } catch (const std::bad_alloc &) {
        // It hits whoever writes now, and may have cost others their rows.
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
    if (session.connection != nullptr)
        return true;
    session.away_told = true;
    SetAway(&session);
    return false;
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
    const size_t writes = std::exchange(session.batch, {}).rows;
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

bool SessionRewound(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (!session.batch_open)
        return false;
    VELUDB *db = session.connection->db.get();
    if (!VELUDBWordsOf(db).fails_whole || VELUDBInTransaction(db) != 0 || BlVELUDBStoreFailed(db) != 0)
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
