// SPDX-License-Identifier: GPL-2.0-or-later
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <map>
#include <string_view>

#include "tests/fuzz/fuzz_target.h"

namespace {

// Targets make themselves known before main, in no order.
std::map<std::string_view, FuzzTry> &Targets() {
    static std::map<std::string_view, FuzzTry> targets;
    return targets;
}

FuzzTry chosen = nullptr;

} // namespace

FuzzTarget::FuzzTarget(const char *name, FuzzTry tried) {
    Targets().emplace(name, tried);
}

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char ***argv) {
    const auto found = Targets().find(basename((*argv)[0]));
    if (found == Targets().end()) {
        fputs("fuzz: call it by the name of a target:\n", stderr);
        for (const auto &[name, tried] : Targets())
            fprintf(stderr, "  %s\n", name.data());
        exit(EXIT_FAILURE);
    }
    chosen = found->second;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return chosen(data, size);
}
