// SPDX-License-Identifier: GPL-2.0-or-later
//
// Searches for text without regard to case, accents and width, on SQLite, which has nothing of the kind.
#include <string_view>

#include "platform/db/sqlite_connection.h"
#include "platform/folding/folding.h"
#include "platform/letters.h"

namespace {

// No text of the catalogues is longer, also when each of its characters becomes several.
constexpr size_t kFoldedMost = 256 << 10;

// velu_holds(part, text, ...): whether one of the texts has the folded part anywhere.
void Holds(sqlite3_context *context, int count, sqlite3_value **values) {
    const std::string_view part = SqliteTextOf(values[0]);
    bool holds = false;
    for (int i = 1; i < count && !holds; ++i) {
        const std::string_view text = SqliteTextOf(values[i]);
        holds = !text.empty() && TextFolded(text, kFoldedMost).find(part) != std::string::npos;
    }
    sqlite3_result_int(context, holds);
}

// A text that begins with a letter of ASCII begins with its small letter when it is folded.
bool BeginsOtherwise(std::string_view text, std::string_view whole) {
    return !text.empty() && !whole.empty() && static_cast<unsigned char>(text.front()) < 0x80 &&
           Lower(text.front()) != whole.front();
}

// velu_is(whole, text): whether the text is the folded one.
void Is(sqlite3_context *context, int, sqlite3_value **values) {
    const std::string_view whole = SqliteTextOf(values[0]);
    const std::string_view text = SqliteTextOf(values[1]);
    sqlite3_result_int(context, !BeginsOtherwise(text, whole) && TextFolded(text, kFoldedMost) == whole);
}

constexpr int kAnyNumber = -1;
constexpr int kAlwaysTheSame = SQLITE_UTF8 | SQLITE_DETERMINISTIC;

} // namespace

int SqliteFoldingInstall(sqlite3 *db) {
    const int result = sqlite3_create_function_v2(db, "velu_holds", kAnyNumber, kAlwaysTheSame, nullptr,
                                                  Holds, nullptr, nullptr, nullptr);
    return result != SQLITE_OK ? result
                               : sqlite3_create_function_v2(db, "velu_is", 2, kAlwaysTheSame, nullptr, Is,
                                                            nullptr, nullptr, nullptr);
}
