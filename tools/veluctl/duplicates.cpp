// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl duplicates: files with the same bytes, and recordings that are there more than once.
#include <algorithm>
#include <set>

#include "tools/queue/request_path.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/duplicates/equal_bytes.h"
#include "tools/veluctl/duplicates/read_line.h"
#include "tools/veluctl/duplicates/recordings.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/query_rows.h"

namespace {

struct Kind {
    const char *word;
    const char *same; // in a row
};
constexpr Kind kBytes = {"files", "bytes"};
constexpr Kind kRecordings = {"recordings", "recording"};
constexpr Kind kKinds[] = {kBytes, kRecordings};

constexpr Column kColumns[] = {{"same", "SAME", Type::text},        {"group", "GROUP", Type::integer},
                               {"copy", "COPY", Type::integer},     {"file_size", "SIZE", Type::bytes},
                               {"duration", "TIME", Type::seconds}, {"path", "PATH", Type::path},
                               {"freed", "FREED", Type::bytes}};

// Sums are for people; a program makes its own.
constexpr std::span<const Column> ColumnsOf(Form form) {
    constexpr size_t kShown = std::size(kColumns) - 1;
    return std::span<const Column>(kColumns).first(form == Form::table ? kShown : std::size(kColumns));
}

// Files that are named as left out. With a disk away it may be all of them.
constexpr size_t kNamedMax = 20;

struct Sums {
    size_t groups = 0;
    size_t names = 0;
    uint64_t freed = 0; // bytes, when one copy of each is kept
};

class DuplicateList {
public:
    explicit DuplicateList(const Options &options)
        : options_(options), writer_(options.form(), ColumnsOf(options.form()), stdout), line_(stderr) {}

    // False when no more are wanted.
    bool Take(const Kind &kind, Sums *sums, const CopyGroup &group) {
        if (groups_ == options_.limit)
            return false;
        line_.Clear();
        ++groups_;
        ++sums->groups;
        for (const CopyName &name : group) {
            ++sums->names;
            sums->freed += name.freed;
            Row row = {kind.same,
                       std::to_string(groups_),
                       std::to_string(name.copy),
                       std::to_string(name.size),
                       std::to_string(name.seconds),
                       name.path,
                       std::to_string(name.freed)};
            writer_.Add(row);
        }
        return groups_ < options_.limit;
    }

    void LeftOut(const std::string &path, const std::string &why) {
        if (!left_out_.insert(path).second || left_out_.size() > kNamedMax)
            return;
        line_.Clear();
        Complain(kDone, "left out: " + Quoted(path) + ": " + why);
    }

    void Reading(uint64_t done, uint64_t all, const std::string &path) { line_.Show(done, all, path); }

    void End() {
        line_.Clear();
        if (left_out_.size() > kNamedMax)
            Complain(kDone, "left out: " + std::to_string(left_out_.size() - kNamedMax) + " more");
        writer_.End();
    }
    [[nodiscard]] size_t left_out() const { return left_out_.size(); }

private:
    const Options &options_;
    RowWriter writer_;
    ReadLine line_;
    size_t groups_ = 0;
    std::set<std::string> left_out_;
};

std::string FreedText(const Sums &sums) {
    return ValueShow(std::to_string(sums.freed), Type::bytes) + " could be freed";
}

void SumsTell(const Sums &bytes, const Sums &recordings, const CopySearch &search, size_t left_out) {
    const auto counted = [](size_t count, const char *one) {
        return Counted(static_cast<long long>(count), one);
    };
    if (bytes.groups + recordings.groups == 0)
        fputs("No duplicates.\n", stderr);
    else
        putchar('\n');
    if (bytes.groups > 0)
        printf("Same bytes: %s in %s; %s.\n", counted(bytes.names, "name").c_str(),
               counted(bytes.groups, "group").c_str(), FreedText(bytes).c_str());
    if (recordings.groups > 0)
        printf("Same recording: %s in %s; %s (the best stays).\n", counted(recordings.names, "name").c_str(),
               counted(recordings.groups, "group").c_str(), FreedText(recordings).c_str());
    if (search.links > 0)
        printf("Not listed: %s (hard links) of files without a copy.\n",
               counted(search.links, "more name").c_str());
    if (search.named > 0)
        printf("Not compared: %s without a title; those of their files prove no recording.\n",
               counted(search.named, "song").c_str());
    if (left_out > 0)
        printf("Left out: %s (see above).\n", counted(left_out, "file").c_str());
}

bool IsAsked(const Options &options, const Kind &kind) {
    return options.what.empty() || ListFind(kKinds, options.what)->word == kind.word;
}

} // namespace

std::vector<const char *> DuplicateWords() {
    return ListWords(kKinds);
}

ExitCode DuplicatesCommand(const Options &options) {
    if (!options.what.empty() && ListFind(kKinds, options.what) == nullptr)
        return ListUnknown(options.what, DuplicateWords());
    CatalogueReader reader;
    DuplicateList list(options);
    Sums bytes;
    Sums recordings;
    CopiesTold told;
    CopySearch search = {
        .reader = &reader,
        .directory = options.directory.empty() ? "" : RequestPathMake(options.directory),
        .take =
            [&](const CopyGroup &group) {
                told.Add(group);
                return list.Take(kBytes, &bytes, group);
            },
        .left_out = [&](const std::string &path, const std::string &why) { list.LeftOut(path, why); },
        .reading = [&](uint64_t done, uint64_t all,
                       const std::string &path) { list.Reading(done, all, path); }};
    const bool compared = options.limit == 0 || !IsAsked(options, kBytes) || EqualBytesFind(&search);
    search.take = [&](const CopyGroup &group) {
        return told.Has(group) || list.Take(kRecordings, &recordings, group);
    };
    const bool read = compared && (bytes.groups >= options.limit || !IsAsked(options, kRecordings) ||
                                   RecordingsFind(&search, options.tolerance));
    list.End();
    if (!read)
        return Complain(kUnreachable, reader.failure);
    if (options.form() == Form::table && options.limit > 0)
        SumsTell(bytes, recordings, search, list.left_out());
    return bytes.groups + recordings.groups == 0 ? kDone : kFound;
}
