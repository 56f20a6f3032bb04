// SPDX-License-Identifier: GPL-2.0-or-later
//
// Words for languages: files say "ger" or "deu", as ISO 639-2 has two codes for some, and people "de" or "german".
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns all words for the language that a folded word stands for; that word alone where it stands for none.
std::vector<std::string> LanguageWords(std::string_view folded);

// Returns the code of ISO 639-2 (for terminology) of the language that a folded word stands for; nothing where it stands for none.
std::string LanguageCode(std::string_view folded);

// Returns the names of languages, English ones and their own, that are written in Latin letters.
std::vector<std::string> LanguageNames();
