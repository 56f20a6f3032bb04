// SPDX-License-Identifier: GPL-2.0-or-later
//
// Renames: the rows of both catalogues follow a file or directory to its new path.
#pragma once

// Carries out a rename that has just happened.
void PathRename(const char *new_path, const char *old_path);

// Carries it out long after it has happened, or a second time. What is at the old path now came later, and its rows stay
// there: only those whose files are gone move, and what is at the new path and has no row is added. Of what has moved on
// from the new path since, pictures and albums have their rows there, for the rename that follows.
void PathRenameAgain(const char *new_path, const char *old_path);

// By the rules `complete` rows move before it is known whether their files are still where they were moved to: another request may
// move them on. To be called when all requests are done; removes the rows of those that are gone.
void RenamesSettle();
