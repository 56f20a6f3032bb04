// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/flv_converter.h"

#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {
constexpr char kConverter[] = "/usr/velu/bin/veluflvconv";
}

void FlvConverterRun(const char *path) {
    VELUIndexRunFlush();
    KLIBExec(kConverter, "-f", path, nullptr, nullptr);
}
