// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_pass.h"

#include <errno.h>
#include <syslog.h>

#include <new>
#include <string>
#include <string_view>

#include "catalogue/file_readers.h"
#include "catalogue/playlist_entries.h"
#include "daemon/index_left_out.h"
#include "daemon/path_rules.h"
#include "daemon/queue_away.h"
#include "daemon/queue_commands.h"
#include "daemon/queue_files.h"
#include "daemon/queue_kept.h"
#include "daemon/queue_line.h"
#include "daemon/queue_rename.h"
#include "daemon/queue_start.h"
#include "daemon/queue_tell.h"
#include "daemon/queue_touch.h"
#include "daemon/walk_progress.h"
#include "photo/hand_over_spool.h"
#include "platform/index/file_state.h"
#include "platform/limits.h"
#include "platform/number_set.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";

constexpr Catalogue kBoth[kCatalogues] = {Catalogue::media, Catalogue::photo};

constexpr int64_t kMillisecondsOfSecond = 1000;

// A stretch is what one run of the store carries out. Its requests are numbered from 1, kept ones first.
struct Pass {
    KeptReader old;
    bool old_there = false;
    KeptWriter writer;

    QueueTouched kept; // by requests that have to wait, of the stretches that are over
    QueueTouched met;  // by those of the stretch that goes on, as far as it is known at once

    uint64_t number = 0;    // of the last request of the stretch
    uint64_t old_count = 0; // requests of the kept file among them
    NumberSet untried;      // requests of the stretch that had to wait
    NumberSet broken_off;   // those that lacked memory

    bool doubted = false; // whether files have the covers that rows say, of what is done again
    bool carried_out = false;
};

// Opens the kept file if there is one. False when there is one that cannot be opened.
bool OldOpen(Pass *pass) {
    pass->old_there = pass->old.Open();
    if (pass->old_there || errno == ENOENT)
        return true;
    ReadFailedTell(kKeptFile, errno);
    return false;
}

// False when the kept file could not be read to its end. What it holds that is no request is lost, with a line.
bool OldCheck(const Pass &pass) {
    if (pass.old.failure() != 0) {
        ReadFailedTell(kKeptFile, pass.old.failure());
        return false;
    }
    if (pass.old.damaged() > 0)
        syslog(LOG_ERR, "%s(%d): %s is damaged: %zu of its lines are lost.", kLogName, __LINE__, kKeptFile,
               pass.old.damaged());
    return true;
}

// A catalogue that is away lets no request come to its end. Whether it is back is asked before a request is carried out
// again, which may read a whole library in vain.
bool StoreIsAway(const QueueRequest &request) {
    const QueueCatalogues written = QueueCataloguesOf(request);
    for (const Catalogue catalogue : kBoth)
        if (written.Has(catalogue) &&
            (BlVELUIndexRunAway(catalogue) || (request.again && VELUIndexRunReach(catalogue) != 0)))
            return true;
    return false;
}

bool MustWait(const Pass &pass, const QueueRequest &request) {
    if (QueueTouches(pass.kept, request) || QueueTouches(pass.met, request))
        return true;
    const bool asked =
        request.again || BlVELUIndexRunAway(Catalogue::media) || BlVELUIndexRunAway(Catalogue::photo);
    return asked && StoreIsAway(request);
}

// While a request is carried out again it is given the texts that were handed over to it before.
struct TextsScope {
    explicit TextsScope(bool again) { HandOverSpoolAgain(again); }
    TextsScope(const TextsScope &) = delete;
    TextsScope &operator=(const TextsScope &) = delete;
    ~TextsScope() { HandOverSpoolAgain(false); }
};

void RequestDo(Pass *pass, const QueueRequest &request) {
    VELUIndexRunRequest(pass->number);
    PhotoShareForget();
    if (MustWait(*pass, request)) {
        NumberSetAdd(&pass->untried, pass->number);
        QueueTouchAdd(&pass->met, request);
        return;
    }
    pass->carried_out = true;
    VELUIndexRunPause();
    const TextsScope texts(request.again);
    const FileTrustScope covers(pass->doubted ? FileTrust::all_but_covers : FileTrust::all);
    ProgressRequest();
    QueueRequestExecute(request);
    if (BlVELUIndexRunRequestFailed(pass->number))
        QueueTouchAdd(&pass->met, request);
}

std::string_view WithoutNewline(std::string_view line) {
    return line.back() == '\n' ? line.substr(0, line.size() - 1) : line;
}

// Reads a line of the copy. False, logged, when it is no request.
bool LineParse(std::string_view given, QueueRequest &request) {
    if (given.back() != '\n')
        syslog(LOG_ERR, "%s (%d) Warning! No new line here.", kLogName, __LINE__);
    if (QueueLineParse(WithoutNewline(given), request))
        return true;
    const std::string line(WithoutNewline(given));
    syslog(LOG_ERR, "%s (%d) Bad format [%s].", kLogName, __LINE__, line.c_str());
    return false;
}

// A line that is not carried out to its end for want of memory is one that could not be stored.
template <typename Do>
void Counted(Pass *pass, Do do_line) {
    ++pass->number;
    try {
        do_line();
    } catch (const std::bad_alloc &) {
        syslog(LOG_ERR, "%s (%d) Out of memory.", kLogName, __LINE__);
        NumberSetAdd(&pass->broken_off, pass->number);
    }
}

void OldLinesDo(Pass *pass) {
    KeptLine kept;
    while (pass->old.Next(&kept)) {
        Counted(pass, [&] {
            QueueRequest request;
            if (!QueueLineParse(kept.line, request))
                return;
            request.again = true;
            RequestDo(pass, request);
        });
    }
    pass->old_count = pass->number;
}

// Carries out lines up to the end of the copy, or up to one that a writer has not written to its end: what comes to the
// file then belongs to another stretch.
void CopyLinesDo(Pass *pass, QueueReader *copy, bool again) {
    std::string_view line;
    while (copy->Next(&line)) {
        Counted(pass, [&] {
            QueueRequest request;
            if (!LineParse(line, request))
                return;
            request.again = again;
            RequestDo(pass, request);
        });
        if (line.back() != '\n' && line.size() < kQueueLineMax)
            return;
    }
}

// True when the request of that number is not done with.
bool Failed(const Pass &pass, uint64_t number, const QueueRequest &request) {
    if (BlVELUIndexRunRequestFailed(number) || NumberSetHas(pass.untried, number) ||
        NumberSetHas(pass.broken_off, number))
        return true;
    const QueueCatalogues written = QueueCataloguesOf(request);
    for (const Catalogue catalogue : kBoth)
        if (written.Has(catalogue) && number <= VELUIndexRunDoubtful(catalogue))
            return true;
    return false;
}

void LineSettle(Pass *pass, uint64_t number, int64_t seconds, std::string_view line) {
    QueueRequest request;
    if (!QueueLineParse(line, request) ||
        !(Failed(*pass, number, request) || QueueTouches(pass->kept, request)))
        return;
    if (seconds >= kQueueKeptMillisecondsMax / kMillisecondsOfSecond) {
        syslog(LOG_ERR, "%s(%d): [%.*s] could not be stored for %d days and is given up.", kLogName, __LINE__,
               static_cast<int>(line.size()), line.data(), kQueueKeptDaysMax);
        return;
    }
    QueueTouchAdd(&pass->kept, request);
    pass->writer.Add(seconds, line);
}

// Sorts the requests of a stretch that is over: those that are done with go, the others into the new kept file. They are
// read a second time, because a row may fail when its request is long over.
void StretchSettle(Pass *pass, bool with_old, QueueReader *copy, off_t begin, bool *fresh) {
    uint64_t number = 0;
    KeptLine kept;
    if (with_old)
        for (pass->old.Rewind(); pass->old.Next(&kept);)
            LineSettle(pass, ++number, kept.seconds + pass->writer.elapsed(), kept.line);
    if (copy == nullptr)
        return;
    number = pass->old_count; // also when the kept file could be read only in part this time
    const size_t before = pass->writer.count();
    const off_t end = copy->offset();
    std::string_view line;
    for (copy->Seek(begin, end); copy->Next(&line);)
        LineSettle(pass, ++number, 0, WithoutNewline(line));
    copy->Seek(end);
    *fresh = *fresh || pass->writer.count() > before;
}

bool HasFailures(const Pass &pass, int run_end) {
    return run_end != 0 || !pass.untried.spans.empty() || !pass.broken_off.spans.empty();
}

void StretchForget(Pass *pass) {
    pass->met = {};
    pass->number = pass->old_count = 0;
    pass->untried = {};
    pass->broken_off = {};
}

// Carries everything out, a stretch at a time, and sorts it. A line that was appended meanwhile by a writer that still has
// the copy open is found by looking again when all before it is on disk.
void StretchesDo(Pass *pass, QueueReader *copy, bool again, bool *fresh) {
    bool first = true;
    do {
        const off_t begin = copy != nullptr ? copy->offset() : 0;
        VELUIndexRunBegin();
        VELUIndexRunRules(RuleSetActive());
        AwayKnow();
        pass->doubted = true; // of what is kept, something could not be brought to the disk
        if (first && pass->old_there)
            OldLinesDo(pass);
        pass->doubted = again && RuleSetActive() == RuleSet::complete && MachineStartedSince();
        if (copy != nullptr)
            CopyLinesDo(pass, copy, again);
        CatalogueFollow();
        const int end = VELUIndexRunEnd();
        AwayNote();
        ProgressTake();
        const bool with_old = first && pass->old_there;
        if (with_old || pass->writer.count() > 0 || HasFailures(*pass, end))
            StretchSettle(pass, with_old, copy, begin, fresh);
        StretchForget(pass);
        first = false;
    } while (copy != nullptr && copy->More());
}

// Drops what users handed over and is in its row on the disk by now: all but what a request that waits has to bring there.
void TextsSettle(const Pass &pass) {
    if (pass.writer.count() == 0)
        HandOverSpoolSettle(nullptr);
    else
        HandOverSpoolSettle([&](const std::string &path) {
            return pass.kept.whole.of[static_cast<size_t>(Catalogue::photo)] ||
                   QueueTouchesPath(pass.kept, path);
        });
}

// Readers end with the pass, also when memory runs out.
struct ReadersScope {
    ReadersScope() = default;
    ReadersScope(const ReadersScope &) = delete;
    ReadersScope &operator=(const ReadersScope &) = delete;
    ~ReadersScope() { FileReadersEnd(); }
};

void PassDo(Pass *pass, QueueReader *copy, bool again, QueuePassEnd *end) {
    const bool opened = OldOpen(pass);
    StretchesDo(pass, copy, again, &end->waits_newly);
    end->carried_out = pass->carried_out;
    const size_t kept = pass->writer.count();
    const bool read = opened && (!pass->old_there || OldCheck(*pass));
    end->waits = !read || kept > 0;
    if (read && (copy == nullptr || copy->failure() == 0))
        TextsSettle(*pass);
    if (copy != nullptr && copy->failure() != 0) {
        end->waits = true;
        ReadFailedTell(kQueueWorkingCopy, copy->failure());
        CopyStaysTell(*copy);
    } else if (kept > 0 && !read) {
        NotKeptTell(copy, EIO); // written anew, the kept file would lose what could not be read of it
    } else if (read && (pass->old_there || kept > 0) && !pass->writer.Commit()) {
        end->waits = true;
        NotKeptTell(copy, errno);
    } else {
        end->copy_done = true;
        AwayTell(kept);
    }
}

// The lines of the kept file and of the copy, in this order, become the kept file.
bool LinesKeep(QueueReader *copy) {
    Pass pass;
    if (!OldOpen(&pass))
        return false;
    KeptLine kept;
    while (pass.old_there && pass.old.Next(&kept))
        pass.writer.Add(kept.seconds + pass.writer.elapsed(), kept.line);
    if (pass.old_there && !OldCheck(pass))
        return false;
    std::string_view line;
    QueueRequest request;
    while (copy->Next(&line))
        if (LineParse(line, request))
            pass.writer.Add(0, WithoutNewline(line));
    if (pass.writer.Commit())
        return true;
    NotKeptTell(nullptr, errno);
    return false;
}

} // namespace

// It belongs to the last request, which is done again when it cannot be stored.
void CatalogueFollow() {
    if (RuleSetActive() != RuleSet::complete)
        return;
    RenamesSettle();
    if (FileNamesFold() == 0)
        static_cast<void>(PlaylistsResolve());
}

QueuePassEnd QueuePass(QueueReader *copy, bool again) {
    const ReadersScope readers;
    const ProgressScope progress;
    QueuePassEnd end;
    try {
        Pass pass;
        PassDo(&pass, copy, again, &end);
        if (RuleSetActive() == RuleSet::complete && !end.waits)
            VELUIndexCoversSettle();
        LeftOutTell();
        return end;
    } catch (const std::bad_alloc &) {
        syslog(LOG_ERR, "%s (%d) Out of memory.", kLogName, __LINE__);
    }
    VELUIndexRunEnd();
    if (copy != nullptr)
        CopyStaysTell(*copy);
    end.copy_done = false;
    end.waits = true;
    return end;
}

bool QueueLateLinesKeep(QueueReader *copy) {
    const off_t begin = copy->offset();
    copy->Seek(begin, copy->Size());
    bool kept = false;
    try {
        kept = LinesKeep(copy);
    } catch (const std::bad_alloc &) {
        syslog(LOG_ERR, "%s (%d) Out of memory.", kLogName, __LINE__);
    }
    if (!kept)
        copy->Seek(begin);
    return kept;
}
