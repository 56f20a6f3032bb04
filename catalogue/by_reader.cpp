// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/by_reader.h"

#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "audio/cover_file.h"
#include "catalogue/fact_columns.h"
#include "catalogue/fact_rows.h"
#include "catalogue/file_counts.h"
#include "catalogue/file_report.h"
#include "catalogue/file_stamp.h"
#include "catalogue/file_trouble.h"
#include "catalogue/last_picture.h"
#include "catalogue/playlist_entries.h"
#include "catalogue/read_row.h"
#include "catalogue/reader_cover.h"
#include "catalogue/util.h"
#include "platform/file.h"
#include "platform/index/file_state.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "by_reader.c";

// A stamp with what it says of the row, and of what lies beside the file.
std::string WholeStamp(std::string_view stamp, const FromName &from_name, const FileReport &report,
                       const std::string &cover) {
    return stamp.empty() ? std::string()
                         : std::string(stamp) + FileStampNamed(from_name) + report.beside + cover;
}

// `rows` are those that its path has so far, `stamp` what is the file's own of it.
int RowSave(MediaKind named, const FileReport &report, const char *path, const std::vector<FileRow> &rows,
            std::string_view stamp, std::string_view trouble = {}) {
    ReadRow row = ReadRowOf(report, named, path);
    const MediaKind kind = row.kind;
    std::vector<int> others;
    for (const FileRow &known : rows) {
        if (known.kind != kind)
            others.push_back(known.kind);
    }
    MediaInfo &record = row.record;
    const bool had_cover = std::ranges::any_of(rows, &FileRow::has_cover);
    const FileCover cover = FileCoverSave(report, kind, path, had_cover);
    record.has_cover = cover.there ? 1 : 0;
    const std::string whole = cover.sure && !report.beside_unseen
                                  ? WholeStamp(stamp, row.from_name, report, cover.stamp)
                                  : std::string();
    FileFindings findings = {.stamp = whole, .trouble = trouble, .displaced = others};
    findings.first_cover = cover.there && !had_cover;
    if (kind == kMediaPhoto)
        LastPictureKeep(record);
    findings.facts = row.facts.facts;
    const std::string folded_name = FileNameFolded(path);
    findings.folded_name = folded_name;
    const EntryRows named_in = EntryRowsOf(report.read.entries);
    findings.entries = named_in.entries;
    if (report.read.entries.cut)
        syslog(LOG_ERR, "%s (%d) %s has more entries than the %zu that are kept.", kLogName, __LINE__, path,
               report.read.entries.count);
    const int saved = FileTablesThere() ? MediaInfoDBSaveFile(kind, &record, findings)
                                        : MediaInfoDBSave(kind, &record); // in a run that follows no rules
    if (saved == 0)
        return 0;
    if (findings.first_cover)
        CoversClean(path);
    syslog(LOG_ERR, "%s (%d) Failed to save media info to database. [%s]", kLogName, __LINE__, path);
    return -1;
}

// True when one of the rows is of the file as it is now. A file without a stamp has nothing finer than their seconds.
bool HasRowOfItsAge(const std::vector<FileRow> &rows, const FileState &state, const struct stat &status) {
    if (!state.stamp.empty())
        return !rows.empty() && FileStampHasAge(state.stamp, status);
    char written[kMediaTimeSize];
    VELUIndexTimeText(status.st_mtim.tv_sec, written, sizeof written);
    return std::ranges::any_of(rows, [&](const FileRow &row) {
        return row.size == static_cast<uint64_t>(status.st_size) && row.modify_time == written;
    });
}

// True, with the row left as it is, when that is of the file as it is now. What lies beside it gives values to it, too.
bool IsKept(const std::vector<FileRow> &rows, const FileReport &report, const char *path) {
    FileState state;
    if (rows.empty() || FileStateOf(path, &state) < 0 || !HasRowOfItsAge(rows, state, report.status))
        return false;
    MediaSweepKeep(path);
    return true;
}

// What the names of files beside one say of it.
struct NamedFacts {
    std::string_view name;
    const std::vector<std::string> *values;
};

std::vector<NamedFacts> NamesBeside(const ReaderUse &use, const FileReport &report) {
    std::vector<NamedFacts> all;
    if (use.companions)
        all.push_back({kCompanionFact, &report.companions});
    if (use.subtitles) {
        all.push_back({kSubtitleFact, &report.subtitles});
        all.push_back({kSubtitleLanguageFact, &report.subtitle_languages});
    }
    return all;
}

struct KnownNames {
    FactRows facts;
    std::vector<std::string_view> names;
};

// Adds to what becomes of a file what the names beside it say, in the place of what they have said. That is kept in `known`.
void NamesAdd(const std::vector<NamedFacts> &beside, KnownNames *known, FileChanges *changes) {
    for (const NamedFacts &facts : beside) {
        FactRowsAdd(&known->facts, facts.name, *facts.values);
        known->names.push_back(facts.name);
    }
    changes->names = known->names;
    changes->facts = known->facts.facts;
}

// True when that is what the catalogue has.
bool AreInStep(const std::vector<NamedFacts> &beside, const char *path) {
    return std::ranges::all_of(beside, [&](const NamedFacts &facts) {
        std::vector<std::string> values;
        return FileFactsOf(path, facts.name, &values) == 0 && values == *facts.values;
    });
}

// The cover of a file that could not be read, and whose row stays.
struct KeptCover {
    std::string stamp = {};       // what the file's stamp says of it
    const FileRow *row = nullptr; // that is to say whether there is one
    bool there = false;
};

// One that was in the file stays. That of its directory follows what is there now.
KeptCover CoverKeep(const ReaderUse &use, const FileReport &report, const char *path, const FileState &before,
                    const std::vector<FileRow> &rows) {
    KeptCover kept = {.stamp = FileCoverStamp(report)};
    if (!use.folder_cover || RuleSetActive() != RuleSet::complete)
        return kept;
    // One without a stamp, whose reader finds it damaged now, was most likely changed in the second in which it was read.
    const bool damaged = report.error == 0 && TroubleHolds(TroubleOf(report.read, {}));
    if (!(before.stamp.empty() && damaged) && FileCoverIsOwn(path, before, rows))
        return {.stamp = kStampOwnCover};
    if (!before.stamp.empty() && FileStampCover(before.stamp) == kept.stamp)
        return kept;
    for (const FileRow &row : rows) {
        const FileCover cover = FileCoverSave(report, static_cast<MediaKind>(row.kind), path, row.has_cover);
        if (!cover.sure)
            kept.stamp = kStampUnsureCover;
        if (cover.there || row.has_cover) {
            kept.row = &row;
            kept.there = cover.there;
        }
    }
    return kept;
}

// Notes what is known of a file that could not be read, and gives it a row by its name where it has none of its age. What
// happens at once may happen again: that its last change is recent does not count against it here.
int UnreadSave(const ReaderUse &use, MediaKind named, const FileReport &report, const char *path,
               const std::vector<FileRow> &rows) {
    FileState before;
    if (FileStateOf(path, &before) < 0)
        return -1;
    const bool stays = HasRowOfItsAge(rows, before, report.status);
    const KeptCover cover =
        stays ? CoverKeep(use, report, path, before, rows) : KeptCover{.stamp = FileCoverStamp(report)};
    const std::string stamp = FileStampOf(report.status);
    const bool same = FileStampHolds(before.stamp, stamp + report.beside + cover.stamp) == StampHolds::yes;
    const std::string trouble =
        report.error == 0 ? TroubleOf(report.read, same ? before.trouble : "") : std::string();
    if (!stays)
        return RowSave(named, report, path, rows, trouble.empty() ? std::string() : stamp, trouble);
    MediaSweepKeep(path);
    const std::string whole = WholeStamp(stamp, FromNameOf(before.stamp), report, cover.stamp);
    FileChanges changes = {.stamp = trouble.empty() ? before.stamp : whole, .trouble = trouble};
    if (cover.row != nullptr) {
        changes.cover_kind = cover.row->kind;
        changes.has_cover = cover.there;
        changes.first_cover = cover.there && !cover.row->has_cover;
    }
    const std::vector<NamedFacts> beside = NamesBeside(use, report);
    KnownNames known;
    if (!AreInStep(beside, path)) // in one: with this stamp and no trouble it would count as read
        NamesAdd(beside, &known, &changes);
    if (trouble.empty() && cover.row == nullptr && changes.names.empty())
        return 0;
    if (FileChangesSave(path, changes) == 0)
        return 0;
    if (changes.first_cover)
        CoversClean(path);
    return -1;
}

// Brings a row in step with the names of what lies beside its file, which is not opened for that.
int NeighboursSave(const ReaderUse &use, const FileReport &report, const char *path) {
    const std::string &before = report.known.stamp;
    std::string stamp = before.substr(0, before.size() - FileStampWordsOf(before).beside.size());
    stamp.append(FileStampNames(stamp + report.beside)).append(FileStampCover(before));
    MediaSweepKeep(path);
    KnownNames known;
    FileChanges changes = {.stamp = stamp};
    NamesAdd(NamesBeside(use, report), &known, &changes);
    return FileChangesSave(path, changes);
}

} // namespace

int ByReaderAdd(const ByReader &by, MediaKind named, const char *path) {
    LastPictureForget();
    FileCounts *counts = FilesCounted();
    FileReport report = FileReadTake(path, by.use);
    bool changed = false;
    std::string stamp =
        ReportIsRead(report) ? FileStampOfRead(path, report.status, report.looked, &changed) : "";
    // Once more, since what was read may be half of the one and half of the other; then it has no stamp.
    if (changed)
        report = FileReadTake(path, by.use);
    const int unread = by.unread_fails ? kSavedUnread : 0;
    if (IsNoFile(report.error))
        return -1;
    if (report.known.unchanged || !report.known.trouble.empty()) {
        MediaSweepKeep(path);
        ++(report.known.unchanged ? counts->unchanged : counts->troubled);
        return report.known.unchanged ? 0 : unread;
    }
    if (report.known.neighbours) {
        ++counts->changed;
        return NeighboursSave(by.use, report, path);
    }
    const bool read = ReportIsRead(report);
    if (!read)
        syslog(LOG_ERR, "%s (%d) %s cannot be read: %s.", kLogName, __LINE__, path,
               ReportReason(report).c_str());
    std::vector<FileRow> rows;
    if (report.status.st_mode == 0 || (report.known.may_have_row && FileRowsOf(path, &rows) != 0))
        return -1;
    if (report.beside_unseen && IsKept(rows, report, path)) {
        ++counts->unchanged;
        return 0;
    }
    ++(rows.empty() ? counts->added : counts->changed);
    counts->troubled += read ? 0 : 1;
    if (!read)
        return UnreadSave(by.use, named, report, path, rows) == 0 ? unread : -1;
    // Storage that gives a file another number at each look keeps none.
    if (FileStampHolds(report.known.stamp, stamp) == StampHolds::numbers)
        stamp = FileStampWithoutNumber(stamp);
    return RowSave(named, report, path, rows, stamp);
}
