// SPDX-License-Identifier: GPL-2.0-or-later
//
// Of which pictures in a directory the photo catalogue has what the media catalogue has, so that nothing is to be written.
#pragma once

#include <stdint.h>

#include <list>
#include <string>
#include <utility>
#include <vector>

// What a catalogue has of each: by a hash of the name with what a look tells of the file, one of what was read of it, in order.
using PictureHashes = std::vector<std::pair<uint64_t, uint64_t>>;

struct PicturesInStep {
    std::string directory;
    PictureHashes media = {};
    PictureHashes library = {};
    bool may_have_texts = true; // false: nobody has handed over anything there
};

// False when a catalogue does not answer.
[[nodiscard]] bool PicturesInStepGet(const std::string &directory, PicturesInStep *pictures);

enum class PictureStep {
    behind, // or nothing is known of it
    media,  // the media catalogue has it as it is now
    both,   // so has the photo catalogue, and no text waits for it
};

// Looks at a picture of the directory.
PictureStep PictureStepOf(const PicturesInStep &pictures, const std::string &name);

// The directories that a walk has asked about last. What is written meanwhile does not show: a walk comes to each file once, and
// forgets all of it at its end.
struct KnownPictures {
    std::list<PicturesInStep> directories = {}; // the last one first
};

// True for a picture of which nothing is to be written.
[[nodiscard]] bool IsPictureInStep(KnownPictures *known, const std::string &path);
