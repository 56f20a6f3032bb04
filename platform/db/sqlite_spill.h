// SPDX-License-Identifier: GPL-2.0-or-later
//
// How what a statement has changed is set aside. SQLite keeps it in memory up to a number of bytes, and writes all of that to a
// file at once when it becomes more. Its files take 128 KiB at a time and believe the disk to be full after that, so that such a
// write has to come in pieces.
#pragma once

// For the process, as long as SQLite has opened nothing yet; later it is as if it had not been. Returns 0, or -1 when it is so.
int SqliteSpillSetUp(int bytes);
