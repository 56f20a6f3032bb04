// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/reader_facts.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "daemon/index.h"
#include "tools/veluctl/fact_type.h"
#include "tools/veluctl/log_lines.h"

namespace {

constexpr char kPartName[] = "velureader";
constexpr char kBetweenValues[] = "; ";
constexpr size_t kNumberSize = 64;

// In the order of the enumerations.
constexpr const char *kContents[] = {"nothing known", "sound", "a film", "a picture", "a playlist"};
constexpr const char *kPictureFormats[] = {"none", "JPEG", "PNG", "WebP", "GIF"};

std::string ValueOf(const Fact &fact) {
    if (FactKindOf(fact.name).type == FactType::text)
        return fact.text;
    char number[kNumberSize];
    snprintf(number, sizeof number, "%.15g", fact.number);
    return number;
}

Type TypeOf(FactName name) {
    if (name == FactName::duration)
        return Type::seconds;
    return ShownType(FactKindOf(name).type);
}

void FactAdd(const Fact &fact, RecordPart *part) {
    const char *word = FactKindOf(fact.name).word;
    const auto known = std::ranges::find_if(
        part->columns, [&](const Column &column) { return strcmp(column.name, word) == 0; });
    if (known != part->columns.end()) {
        Value &value = part->values[static_cast<size_t>(known - part->columns.begin())];
        value = value.value_or("") + kBetweenValues + ValueOf(fact);
        return;
    }
    part->columns.push_back({word, word, TypeOf(fact.name)});
    part->values.emplace_back(ValueOf(fact));
}

RecordPart *PartOf(std::vector<RecordPart> *parts, const char *source) {
    const std::string name = std::string(kPartName) + " (" + source + ")";
    const auto known = std::ranges::find(*parts, name, &RecordPart::name);
    if (known != parts->end())
        return &*known;
    parts->push_back({name, {}, {}, {}});
    return &parts->back();
}

std::string WhyNothing(const FileReport &report) {
    if (report.error != 0)
        return strerror(report.error);
    if (report.read.end != ReadEnd::answered)
        return report.read.reason;
    return report.read.answer.reason;
}

} // namespace

ReaderSaid ReaderAsk(const std::string &path) {
    const IndexHandler *handler = IndexHandlerOf(path.c_str());
    const ByReader *by = handler != nullptr ? IndexRecipeOf(handler->indexer).complete : nullptr;
    const FileTrustScope anyway(FileTrust::nothing);
    LogLinesTake();
    FileReport report = FileReadTake(path.c_str(), by != nullptr ? by->use : ReaderUse());
    return {std::move(report), LogLinesTake()};
}

std::vector<RecordPart> ReaderFactParts(const ReaderSaid &said) {
    const FileReport &report = said.report;
    RecordPart first = {kPartName, {}, {}, {}};
    if (const std::string reason = WhyNothing(report); !reason.empty())
        first.said.push_back("cannot read it: " + reason);
    else
        first.said.push_back(std::string("finds ") +
                             kContents[static_cast<size_t>(report.read.answer.content)]);
    if (const Answer &answer = report.read.answer; answer.picture != PictureFormat::none)
        first.said.push_back(std::string("with a picture, ") +
                             kPictureFormats[static_cast<size_t>(answer.picture)] + " of " +
                             std::to_string(answer.picture_bytes) + " bytes");
    first.said.insert(first.said.end(), said.lines.begin(), said.lines.end());
    std::vector<RecordPart> parts = {std::move(first)};
    for (const Fact &fact : report.read.answer.facts.facts)
        FactAdd(fact, PartOf(&parts, FactSourceWord(fact.source)));
    return parts;
}
