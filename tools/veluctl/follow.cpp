// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/follow.h"

#include <stdio.h>
#include <time.h>

#include <string>

#include "platform/clock.h"
#include "tools/queue/daemon_process.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/progress.h"
#include "tools/veluctl/run_view.h"

namespace {

// Often enough for the eye and to see the end at once, and next to no work for a small machine.
constexpr timespec kPause = {0, 100'000'000};

// The part of the time that may go into counting the rows of a large catalogue.
constexpr double kCountShare = 0.02;

double Now() {
    return static_cast<double>(MonotonicMilliseconds()) / 1000;
}

// Counts the media rows now and then.
struct RowCounter {
    CatalogueReader reader;
    double next = 0;
    int64_t rows = -1;

    void Count(double now) {
        if (now < next)
            return;
        int64_t sum = -1;
        for (const CatalogueTable &table : CatalogueTables()) {
            if (!table.is_media)
                continue;
            const int64_t count = CatalogueCount(&reader, table);
            if (count < 0) {
                // The catalogue was not made yet, or is away: the next look connects anew.
                CatalogueDisconnect(&reader, table.catalogue);
                sum = -1;
                break;
            }
            sum = (sum < 0 ? 0 : sum) + count;
        }
        rows = sum >= 0 ? sum : rows;
        const double end = Now();
        next = end + (end - now) / kCountShare;
    }
};

} // namespace

FollowStart FollowBegin() {
    RowCounter counter;
    counter.Count(Now());
    return {counter.rows};
}

ExitCode Follow(FdHandle file, const FollowStart &start, uint32_t timeout, FILE *out) {
    RequestFile requests = {std::move(file), {}, {}, 0, false};
    RowCounter counter;
    const double begin = Now();
    Progress progress(out, start.rows);
    for (;;) {
        const pid_t daemon = DaemonFind();
        const RunView view = RunLook(&requests, daemon);
        const double now = Now();
        if (view.phase == Phase::done)
            counter.next = 0; // the last word is exact
        counter.Count(now);
        progress.Show(view, counter.rows, now - begin);
        if (view.phase == Phase::done) {
            progress.End();
            return kDone;
        }
        if (daemon == 0) {
            progress.End();
            return Complain(kNotFinished, "the daemon has ended; its next start finishes what is left");
        }
        if (timeout != 0 && now - begin >= timeout) {
            progress.End();
            return Complain(kNotFinished, "the time is up; the daemon goes on");
        }
        nanosleep(&kPause, nullptr);
    }
}
