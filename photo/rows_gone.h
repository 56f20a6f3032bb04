// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows whose files are gone.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/veluindex.h"

// True when there is certainly nothing at a path; what cannot be looked at may be there.
[[nodiscard]] bool PathIsGone(const char *path);

// The paths under a directory that rows of a table of a catalogue have, and that are gone: what lies on storage that is away
// is not. With `as_gone` also what is there, and that says to be as good as gone. False when the rows cannot be read.
[[nodiscard]] bool RowsGoneGet(Catalogue catalogue, int table, const char *directory,
                               std::vector<std::string> *paths,
                               const std::function<bool(const char *)> &as_gone = nullptr);
