// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"

#include <stdio.h>

void KLIBCopyright(const char *program) {
    printf("%s " VELU_VERSION "\n"
           "Media-indexing daemon of the network storage appliance.\n"
           "Licence: GNU General Public License, version 2 or later.\n",
           program);
}
