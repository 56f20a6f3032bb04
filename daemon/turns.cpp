// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/turns.h"

#include <utility>

#include "catalogue/file_readers.h"
#include "daemon/walk_progress.h"
#include "platform/limits.h"
#include "platform/veluindex.h"

namespace {

// A reader's work for a file that has had its turn, or will have none, is given up.
struct TicketScope {
    ReadTicket ticket;
    explicit TicketScope(ReadTicket of) : ticket(of) {}
    TicketScope(const TicketScope &) = delete;
    TicketScope &operator=(const TicketScope &) = delete;
    ~TicketScope() { FileGiveUp(ticket); }
};

bool IsDue(const Turns &turns) {
    const Turn &turn = turns.waiting.front();
    return turn.ticket == 0 || turns.given_up || FileIsRead(turn.ticket);
}

void DueDo(Turns *turns) {
    while (!turns->waiting.empty() && IsDue(*turns)) {
        std::list<Turn> due;
        due.splice(due.end(), turns->waiting, turns->waiting.begin());
        const TicketScope scope(due.front().ticket);
        if (!TurnsGivenUp(turns))
            due.front().step(due.front().path);
    }
}

} // namespace

bool TurnsGivenUp(Turns *turns) {
    turns->given_up = turns->given_up || BlVELUIndexRunGivesUp();
    return turns->given_up;
}

Turns::~Turns() {
    for (const Turn &turn : waiting)
        FileGiveUp(turn.ticket);
    FilesKnownForget();
}

void TurnWait(Turns *turns, const std::string &path, TurnStep step, ReadTicket ticket) {
    turns->waiting.push_back({path, std::move(step), ticket});
    FileReadersServe(false);
    DueDo(turns);
    while (turns->waiting.size() >= kTurnsMax || (FilesAheadFull() && !turns->waiting.empty())) {
        ProgressAhead(turns->waiting.front().path);
        FileReadersServe(true);
        DueDo(turns);
    }
}

void TurnsFinish(Turns *turns) {
    for (DueDo(turns); !turns->waiting.empty(); DueDo(turns))
        FileReadersServe(true);
}
