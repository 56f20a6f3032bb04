// SPDX-License-Identifier: GPL-2.0-or-later
//
// Loading the engines that are not linked in.
#include "platform/db/engine.h"

#include <dlfcn.h>

const VELUDBEngine *ModuleEngine(const char *file, std::string *error) {
    const std::string path = std::string(VELU_MODULE_DIR "/") + file;
    // Never unloaded: the connections' code lives in it, and client libraries leave state behind.
    void *module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        const char *reason = dlerror();
        *error = reason != nullptr ? reason : path;
        return nullptr;
    }
    const auto entry = reinterpret_cast<VELUDBModuleEntry>(dlsym(module, kModuleEntry));
    const VELUDBEngine *engine = entry != nullptr ? entry() : nullptr;
    if (engine == nullptr || engine->seam != kEngineSeam) {
        *error = path + ": the module belongs to another version";
        return nullptr;
    }
    return engine;
}
