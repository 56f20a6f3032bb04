// SPDX-License-Identifier: GPL-2.0-or-later
//
// The language of a file with subtitles, which its name says.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the codes (ISO 639-2) of the languages of a film's subtitles, each once, in the order of the paths. Of "Film.de.srt",
// "Film.en.forced.srt" and "Film.pt-BR.srt" that is deu, eng and por: what counts is the last word behind the film's name, but for words
// that tell what kind of subtitles they are.
std::vector<std::string> SubtitleLanguages(std::string_view film, const std::vector<std::string> &subtitles);
