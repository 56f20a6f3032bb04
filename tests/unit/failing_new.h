// SPDX-License-Identifier: GPL-2.0-or-later
//
// Lets one of the allocations of C++ code that follow fail, and only that one.
#pragma once

// The `number`-th from now on, from 1.
void NewFailAt(int number);

// From now on none fails. True when one has.
bool NewFailed();
