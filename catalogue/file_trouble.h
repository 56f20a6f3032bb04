// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files that could not be read: what is remembered of them, so that they are not tried in each run until they change.
#pragma once

#include <string>

#include "reader/pool/reader_pool.h"

// Why a file could not be read, for people.
std::string ReadReason(const ReadResult &read);

// What is to be remembered of a file whose reading ended so, when `before` was; empty: nothing, it is tried again. What takes
// too long or too much memory may have been the machine's fault: that counts at the third time.
std::string TroubleOf(const ReadResult &read, const std::string &before);

// True for what says that the file is not to be tried.
[[nodiscard]] bool TroubleHolds(const std::string &trouble);
