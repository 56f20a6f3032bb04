// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/reader_settings.h"

#include <ctype.h>
#include <langinfo.h>
#include <locale.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>

#include "platform/configuration.h"
#include "platform/limits.h"
#include "reader/protocol/charset.h"
#include "reader/protocol/message.h"

namespace {

constexpr char kLogName[] = "file_readers.c";

// The program itself stays in the locale that it is in. UTF-8 says nothing: text that is not that comes from elsewhere.
std::string LocaleCharset() {
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr)
        return {};
    const Charset *found = CharsetFind(nl_langinfo_l(CODESET, locale));
    freelocale(locale);
    return found != nullptr && strcmp(found->name, "UTF-8") != 0 ? found->name : std::string();
}

} // namespace

int ReadersMax() {
    const int processors =
        static_cast<int>(std::clamp(sysconf(_SC_NPROCESSORS_ONLN), 1L, static_cast<long>(kReadersMax)));
    char value[32];
    ConfigurationGet(ConfigurationKeyOf("readers"), value, sizeof value);
    if (strcmp(value, kAuto) == 0)
        return processors;
    char *end = nullptr;
    const long number = strtol(value, &end, 10);
    if (*end == '\0' && isdigit(static_cast<unsigned char>(*value)) && number >= 1)
        return static_cast<int>(std::min(number, static_cast<long>(kReadersMax)));
    syslog(LOG_ERR, "%s (%d) readers=\"%s\" is no number from 1 to %d: %s holds.", kLogName, __LINE__, value,
           kReadersMax, kAuto);
    return processors;
}

std::string TagCharset() {
    char value[2 * kReaderCharsetSize]; // longer than any that is known
    ConfigurationGet(ConfigurationKeyOf("tagcharset"), value, sizeof value);
    if (strcmp(value, kAuto) == 0)
        return LocaleCharset();
    if (const Charset *found = CharsetFind(value); found != nullptr)
        return found->name;
    syslog(LOG_ERR, "%s (%d) tagcharset=\"%s\" is no character set that is known: %s holds.", kLogName,
           __LINE__, value, kAuto);
    return LocaleCharset();
}
