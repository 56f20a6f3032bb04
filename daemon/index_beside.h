// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files that give values to those beside them: subtitles to films, pictures to songs and films, XMP files to photos,
// and what was taken together to each other.
#pragma once

// Brings the files of a directory in step with one that has come to it, gone from it or changed, if they have values from it.
void BesideUpdate(const char *path);
