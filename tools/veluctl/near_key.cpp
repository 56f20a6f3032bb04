// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/near_key.h"

#include <algorithm>
#include <vector>

#include "tools/shared/near_name.h"

const ConfigurationKey *NearKey(std::string_view name) {
    std::vector<const char *> names;
    for (const ConfigurationKey &key : kConfigurationKeys)
        names.push_back(key.name);
    const char *near = NearName(name, names);
    const auto found = std::ranges::find(kConfigurationKeys, near, &ConfigurationKey::name);
    return near != nullptr ? &*found : nullptr;
}
