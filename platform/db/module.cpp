// SPDX-License-Identifier: GPL-2.0-or-later
//
// Loading the engines that are not linked in.
#include "platform/module.h"
#include "platform/db/engine.h"

const VELUDBEngine *ModuleEngine(const char *file, std::string *error) {
    const auto entry = reinterpret_cast<VELUDBModuleEntry>(ModuleEntry(file, kModuleEntry, error));
    if (entry == nullptr)
        return nullptr;
    const VELUDBEngine *engine = entry();
    if (engine == nullptr || engine->seam != kEngineSeam) {
        *error = std::string(file) + ": the module belongs to another version";
        return nullptr;
    }
    return engine;
}
