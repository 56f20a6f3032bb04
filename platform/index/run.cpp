// SPDX-License-Identifier: GPL-2.0-or-later
//
// Runs: a connection to each catalogue, opened when it is first needed, and a batch of writes on it (run_session.h).
#include "platform/index/run.h"

#include <errno.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include <new>
#include <utility>

#include "platform/index/cover_notes.h"
#include "platform/index/cover_place.h"
#include "platform/index/run_session.h"
#include "platform/limits.h"

namespace {

constexpr char kLogName[] = "store.c";

Run &run = run_state.run;
RunAccount &account = run_state.account;

void ToDisk() {
    VELUIndexRunFlush();
    for (const Catalogue catalogue : {Catalogue::media, Catalogue::photo}) {
        const Session &session = SessionOf(catalogue);
        if (session.connection != nullptr && VELUDBSync(session.connection->db.get()) != 0) {
            syslog(LOG_ERR, "%s (%d) Failed to bring the %s to the disk. (%s)", kLogName, __LINE__,
                   CatalogueName(catalogue), VELUDBErrorGet(session.connection->db.get()));
            SessionDoubt(catalogue);
        }
    }
    // A row says that its file has a cover: both are on disk before the request is forgotten.
    if (!CoversSync()) {
        syslog(LOG_ERR, "%s (%d) Failed to bring the covers to the disk. (%s)", kLogName, __LINE__,
               strerror(errno));
        SessionDoubt(Catalogue::media);
    }
}

// Reads what `call` gives, in the batch or as StoreAlone does.
template <typename Call>
ResultHandle ReadOf(Session *session, Call call) {
    if (!SessionReadBegin(session))
        return nullptr;
    VELUDBResult *rows = nullptr;
    const StoreConnection &connection = *session->connection;
    const int result = StoreAlone(connection.db.get(), connection.catalogue, [&] { return call(&rows); });
    ResultHandle read(rows);
    return result < 0 ? nullptr : std::move(read);
}

} // namespace

int RunWriteUnit(Catalogue catalogue, std::span<const StoreWrite> writes, bool first_cover) {
    Session &session = SessionOf(catalogue);
    if (SessionBatchIsFull(session))
        SessionCommit(catalogue);
    if (!SessionConnect(catalogue, account.request))
        return -1;
    const auto about = [&] { return SessionAbout(writes[0].values, writes[0].count); };
    const auto failed = [&] { return SessionFailed(catalogue, about().c_str()); };
    if (!SessionBatchBegin(&session))
        return failed();
    int affected = SessionMark(&session) ? SessionRunUnit(&session, writes) : -1;
    if (affected < 0 && SessionRewound(catalogue, writes.size() > 1))
        return failed();
    if (affected < 0 && SessionRecovered(catalogue)) {
        if (!SessionConnect(catalogue, account.request))
            return -1;
        affected = SessionRunUnit(&session, writes);
    }
    if (affected < 0)
        return failed();
    if (session.batch_open) {
        BatchAddUnit(&session.batch, account.request, writes);
        if (first_cover)
            session.batch.first_covers.push_back(about());
    } else {
        session.committed = true;
    }
    if (SessionBatchIsFull(session))
        SessionCommit(catalogue);
    return affected;
}

int RunWrite(Catalogue catalogue, int statement, const VELUDBValue *values, size_t count) {
    const StoreWrite write = {statement, values, count};
    return RunWriteUnit(catalogue, {&write, 1});
}

int RunWrite(Catalogue catalogue, int statement, std::initializer_list<VELUDBValue> values) {
    return RunWrite(catalogue, statement, values.begin(), values.size());
}

int RunWriteText(Catalogue catalogue, const char *sql) {
    return RunWrite(catalogue, kPlainText, {TextValue(sql)});
}

ResultHandle RunRead(Catalogue catalogue, int statement, std::span<const VELUDBValue> values) {
    Session &session = SessionOf(catalogue);
    if (!SessionConnect(catalogue, account.request))
        return nullptr;
    const auto read = [&] {
        return ReadOf(&session, [&](VELUDBResult **rows) {
            return StoreRun(session.connection.get(), statement, values.data(), values.size(), rows);
        });
    };
    ResultHandle rows = read();
    if (rows == nullptr && !SessionRewound(catalogue) && SessionRecovered(catalogue)) {
        if (!SessionConnect(catalogue, account.request))
            return nullptr;
        rows = read();
    }
    if (rows == nullptr)
        SessionFailed(catalogue, SessionAbout(values.data(), values.size()).c_str());
    return rows;
}

ResultHandle RunQuery(Catalogue catalogue, const char *sql) {
    Session &session = SessionOf(catalogue);
    return ReadOf(&session, [&](VELUDBResult **rows) {
        return VELUDBExecute(session.connection->db.get(), sql, rows);
    });
}

StoreConnectionRef RunConnection(Catalogue catalogue) {
    if (SessionOf(catalogue).together)
        SessionRecovered(catalogue); // its rows are to be those of the batch, too
    else
        SessionCommit(catalogue);
    if (!SessionConnect(catalogue, account.request))
        return nullptr;
    SessionOf(catalogue).committed = true; // its borrower may write
    return SessionOf(catalogue).connection;
}

bool RunBorrowedFailed(Catalogue catalogue, VELUDB *db) {
    Session &session = SessionOf(catalogue);
    const bool ours = session.connection != nullptr && session.connection->db.get() == db;
    if (!SessionCountFailure(catalogue, account.request, db)) {
        if (ours)
            SessionRewound(catalogue);
        return true;
    }
    const bool first = !session.away_told;
    session.away_told = true;
    if (!ours)
        return first;
    if (session.together)
        SessionTakeBack(catalogue);
    else
        SessionDrop(catalogue);
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

void VELUIndexRunRules(RuleSet rules) {
    run.rules = rules;
}

bool RunIsShared(Catalogue catalogue) {
    return SessionOpen(catalogue) && VELUDBWordsOf(SessionOf(catalogue).connection->db.get()).pooled;
}

bool RunIsOpen() {
    return run.active;
}

void VELUIndexRunRequest(uint64_t number) {
    account.request = number;
}

void VELUIndexRunPause() {
    for (const Catalogue catalogue : {Catalogue::media, Catalogue::photo})
        if (SessionBatchIsOld(SessionOf(catalogue)))
            SessionCommit(catalogue);
}

int BlVELUIndexRunAway(Catalogue catalogue) {
    return SessionWasAway(SessionOf(catalogue));
}

void VELUIndexRunKnownAway(Catalogue catalogue, bool tells) {
    AccountOf(catalogue).known = true;
    SessionOf(catalogue).away_told = !tells;
}

int BlVELUIndexRunGivesUp() {
    for (const Catalogue catalogue : {Catalogue::media, Catalogue::photo}) {
        const RunAccount::Part &part = AccountOf(catalogue);
        const uint64_t bearable = part.known || run.rules == RuleSet::complete ? 1 : kRowsLostMax;
        if (part.lost >= bearable && SessionWasAway(SessionOf(catalogue))) {
            VELUIndexRunRequestKeep();
            return 1;
        }
    }
    return 0;
}

RunFared VELUIndexRunFared(Catalogue catalogue) {
    const RunAccount::Part &part = AccountOf(catalogue);
    if (part.lost > 0)
        return RunFared::away;
    return part.reached && part.doubtful == 0 ? RunFared::well : RunFared::untold;
}

int VELUIndexRunReach(Catalogue catalogue) {
    if (!SessionConnect(catalogue, account.request))
        return -1;
    constexpr char kAbout[] = "a request that is done again";
    Session &session = SessionOf(catalogue);
    RunAccount::Part &part = AccountOf(catalogue);
    if (!part.known || part.written)
        return SessionBatchBegin(&session) ? 0 : SessionFailed(catalogue, kAbout);
    // By itself: a failure would have the batch written again.
    SessionCommit(catalogue);
    if (!SessionConnect(catalogue, account.request))
        return -1;
    part.written = StoreWriteNothing(session.connection->db.get(), catalogue) == 0;
    return part.written && SessionBatchBegin(&session) ? 0 : SessionFailed(catalogue, kAbout);
}

void VELUIndexRunRequestKeep() {
    if (account.request != 0)
        NumberSetAdd(&account.failed, account.request);
}

int BlVELUIndexRunRequestFailed(uint64_t number) {
    return NumberSetHas(account.failed, number);
}

uint64_t VELUIndexRunDoubtful(Catalogue catalogue) {
    return AccountOf(catalogue).doubtful;
}

uint64_t VELUIndexRunRemoved() {
    return run_state.account.removed;
}

uint64_t VELUIndexRunFailures(Catalogue catalogue) {
    return AccountOf(catalogue).failures;
}

uint64_t VELUIndexRunLosses(Catalogue catalogue) {
    return AccountOf(catalogue).losses;
}

int VELUIndexRunFlush() {
    SessionCommit(Catalogue::media);
    SessionCommit(Catalogue::photo);
    return run.away ? -1 : 0;
}

int VELUIndexRunEnd() {
    // A run may also end while a line that has met the want of memory is given up: nothing is thrown from here.
    try {
        ToDisk();
    } catch (const std::bad_alloc &) {
        syslog(LOG_ERR, "%s (%d) The catalogue failed at [the end of a run]. (out of memory)", kLogName,
               __LINE__);
        SessionDoubt(Catalogue::media);
        SessionDoubt(Catalogue::photo);
    }
    if (run.active)
        AccountTell(account);
    for (const Catalogue catalogue : {Catalogue::media, Catalogue::photo}) {
        AccountOf(catalogue).reached = SessionOf(catalogue).connection != nullptr;
        SessionOf(catalogue) = Session();
    }
    CoverNotesEnd();
    if (std::exchange(run_state.covers_stored, false))
        run_state.covers_no_room_told = run_state.covers_no_room;
    run_state.covers_no_room = false;
    run.cover_dir.reset();
    run.active = false;
    return run.away || !account.failed.spans.empty() ? -1 : 0;
}

VELUIndexTogether::VELUIndexTogether(Catalogue of) : catalogue(of), own(!run.active) {
    VELUIndexRunBegin();
    SessionCommit(catalogue);
    SessionOf(catalogue).together = true;
}

VELUIndexTogether::~VELUIndexTogether() {
    Session &session = SessionOf(catalogue);
    if (session.together) { // whoever asked is broken off, and asks again
        session.together = false;
        BatchCoversRemove(std::exchange(session.batch, {}));
        SessionDrop(catalogue);
    }
    if (own && run.active)
        VELUIndexRunEnd();
}

int VELUIndexTogether::Finish(int result) {
    Session &session = SessionOf(catalogue);
    if (session.together)
        SessionCommit(catalogue);
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

VELUDBValue TextValue(std::string_view text) {
    return VELUDBValue::Text(text.data(), text.size());
}

VELUDBValue TextValueOrNull(std::string_view text) {
    return text.empty() ? VELUDBValue() : TextValue(text);
}
