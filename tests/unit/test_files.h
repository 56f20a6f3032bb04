// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files and catalogue rows for tests, at the daemon's real places.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

// Writes a file, making its folders.
void FileWrite(const std::string &path, std::string_view content);
std::string FileRead(const std::string &path);

// Empties the shares, the spool and the catalogue.
void SandboxReset();

// The row of a path as column name and text; empty when there is none. NULL is the text "NULL".
std::map<std::string, std::string> MediaRow(const std::string &table, const std::string &path);

// The paths of a table, sorted.
std::vector<std::string> MediaPaths(const std::string &table);
