// SPDX-License-Identifier: GPL-2.0-or-later
//
// The commands that ask the daemon for work: lines are formed, all or none are queued, and the daemon is told.
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <fstream>
#include <iostream>

#include "catalogue/features.h"
#include "daemon/queue.h"
#include "platform/velusdk.h"
#include "tools/queue/daemon_process.h"
#include "tools/queue/queue_writer.h"
#include "tools/queue/request_line.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/follow.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/requests.h"
#include "tools/veluctl/setup/service_commands.h"
#include "tools/veluctl/setup/share_refusal.h"
#include "tools/veluctl/setup/watching.h"
#include "tools/veluctl/why/why.h"

namespace {

// Lines that go to the queue with one write. A list of a whole library is taken in pieces: other programs get
// in between.
constexpr size_t kBatchSize = 64 * 1024;

struct Requests {
    std::vector<std::string> lines;
    bool refused = false;

    void Take(std::string_view path, const RequestLine &formed) {
        if (!formed.refusal.empty())
            Refuse(path, formed.refusal);
        else
            lines.push_back(formed.line);
    }
    void Refuse(std::string_view path, const std::string &reason) {
        refused = true;
        Complain(kRefused, "refused: " + Quoted(path) + ": " + reason);
    }
};

ExitCode QueueFailed(int error) {
    std::string what = kQueueFile;
    what.append(": ").append(strerror(error));
    if (error == EACCES || error == EPERM || error == EROFS)
        return Complain(kNoRights, what + ". Only root may write the queue: run this with sudo.");
    return Complain(kFailed, what);
}

// Appends all lines. `file` receives the file that took the last of them.
int LinesAppend(const std::vector<std::string> &lines, FdHandle *file) {
    std::string batch;
    for (size_t at = 0; at < lines.size(); ++at) {
        batch += lines[at];
        const bool last = at + 1 == lines.size();
        if (!last && batch.size() + lines[at + 1].size() <= kBatchSize)
            continue;
        if (const int error = QueueAppend(kQueueFile, batch, last ? file : nullptr); error != 0)
            return error;
        batch.clear();
    }
    return 0;
}

} // namespace

ExitCode RequestLinesSend(const std::vector<std::string> &lines, const Options &options) {
    // Taken before the lines are queued, so that what this run adds can be told from what was there.
    const FollowStart start = options.wait ? FollowBegin() : FollowStart();
    FdHandle file;
    if (const int error = LinesAppend(lines, &file); error != 0)
        return QueueFailed(error);
    if (!options.no_signal)
        DaemonAwait();
    const int wake = options.no_signal ? 0 : DaemonWake();
    const std::string queued = Counted(static_cast<long long>(lines.size()), "request") + " queued";
    if (wake == ESRCH || (options.wait && DaemonFind() == 0))
        return Complain(kNotRunning,
                        queued +
                            ", but the daemon does not run: its next start does the work. To start it: " +
                            DaemonStartCommand());
    if (wake != 0)
        return Complain(wake == EPERM ? kNoRights : kFailed,
                        queued + ", but the daemon cannot be signalled: " + strerror(wake));
    // When the answer is for a program, standard output holds nothing else.
    FILE *out = options.form() == Form::table ? stdout : stderr;
    fprintf(out, "%s.\n", queued.c_str());
    fflush(out);
    return options.wait ? Follow(std::move(file), lines, start, options.timeout, out) : kDone;
}

namespace {

ExitCode RequestsSend(const Requests &requests, const Options &options) {
    if (requests.refused)
        return Complain(kRefused, "nothing was queued");
    if (requests.lines.empty())
        return Complain(kUsage, "no path was given");
    return RequestLinesSend(requests.lines, options);
}

// The paths of the command line and of the list. False when the list cannot be read.
bool PathsGather(const Options &options, std::vector<std::string> *paths) {
    *paths = options.paths;
    if (options.input.empty())
        return true;
    std::ifstream file;
    if (options.input != "-") {
        file.open(options.input, std::ios::binary);
        if (!file)
            return false;
    }
    std::istream &list = options.input == "-" ? std::cin : file;
    for (std::string path; std::getline(list, path, options.null_input ? '\0' : '\n');) {
        if (!path.empty())
            paths->push_back(path);
    }
    return !list.bad();
}

// Calls `request` with each path made absolute.
template <typename Request>
ExitCode ForEachPath(const Options &options, Request request) {
    std::vector<std::string> paths;
    if (!PathsGather(options, &paths))
        return Complain(kFailed, Quoted(options.input) + ": " + strerror(errno));
    Requests requests;
    for (const std::string &path : paths) {
        const std::string absolute = RequestPathMake(path);
        if (absolute.empty())
            requests.Refuse(path, path.empty() ? "it is empty" : strerror(errno));
        else
            request(absolute, &requests);
    }
    return RequestsSend(requests, options);
}

bool Exists(const std::string &path) {
    return BlKLIBFileExist(path.c_str()) != 0;
}

constexpr char kForceHint[] = " (--force queues it all the same)";

ExitCode WordSend(QueueCommand command, const Options &options) {
    Requests requests;
    requests.Take(options.what, RequestLineForm(command, options.what));
    return RequestsSend(requests, options);
}

// What the run has not brought into the catalogue.
ExitCode LeftOutTell(const std::vector<std::string> &asked) {
    FeatureSwitchesRead();
    CatalogueReader reader;
    const long long count = NotCataloguedTell(&reader, asked);
    if (count < 0)
        return Complain(kUnreachable, reader.failure);
    return count == 0 ? kDone : kNotCatalogued;
}

// What of it will be out of date one day.
void FoldersTell(const std::vector<std::string> &asked) {
    std::vector<std::string> folders;
    std::ranges::copy_if(asked, std::back_inserter(folders),
                         [](const std::string &path) { return IsDirExist(path.c_str()) != 0; });
    for (const Unwatched &unwatched : UnwatchedTell(folders)) {
        Complain(kDone, unwatched.text);
        if (!unwatched.command.empty())
            CommandTell(unwatched.command);
    }
}

ExitCode AddCommand(const Options &options) {
    std::vector<std::string> asked;
    const ExitCode sent = ForEachPath(options, [&](const std::string &path, Requests *requests) {
        asked.push_back(path);
        const RequestLine formed =
            RequestLineForm(IsDirExist(path.c_str()) != 0 ? kCommandTreeAdd : kCommandFileAdd, path);
        if (formed.refusal.empty() && !options.force && !Exists(path))
            requests->Refuse(path, strerror(errno) + std::string(kForceHint));
        else
            requests->Take(path, formed);
    });
    if (sent != kRefused && sent != kNoRights)
        FoldersTell(asked);
    return sent == kDone && options.wait ? LeftOutTell(asked) : sent;
}

ExitCode RemoveCommand(const Options &options) {
    return ForEachPath(options, [&](const std::string &path, Requests *requests) {
        // Nobody knows whether what is gone was a file; the command for trees removes either.
        const RequestLine formed = RequestLineForm(kCommandTreeRemove, path);
        if (formed.refusal.empty() && !options.force && Exists(path))
            requests->Refuse(path, "it is still there, and the daemon removes only what is gone" +
                                       std::string(kForceHint));
        else
            requests->Take(path, formed);
    });
}

ExitCode RenameCommand(const Options &options) {
    const std::string new_path = RequestPathMake(options.new_path);
    const std::string old_path = RequestPathMake(options.old_path);
    Requests requests;
    const RequestLine formed = RenameLineForm(new_path, old_path);
    if (formed.refusal.empty() && !options.force && !Exists(new_path))
        requests.Refuse(new_path, "the new path is not there" + std::string(kForceHint));
    else if (formed.refusal.empty() && !options.force && Exists(old_path))
        requests.Refuse(old_path, "the old path is still there" + std::string(kForceHint));
    else
        requests.Take(options.new_path + " <- " + options.old_path, formed);
    return RequestsSend(requests, options);
}

ExitCode ReindexCommand(const Options &options) {
    if (const std::optional<std::string> refusal = ReindexRefusal(options.what)) {
        Requests requests;
        requests.Refuse(options.what, *refusal);
        return RequestsSend(requests, options);
    }
    return WordSend(kCommandReindex, options);
}

ExitCode RefreshCommand(const Options &options) {
    return WordSend(kCommandUpdate, options);
}

constexpr RequestCommand kCommands[] = {
    {"add", "Index files and trees", AddCommand, kCommandTreeAdd, "Files and directories to index"},
    {"remove", "Forget files and trees that are gone", RemoveCommand, kCommandTreeRemove,
     "Files and directories that are gone"},
    {"rename", "Follow the rename of a file or directory", RenameCommand, kCommandRename, ""},
    {"reindex", "Index whole shares anew", ReindexCommand, kCommandReindex,
     "Which share: music, video, photo (the photo library) or all"},
    {"refresh", "Bring the photo library up to date", RefreshCommand, kCommandUpdate, "The library: photo"},
};

} // namespace

std::span<const RequestCommand> RequestCommands() {
    return kCommands;
}
