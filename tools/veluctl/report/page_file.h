// SPDX-License-Identifier: GPL-2.0-or-later
//
// Putting a page in its place whole or not at all.
#pragma once

#include <string>
#include <string_view>

// Writes `page` to the file `path`, in whose place it comes with one step and with the rights that a file of this user
// there had before; else it gets those that any file of this user gets. Empty, or why it could not be done.
std::string PageFileWrite(const std::string &path, std::string_view page);
