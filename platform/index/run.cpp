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

Session &SessionOf(Catalogue catalogue) {
    return run.sessions[static_cast<size_t>(catalogue)];
}

void SetAway(Session *session) {
    session->away = true;
    session->away_since = run_clock();
    run.away = true;
}

void LogFailure(Catalogue catalogue, const char *about, const char *reason) {
    syslog(LOG_ERR, "%s (%d) The %s failed at [%s]. (%s)", kLogName, __LINE__, CatalogueName(catalogue),
           about, reason);
}

bool Connect(Catalogue catalogue, const char *about) {
    Session &session = SessionOf(catalogue);
    if (session.connection != nullptr)
        return true;
    if (session.away && run_clock() - session.away_since < kDatabaseAwayMilliseconds) {
        LogFailure(catalogue, about, "the database was out of reach a moment ago");
        return false;
    }
    session.away = false;
    session.connection = StoreConnect(catalogue);
    if (session.connection == nullptr)
        SetAway(&session);
    return session.connection != nullptr;
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

// A connection that has failed is not trusted any more; the next write opens another.
void Drop(Session *session) {
    if (session->connection != nullptr)
        VELUDBRollback(session->connection->db.get());
    session->connection.reset();
    session->batch_open = false;
}

// Does the writes of a batch that was given up again, each for itself.
void Replay(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    const Batch batch = std::exchange(session.batch, {});
    // A server that has died may have lost batches before this one, which were committed but not yet synchronised:
    // whoever asked for the run has to ask again.
    if (BlVELUDBStoreFailed(session.connection->db.get()))
        run.away = true;
    Drop(&session);
    Connect(catalogue, "a batch"); // without it each write below fails by its own name
    size_t position = 0;
    int statement = 0;
    std::vector<VELUDBValue> values;
    while (BatchNext(batch, &position, &statement, &values)) {
        const std::string about = About(values.data(), values.size());
        if (session.connection == nullptr && !Connect(catalogue, about.c_str())) {
            run.lost = true;
            continue;
        }
        if (RunOne(&session, statement, values.data(), values.size()) >= 0)
            continue;
        run.lost = true;
        LogFailure(catalogue, about.c_str(), VELUDBErrorGet(session.connection->db.get()));
        if (BlVELUDBStoreFailed(session.connection->db.get())) {
            SetAway(&session);
            Drop(&session);
        }
    }
}

void Commit(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (!session.batch_open)
        return;
    session.batch_open = false;
    if (VELUDBCommit(session.connection->db.get()) != 0)
        Replay(catalogue);
    session.batch.bytes.clear();
    session.batch.rows = 0;
}

bool BatchIsFull(const Session &session) {
    return session.batch_open &&
           (session.batch.rows >= kBatchRowsMax || session.batch.bytes.size() >= kBatchBytesMax ||
            run_clock() - session.batch_start >= kBatchMillisecondsMax);
}

// True when the engine has given the batch up; it is then already done again.
bool Recovered(Catalogue catalogue) {
    Session &session = SessionOf(catalogue);
    if (!session.batch_open || VELUDBInTransaction(session.connection->db.get()))
        return false;
    Replay(catalogue);
    return true;
}

int OperationFailed(Catalogue catalogue, const std::string &about) {
    Session &session = SessionOf(catalogue);
    VELUDB *db = session.connection->db.get();
    LogFailure(catalogue, about.c_str(), VELUDBErrorGet(db));
    if (BlVELUDBStoreFailed(db)) {
        SetAway(&session);
        if (!session.batch_open)
            Drop(&session);
    }
    return -1;
}

void ToDisk() {
    VELUIndexRunFlush();
    for (const Catalogue catalogue : {Catalogue::media, Catalogue::photo}) {
        const Session &session = SessionOf(catalogue);
        if (session.connection != nullptr && VELUDBSync(session.connection->db.get()) != 0) {
            syslog(LOG_ERR, "%s (%d) Failed to bring the %s to the disk. (%s)", kLogName, __LINE__,
                   CatalogueName(catalogue), VELUDBErrorGet(session.connection->db.get()));
            run.away = true;
        }
    }
    // A row says that its file has a cover: both are on disk before the request is forgotten.
    if (!CoversSync()) {
        syslog(LOG_ERR, "%s (%d) Failed to bring the covers to the disk. (%s)", kLogName, __LINE__,
               strerror(errno));
        run.away = true;
    }
}

} // namespace

RunState run_state;

int64_t (*run_clock)() = MonotonicMilliseconds;

int RunWrite(Catalogue catalogue, int statement, const VELUDBValue *values, size_t count) {
    Session &session = SessionOf(catalogue);
    if (BatchIsFull(session))
        Commit(catalogue);
    const std::string about = About(values, count);
    if (!Connect(catalogue, about.c_str()))
        return -1;
    // Rows that are being read lend the connection to their reader, whose own statements on it no batch would do
    // again: until they are freed each write stands for itself.
    const bool lent = session.connection.use_count() > 1;
    if (!session.batch_open && !lent) {
        if (VELUDBBegin(session.connection->db.get()) != 0)
            return OperationFailed(catalogue, about);
        session.batch_open = true;
        session.batch_start = run_clock();
    }
    int affected = RunOne(&session, statement, values, count);
    if (affected < 0 && Recovered(catalogue)) {
        if (!Connect(catalogue, about.c_str()))
            return -1;
        affected = RunOne(&session, statement, values, count);
    }
    if (affected < 0)
        return OperationFailed(catalogue, about);
    if (session.batch_open)
        BatchAdd(&session.batch, statement, values, count);
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
    const std::string about = About(values.begin(), values.size());
    VELUDBResult *rows = nullptr;
    if (!Connect(catalogue, about.c_str()))
        return nullptr;
    int result = StoreRun(session.connection.get(), statement, values.begin(), values.size(), &rows);
    if (result < 0 && Recovered(catalogue)) {
        if (!Connect(catalogue, about.c_str()))
            return nullptr;
        result = StoreRun(session.connection.get(), statement, values.begin(), values.size(), &rows);
    }
    if (result < 0)
        OperationFailed(catalogue, about);
    return ResultHandle(rows);
}

StoreConnectionRef RunConnection(Catalogue catalogue, const char *about) {
    Commit(catalogue);
    return Connect(catalogue, about) ? SessionOf(catalogue).connection : nullptr;
}

void VELUIndexRunBegin() {
    if (run.active)
        return;
    run = Run();
    run.active = true;
    tzset();
}

bool RunIsOpen() {
    return run.active;
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
        run.away = true;
    }
    for (Session &session : run.sessions)
        session = Session();
    run.cover_dir.reset();
    run.active = false;
    return run.away ? -1 : 0;
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
