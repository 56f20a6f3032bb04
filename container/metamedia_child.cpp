// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/metamedia_child.h"

#include "platform/index/media_columns.h"

#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <syslog.h>
#include <unistd.h>

#include <memory>
#include <new>

namespace {

constexpr char kLogName[] = "metamedia.c";

struct BlockUnmap {
    void operator()(MediaInfo *block) const noexcept { munmap(block, sizeof *block); }
};
using SharedBlock = std::unique_ptr<MediaInfo, BlockUnmap>;

SharedBlock SharedBlockMap() {
    void *block = mmap(nullptr, sizeof(MediaInfo), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return SharedBlock(block != MAP_FAILED ? new (block) MediaInfo : nullptr);
}

// The child leaves without the exit handlers and unflushed streams that it inherited from the daemon.
[[noreturn]] void ChildRun(MediaProbe probe, const char *path, MediaInfo *block, pid_t parent) {
    // The daemon's handler would take away the daemon's pid file.
    if (signal(SIGTERM, SIG_DFL) == SIG_ERR) {
        syslog(LOG_ERR, "%s:%d signal(SIGTERM, SIG_DFL) failed.", kLogName, __LINE__);
        _exit(kProbeFailed);
    }
    ChildConfine(parent);
    if (probe(path, block) == kProbeDone)
        _exit(kProbeDone);
    syslog(LOG_ERR, "%s (%d) Failed to get Misc Media Info from [%s].", kLogName, __LINE__, path);
    _exit(kProbeFailed);
}

// Takes the fields that a probe fills; what else the block holds came from the record. A file may have taken the
// child over and written anything into the block: every text is ended here.
void FindingsTake(const MediaInfo &block, MediaInfo *record) {
    for (const MediaColumn &column : kMediaRowColumns) {
        if (column.source != ColumnSource::probe)
            continue;
        char *field = MediaField(record, column);
        memcpy(field, MediaField(block, column), column.size);
        if (column.kind == ColumnKind::tag)
            field[column.size - 1] = '\0';
    }
}

} // namespace

int MediaProbeRun(MediaProbe probe, const char *path, MediaInfo *record, const ChildWatch &watch) {
    const SharedBlock block = SharedBlockMap();
    if (block == nullptr) {
        syslog(LOG_ERR, "%s:%d mmap() failed.", kLogName, __LINE__);
        return -1;
    }
    *block = *record;
    const pid_t daemon = getpid();
    const pid_t child = fork();
    if (child < 0) {
        syslog(LOG_ERR, "%s:%d fork failed.", kLogName, __LINE__);
        return -1;
    }
    if (child == 0)
        ChildRun(probe, path, block.get(), daemon);
    const int result = ChildProcessWatch(child, watch);
    FindingsTake(*block, record);
    return result;
}
