// SPDX-License-Identifier: GPL-2.0-or-later
//
// Putting a file in its place whole or not at all.
#pragma once

#include <stdio.h>

#include <string>

#include "platform/handle.h"

// What is written beside a file and takes its place in one step, with the rights that a file of this user there had before; else it
// gets those that any file of this user gets. Until then, and if it never comes to that, the file stays as it was.
class ReplacedFile {
public:
    ReplacedFile() = default;
    ReplacedFile(const ReplacedFile &) = delete;
    ReplacedFile &operator=(const ReplacedFile &) = delete;
    ~ReplacedFile();

    // Empty, or why it could not be opened.
    std::string Open(const std::string &path);
    [[nodiscard]] FILE *out() const { return out_.get(); }
    // Puts it in its place. Empty, or why it could not be done.
    std::string Commit();

private:
    std::string path_;
    std::string name_; // beside it; empty: there is none
    FileHandle out_;
};
