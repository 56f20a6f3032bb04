// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/run_view.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>

#include "catalogue/shares.h"
#include "daemon/queue.h"
#include "daemon/queue_kept.h"
#include "daemon/queue_reader.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/rule_set.h"
#include "tools/queue/daemon_process.h"
#include "tools/queue/queue_writer.h"
#include "tools/veluctl/run_records.h"

namespace {

constexpr size_t kBlock = 64 * 1024;

std::string LinkOf(const std::string &link) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlink(link.c_str(), target.data(), target.size());
    return length > 0 ? std::string(target.data(), static_cast<size_t>(length)) : std::string();
}

// The place of a descriptor in its file, or -1.
int64_t PositionOf(pid_t pid, const char *descriptor) {
    const FileHandle file(fopen((ProcPath(pid, "fdinfo/") + descriptor).c_str(), "re"));
    char line[128];
    while (file != nullptr && fgets(line, sizeof line, file.get()) != nullptr) {
        long long position = 0;
        if (sscanf(line, "pos: %lld", &position) == 1)
            return position;
    }
    return -1;
}

bool InShare(std::string_view path) {
    for (const char *link : kShareLinks) {
        char target[kSharePathSize];
        if (!ShareTargetGet(link, target))
            continue;
        if (PathIsUnder(path, target))
            return true;
    }
    return false;
}

struct DaemonFiles {
    int64_t position = -1; // in the file of requests; -1: not open, or not to be seen
    std::string media;     // the longest path in a share: a file, or else the innermost directory
};

DaemonFiles DaemonFilesLook(pid_t pid, int requests) {
    DaemonFiles files;
    struct stat wanted;
    const std::string folder = ProcPath(pid, "fd");
    const DirHandle descriptors(opendir(folder.c_str()));
    if (descriptors == nullptr || fstat(requests, &wanted) != 0)
        return files;
    while (const dirent *entry = readdir(descriptors.get())) {
        const std::string link = folder + '/' + entry->d_name;
        struct stat status;
        if (stat(link.c_str(), &status) != 0)
            continue;
        if (status.st_dev == wanted.st_dev && status.st_ino == wanted.st_ino) {
            files.position = PositionOf(pid, entry->d_name);
            continue;
        }
        const std::string path = LinkOf(link);
        if (path.size() > files.media.size() && InShare(path))
            files.media = path;
    }
    return files;
}

std::string LineAt(const FdHandle &file, int64_t position) {
    std::array<char, kQueueLineMax> text;
    const ssize_t length = FileReadSomeAt(file, static_cast<uint64_t>(position), text.data(), text.size());
    const std::string_view line(text.data(), length > 0 ? static_cast<size_t>(length) : 0);
    return std::string(line.substr(0, line.find('\n')));
}

bool IsWaitedFor(const RequestFile &requests, const std::string &line) {
    return !requests.waited_for || requests.waited_for->contains(line);
}

// True when a line of the file that somebody waits for stands in the kept file.
bool IsKept(RequestFile *requests) {
    struct stat status;
    if (stat(kKeptFile, &status) != 0)
        return false;
    if (status.st_ino == requests->kept_looked_at)
        return requests->kept;
    requests->kept_looked_at = status.st_ino;
    requests->kept = false;
    std::unordered_set<std::string> waiting;
    KeptReader reader;
    KeptLine kept;
    if (reader.Open())
        while (reader.Next(&kept))
            waiting.emplace(kept.line);
    QueueReader lines;
    // The file has lost its name.
    if (!lines.Open(("/proc/self/fd/" + std::to_string(requests->file.get())).c_str()))
        return false;
    std::string_view line;
    while (!requests->kept && lines.Next(&line)) {
        const std::string whole(line.substr(0, line.find('\n')));
        requests->kept = waiting.contains(whole) && IsWaitedFor(*requests, whole);
    }
    return requests->kept;
}

} // namespace

int64_t KeptSince() {
    struct stat status;
    if (stat(kKeptFile, &status) != 0)
        return 0;
    return std::max<int64_t>(time(nullptr) - status.st_mtim.tv_sec, 0);
}

KeptView KeptLook() {
    KeptView view;
    KeptReader reader;
    KeptLine kept;
    if (!reader.Open())
        return view;
    const int64_t since = KeptSince();
    for (; reader.Next(&kept); ++view.requests)
        view.oldest_seconds = std::max(view.oldest_seconds, kept.seconds + since);
    view.readable = reader.failure() == 0;
    return view;
}

int64_t LinesUpTo(LineCounter *counter, const FdHandle &file, int64_t end) {
    std::array<char, kBlock> block;
    while (counter->counted < end) {
        const auto wanted = static_cast<size_t>(std::min<int64_t>(end - counter->counted, kBlock));
        const ssize_t got =
            FileReadSomeAt(file, static_cast<uint64_t>(counter->counted), block.data(), wanted);
        if (got <= 0)
            break;
        counter->counted += got;
        counter->lines += std::count(block.begin(), block.begin() + got, '\n');
        counter->open_line = block[static_cast<size_t>(got) - 1] != '\n';
    }
    return counter->lines + (counter->open_line ? 1 : 0);
}

RunView RunLook(RequestFile *requests, pid_t daemon) {
    const int fd = requests->file.get();
    struct stat status = {};
    fstat(fd, &status);
    RunView view = {Phase::done, 0, LinesUpTo(&requests->total, requests->file, status.st_size), {}, {}};
    if (status.st_nlink == 0) {
        if (IsKept(requests)) {
            view.phase = Phase::kept;
            return view;
        }
        view.lines_done = view.lines_total;
        return view;
    }
    if (IsFileAt(kQueueFile, fd)) {
        view.phase = Phase::queued;
        return view;
    }
    const DaemonFiles files = daemon != 0 ? DaemonFilesLook(daemon, fd) : DaemonFiles();
    // A user who may not look into the daemon's process assumes that it works on what it has taken over.
    const bool hidden = daemon != 0 && access(ProcPath(daemon, "fd").c_str(), R_OK) != 0;
    view.phase = files.position >= 0 || hidden ? Phase::running : Phase::kept;
    if (view.phase == Phase::running)
        view.record = RunRecordRead(daemon);
    view.beginning = files.position >= 0 && !view.record && RuleSetConfigured() == RuleSet::complete;
    if (files.position >= 0) {
        view.lines_done = LinesUpTo(&requests->done, requests->file, files.position);
        view.request = LineAt(requests->file, files.position);
        view.file = files.media;
    }
    return view;
}

RequestFile RequestFileOpen(const char *path) {
    return {OpenForReading(path, O_NOFOLLOW), {}, {}};
}
