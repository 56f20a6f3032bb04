// SPDX-License-Identifier: GPL-2.0-or-later
//
// Songs and films whose cover is a picture beside them.
#pragma once

// Brings the covers of the files of a directory in step with a picture that has come to it, gone from it or changed, if it is
// one that may be their cover.
void CoverFilesUpdate(const char *picture);
