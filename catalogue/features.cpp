// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/features.h"

#include "platform/velusdk.h"

namespace {
constexpr char kDefaultsFile[] = "/etc.defaults/veluinfo.conf";
}

int supportphoto = 0;
int supportcinehall = 0;

void FeatureSwitchesRead() {
    supportcinehall = BlVELUFileCheckKeyValue(kDefaultsFile, "supportcinehall", "yes");
    supportphoto = BlVELUFileCheckKeyValue(kDefaultsFile, "supportphoto", "yes");
}
