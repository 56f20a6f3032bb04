// SPDX-License-Identifier: GPL-2.0-or-later
//
// libaiff as far as an indexer needs it: the audio format of AIFF and AIFF-C files (Apple, Audio Interchange
// File Format 1.3 and AIFF-C of 1991), with the library's own names, types and results, so that a build with
// the library itself (VELU_SYSTEM_AIFF) needs no other source.
#pragma once

#include <stdint.h>

typedef struct s_AIFF_Ref *AIFF_Ref;

// Open for reading, the only mode here.
#define F_RDONLY 1

#ifdef __cplusplus
extern "C" {
#endif

// Opens a regular file that has a FORM of type AIFF or AIFC and in it a complete COMM chunk; nothing else is
// looked at, the sound data may be missing. Null for anything else. To be closed with AIFF_CloseFile.
AIFF_Ref AIFF_OpenFile(const char *path, int flags);

// Gets what the first COMM chunk says; any pointer may be null. `nSamples` counts sample frames, that is for
// each channel (packets in some compressed forms), and is not compared with the sound data. The rate may be
// zero, negative or infinite (which is also what a NaN gives). `segmentSize` is the bytes that a decoded
// sample takes. Returns 1, or -1 without a reference.
int AIFF_GetAudioFormat(AIFF_Ref ref, uint64_t *nSamples, int *channels, double *samplingRate,
                        int *bitsPerSample, int *segmentSize);

// Returns 1, or -1 without a reference.
int AIFF_CloseFile(AIFF_Ref ref);

#ifdef __cplusplus
}
#endif
