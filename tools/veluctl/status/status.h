// SPDX-License-Identifier: GPL-2.0-or-later
//
// The sections of status, a file each, in the order in which they are shown.
#pragma once

#include <sys/types.h>
#include <time.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tools/veluctl/json_text.h"

struct StatusView {
    bool json;    // for programs: everything goes into the answer
    pid_t daemon; // 0: none runs
    Json answer = Json::object();
};

// Prints a line for people: a name, which continues the one above when it is empty, and what is said of it.
void StatusSay(const char *name, const std::string &text);

// Returns what is said of a process that runs.
std::string ProcessText(pid_t pid, time_t since);

// Returns the same of one that does not run, with the command that starts it.
std::string NotRunningText(const char *command);

// What this user may not look at.
inline constexpr char kHidden[] = "cannot be read by this user";

void DaemonStatus(StatusView *view);
void LastRunStatus(StatusView *view);
void WatcherStatus(StatusView *view);
void RulesStatus(StatusView *view);
void QueueStatus(StatusView *view);
void QuietStatus(StatusView *view);
void KeptStatus(StatusView *view);
void StorageStatus(StatusView *view);
// False when a catalogue cannot be reached.
[[nodiscard]] bool CataloguesStatus(StatusView *view);
void CoversStatus(StatusView *view);
