// SPDX-License-Identifier: GPL-2.0-or-later
//
// XMP files beside photos: "photo.jpg.xmp", as darktable and digiKam name them, which is of that file alone, before "photo.xmp", as
// Adobe's programs do, which all files of the name share. What either says counts more than the photo itself: programs
// write a sidecar where they leave the photo as the camera made it, so that it has what people have changed since, and digiKam,
// darktable and Lightroom read it so.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/handle.h"

// True for the name of one.
[[nodiscard]] bool IsSidecar(std::string_view name);

// Returns the paths of what may be the photos of a sidecar, sorted.
std::vector<std::string> PhotosOf(const std::string &sidecar);

// Opens those of a photo, the one that counts more first. `unseen` becomes true when there may be one that cannot be opened.
std::vector<FdHandle> SidecarsOpen(const std::string &photo, bool *unseen);
