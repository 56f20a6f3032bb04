// SPDX-License-Identifier: GPL-2.0-or-later
//
// A file of bytes, opened by the MP4 reader for the length of a test.
#pragma once

#include <stdlib.h>

#include <string>
#include <string_view>

#include "compat/mp4v2/mp4.h"
#include "tests/unit/scratch_file.h"

struct OpenMovie {
    explicit OpenMovie(std::string_view content) : file(content), handle(MP4Read(file.c_str(), 0)) {}
    ~OpenMovie() { MP4Close(handle); }
    OpenMovie(const OpenMovie &) = delete;
    OpenMovie &operator=(const OpenMovie &) = delete;

    ScratchFile file;
    MP4FileHandle handle;
};

inline bool Opens(std::string_view content) {
    return OpenMovie(content).handle != MP4_INVALID_FILE_HANDLE;
}

// The value of a text call, "(none)" when it fails and "(null)" when it succeeds without a text.
inline std::string TextOf(MP4FileHandle handle, bool (*call)(MP4FileHandle, char **)) {
    char *text = nullptr;
    const bool found = call(handle, &text);
    std::string result = !found ? "(none)" : text == nullptr ? "(null)" : text;
    if (!found && text != nullptr)
        result = "(failed with a text)";
    free(text);
    return result;
}
