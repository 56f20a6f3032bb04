// SPDX-License-Identifier: GPL-2.0-or-later
//
// The watcher's pid file, which also sees to it that there is one watcher only.
#pragma once

#include "platform/handle.h"

// Writes the pid file and locks it for the life of the process. Empty, with the reason in errno: EWOULDBLOCK when
// another watcher runs. `broken_off` tells whether the one before has left its file, as one that ends does not.
FdHandle InstanceBegin(bool *broken_off);

// Takes the pid file away.
void InstanceEnd();
