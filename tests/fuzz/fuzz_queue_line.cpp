// SPDX-License-Identifier: GPL-2.0-or-later
//
// The queue's line grammar, the path rules and the choice of the indexer, on any bytes.
#include <string>
#include <string_view>

#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/queue_line.h"
#include "platform/veluindex.h"
#include "tests/fuzz/fuzz_target.h"

static int Try(const uint8_t *data, size_t size) {
    QueueRequest request;
    if (!QueueLineParse({reinterpret_cast<const char *>(data), size}, request))
        return 0;
    for (const std::string &path : {request.argument, request.old_path}) {
        // What a well-formed line names is a string of the C library, of the bytes that stand in the line.
        if (path.find('\0') != std::string::npos || path.size() + 2 > size)
            __builtin_trap();
        const int photo = IsPhotoPath(path.c_str());
        const int recycle = IsRecyclePath(path.c_str());
        if (photo && recycle && path.size() < std::string_view("/volume1/photo/#recycle").size())
            __builtin_trap();
        if (const char *extension = VELUIndexExtGet(path.c_str()); extension != nullptr)
            IndexHandlerFind(extension);
    }
    return 0;
}

static const FuzzTarget kTarget("fuzz_queue_line", Try);
