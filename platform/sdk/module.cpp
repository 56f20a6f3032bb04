// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/module.h"

#include <dlfcn.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Modules beside the program come first: a program of a build tree never gets the modules of another
// version that is installed on the machine. For an installed program both folders are the same.
std::string ProgramModuleFolder() {
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program);
    if (length <= 0)
        return {};
    const std::string path(program, static_cast<size_t>(length));
    return path.substr(0, path.rfind('/') + 1) + "../lib/velu/";
}

} // namespace

std::string ModulePath(const char *file) {
    const std::string folder = ProgramModuleFolder();
    // Not access(), which leaves capabilities out of account that a daemon without root has for reading.
    struct stat status;
    if (!folder.empty() && stat((folder + file).c_str(), &status) == 0)
        return folder + file;
    return std::string(VELU_MODULE_DIR "/") + file;
}

void *ModuleEntry(const char *file, const char *entry, std::string *error) {
    const std::string path = ModulePath(file);
    // Never unloaded: the functions that it gave out live in it, and libraries leave state behind.
    void *module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void *symbol = module != nullptr ? dlsym(module, entry) : nullptr;
    if (symbol == nullptr) {
        const char *reason = dlerror();
        *error = reason != nullptr ? reason : path;
    }
    return symbol;
}
