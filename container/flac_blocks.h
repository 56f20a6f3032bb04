// SPDX-License-Identifier: GPL-2.0-or-later
//
// A look at a FLAC file's metadata block headers before libFLAC reads the blocks.
#pragma once

// Returns whether the file begins with the FLAC marker, an ID3v2 tag before it allowed, and its metadata
// stays within kFlacBlocksMax and kFlacMetadataMax. Without the marker there libFLAC looks for it byte by
// byte to the end of the file, 10 seconds for 256 MiB of zeros: hours for a large file with holes.
bool FlacBlocksAreBounded(const char *path);
