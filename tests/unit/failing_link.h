// SPDX-License-Identifier: GPL-2.0-or-later
//
// The unit tests' own link(): a file system where files have one name only, or not as many as asked for.
#pragma once

// From now on a call fails with `error` when the file has that many names already. 0: no call fails.
void LinkFailAt(unsigned names, int error);
