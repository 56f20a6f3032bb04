// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where the media shares are reached, and what lies in them that is not media.
#pragma once

// Symbolic links to the share directories on their volumes.
inline constexpr char kMusicShareLink[] = "/var/services/music";
inline constexpr char kVideoShareLink[] = "/var/services/video";
inline constexpr char kPhotoShareLink[] = "/var/services/photo";

// The appliance keeps thumbnails and attributes of files in directories of this name.
inline constexpr char kAttributeDirectory[] = "@eaDir";
