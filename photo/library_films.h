// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows that describe the library's films, by the rules `complete`: they come and go with their films.
#pragma once

// Removes the rows below a directory of films that are certainly gone, or left out by now.
void LibraryFilmsSettle(const char *directory);
