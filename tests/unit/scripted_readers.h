// SPDX-License-Identifier: GPL-2.0-or-later
//
// The scripted reader (tests/readers), which does what the first line of a file says, in the place of the real ones.
#pragma once

#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "reader/pool/reader_pool.h"

// Makes a folder with both programs, and returns its path.
inline std::string ScriptedReadersMake() {
    namespace fs = std::filesystem;
    const fs::path program = fs::read_symlink("/proc/self/exe").parent_path() / "scripted_reader";
    const fs::path folder = "/tmp/readers";
    fs::remove_all(folder);
    fs::create_directories(folder);
    for (const char *name : {"velureader", "velureader-films"})
        fs::create_symlink(program, folder / name);
    return folder;
}

inline void ScriptedReadersUse(ReaderPool *pool) {
    const std::string folder = ScriptedReadersMake();
    pool->kinds[0].program = folder + "/velureader";
    pool->kinds[1].program = folder + "/velureader-films";
}

inline size_t OpenDescriptors() {
    const auto all = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

// The children of this process, ended ones too.
inline std::vector<pid_t> Children() {
    std::ifstream file("/proc/self/task/" + std::to_string(getpid()) + "/children");
    return {std::istream_iterator<pid_t>(file), {}};
}

// True when this process has no child, running or ended.
inline bool HasNoChild() {
    return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
}
