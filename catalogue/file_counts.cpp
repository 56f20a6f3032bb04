// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/file_counts.h"

namespace {

FileCounts counted;

} // namespace

FileCounts *FilesCounted() {
    return &counted;
}
