// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/store_away.h"

#include <sys/statvfs.h>
#include <time.h>

#include <optional>

#include "catalogue/features.h"
#include "platform/limits.h"
#include "platform/veludb.h"
#include "tools/veluctl/catalogue_advice.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/log/log_source.h"
#include "tools/veluctl/row_writer.h"
#include "tools/veluctl/status/free_space.h"

namespace {

// What a transaction of a few rows needs, with its journal.
constexpr int64_t kRoomMin = 256 * 1024;

// In seconds: what lasts is told again so seldom, or soon after.
constexpr int64_t kToldAgain = 2 * kQueueRetryLast / 1000;

constexpr Catalogue kBoth[] = {Catalogue::media, Catalogue::photo};

// A damaged file stays one, and an engine that is not installed does not come.
bool IsLasting(Catalogue catalogue, const std::string &reason) {
    char uri[kCatalogueUriSize] = "";
    VELUIndexUriGet(catalogue, uri, sizeof uri);
    return !CatalogueCommands(catalogue, reason).empty() || !ModuleHint(uri).empty();
}

// What failed, and in brackets why.
struct Sentence {
    std::string reason;
    std::string rest; // behind the brackets
};

std::optional<Sentence> SentenceTake(const std::string &text) {
    constexpr std::string_view kBefore = ". (";
    const size_t begin = text.find(kBefore);
    const size_t end = text.rfind(')');
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        return std::nullopt;
    return Sentence{text.substr(begin + kBefore.size(), end - begin - kBefore.size()), text.substr(end + 1)};
}

// The reason in a line of the daemon's about a catalogue, or about the requests themselves.
std::optional<StoreAway> AwayLogged(const LoggedLine &line) {
    const std::optional<Sentence> sentence = SentenceTake(line.text);
    if (!sentence)
        return std::nullopt;
    const std::string &reason = sentence->reason;
    if (line.text.find("Failed to write ") != std::string::npos)
        return StoreAway{reason, false};
    for (const Catalogue catalogue : kBoth) {
        if (line.text.find(CatalogueName(catalogue)) != std::string::npos)
            return StoreAway{reason + CatalogueHint(catalogue, reason), IsLasting(catalogue, reason)};
    }
    return std::nullopt;
}

StoreAway AwayLoggedIn(int64_t from, int64_t to) {
    const LogAnswer log = LogRead(from, to);
    for (auto line = log.lines.rbegin(); line != log.lines.rend(); ++line) {
        if (std::optional<StoreAway> away = AwayLogged(*line))
            return *away;
    }
    return {};
}

// What can be done about it stands behind the reason.
StoreAway AwayFound(Catalogue catalogue, const CatalogueReader &reader) {
    const std::optional<Sentence> sentence = SentenceTake(reader.failure);
    return {sentence ? sentence->reason + sentence->rest : reader.failure,
            IsLasting(catalogue, reader.reason)};
}

// Why a file that can be read takes nothing; empty: nothing is seen.
std::string PlaceProblem(Catalogue catalogue) {
    char uri[kCatalogueUriSize] = "";
    VELUIndexUriGet(catalogue, uri, sizeof uri);
    const char *file = VELUDBFileGet(uri);
    struct statvfs system = {};
    if (file == nullptr || statvfs(file, &system) != 0)
        return {};
    const int64_t bytes = FreeBytes(file);
    if ((system.f_flag & ST_RDONLY) != 0)
        return std::string(file) + " lies on a file system that is read-only";
    return bytes < kRoomMin ? std::string(file) + " lies on a disk that is full: " +
                                  ValueShow(std::to_string(bytes), Type::bytes) + " are free"
                            : std::string();
}

// A catalogue that cannot be read takes nothing, either.
StoreAway AwayRead() {
    FeatureSwitchesRead();
    CatalogueReader reader;
    for (const CatalogueTable &table : CatalogueTables()) {
        if ((table.catalogue == Catalogue::media || supportphoto) && CatalogueCount(&reader, table) < 0)
            return AwayFound(table.catalogue, reader);
    }
    for (const Catalogue catalogue : kBoth) {
        if (const std::string problem = PlaceProblem(catalogue); !problem.empty())
            return {problem, false};
    }
    return {};
}

} // namespace

StoreAway StoreAwayLook(int64_t since) {
    if (const StoreAway logged = AwayLoggedIn(since, time(nullptr)); !logged.reason.empty())
        return logged;
    const StoreAway read = AwayRead();
    return read.reason.empty() ? AwayLoggedIn(since - kToldAgain, since) : read;
}
