// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows that describe the library's films, by the rules `complete`: they come and go with their films and go where these go, with what
// people have written.
#pragma once

// Has the rows at and below a path follow films that are at another one now. Neither may lie in the other.
void LibraryFilmsMove(const char *new_path, const char *old_path);

// Removes the rows below a directory of films that are certainly gone, or left out by now.
void LibraryFilmsSettle(const char *directory);
