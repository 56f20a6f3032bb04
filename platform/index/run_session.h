// SPDX-License-Identifier: GPL-2.0-or-later
//
// The connections of a run and the batches of writes on them. A write's own failure leaves the batch alone where the engine
// allows; when the engine gives the whole transaction up, its writes are done again one by one. Writes that belong together
// are taken back together instead, unless one of them has only itself to blame.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>
#include <string>

#include "platform/index/run_state.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"

inline constexpr int kPlainText =
    -1; // in place of a statement's number: the first value is itself the statement

// A catalogue's part in the run, and in the run's account.
inline Session &SessionOf(Catalogue catalogue) {
    return run_state.run.sessions[static_cast<size_t>(catalogue)];
}
inline RunAccount::Part &AccountOf(Catalogue catalogue) {
    return run_state.account.of[static_cast<size_t>(catalogue)];
}

// Makes sure that there is a connection. False, told once a run, when there is none.
[[nodiscard]] bool SessionOpen(Catalogue catalogue);

// True when the media catalogue has the tables about files, and when it lacks them; both false when it is away.
[[nodiscard]] bool SessionHasFiles();
[[nodiscard]] bool SessionLacksFiles();

// Makes sure that there is a connection for a statement of a request. False, told and on the request's account, when there
// is none.
[[nodiscard]] bool SessionConnect(Catalogue catalogue, uint64_t request);

// True when the catalogue was away a moment ago, and is not asked until that moment is over.
[[nodiscard]] bool SessionWasAway(const Session &session);

// Runs one statement. Returns the number of rows changed, or -1.
int SessionRun(Session *session, int statement, const VELUDBValue *values, size_t count);

// Runs writes that stand or fall together; within a transaction that goes on, a failure may leave some of them done.
// Returns the number of rows that the first has changed, or -1.
int SessionRunUnit(Session *session, std::span<const StoreWrite> writes);

// Removes the covers that stand in no row but those of a batch that is not stored.
void BatchCoversRemove(const Batch &batch);

// What a log line calls a write.
std::string SessionAbout(const VELUDBValue *values, size_t count);

// Begins a batch, unless one goes on or the connection is lent. False when that fails.
[[nodiscard]] bool SessionBatchBegin(Session *session);

// The same for a read among writes that belong together, where the engine runs nothing outside of a transaction. Any other
// read would leave one open for nothing, as long as a walk may take.
[[nodiscard]] bool SessionReadBegin(Session *session);

[[nodiscard]] bool SessionBatchIsOld(const Session &session);
[[nodiscard]] bool SessionBatchIsFull(const Session &session);

// Marks the place in the batch where its next write stands, when that is due. False when that fails.
[[nodiscard]] bool SessionMark(Session *session);

// True when a statement has failed by its own fault and taken the batch's transaction with it, or when it leaves a unit of
// writes `half_done`: all the batch has is then written again in another, without that statement or unit.
bool SessionRewound(Catalogue catalogue, bool half_done = false);

// Commits the batch, if one is open, or does what becomes of one that cannot be committed.
void SessionCommit(Catalogue catalogue);

// True when the engine has given the batch up; it is then already done again.
bool SessionRecovered(Catalogue catalogue);

// Puts the failure of a statement on its request's account. True when its store is to blame.
bool SessionCountFailure(Catalogue catalogue, uint64_t request, const VELUDB *db);

// The same for the statement that has just failed, with a log line and with what follows for the batch. Returns -1.
int SessionFailed(Catalogue catalogue, const char *about);

// Takes back the writes that belong together: their request does all of them again.
void SessionTakeBack(Catalogue catalogue);

// Gives up a connection that has failed and is not trusted any more. The next write opens another, which cannot bring to the
// disk what this one has committed.
void SessionDrop(Catalogue catalogue);

// What was committed may be gone: whoever has asked for anything in this run has to ask again.
void SessionDoubt(Catalogue catalogue);
