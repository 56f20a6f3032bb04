// SPDX-License-Identifier: GPL-2.0-or-later
//
// What an indexer needs of the catalogue: the record and the store that takes it.
#pragma once

#include "platform/media_record.h"
#include "platform/veluindex.h"
