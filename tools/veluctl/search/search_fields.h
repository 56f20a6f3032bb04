// SPDX-License-Identifier: GPL-2.0-or-later
//
// The fields that a search may name: the columns of all tables, the facts, and what else is known of files.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/veluctl/tables.h"

// What the values of a field are, and so what can be asked of them.
enum class FieldKind { text, path, number, year, seconds, bytes, flag, boolean, date, resolution };

// Of a kind: whether it is a text that can be looked into.
inline bool FieldIsText(FieldKind kind) {
    return kind == FieldKind::text || kind == FieldKind::path;
}

struct SearchField {
    const char *name;
    FieldKind kind;                         // of media rows; tables may differ
    const char *column = nullptr;           // where it is called otherwise than the field
    std::array<const char *, 2> facts = {}; // by any of which it is known; none: null
    bool several = false;                   // a file may have more than one value
};

// All of them, each name once.
std::span<const SearchField> SearchFields();

// Null when no field has that name, in small letters or capitals.
const SearchField *SearchFieldFind(std::string_view name);

// Returns "; did you mean NAME?" when a field has a name near to that one, else nothing.
std::string SearchFieldHint(std::string_view name);

// Whether a value may be several words; names of codecs and languages are not.
bool FieldHoldsBlanks(const SearchField &field);

// Whether many files share its values, so that there are far fewer of them than of files.
bool FieldIsShared(const SearchField &field);

// Whether its values are codes of languages.
bool FieldIsLanguage(const SearchField &field);

// Rows of this kind have what field "resolution" asks for.
inline constexpr std::string_view kKindOfFilms = "video";

// Where a table has a field.
enum class FieldPlace {
    column,
    fact,
    state,   // `added`, `trouble`
    kind,    // the table itself
    made,    // a number made of others: lines of a picture, the year of a date
    missing, // facts and states alone, of which the catalogue has none
    none,
};

struct FieldSource {
    FieldPlace place;
    FieldKind kind;
    const Column *column = nullptr;
};

// `facts`: the catalogue has what the rules `complete` know of files.
FieldSource FieldSourceOf(const SearchField &field, const CatalogueTable &table, bool facts);

// Whether no file of a kind can have it.
bool FieldIsNever(const SearchField &field, const CatalogueTable &table);

// Whether files of a kind are such as have the field; where one of them has none it is missing.
bool FieldIsExpected(const SearchField &field, const CatalogueTable &table);

// Returns the kind of rows of that name, or of another word for it ("film"); null when there is none.
const CatalogueTable *SearchKindFind(std::string_view word);

// Returns a word without the "s" of "films", where it has one.
std::string SearchKindSingular(std::string_view word);

// Returns all of these words, those that people use first, and the same for people.
std::vector<const char *> SearchKindWords();
std::string SearchKindNames();
