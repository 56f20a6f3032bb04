// SPDX-License-Identifier: GPL-2.0-or-later
//
// The calls of libaiff that are used, as its own header declares them: for C, without a word about C++.
#pragma once

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

struct s_AIFF_Ref {
    FILE *fd;
};
typedef struct s_AIFF_Ref *AIFF_Ref;

#define F_RDONLY (1 << 0)

AIFF_Ref AIFF_OpenFile(const char *, int);
int AIFF_CloseFile(AIFF_Ref);
int AIFF_GetAudioFormat(AIFF_Ref, uint64_t *, int *, double *, int *, int *);

// Not in the library's header: contradicts the lines above where they are not read as C, whose names the
// library has.
extern "C" {
AIFF_Ref AIFF_OpenFile(const char *, int);
int AIFF_CloseFile(AIFF_Ref);
int AIFF_GetAudioFormat(AIFF_Ref, uint64_t *, int *, double *, int *, int *);
}
