// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which request a path waits for: one in the queue, one in work, one that was kept.
#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "daemon/queue_files.h"
#include "daemon/queue_kept.h"
#include "daemon/queue_line.h"
#include "daemon/queue_reader.h"
#include "daemon/queue_touch.h"
#include "platform/path.h"
#include "tools/queue/daemon_process.h"
#include "tools/queue/request_path.h"
#include "tools/queue/watcher_state.h"
#include "tools/veluctl/run_view.h"
#include "tools/veluctl/setup/service_commands.h"
#include "tools/veluctl/setup/watching.h"
#include "tools/veluctl/shell_word.h"
#include "tools/veluctl/span_text.h"
#include "tools/veluctl/why/why.h"

namespace {

// The clock that stamps files is not the one that is asked here, and a request takes its time to be written.
constexpr double kWatchSlackSeconds = 2;

// True for a request that brings a path into the catalogue if nothing else keeps it out.
bool Brings(const QueueRequest &request, std::string_view path) {
    const std::string_view asked = PathWithoutEndSlashes(request.argument);
    switch (request.command) {
    case kCommandFileAdd:
        return asked == path;
    case kCommandTreeAdd:
    case kCommandRename:
        if (asked.size() > path.size())
            return false;
        break;
    case kCommandReindex:
        break;
    default:
        return false;
    }
    QueueTouched touched;
    QueueTouchAdd(&touched, request);
    return QueueTouchesPath(touched, path);
}

std::string_view WithoutNewline(std::string_view line) {
    if (line.ends_with('\n'))
        line.remove_suffix(1);
    return line;
}

bool LineBrings(std::string_view line, const std::string &path) {
    QueueRequest request;
    return QueueLineParse(WithoutNewline(line), request) && Brings(request, path);
}

// The number of the first line behind `done` of a file of requests that brings the path, and the line; 0: none does.
size_t LineFind(const char *file, int64_t done, const std::string &path, std::string *found) {
    QueueReader reader;
    if (!reader.Open(file))
        return 0;
    size_t number = 1;
    bool begins = true;
    for (std::string_view line; reader.Next(&line);) {
        if (begins && static_cast<int64_t>(number) > done && LineBrings(line, path)) {
            *found = WithoutNewline(line);
            return number;
        }
        begins = line.ends_with('\n');
        number += begins ? 1 : 0;
    }
    return 0;
}

int64_t LinesDone(pid_t daemon) {
    RequestFile copy = RequestFileOpen(kQueueWorkingCopy);
    return copy.file ? RunLook(&copy, daemon).lines_done : 0;
}

std::optional<Reason> Queued(const std::string &path, pid_t daemon) {
    std::string line;
    const size_t in_work = LineFind(kQueueWorkingCopy, LinesDone(daemon), path, &line);
    const size_t waiting = in_work == 0 ? LineFind(kQueueFile, 0, path, &line) : 0;
    if (in_work == 0 && waiting == 0)
        return std::nullopt;
    const std::string number = std::to_string(in_work + waiting);
    return Reason{"queued",
                  "not yet: line " + number + " of " + (in_work != 0 ? "the requests in work" : "the queue") +
                      " asks for it (" + Named(line) + ")" +
                      (daemon == 0 ? ", and the daemon does not run" : ""),
                  daemon == 0 ? DaemonStartCommand() : "veluctl status",
                  in_work != 0 ? kQueueWorkingCopy : kQueueFile, in_work + waiting};
}

std::optional<Reason> Kept(const std::string &path) {
    KeptReader reader;
    KeptLine kept;
    if (!reader.Open())
        return std::nullopt;
    for (size_t number = 1; reader.Next(&kept); ++number) {
        if (LineBrings(kept.line, path))
            return Reason{"kept",
                          "not yet: a request for it (" + Named(WithoutNewline(kept.line)) +
                              ") could not be stored " + SpanText(kept.seconds + KeptSince()) +
                              " ago, and is tried again",
                          "veluctl status", kKeptFile, number};
    }
    return std::nullopt;
}

// True when the requests cannot be looked at by this user.
bool RequestsAreHidden() {
    for (const char *file : {kQueueFile, kQueueWorkingCopy, kKeptFile})
        if (access(file, R_OK) != 0 && errno == EACCES)
            return true;
    return false;
}

bool HasDirectoryRow(CatalogueReader *reader, const std::string &path) {
    const ResultHandle rows =
        CatalogueQuery(reader, Catalogue::media, "select 1 from directory where path = $1", {path});
    return rows != nullptr && VELUDBRowCount(rows.get()) > 0;
}

// When something happened last by which a path is new here: it was written or renamed, or a directory came that it lies in.
time_t ChangedLast(CatalogueReader *reader, const std::string &path) {
    time_t last = 0;
    struct stat status;
    for (std::string place = path; place.size() > 1 && stat(place.c_str(), &status) == 0;
         place = ParentOf(place)) {
        if (place != path && HasDirectoryRow(reader, place))
            break;
        last = std::max(last, status.st_ctim.tv_sec);
    }
    return last;
}

std::string SettleText(double seconds) {
    char text[64];
    snprintf(text, sizeof text, seconds > 0 ? "for %g s" : "for a moment", seconds);
    return text;
}

// What the watcher is about to ask for.
std::optional<Reason> Watched(CatalogueReader *reader, const std::string &path, const Watching &watching) {
    if (watching.place.empty())
        return std::nullopt;
    const time_t age = std::max<time_t>(time(nullptr) - ChangedLast(reader, path), 0);
    if (static_cast<double>(age) > watching.settle * kWatchHoldSettles + kWatchSlackSeconds)
        return std::nullopt;
    return Reason{"watched",
                  "not yet: it has come or changed just now, and veluwatchd, which watches " +
                      Named(watching.place) + ", asks for it when nothing more has happened there " +
                      SettleText(watching.settle),
                  "veluctl status"};
}

std::string UnaskedText(const Watching &watching) {
    const std::string nobody = "nothing keeps it out, but nobody has asked for it since it came";
    if (!watching.place.empty())
        return nobody + ", veluwatchd neither, though it watches " + Named(watching.place) +
               (watching.gaps.empty() ? "" : ", as far as it can: " + watching.gaps);
    if (!watching.in_share)
        return "it lies in no share, where a reindex would find it, and nobody has asked for it";
    return nobody + (watching.watcher ? "; veluwatchd watches other folders"
                                      : "; veluwatchd, which would, does not run");
}

} // namespace

Reason ReasonOfRequests(CatalogueReader *reader, const std::string &path) {
    const Watching watching = WatchingLook(path);
    if (std::optional<Reason> reason = Queued(path, DaemonFind()))
        return *reason;
    if (std::optional<Reason> reason = Kept(path))
        return *reason;
    if (std::optional<Reason> reason = Watched(reader, path, watching))
        return *reason;
    if (RequestsAreHidden())
        return {"unasked", "nothing keeps it out, and this user cannot see whether a request for it waits",
                "sudo veluctl why " + ShellWord(path)};
    return {"unasked", UnaskedText(watching), AddCommandLine(path)};
}

Reason ReasonOf(CatalogueReader *reader, const std::string &path) {
    std::optional<Reason> reason = ReasonOfRules(reader, path);
    return reason ? *reason : ReasonOfRequests(reader, path);
}
