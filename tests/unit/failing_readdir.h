// SPDX-License-Identifier: GPL-2.0-or-later
//
// The unit tests' own readdir(): a listing that breaks off, as on a disk that fails.
#pragma once

// From now on the entry of this name is not given: the call fails with `error` instead. 0: no call fails.
void ReaddirFailAt(const char *name, int error);

// From now on the entry of this name is passed over. The empty text: none is.
void ReaddirHide(const char *name);
