// SPDX-License-Identifier: GPL-2.0-or-later
//
// Carries out the commands of the indexing queue.
#pragma once

#include "daemon/queue_line.h"

// Carries out one request. Failures are logged where they happen and never stop the run.
void QueueRequestExecute(const QueueRequest &request);
