// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/features.h"

#include "platform/configuration.h"

int supportphoto = 0;
int supportcinehall = 0;

void FeatureSwitchesRead() {
    supportcinehall = BlConfigurationIs(ConfigurationKeyOf("supportcinehall"), "yes");
    supportphoto = BlConfigurationIs(ConfigurationKeyOf("supportphoto"), "yes");
}
