// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl export: the catalogue, or what a search finds of it, as a playlist, as lines of JSON or as CSV.
#include <stdio.h>

#include <algorithm>

#include "tools/veluctl/commands.h"
#include "tools/veluctl/export/export_writer.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/replaced_file.h"
#include "tools/veluctl/search/search_asked.h"
#include "tools/veluctl/search/search_playlist.h"

namespace {

constexpr const char *kPlaylistForm = "m3u8";
constexpr const char *kPlaylistFormToo = "m3u"; // the same: what is not ASCII in it is UTF-8
constexpr const char *kJsonForm = "jsonl";
constexpr const char *kCsvForm = "csv";

constexpr char kStandardOutput[] = "-";

// Rows whose facts are asked for at once.
constexpr size_t kPortion = 500;

class RowExport {
public:
    RowExport(CatalogueReader *reader, bool with_facts, ExportWriter *writer)
        : reader_(reader), with_facts_(with_facts), writer_(writer) {}

    void Add(const CatalogueTable &table, Row &row) {
        waiting_.emplace_back(&table, std::move(row));
        if (waiting_.size() >= kPortion)
            Flush();
    }

    // False, with the reason in the reader, when the catalogue could not be read to the end.
    bool End() {
        Flush();
        writer_->End();
        return !failed_;
    }
    [[nodiscard]] size_t count() const { return count_; }

private:
    void Flush() {
        FileDetailsOf known;
        if (with_facts_ && !failed_) {
            std::vector<std::string> paths;
            for (const auto &[table, row] : waiting_)
                paths.push_back(row.back().value_or("")); // the key is the last column
            failed_ = !FileDetailsRead(reader_, paths, &known);
        }
        for (const auto &[table, row] : waiting_)
            if (!failed_)
                writer_->Add(*table, row, with_facts_ ? &known[row.back().value_or("")] : nullptr);
        count_ += waiting_.size();
        waiting_.clear();
    }

    CatalogueReader *reader_;
    bool with_facts_;
    ExportWriter *writer_;
    std::vector<std::pair<const CatalogueTable *, Row>> waiting_;
    size_t count_ = 0;
    bool failed_ = false;
};

std::vector<const char *> ColumnNames(const CatalogueTable &table) {
    std::vector<const char *> names;
    for (const Column &column : table.columns)
        names.push_back(column.name);
    return names;
}

SearchEnd RowsWrite(CatalogueReader *reader, const Options &options, const SearchAsked &asked, FILE *out,
                    SearchProblem *problem, size_t *count) {
    const CatalogueTable &first = *asked.tables.front();
    const bool facts = asked.search.targets.front().facts;
    const std::unique_ptr<ExportWriter> writer =
        options.what == kJsonForm ? JsonLinesWriter(out) : CsvWriter(first, facts, out);
    RowExport rows(reader, facts, writer.get());
    const SearchEnd end =
        SearchRowsRead(reader, asked.search, ColumnNames(first), problem,
                       [&](const CatalogueTable &table, Row &row) { rows.Add(table, row); });
    const bool whole = end == SearchEnd::done && rows.End();
    *count = rows.count();
    return end == SearchEnd::done && !whole ? SearchEnd::unreachable : end;
}

} // namespace

std::vector<const char *> ExportForms() {
    return {kPlaylistForm, kJsonForm, kCsvForm};
}

ExitCode ExportCommand(const Options &options) {
    const bool playlist = options.what == kPlaylistForm || options.what == kPlaylistFormToo;
    const std::vector<const char *> forms = ExportForms();
    if (!playlist && std::ranges::find(forms, std::string_view(options.what)) == forms.end())
        return Complain(kUsage, "there is no form " + Quoted(options.what) +
                                    ": there are m3u8 (or m3u), jsonl and csv");
    SearchAsked asked;
    if (const ExitCode wrong = SearchAskedRead(options, playlist, &asked); wrong != kDone)
        return wrong;
    CatalogueReader reader;
    if (!SearchAskedConnect(&reader, &asked))
        return Complain(kUnreachable, reader.failure);
    ReplacedFile file;
    const bool to_file = !options.path.empty() && options.path != kStandardOutput;
    if (to_file)
        if (const std::string why = file.Open(options.path); !why.empty())
            return Complain(kFailed, Quoted(options.path) + ": " + why);
    FILE *out = to_file ? file.out() : stdout;
    SearchProblem problem;
    size_t count = 0;
    const SearchEnd end = playlist ? PlaylistFound(&reader, asked.search, out, &problem, &count)
                                   : RowsWrite(&reader, options, asked, out, &problem, &count);
    if (const ExitCode told = SearchEndTell(end, asked, options, problem, reader); told != kDone)
        return told;
    if (to_file)
        if (const std::string why = file.Commit(); !why.empty())
            return Complain(kFailed, Quoted(options.path) + ": " + why);
    if (to_file)
        fprintf(stderr, "%s in %s.\n", Counted(static_cast<long long>(count), "row").c_str(),
                Quoted(options.path).c_str());
    return count > 0 || options.limit == 0 ? kDone : kFound;
}
