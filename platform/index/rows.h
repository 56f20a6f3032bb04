// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows by their path: the one of a path, those of a tree, or all of a table. Used by both catalogues.
#pragma once

#include <string>

#include "platform/index/schema.h"
#include "platform/path.h"

// A directory is the same with and without slashes at its end; "/" alone becomes the empty path.
std::string WithoutTrailingSlashes(const std::string &path);

// The statement that removes a tree, with the path and the range under it as its parameters. Its cost must
// not depend on the size of the table.
std::string RemoveTreeStatement(const std::string &table);

// Remove rows of a table. They return the number of rows removed, or -1.
int RemoveRow(Catalogue catalogue, const std::string &table, const std::string &path);
int RemoveTree(Catalogue catalogue, const std::string &table, const std::string &directory);
int RemoveAll(Catalogue catalogue, const std::string &table);

// Remove the cover pictures of such rows of a media table. They return 0 or -1.
int RemoveRowCovers(const std::string &table, const std::string &path);
int RemoveTreeCovers(const std::string &table, const std::string &directory);
int RemoveAllCovers(const std::string &table);

// Sets the dirty marker of a table, if it has one.
void MarkDirty(const std::string &table);
