// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a unit's settings do to a folder.
#include "tools/veluctl/setup/unit_settings.h"

#include <gtest/gtest.h>

namespace {

// As `systemctl show` prints those of the package's unit.
const UnitSettings kUnit = {{"LoadState", "loaded"},      {"PrivateTmp", "yes"},
                            {"ProtectHome", "read-only"}, {"ProtectSystem", "strict"},
                            {"StateDirectory", "velu"},   {"ReadWritePaths", "/run /var/spool -/volume1"},
                            {"InaccessiblePaths", ""},    {"ReadOnlyPaths", ""}};

UnitSettings With(const char *name, const char *value) {
    UnitSettings unit = kUnit;
    unit[name] = value;
    return unit;
}

} // namespace

TEST(UnitSettings, WhatIsHidden) {
    EXPECT_EQ(UnitHides(kUnit, "/tmp/velu"), "PrivateTmp=yes");
    EXPECT_EQ(UnitHides(kUnit, "/var/tmp"), "PrivateTmp=yes");
    EXPECT_EQ(UnitHides(kUnit, "/tmpfiles"), "");
    EXPECT_EQ(UnitHides(kUnit, "/home/ann"), "");
    EXPECT_EQ(UnitHides(With("ProtectHome", "yes"), "/home/ann"), "ProtectHome=yes");
    EXPECT_EQ(UnitHides(With("ProtectHome", "tmpfs"), "/root"), "ProtectHome=tmpfs");
    EXPECT_EQ(UnitHides(With("PrivateTmp", "no"), "/tmp"), "");
    EXPECT_EQ(UnitHides(With("InaccessiblePaths", "-/srv/x /mnt"), "/srv/x/y"),
              "InaccessiblePaths=-/srv/x /mnt");
}

TEST(UnitSettings, WhatIsNotToBeWritten) {
    EXPECT_EQ(UnitForbids(kUnit, "/srv/db"), "ProtectSystem=strict");
    EXPECT_EQ(UnitForbids(kUnit, "/"), "ProtectSystem=strict");
    EXPECT_EQ(UnitForbids(kUnit, "/home/ann"), "ProtectHome=read-only");
    for (const char *folder :
         {"/var/lib/velu", "/var/lib/velu/covers", "/run/x", "/volume1/db", "/var/spool"})
        EXPECT_EQ(UnitForbids(kUnit, folder), "") << folder;
    EXPECT_EQ(UnitForbids(kUnit, "/var/lib/velu2"), "ProtectSystem=strict");
    EXPECT_EQ(UnitForbids(With("ReadWritePaths", "/home/ann"), "/home/ann/db"), "");
    EXPECT_EQ(UnitForbids(With("ProtectSystem", "full"), "/srv"), "");
    EXPECT_EQ(UnitForbids(With("ProtectSystem", "full"), "/etc/velu"), "ProtectSystem=full");
    EXPECT_EQ(UnitForbids(With("ProtectSystem", "yes"), "/usr/share"), "ProtectSystem=yes");
    EXPECT_EQ(UnitForbids(With("ProtectSystem", "yes"), "/etc"), "");
    EXPECT_EQ(UnitForbids(With("ReadOnlyPaths", "/run/db"), "/run/db/x"), "")
        << "what may be written stands above it";
    EXPECT_EQ(UnitForbids({}, "/srv"), "");
}
