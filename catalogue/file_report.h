// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a file's report comes to: whether it was read, and if not, why.
#pragma once

#include <string>

#include "catalogue/file_readers.h"

// True when a reader has read a file, and said what is in it.
[[nodiscard]] bool ReportIsRead(const FileReport &report);

// Why a file could not be read, for people.
std::string ReportReason(const FileReport &report);
