// SPDX-License-Identifier: GPL-2.0-or-later
//
// Runs: a connection to each catalogue, opened when it is first needed, and a batch of writes on it. A
// write's own failure leaves the batch alone where the engine allows; when the engine gives the whole
// transaction up, its writes are done again one by one.
#include "platform/index/run.h"

#include <errno.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include <new>
#include <utility>

#include "platform/clock.h"
#include "platform/index/cover_place.h"
#include "platform/index/run_state.h"
#include "platform/limits.h"

namespace {

constexpr char kLogName[] = "store.c";

constexpr int kPlainText = -1; // in a batch: the first value is itself the statement

Run &run = run_state.run;
RunAccount &account = run_state.account;

Session &SessionOf(Catalogue catalogue) {
    return run.sessions[static_cast<size_t>(catalogue)];
}

RunAccount::Part &PartOf(Catalogue catalogue) {
    return account.of[static_cast<size_t>(catalogue)];
}

void LogFailure(Catalogue catalogue, const char *about, const char *reason) {
    syslog(LOG_ERR, "%s (%d) The %s failed at [%s]. (%s)", kLogName, __LINE__, CatalogueName(catalogue),
           about, reason);
}

bool WasAwayJustNow(const Session &session) {
    return session.away && run_clock() - session.away_since < kDatabaseAwayMilliseconds;
}

void SetAway(Session *session) {
    session->away = true;
    session->away_since = run_clock();
    run.away = true;
}

// What was committed may be gone: whoever has asked for anything in this run has to ask again.
void Doubt(Catalogue catalogue) {
    ++PartOf(catalogue).losses;
    AccountDoubt(&account, catalogue);
    run.away = true;
}

// What had been reported as done is not.
void SetLost(Catalogue catalogue) {
    run.lost = true;
    ++PartOf(catalogue).losses;
}

// A statement of a request has failed. True when its store is to blame.
bool StatementCount(Catalogue catalogue, uint64_t request, const VELUDB *db) {
    ++PartOf(catalogue).failures;
    if (BlVELUDBStoreFailed(db) == 0)
        return false;
    if (BlVELUDBOutOfMemory(db) != 0)
        run.away = true; // for this statement, while the next may find memory
    else
        SetAway(&SessionOf(catalogue));
    AccountLost(&account, catalogue, request, VELUDBErrorGet(db));
    return true;
}

// The same, with a line: one that has its own row to blame has one of its own; of those that find no store to take them,
// the first of a run has.
bool StatementFailed(Catalogue catalogue, uint64_t request, const char *about, const VELUDB *db) {
    const bool store_failed = StatementCount(catalogue, request, db);
    bool &told = SessionOf(catalogue).away_told;
    if (!store_failed || !told)
        LogFailure(catalogue, about, VELUDBErrorGet(db));
    told = told || store_failed;
    return store_failed;
}

// False when there is no connection, which is then told.
bool Connect(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (session.connection != nullptr)
        return true;
    if (WasAwayJustNow(session))
        return false;
    session.away = false;
    session.connection = StoreConnect(catalogue, !session.away_told);
    if (session.connection != nullptr)
        return true;
    session.away_told = true;
    SetAway(&session);
    return false;
}

// The same for a statement of a request, which fails without a connection.
bool ConnectFor(Catalogue catalogue, uint64_t request) {
    if (Connect(catalogue))
        return true;
    ++PartOf(catalogue).failures;
    AccountLost(&account, catalogue, request, "the database was out of reach");
    return false;
}

int RunOne(Session *session, int statement, const VELUDBValue *values, size_t count) {
    if (statement == kPlainText)
        return VELUDBExecute(session->connection->db.get(), std::string(values->text, values->length).c_str(),
                             nullptr);
    return StoreRun(session->connection.get(), statement, values, count, nullptr);
}

std::string About(const VELUDBValue *values, size_t count) {
    return count > 0 && values->type == VELUDBValue::Type::text ? std::string(values->text, values->length)
                                                                : "";
}

// A connection that has failed is not trusted any more; the next write opens another, which cannot bring to the disk what
// this one has committed.
void Drop(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (session.connection != nullptr) {
        VELUDB *db = session.connection->db.get();
        VELUDBRollback(db);
        if (BlVELUDBConnected(db) == 0 || (session.committed && VELUDBSync(db) != 0))
            Doubt(catalogue);
    }
    session.committed = false;
    session.connection.reset();
    session.batch_open = false;
}

void BatchDoAgain(Catalogue catalogue, const Batch &batch) {
    Session &session = SessionOf(catalogue);
    size_t position = 0;
    uint64_t request = 0;
    int statement = 0;
    std::vector<VELUDBValue> values;
    while (BatchNext(batch, &position, &request, &statement, &values)) {
        if (!ConnectFor(catalogue, request)) {
            SetLost(catalogue);
            continue;
        }
        if (RunOne(&session, statement, values.data(), values.size()) >= 0) {
            session.committed = true;
            continue;
        }
        SetLost(catalogue);
        if (StatementFailed(catalogue, request, About(values.data(), values.size()).c_str(),
                            session.connection->db.get()))
            Drop(catalogue);
    }
}

// Does the writes of a batch that was given up again, each for itself.
void Replay(Catalogue catalogue) {
    try {
        const Batch batch = std::exchange(SessionOf(catalogue).batch, {});
        Drop(catalogue);
        BatchDoAgain(catalogue, batch);
    } catch (const std::bad_alloc &) {
        // It hits whoever writes now, and may have cost others their rows.
        run.lost = true;
        Doubt(catalogue);
        throw;
    }
}

// True when what failed a moment ago takes writes that belong together back with it. One that failed by itself does not.
bool TakesBack(const Session &session) {
    return session.together && BlVELUDBStoreFailed(session.connection->db.get()) != 0;
}

// Nothing of the writes that belong together is done: their request does all of them again.
void TakeBack(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    const size_t writes = std::exchange(session.batch, {}).rows;
    const std::string reason = VELUDBErrorGet(session.connection->db.get());
    session.together = false;
    Drop(catalogue);
    for (size_t i = 0; i < writes; ++i)
        AccountLost(&account, catalogue, account.request, reason.c_str());
    if (writes > 0)
        SetLost(catalogue);
}

void Commit(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (!session.batch_open)
        return;
    session.batch_open = false;
    if (VELUDBCommit(session.connection->db.get()) == 0) {
        session.committed = true;
    } else if (TakesBack(session)) {
        StatementFailed(catalogue, account.request, "writes that belong together",
                        session.connection->db.get());
        TakeBack(catalogue);
    } else {
        Replay(catalogue);
    }
    session.batch.bytes.clear();
    session.batch.rows = 0;
}

bool BatchIsOld(const Session &session) {
    return session.batch_open && run_clock() - session.batch_start >= kBatchMillisecondsMax;
}

bool BatchIsFull(const Session &session) {
    if (!session.batch_open || session.batch.bytes.size() >= kBatchBytesMax)
        return session.batch_open;
    return !session.together && (session.batch.rows >= kBatchRowsMax || BatchIsOld(session));
}

// Begins a batch, unless one goes on or the connection is lent. False when that fails.
bool BatchBegin(Session *session) {
    // Rows that are being read lend the connection to their reader, whose own statements on it no batch would do
    // again: until they are freed each write stands for itself.
    const bool lent = session->connection.use_count() > 1 && !session->together;
    if (session->batch_open || lent)
        return true;
    if (VELUDBBegin(session->connection->db.get()) != 0)
        return false;
    session->batch_open = true;
    session->batch_start = run_clock();
    return true;
}

// True when the engine has given the batch up; it is then already done again.
bool Recovered(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (!session.batch_open || VELUDBInTransaction(session.connection->db.get()) || TakesBack(session))
        return false;
    Replay(catalogue);
    return true;
}

int OperationFailed(Catalogue catalogue, const char *about) {
    Session &session = SessionOf(catalogue);
    if (!StatementFailed(catalogue, account.request, about, session.connection->db.get()))
        return -1;
    if (session.together)
        TakeBack(catalogue);
    else if (!session.batch_open)
        Drop(catalogue);
    return -1;
}

void ToDisk() {
    VELUIndexRunFlush();
    for (const Catalogue catalogue : {Catalogue::media, Catalogue::photo}) {
        const Session &session = SessionOf(catalogue);
        if (session.connection != nullptr && VELUDBSync(session.connection->db.get()) != 0) {
            syslog(LOG_ERR, "%s (%d) Failed to bring the %s to the disk. (%s)", kLogName, __LINE__,
                   CatalogueName(catalogue), VELUDBErrorGet(session.connection->db.get()));
            Doubt(catalogue);
        }
    }
    // A row says that its file has a cover: both are on disk before the request is forgotten.
    if (!CoversSync()) {
        syslog(LOG_ERR, "%s (%d) Failed to bring the covers to the disk. (%s)", kLogName, __LINE__,
               strerror(errno));
        Doubt(Catalogue::media);
    }
}

} // namespace

RunState run_state;

int64_t (*run_clock)() = MonotonicMilliseconds;

int RunWrite(Catalogue catalogue, int statement, const VELUDBValue *values, size_t count) {
    Session &session = SessionOf(catalogue);
    if (BatchIsFull(session))
        Commit(catalogue);
    if (!ConnectFor(catalogue, account.request))
        return -1;
    const auto failed = [&] { return OperationFailed(catalogue, About(values, count).c_str()); };
    if (!BatchBegin(&session))
        return failed();
    int affected = RunOne(&session, statement, values, count);
    if (affected < 0 && Recovered(catalogue)) {
        if (!ConnectFor(catalogue, account.request))
            return -1;
        affected = RunOne(&session, statement, values, count);
    }
    if (affected < 0)
        return failed();
    if (session.batch_open)
        BatchAdd(&session.batch, account.request, statement, values, count);
    else
        session.committed = true;
    if (BatchIsFull(session))
        Commit(catalogue);
    return affected;
}

int RunWrite(Catalogue catalogue, int statement, std::initializer_list<VELUDBValue> values) {
    return RunWrite(catalogue, statement, values.begin(), values.size());
}

int RunWriteText(Catalogue catalogue, const char *sql) {
    return RunWrite(catalogue, kPlainText, {TextValue(sql)});
}

ResultHandle RunRead(Catalogue catalogue, int statement, std::initializer_list<VELUDBValue> values) {
    Session &session = SessionOf(catalogue);
    VELUDBResult *rows = nullptr;
    if (!ConnectFor(catalogue, account.request))
        return nullptr;
    int result = StoreRun(session.connection.get(), statement, values.begin(), values.size(), &rows);
    if (result < 0 && Recovered(catalogue)) {
        if (!ConnectFor(catalogue, account.request))
            return nullptr;
        result = StoreRun(session.connection.get(), statement, values.begin(), values.size(), &rows);
    }
    if (result < 0)
        OperationFailed(catalogue, About(values.begin(), values.size()).c_str());
    return ResultHandle(rows);
}

StoreConnectionRef RunConnection(Catalogue catalogue) {
    if (SessionOf(catalogue).together)
        Recovered(catalogue); // its rows are to be those of the batch, too
    else
        Commit(catalogue);
    if (!ConnectFor(catalogue, account.request))
        return nullptr;
    SessionOf(catalogue).committed = true; // its borrower may write
    return SessionOf(catalogue).connection;
}

bool RunBorrowedFailed(Catalogue catalogue, VELUDB *db) {
    Session &session = SessionOf(catalogue);
    if (!StatementCount(catalogue, account.request, db))
        return true;
    const bool first = !session.away_told;
    session.away_told = true;
    if (session.connection == nullptr || session.connection->db.get() != db)
        return first;
    if (session.together)
        TakeBack(catalogue);
    else
        Drop(catalogue);
    return first;
}

void VELUIndexRunBegin() {
    if (run.active)
        return;
    run = Run();
    AccountBegin(&account);
    run.active = true;
    tzset();
}

bool RunIsOpen() {
    return run.active;
}

void VELUIndexRunRequest(uint64_t number) {
    account.request = number;
}

void VELUIndexRunPause() {
    for (const Catalogue catalogue : {Catalogue::media, Catalogue::photo})
        if (BatchIsOld(SessionOf(catalogue)))
            Commit(catalogue);
}

int BlVELUIndexRunAway(Catalogue catalogue) {
    return WasAwayJustNow(SessionOf(catalogue));
}

int VELUIndexRunReach(Catalogue catalogue) {
    if (!ConnectFor(catalogue, account.request))
        return -1;
    return BatchBegin(&SessionOf(catalogue)) ? 0 : OperationFailed(catalogue, "a request that is done again");
}

int BlVELUIndexRunRequestFailed(uint64_t number) {
    return NumberSetHas(account.failed, number);
}

uint64_t VELUIndexRunDoubtful(Catalogue catalogue) {
    return PartOf(catalogue).doubtful;
}

uint64_t VELUIndexRunFailures(Catalogue catalogue) {
    return PartOf(catalogue).failures;
}

uint64_t VELUIndexRunLosses(Catalogue catalogue) {
    return PartOf(catalogue).losses;
}

int VELUIndexRunFlush() {
    Commit(Catalogue::media);
    Commit(Catalogue::photo);
    return run.away ? -1 : 0;
}

int VELUIndexRunEnd() {
    // A run may also end while a line that has met the want of memory is given up: nothing is thrown from here.
    try {
        ToDisk();
    } catch (const std::bad_alloc &) {
        syslog(LOG_ERR, "%s (%d) The catalogue failed at [the end of a run]. (out of memory)", kLogName,
               __LINE__);
        Doubt(Catalogue::media);
        Doubt(Catalogue::photo);
    }
    if (run.active)
        AccountTell(account);
    for (Session &session : run.sessions)
        session = Session();
    run.cover_dir.reset();
    run.active = false;
    return run.away ? -1 : 0;
}

VELUIndexTogether::VELUIndexTogether(Catalogue of) : catalogue(of), own(!run.active) {
    VELUIndexRunBegin();
    Commit(catalogue);
    SessionOf(catalogue).together = true;
}

VELUIndexTogether::~VELUIndexTogether() {
    Session &session = SessionOf(catalogue);
    if (session.together) { // whoever asked is broken off, and asks again
        session.together = false;
        session.batch = {};
        Drop(catalogue);
    }
    if (own && run.active)
        VELUIndexRunEnd();
}

int VELUIndexTogether::Finish(int result) {
    Session &session = SessionOf(catalogue);
    if (session.together)
        Commit(catalogue);
    const bool whole = std::exchange(session.together, false);
    const bool stored = !own || (VELUIndexRunEnd() == 0 && !run.lost);
    return whole && stored ? result : -1;
}

RunScope::RunScope() : own(!run.active) {
    VELUIndexRunBegin();
}

RunScope::~RunScope() {
    if (own && run.active)
        VELUIndexRunEnd();
}

int RunScope::Finish(int result) {
    if (!own)
        return result;
    return VELUIndexRunEnd() != 0 || run.lost ? -1 : result;
}

VELUDBValue TextValue(const std::string &text) {
    return VELUDBValue::Text(text.data(), text.size());
}
