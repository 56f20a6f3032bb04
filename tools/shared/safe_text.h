// SPDX-License-Identifier: GPL-2.0-or-later
//
// Names of files are arbitrary bytes, and whoever named them may want a terminal to do things. What is shown
// to people goes through here.
#pragma once

#include <stddef.h>
#include <stdio.h>

#include <string>
#include <string_view>

// Takes the terminal's character set from the environment. Without UTF-8 there, only ASCII is shown as it is on a terminal; where the
// output goes to none, names go out as they are, since what reads them knows nothing of terminals.
void SafeTextPrepare(bool is_terminal = true);

// Returns the text with every byte and character written out that a terminal must not get as it is: control
// characters and bytes that are no UTF-8 as \x1B, characters that reorder or hide others as \u{202E}, the
// backslash doubled.
std::string SafeText(std::string_view bytes);

// Returns such a text for a stream of its own: on a terminal without UTF-8 all but ASCII is written out, whatever the output is.
std::string SafeTextOn(std::string_view safe, FILE *out);

// Returns the text for a page: only what a browser, too, would hide or reorder is written out.
std::string SafePageText(std::string_view bytes);

// Returns the columns that such a text takes on a terminal.
size_t DisplayWidth(std::string_view safe);

// Returns the text cut to so many columns, the last of them "…" (or "~") when something is missing.
std::string DisplayCut(std::string_view safe, size_t columns);

// Returns the same with what is missing taken out of the middle: of a path, share and name tell more than what lies between them.
std::string DisplayCutMiddle(std::string_view safe, size_t columns);
