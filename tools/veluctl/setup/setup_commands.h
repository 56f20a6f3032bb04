// SPDX-License-Identifier: GPL-2.0-or-later
//
// The commands that set a machine up, less their options: what they take and how they are explained.
#pragma once

#include "tools/veluctl/program_command.h"

ProgramCommand ShareMake(Options *options);
ProgramCommand FeatureMake(Options *options);
