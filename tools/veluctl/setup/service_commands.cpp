// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/setup/service_commands.h"

#include <unistd.h>

namespace {

// sd_booted(3): there where systemd is the init system, and nowhere else.
constexpr char kSystemd[] = "/run/systemd/system";

constexpr char kInitScript[] = "/etc/init.d/veluindexd";

} // namespace

const char *DaemonStartCommand() {
    if (access(kSystemd, F_OK) == 0)
        return "sudo systemctl start veluindexd";
    return access(kInitScript, X_OK) == 0 ? "sudo service veluindexd start" : "sudo veluindexd";
}
