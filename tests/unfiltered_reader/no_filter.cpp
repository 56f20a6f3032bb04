// SPDX-License-Identifier: GPL-2.0-or-later
//
// In the place of the filter.
#include "reader/program/confine.h"

bool FilterInstall() {
    return true;
}
