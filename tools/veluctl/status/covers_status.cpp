// SPDX-License-Identifier: GPL-2.0-or-later
//
// The folder of the cover pictures.
#include <limits.h>
#include <stdio.h>

#include "platform/veluindex.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/status/free_space.h"
#include "tools/veluctl/status/status.h"

void CoversStatus(StatusView *view) {
    char folder[PATH_MAX] = "";
    VELUIndexCoverDirGet(folder, sizeof folder);
    const int64_t bytes = FreeBytes(folder);
    if (view->json) {
        Json state = Json::object();
        JsonTextPut(&state, "folder", folder);
        state["free_bytes"] = bytes >= 0 ? Json(bytes) : Json();
        view->answer["covers"] = state;
        return;
    }
    printf("\n");
    StatusSay("covers", SafeText(folder));
    if (bytes >= 0)
        StatusSay("", FreeText("", bytes));
}
