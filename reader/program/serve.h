// SPDX-License-Identifier: GPL-2.0-or-later
//
// The work of a reader: files come, answers go.
#pragma once

#include "reader/protocol/message.h"

// Says hello, and answers requests until the connection ends (kReaderEnded) or something comes that is not as it has to be.
ReaderExit RequestsServe();
