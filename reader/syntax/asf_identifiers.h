// SPDX-License-Identifier: GPL-2.0-or-later
//
// Identifiers of ASF (ASF 1.20, section 10), as they stand in files.
#pragma once

#include <stddef.h>

#include <string_view>

inline constexpr size_t kAsfIdentifierSize = 16;

inline constexpr std::string_view kAsfFileProperties{
    "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65", kAsfIdentifierSize};
inline constexpr std::string_view kAsfStreamProperties{
    "\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65", kAsfIdentifierSize};
inline constexpr std::string_view kAsfExtendedStreamProperties{
    "\xCB\xA5\xE6\x14\x72\xC6\x32\x43\x83\x99\xA9\x69\x52\x06\x5B\x5A", kAsfIdentifierSize};
inline constexpr std::string_view kAsfHeaderExtension{
    "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65", kAsfIdentifierSize};

// Lists of attributes.
inline constexpr std::string_view kAsfExtendedContentDescription{
    "\x40\xA4\xD0\xD2\x07\xE3\xD2\x11\x97\xF0\x00\xA0\xC9\x5E\xA8\x50", kAsfIdentifierSize};
inline constexpr std::string_view kAsfMetadata{
    "\xEA\xCB\xF8\xC5\xAF\x5B\x77\x48\x84\x67\xAA\x8C\x44\xFA\x4C\xCA", kAsfIdentifierSize};
inline constexpr std::string_view kAsfMetadataLibrary{
    "\x94\x1C\x23\x44\x98\x94\xD1\x49\xA1\x41\x1D\x13\x4E\x45\x70\x54", kAsfIdentifierSize};

// Kinds of streams.
inline constexpr std::string_view kAsfAudioMedia{
    "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B", kAsfIdentifierSize};
inline constexpr std::string_view kAsfCommandMedia{
    "\xC0\xCF\xDA\x59\xE6\x59\xD0\x11\xA3\xAC\x00\xA0\xC9\x03\x48\xF6", kAsfIdentifierSize};
