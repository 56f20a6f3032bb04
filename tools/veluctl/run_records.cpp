// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/run_records.h"

#include <sys/stat.h>

#include "daemon/queue.h"

namespace {

std::optional<IndexRecord> RecordRead(const char *path) {
    IndexRecord record;
    return IndexRecordRead(path, &record) ? std::optional(std::move(record)) : std::nullopt;
}

} // namespace

std::optional<IndexRecord> RunRecordRead(pid_t daemon) {
    std::optional<IndexRecord> record = RecordRead(kRunRecord);
    return record && record->pid == daemon ? record : std::nullopt;
}

bool LastRun::has_record() const {
    // The record is written first.
    return record && record->end + 1 >= end;
}

LastRun LastRunRead() {
    struct stat status;
    return {stat(kLastRunFile, &status) == 0 ? status.st_mtime : 0, RecordRead(kLastRunRecord)};
}
