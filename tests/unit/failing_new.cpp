// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/failing_new.h"

#include <stdlib.h>

#include <algorithm>
#include <new>
#include <utility>

namespace {

int left = 0; // allocations up to the one that fails; 0: none does
bool failed = false;

// Null for an allocation that fails.
void *Allocate(size_t size) {
    if (left > 0 && --left == 0) {
        failed = true;
        return nullptr;
    }
    return malloc(std::max<size_t>(size, 1));
}

} // namespace

void NewFailAt(int number) {
    failed = false;
    left = number;
}

bool NewFailed() {
    left = 0;
    return std::exchange(failed, false);
}

void *operator new(size_t size) {
    void *block = Allocate(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

// AddressSanitizer's own, which does not call the one above, would not go with the deletes below.
void *operator new(size_t size, const std::nothrow_t &) noexcept {
    return Allocate(size);
}

void operator delete(void *block) noexcept {
    free(block);
}

void operator delete(void *block, size_t) noexcept {
    free(block);
}
