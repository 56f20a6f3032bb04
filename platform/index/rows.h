// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows by their path: the one of a path, those of a tree, or all of a table. Used by both catalogues.
#pragma once

#include <string>

#include "platform/index/schema.h"
#include "platform/path.h"

// Returns a path without slashes at its end, with which a directory is the same; "/" alone becomes the empty
// path.
std::string WithoutTrailingSlashes(const std::string &path);

// Remove rows of a table. They return the number of rows removed, or -1.
int RemoveRow(Catalogue catalogue, const char *table, const std::string &path);
int RemoveTree(Catalogue catalogue, const char *table, const std::string &directory);
int RemoveBelow(Catalogue catalogue, const char *table, const std::string &directory); // without its own row
int RemoveAll(Catalogue catalogue, const char *table);

// Remove the cover pictures of such rows of a media table. They return 0 or -1.
int RemoveRowCovers(const char *table, const std::string &path);
int RemoveTreeCovers(const char *table, const std::string &directory);
int RemoveBelowCovers(const char *table, const std::string &directory);
int RemoveAllCovers(const char *table);

// Sets the dirty marker of a table, if it has one.
void MarkDirty(const char *table);
