// SPDX-License-Identifier: GPL-2.0-or-later
//
// Counting ahead costs no file its time: it is done where the daemon would wait, a little at a time.
#include "daemon/walk_progress.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <optional>

#include "catalogue/file_counts.h"
#include "daemon/index_left_out.h"
#include "daemon/index_record.h"
#include "platform/clock.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"

namespace {

// Between two times that progress is written: nobody looks more often, and short runs write nothing.
constexpr int64_t kWritePause = 1'000;

// What is counted ahead at a time: readers have some milliseconds of work before them.
constexpr int64_t kAheadMilliseconds = 1;
constexpr int kAheadEvents = 64;

struct Progress {
    IndexRecord record;
    int64_t begin = MonotonicMilliseconds();
    int64_t next = begin + kWritePause;
    int64_t before = 0;              // files that had their turn before the tree
    int64_t met = 0;                 // files of the tree that were counted
    std::optional<TreeCursor> ahead; // none: all is counted, or there is no tree
    bool tree = false;
};

// Of the run that goes on by the rules `complete`.
std::unique_ptr<Progress> progress;

void CountsTake() {
    const FileCounts &counts = *FilesCounted();
    IndexRecord *record = &progress->record;
    record->added = counts.added;
    record->changed = counts.changed;
    record->unchanged = counts.unchanged;
    record->troubled = counts.troubled;
    record->milliseconds = MonotonicMilliseconds() - progress->begin;
    record->known = std::max(record->files, progress->before + progress->met);
    record->counted = progress->tree && !progress->ahead ? 1 : 0;
}

// Writes progress down, with the directory of the file at which the run is.
void ProgressWrite(const std::string &path) {
    progress->next = MonotonicMilliseconds() + kWritePause;
    CountsTake();
    progress->record.folder = path.substr(0, path.rfind('/'));
    IndexRecordWrite(kRunRecord, progress->record);
}

// The same when it is time to.
void WriteWhenDue(const std::string &path) {
    if (MonotonicMilliseconds() >= progress->next)
        ProgressWrite(path);
}

// Goes on counting. False at the end.
bool AheadStep(TreeCursor *cursor) {
    for (int events = 0; events < kAheadEvents; ++events) {
        const TreeEvent event = TreeNext(cursor);
        if (event == TreeEvent::done)
            return false;
        if (event == TreeEvent::entry && cursor->kind == EntryKind::file)
            ++progress->met;
    }
    return true;
}

} // namespace

ProgressScope::ProgressScope() {
    if (RuleSetActive() != RuleSet::complete)
        return;
    progress = std::make_unique<Progress>();
    progress->record.pid = getpid();
    progress->record.begin = time(nullptr);
    *FilesCounted() = {};
}

ProgressScope::~ProgressScope() {
    if (progress == nullptr)
        return;
    if (progress->record.request > 0) {
        CountsTake();
        progress->record.end = time(nullptr);
        progress->record.folder.clear();
        IndexRecordWrite(kLastRunRecord, progress->record);
    }
    unlink(kRunRecord); // there may be one of a daemon that was killed
    progress.reset();
}

void ProgressRequest() {
    if (progress == nullptr)
        return;
    ++progress->record.request;
    WriteWhenDue({});
}

void ProgressTake() {
    if (progress == nullptr)
        return;
    IndexRecord *record = &progress->record;
    record->removed += static_cast<int64_t>(VELUIndexRunRemoved());
    record->left_out.clear();
    const LeftOutCounts &left_out = *LeftOutCounted();
    for (size_t why = 0; why < left_out.size(); ++why)
        if (left_out[why] > 0)
            record->left_out.emplace_back(static_cast<int64_t>(left_out[why]),
                                          LeftOutWords(static_cast<LeftOut>(why)));
}

ProgressTree::ProgressTree(const char *path) : counts_(progress != nullptr && !progress->tree) {
    if (!counts_)
        return;
    progress->tree = true;
    progress->before = progress->record.files;
    progress->met = 0;
    progress->ahead = TreeBegin(path, {.rules = &ActiveWalkRules().index, .cut = true});
    progress->ahead->ignore.tells = false; // the walk itself does
}

ProgressTree::~ProgressTree() {
    if (!counts_ || progress == nullptr)
        return;
    progress->ahead.reset();
    progress->tree = false;
    progress->before = progress->met = 0;
}

void ProgressFile(const std::string &path) {
    if (progress == nullptr)
        return;
    ++progress->record.files;
    WriteWhenDue(path);
}

void ProgressAhead(const std::string &path) {
    if (progress == nullptr || !progress->ahead)
        return;
    try {
        const int64_t until = MonotonicMilliseconds() + kAheadMilliseconds;
        bool more = true;
        while (more && MonotonicMilliseconds() < until)
            more = AheadStep(&*progress->ahead);
        if (more)
            return;
        progress->ahead.reset();
        ProgressWrite(path); // what is waited for may take long
    } catch (const std::bad_alloc &) {
        progress->ahead.reset(); // what was counted so far is known
    }
}
