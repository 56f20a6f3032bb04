// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/row_writer.h"

#include <inttypes.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <iterator>

#include "platform/letters.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/json_text.h"
#include "tools/veluctl/moment_text.h"
#include "tools/veluctl/terminal.h"

namespace {

constexpr size_t kGap = 2;            // between columns
constexpr size_t kColumnMax = 40;     // a text column in front of others leaves them room
constexpr size_t kLastColumnMin = 20; // what is left of a path on a narrow terminal

// Where that does not do, both keep less. A date, the shortest text that is nothing when it is cut, is as long as the first.
constexpr size_t kTextMin = 19;
constexpr size_t kNarrowTextMin = 8;
constexpr size_t kNarrowLastMin = 12;

std::string BytesShow(double bytes) {
    static constexpr const char *kUnits[] = {"B", "kB", "MB", "GB", "TB", "PB"};
    constexpr double kStep = 1000;
    constexpr double kNextUnit = 999.5; // rounded, this is a whole one of the next unit
    constexpr double kWhole = 99.95;    // rounded to tenths, this has three digits already
    size_t unit = 0;
    for (; bytes >= kNextUnit && unit + 1 < std::size(kUnits); ++unit)
        bytes /= kStep;
    char text[32];
    snprintf(text, sizeof text, unit == 0 || bytes >= kWhole ? "%.0f %s" : "%.1f %s", bytes, kUnits[unit]);
    return text;
}

std::string SecondsShow(double seconds) {
    constexpr int64_t kMinute = 60;
    constexpr int64_t kHour = 3600;
    const int64_t whole = llround(seconds);
    if (whole <= 0)
        return "-";
    char text[48];
    if (whole >= kHour)
        snprintf(text, sizeof text, "%" PRId64 ":%02" PRId64 ":%02" PRId64, whole / kHour,
                 whole % kHour / kMinute, whole % kMinute);
    else
        snprintf(text, sizeof text, "%" PRId64 ":%02" PRId64, whole / kMinute, whole % kMinute);
    return text;
}

bool IsRight(Type type) {
    return type == Type::integer || type == Type::real || type == Type::bytes || type == Type::seconds ||
           type == Type::lines;
}

} // namespace

std::string ValueShow(const Value &value, Type type) {
    if (!value)
        return "-";
    switch (type) {
    case Type::bytes:
        return BytesShow(strtod(value->c_str(), nullptr));
    case Type::seconds:
        return SecondsShow(strtod(value->c_str(), nullptr));
    case Type::moment:
        return value->empty() ? "-" : SafeText(MomentText(*value));
    case Type::lines:
        return *value == "0" ? "-" : *value + "p";
    case Type::boolean:
        return *value == "t" ? "yes" : "no";
    default:
        return value->empty() ? "-" : SafeText(*value);
    }
}

std::string CsvField(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos)
        return std::string(text);
    std::string field = "\"";
    for (const char byte : text)
        field.append(byte == '"' ? 2 : 1, byte);
    return field + '"';
}

RowWriter::RowWriter(Form form, std::span<const Column> columns, FILE *out)
    : form_(form), columns_(columns), out_(out), terminal_(IsTerminal(out)) {
    if (form_ != Form::csv)
        return;
    for (const Column &column : columns_)
        fprintf(out_, "%s%s", &column == columns_.data() ? "" : ",", column.name);
    fputc('\n', out_);
}

void RowWriter::Add(const Row &row) {
    ++count_;
    if (form_ == Form::json)
        return JsonAdd(row);
    if (form_ == Form::csv)
        return CsvAdd(row);
    std::vector<std::string> cells;
    for (size_t at = 0; at < columns_.size(); ++at)
        cells.push_back(ValueShow(row[at], columns_[at].type));
    if (!widths_.empty())
        return TableLine(cells);
    waiting_.push_back(std::move(cells));
    if (waiting_.size() >= kMeasuredRows)
        TableFlush();
}

void RowWriter::JsonAdd(const Row &row) {
    fprintf(out_, "%s\n  %s", count_ == 1 ? "[" : ",", JsonRow(columns_, row, terminal_).c_str());
}

void RowWriter::CsvAdd(const Row &row) {
    for (size_t at = 0; at < columns_.size(); ++at) {
        // A file gets the bytes as they are; a terminal must not.
        const std::string text = row[at] ? (terminal_ ? SafeText(*row[at]) : *row[at]) : std::string();
        fprintf(out_, "%s", at == 0 ? "" : ",");
        const std::string field = CsvField(text);
        fwrite(field.data(), 1, field.size(), out_);
    }
    fputc('\n', out_);
}

void RowWriter::TableFlush() {
    std::vector<std::string> headings;
    for (const Column &column : columns_)
        std::ranges::transform(column.heading, column.heading + strlen(column.heading),
                               std::back_inserter(headings.emplace_back()), Upper);
    waiting_.insert(waiting_.begin(), headings);
    widths_.assign(columns_.size(), 0);
    for (const auto &cells : waiting_) {
        for (size_t at = 0; at < cells.size(); ++at)
            widths_[at] = std::max(widths_[at], std::min(DisplayWidth(cells[at]), kColumnMax));
    }
    size_t used = 0;
    for (size_t at = 0; at + 1 < widths_.size(); ++at)
        used += widths_[at] + kGap;
    // Only a terminal has an edge to cut paths at; a pipe may lead to a pager.
    const size_t width = TerminalColumns(out_);
    if (terminal_) {
        used = TextsNarrow(width > kLastColumnMin ? width - kLastColumnMin : 0, kTextMin, used);
        used = TextsNarrow(width > kNarrowLastMin ? width - kNarrowLastMin : 0, kNarrowTextMin, used);
    }
    widths_.back() = terminal_ ? std::max(width > used ? width - used : 0, kNarrowLastMin) : SIZE_MAX;
    for (const auto &cells : waiting_)
        TableLine(cells);
    waiting_.clear();
}

size_t RowWriter::TextsNarrow(size_t room, size_t least, size_t used) {
    while (used > room) {
        size_t *widest = nullptr;
        // A moment says little without its end.
        for (const bool moments : {false, true}) {
            for (size_t at = 0; at + 1 < widths_.size() && (!moments || widest == nullptr); ++at) {
                const Type type = columns_[at].type;
                if (!IsRight(type) && (type == Type::moment) == moments && widths_[at] > least &&
                    (widest == nullptr || widths_[at] > *widest))
                    widest = &widths_[at];
            }
        }
        if (widest == nullptr)
            break;
        --*widest;
        --used;
    }
    return used;
}

void RowWriter::TableLine(const std::vector<std::string> &cells) {
    std::string line;
    for (size_t at = 0; at < cells.size(); ++at) {
        const bool last = at + 1 == cells.size();
        const bool is_path = columns_[at].type == Type::path;
        const std::string cell =
            is_path ? DisplayCutMiddle(cells[at], widths_[at]) : DisplayCut(cells[at], widths_[at]);
        const size_t padding = last ? 0 : widths_[at] - DisplayWidth(cell);
        const bool right = !last && IsRight(columns_[at].type);
        line.append(right ? padding : 0, ' ').append(cell).append(right ? 0 : padding, ' ');
        line.append(last ? 0 : kGap, ' ');
    }
    fprintf(out_, "%s\n", line.c_str());
}

void RowWriter::End() {
    if (form_ == Form::json)
        fputs(count_ == 0 ? "[]\n" : "\n]\n", out_);
    if (form_ == Form::table && !waiting_.empty())
        TableFlush();
}
