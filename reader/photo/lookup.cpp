// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/lookup.h"

const Exiv2::Value *ExifFind(const Exiv2::ExifData &exif, std::string_view directory, uint16_t tag) {
    for (const Exiv2::Exifdatum &datum : exif) {
        if (datum.tag() == tag && datum.groupName() == directory && datum.count() > 0)
            return &datum.value();
    }
    return nullptr;
}

const Exiv2::Value *XmpFind(const Exiv2::XmpData &xmp, std::string_view schema, std::string_view name) {
    for (const Exiv2::Xmpdatum &datum : xmp) {
        if (datum.tagName() == name && datum.groupName() == schema && datum.count() > 0)
            return &datum.value();
    }
    return nullptr;
}

std::vector<const Exiv2::Value *> IptcFind(const Exiv2::IptcData &iptc, uint16_t data_set) {
    std::vector<const Exiv2::Value *> values;
    for (const Exiv2::Iptcdatum &datum : iptc) {
        if (datum.tag() == data_set && datum.record() == Exiv2::IptcDataSets::application2)
            values.push_back(&datum.value());
    }
    return values;
}
