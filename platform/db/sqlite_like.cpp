// SPDX-License-Identifier: GPL-2.0-or-later
//
// LIKE on SQLite. Its own one ignores the case of ASCII letters, has no escape character unless each
// statement names one, and reads paths that are not UTF-8 as if different bytes were the same character.
#include <ctype.h>
#include <strings.h>

#include <string_view>

#include "platform/db/sqlite_connection.h"

namespace {

constexpr char kEscape = '\\';

// Walks both texts, and goes back to the last '%' alone when they differ: whatever an earlier '%' could
// match, the last one can match too.
bool Matches(std::string_view pattern, std::string_view text, char escape) {
    constexpr size_t kNone = std::string_view::npos;
    size_t p = 0;
    size_t t = 0;
    size_t pattern_return = kNone;
    size_t text_return = 0;
    for (;;) {
        if (p < pattern.size() && pattern[p] == '%') {
            pattern_return = ++p;
            text_return = t;
            continue;
        }
        if (t == text.size() && p == pattern.size())
            return true;
        const bool escaped = p < pattern.size() && pattern[p] == escape && pattern.size() - p > 1;
        const size_t at = escaped ? p + 1 : p;
        if (t < text.size() && at < pattern.size() &&
            (pattern[at] == text[t] || (!escaped && pattern[at] == '_'))) {
            p = at + 1;
            ++t;
            continue;
        }
        if (pattern_return == kNone || text_return >= text.size())
            return false;
        p = pattern_return;
        t = ++text_return;
    }
}

// `text LIKE pattern [ESCAPE escape]` calls like(pattern, text [, escape]).
void Like(sqlite3_context *context, int count, sqlite3_value **values) {
    char escape = kEscape;
    for (int i = 0; i < count; ++i)
        if (sqlite3_value_type(values[i]) == SQLITE_NULL)
            return;
    if (count > 2) {
        const std::string_view given = SqliteTextOf(values[2]);
        if (given.size() != 1) {
            sqlite3_result_error(context, "ESCAPE takes one character", -1);
            return;
        }
        escape = given.front();
    }
    sqlite3_result_int(context, Matches(SqliteTextOf(values[0]), SqliteTextOf(values[1]), escape));
}

struct Token {
    size_t begin = 0;
    size_t end = 0;
    enum class Kind { none, word, literal, sign } kind = Kind::none;
};

bool IsWordByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return isalnum(byte) != 0 || c == '_' || c == '$' || c == '.' || byte >= 0x80;
}

// Returns the token of `sql` at or behind `position`; kind none at the end, and for everything that the
// conditions to be narrowed do not contain (comments, quoted names).
Token NextToken(std::string_view sql, size_t position) {
    Token token;
    while (position < sql.size() && isspace(static_cast<unsigned char>(sql[position])) != 0)
        ++position;
    token.begin = token.end = position;
    if (position == sql.size() || sql[position] == '"' || sql[position] == '`' || sql[position] == '[' ||
        sql.substr(position, 2) == "--" || sql.substr(position, 2) == "/*")
        return token;
    if (sql[position] == '\'') {
        for (++position; position < sql.size(); ++position) {
            if (sql[position] != '\'')
                continue;
            if (position + 1 == sql.size() || sql[position + 1] != '\'') {
                token.kind = Token::Kind::literal;
                token.end = position + 1;
                return token;
            }
            ++position;
        }
        return token; // no closing quote: the engine says so itself
    }
    token.kind = IsWordByte(sql[position]) ? Token::Kind::word : Token::Kind::sign;
    token.end = position + 1;
    while (token.kind == Token::Kind::word && token.end < sql.size() && IsWordByte(sql[token.end]))
        ++token.end;
    return token;
}

bool IsOneOf(std::string_view sql, const Token &token, std::initializer_list<std::string_view> words) {
    const std::string_view text = sql.substr(token.begin, token.end - token.begin);
    for (const std::string_view word : words)
        if (text.size() == word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0)
            return true;
    return false;
}

// Returns what every match of a pattern literal (with its quotes) begins with.
std::string PrefixOf(std::string_view literal) {
    std::string prefix;
    for (size_t i = 1; i + 1 < literal.size(); ++i) {
        char c = literal[i];
        if (c == '%' || c == '_')
            break;
        if (c == kEscape) {
            if (i + 2 >= literal.size())
                break;
            c = literal[++i];
        }
        if (c == '\'')
            ++i; // doubled inside a literal
        prefix.push_back(c);
    }
    return prefix;
}

// Returns the first text behind all that begin with `prefix`; empty when there is none.
std::string Behind(std::string prefix) {
    while (!prefix.empty() && static_cast<unsigned char>(prefix.back()) == 0xff)
        prefix.pop_back();
    if (!prefix.empty())
        prefix.back() = static_cast<char>(static_cast<unsigned char>(prefix.back()) + 1);
    return prefix;
}

std::string Quoted(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text)
        quoted.append(c == '\'' ? 2 : 1, c);
    return quoted + "'";
}

} // namespace

int SqliteLikeInstall(sqlite3 *db) {
    for (const int arguments : {2, 3}) {
        const int result =
            sqlite3_create_function_v2(db, "like", arguments, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                       Like, nullptr, nullptr, nullptr);
        if (result != SQLITE_OK)
            return result;
    }
    return SQLITE_OK;
}

std::string SqliteLikeNarrowed(const char *statement) {
    const std::string_view sql(statement);
    std::string narrowed;
    size_t copied = 0;
    Token before;
    Token column;
    Token operation;
    for (Token token = NextToken(sql, 0); token.kind != Token::Kind::none;
         token = NextToken(sql, token.end)) {
        // Only a condition that stands by itself: beside anything that binds closer, its two ends are
        // unknown.
        // Only columns of text: numbers do not lie in the order of their digits.
        if (token.kind == Token::Kind::literal && IsOneOf(sql, column, {"path", "sharename"}) &&
            IsOneOf(sql, operation, {"like"}) && IsOneOf(sql, before, {"where", "and", "or", "("})) {
            const Token next = NextToken(sql, token.end);
            const std::string low = PrefixOf(sql.substr(token.begin, token.end - token.begin));
            const std::string high = Behind(low);
            const bool ends =
                next.begin == sql.size() || IsOneOf(sql, next, {"and", "or", ")", ";", "order", "limit"});
            if (ends && !high.empty()) {
                const std::string name(sql.substr(column.begin, column.end - column.begin));
                narrowed.append(sql.substr(copied, column.begin - copied));
                narrowed +=
                    "(" + name + " >= " + Quoted(low) + " and " + name + " < " + Quoted(high) + " and ";
                narrowed.append(sql.substr(column.begin, token.end - column.begin));
                narrowed += ")";
                copied = token.end;
            }
        }
        before = column;
        column = operation;
        operation = token;
    }
    narrowed.append(sql.substr(copied));
    return narrowed;
}
