// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/follow.h"

#include <stdio.h>
#include <time.h>

#include <optional>
#include <string>

#include "daemon/queue_files.h"
#include "platform/clock.h"
#include "tools/queue/daemon_process.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/interrupt.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/progress.h"
#include "tools/veluctl/queue_wait.h"
#include "tools/veluctl/run_records.h"
#include "tools/veluctl/run_view.h"
#include "tools/veluctl/setup/service_commands.h"
#include "tools/veluctl/status/status.h"
#include "tools/veluctl/store_away.h"

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

// Requests that are kept are tried again after ten seconds, then after twenty, and then more and more seldom: what is away after
// these two is away for longer.
constexpr double kKeptPatience = 35;

// What is taken over lies for a moment as if it were kept.
constexpr double kKeptSettled = 1;

// A daemon writes its line before it keeps the requests.
constexpr int64_t kLogSlack = 1;

// What keeps the requests, while they are kept.
class KeptFollow {
public:
    explicit KeptFollow(time_t begin) : begin_(begin - kLogSlack) {}

    // Takes a moment of the run, to which it adds the reason.
    void Take(RunView *view, double now) {
        if (view->phase != Phase::kept) {
            since_ = kNever;
            away_.reset();
            return;
        }
        if (since_ == kNever)
            since_ = now;
        if (!away_ && now - since_ >= kKeptSettled)
            away_ = StoreAwayLook(begin_);
        if (away_)
            view->kept_because = away_->reason;
    }

    // True when nobody should go on waiting.
    [[nodiscard]] bool IsOver(double now, bool has_timeout) const {
        return away_ && (away_->lasting || (!has_timeout && now - since_ >= kKeptPatience));
    }

    // What the daemon does meanwhile, as a sentence without its end.
    [[nodiscard]] std::string Text() const {
        if (!away_)
            return "the daemon goes on";
        return "the daemon keeps the request and tries it again by itself" +
               (away_->reason.empty() ? "; veluctl log tells why" : ": " + SafeText(away_->reason));
    }

private:
    static constexpr double kNever = -1;

    int64_t begin_;
    double since_ = kNever;
    std::optional<StoreAway> away_;
};

// What came of the daemon's last run, which has ended since that moment.
std::optional<IndexRecord> RecordSince(time_t begin, pid_t daemon) {
    LastRun last = LastRunRead();
    const bool is_it = last.has_record() && last.record->end >= begin && last.record->pid == daemon;
    return is_it ? std::move(last.record) : std::nullopt;
}

} // namespace

FollowStart FollowBegin() {
    RowCounter counter;
    counter.Count(Now());
    return {counter.rows, time(nullptr)};
}

namespace {

ExitCode FileFollow(RequestFile requests, const FollowStart &start, uint32_t timeout, FILE *out) {
    RowCounter counter;
    const double begin = Now();
    Progress progress(out, start.rows);
    KeptFollow kept(start.time);
    const InterruptScope interrupt;
    for (;;) {
        const pid_t daemon = DaemonFind();
        RunView view = RunLook(&requests, daemon);
        const double now = Now();
        kept.Take(&view, now);
        if (view.phase == Phase::done)
            counter.next = 0; // the last word is exact
        counter.Count(now);
        if (view.phase == Phase::done) {
            view.record = RecordSince(start.time, daemon);
            progress.Finish(view, counter.rows, now - begin);
            return kDone;
        }
        progress.Show(view, counter.rows, now - begin);
        if (daemon == 0) {
            progress.End();
            return Complain(kNotFinished, "the daemon has ended; its next start finishes what is left");
        }
        if (interrupt.has_come()) {
            progress.End();
            Complain(kNotFinished,
                     "interrupted; the request stays queued and the daemon goes on: veluctl status shows it");
            interrupt.End();
        }
        if (kept.IsOver(now, timeout != 0)) {
            progress.End();
            return Complain(kUnreachable, kept.Text());
        }
        if (timeout != 0 && now - begin >= timeout) {
            progress.End();
            return Complain(kNotFinished, "the time is up; " + kept.Text());
        }
        nanosleep(&kPause, nullptr);
    }
}

// What waits or is in work, if the daemon is to come to it.
RequestFile FileInWork() {
    RequestFile requests = RequestFileOpen(kQueueWorkingCopy);
    const QueueWait wait = QueueWaitLook();
    if (!requests.file && (wait.after || QueueWaitSeconds(wait)))
        requests = RequestFileOpen(kQueueFile);
    requests.waited_for.emplace(); // what is kept of it is nobody's here
    return requests;
}

void OthersTell() {
    if (const int64_t kept = KeptLook().requests; kept > 0)
        Complain(kDone, Counted(kept, "request") + " that could not be stored " + (kept == 1 ? "is" : "are") +
                            " kept, and tried again: veluctl status shows " + (kept == 1 ? "it" : "them"));
}

} // namespace

ExitCode Follow(FdHandle file, const std::vector<std::string> &lines, const FollowStart &start,
                uint32_t timeout, FILE *out) {
    RequestFile requests = {std::move(file), {}, {}, 0, false};
    requests.waited_for.emplace();
    for (const std::string &line : lines)
        requests.waited_for->insert(line.substr(0, line.find('\n')));
    const ExitCode end = FileFollow(std::move(requests), start, timeout, out);
    if (end == kDone)
        OthersTell();
    return end;
}

ExitCode FollowAll(FILE *out) {
    if (DaemonFind() == 0)
        return Complain(kNotRunning, NotRunningText(DaemonStartCommand()));
    FollowStart start = FollowBegin();
    bool any = false;
    for (RequestFile requests = FileInWork(); requests.file; requests = FileInWork()) {
        any = true;
        if (const ExitCode end = FileFollow(std::move(requests), start, 0, out); end != kDone)
            return end;
        start = FollowBegin();
    }
    if (!any)
        fputs("The daemon has nothing to do.\n", out);
    OthersTell();
    return kDone;
}
