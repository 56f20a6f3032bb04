// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/configuration.h"

#include <stdio.h>

#include <charconv>

#include "platform/velusdk.h"

const char kStandardAacDecoder[] = VELU_AAC_DECODER;

int ConfigurationGet(const ConfigurationKey &key, char *out, size_t size) {
    if (ConfigurationGetWritten(key, out, size) > 0)
        return 0;
    const int length = snprintf(out, size, "%s", key.standard);
    return length >= 0 && static_cast<size_t>(length) < size ? 0 : -1;
}

int ConfigurationGetWritten(const ConfigurationKey &key, char *out, size_t size) {
    return KLIBFileGetKeyValue(key.file, key.name, out, size, 0);
}

int ConfigurationSeconds(std::string_view value) {
    int seconds = 0;
    const char *end = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), end, seconds);
    return error == std::errc() && rest == end && seconds >= 1 && seconds <= kSecondsMax ? seconds : 0;
}

int BlConfigurationIs(const ConfigurationKey &key, const char *value) {
    return BlVELUFileCheckKeyValue(key.file, key.name, value);
}
