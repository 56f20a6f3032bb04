// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl status: the daemon, its queue and its catalogues at a glance.
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "daemon/queue.h"
#include "daemon/queue_kept.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "tools/queue/daemon_process.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/json_text.h"
#include "tools/veluctl/process_start.h"
#include "tools/veluctl/run_view.h"
#include "tools/veluctl/span_text.h"
#include "tools/veluctl/uri_text.h"

namespace {

std::string TimeText(time_t time) {
    struct tm local;
    char text[32] = "";
    if (localtime_r(&time, &local) != nullptr)
        strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

int64_t FileSize(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

// Bytes on the disk: a file with its log, or what the server says. -1: not known.
int64_t DatabaseSize(CatalogueReader *reader, Catalogue catalogue, const char *uri) {
    if (const char *file = VELUDBFileGet(uri); file != nullptr)
        return FileSize(file) + FileSize(std::string(file) + "-wal");
    const ResultHandle rows =
        CatalogueQuery(reader, catalogue, "select pg_database_size(current_database()) as n", {});
    const char *size = rows != nullptr ? VELUDBFetchField(rows.get(), 0, "n") : nullptr;
    return size != nullptr ? strtoll(size, nullptr, 10) : -1;
}

// A line of an answer for people; the same text of either.
void Say(const char *name, const std::string &text) {
    printf("%-16s %s\n", name, text.c_str());
}

void DaemonReport(pid_t daemon, Json *answer, bool json) {
    const time_t since = daemon != 0 ? ProcessStart(daemon) : 0;
    struct stat status;
    const time_t last_run = stat(kLastRunFile, &status) == 0 ? status.st_mtime : 0;
    if (!json) {
        Say("daemon", daemon == 0 ? "not running"
                                  : "running as process " + std::to_string(daemon) +
                                        (since != 0 ? " since " + TimeText(since) : ""));
        Say("last run ended", last_run != 0 ? TimeText(last_run) : "none since the machine started");
        return;
    }
    (*answer)["running"] = daemon != 0;
    (*answer)["pid"] = daemon != 0 ? Json(daemon) : Json();
    (*answer)["since"] = since != 0 ? Json(static_cast<int64_t>(since)) : Json();
    (*answer)["last_run"] = last_run != 0 ? Json(static_cast<int64_t>(last_run)) : Json();
}

void RulesReport(Json *answer, bool json) {
    const char *rules = RuleSetWord(RuleSetConfigured());
    if (json)
        (*answer)["rules"] = rules;
    else
        Say("rules", rules);
}

constexpr char kHidden[] = "cannot be read by this user";

void QueueReport(pid_t daemon, Json *answer, bool json) {
    for (const char *path : {kQueueFile, kQueueWorkingCopy}) {
        const bool copy = path == kQueueWorkingCopy;
        RequestFile requests = RequestFileOpen(path);
        const bool there = access(path, F_OK) == 0;
        RunView view = {Phase::done, 0, 0, {}, {}};
        if (requests.file)
            view = RunLook(&requests, daemon);
        // In the moment between the look at its name and the look at the file, a copy may go or the queue
        // become one.
        const bool kept = copy && requests.file && view.phase == Phase::kept;
        if (json) {
            Json state = Json::object();
            state["present"] = there;
            state["lines"] = requests.file || !there ? Json(view.lines_total) : Json();
            if (copy) {
                state["kept"] = kept;
                state["lines_done"] = view.lines_done;
                JsonTextPut(&state, "request", view.request);
                JsonTextPut(&state, "file", view.file);
            }
            (*answer)[copy ? "working_copy" : "queue"] = state;
        } else if (there && !requests.file) {
            Say(copy ? "working copy" : "queue", kHidden);
        } else if (!copy) {
            Say("queue", there ? std::to_string(view.lines_total) + " waiting" : "empty");
        } else if (there) {
            Say("working copy", (kept ? "kept for the next try, " : "in work, line ") +
                                    (kept ? std::string() : std::to_string(view.lines_done) + " of ") +
                                    std::to_string(view.lines_total) + (kept ? " lines" : "") +
                                    (view.request.empty() ? "" : ": " + SafeText(view.request)));
        }
    }
}

void KeptReport(Json *answer, bool json) {
    const bool there = access(kKeptFile, F_OK) == 0;
    const KeptView view = KeptLook();
    if (json) {
        Json state = Json::object();
        state["present"] = there;
        state["requests"] = view.readable || !there ? Json(view.requests) : Json();
        state["oldest_seconds"] = view.readable ? Json(view.oldest_seconds) : Json();
        (*answer)["kept"] = state;
    } else if (there && !view.readable) {
        Say("kept requests", kHidden);
    } else if (view.requests > 0) {
        Say("kept requests", std::to_string(view.requests) + " could not be stored, the oldest for " +
                                 SpanText(view.oldest_seconds) +
                                 "; the daemon tries again, its log says why");
    }
}

struct Database {
    Catalogue catalogue;
    const char *name;
};
constexpr Database kDatabases[] = {{Catalogue::media, "media"}, {Catalogue::photo, "photo"}};

// False when a catalogue cannot be reached.
bool DatabasesReport(Json *answer, bool json) {
    CatalogueReader reader;
    bool all_reached = true;
    for (const Database &database : kDatabases) {
        char uri[kCatalogueUriSize] = "";
        VELUIndexUriGet(database.catalogue, uri, sizeof uri);
        const std::string place = UriWithoutPassword(uri);
        const bool reached = CatalogueConnect(&reader, database.catalogue) != nullptr;
        all_reached = all_reached && reached;
        const int64_t size = reached ? DatabaseSize(&reader, database.catalogue, uri) : -1;
        Json state = Json::object();
        if (json) {
            JsonTextPut(&state, "uri", place);
            state["reachable"] = reached;
            if (!reached)
                JsonTextPut(&state, "reason", reader.failure);
            state["bytes"] = size >= 0 ? Json(size) : Json();
            state["rows"] = Json::object();
        } else {
            printf("\n");
            Say((std::string(database.name) + " catalogue").c_str(), SafeText(place));
            Say("", reached ? ValueShow(std::to_string(size), Type::bytes)
                            : "not reachable: " + SafeText(reader.failure));
        }
        for (const CatalogueTable &table : CatalogueTables()) {
            if (!reached || table.catalogue != database.catalogue)
                continue;
            const int64_t count = CatalogueCount(&reader, table);
            if (json)
                state["rows"][table.table] = count >= 0 ? Json(count) : Json();
            else
                printf("  %-14s %s\n", table.table,
                       count >= 0 ? std::to_string(count).c_str() : SafeText(reader.failure).c_str());
        }
        if (json)
            (*answer)["catalogues"][database.name] = state;
    }
    return all_reached;
}

} // namespace

ExitCode StatusCommand(const Options &options) {
    Json answer = Json::object();
    const pid_t daemon = DaemonFind();
    DaemonReport(daemon, &answer, options.json);
    RulesReport(&answer, options.json);
    QueueReport(daemon, &answer, options.json);
    KeptReport(&answer, options.json);
    const bool reached = DatabasesReport(&answer, options.json);
    if (options.json)
        JsonPrint(answer, stdout);
    if (daemon == 0)
        return kNotRunning;
    return reached ? kDone : kUnreachable;
}
