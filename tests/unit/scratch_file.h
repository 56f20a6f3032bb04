// SPDX-License-Identifier: GPL-2.0-or-later
//
// A file of a test in the sandbox's /tmp, gone with the test.
#pragma once

#include <stdio.h>
#include <unistd.h>

#include <string>
#include <string_view>

struct ScratchFile {
    explicit ScratchFile(std::string_view content)
        : path("/tmp/scratch." + std::to_string(getpid()) + "." + std::to_string(next_number++)) {
        FILE *file = fopen(path.c_str(), "wb");
        if (file == nullptr || fwrite(content.data(), 1, content.size(), file) != content.size() ||
            fclose(file) != 0)
            path = "/tmp/scratch-file-was-not-written";
    }
    ~ScratchFile() { unlink(path.c_str()); }
    ScratchFile(const ScratchFile &) = delete;
    ScratchFile &operator=(const ScratchFile &) = delete;

    [[nodiscard]] const char *c_str() const { return path.c_str(); }

    std::string path;

private:
    static inline int next_number = 0;
};
