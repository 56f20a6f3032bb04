// SPDX-License-Identifier: GPL-2.0-or-later
//
// The journal's own program reads it: its files have no form that others may count on.
#include "tools/veluctl/log/log_source.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <fstream>

#include "platform/handle.h"
#include "tools/veluctl/command_lines.h"

namespace {

constexpr const char *kJournals[] = {"/var/log/journal", "/run/log/journal"};
constexpr const char *kFiles[] = {"/var/log/syslog", "/var/log/daemon.log", "/var/log/messages"};

enum class Sight { none, hidden, open };

// Folders of machines lie in that of the journal; each has the file of the system's programs.
Sight JournalLook() {
    Sight sight = Sight::none;
    for (const char *journal : kJournals) {
        const DirHandle machines(opendir(journal));
        while (const dirent *entry = machines != nullptr ? readdir(machines.get()) : nullptr) {
            if (*entry->d_name == '.')
                continue;
            const std::string file = std::string(journal) + '/' + entry->d_name + "/system.journal";
            if (access(file.c_str(), R_OK) == 0)
                return Sight::open;
            sight = errno == EACCES ? Sight::hidden : sight;
        }
    }
    return sight;
}

// False when its program does not do.
bool JournalRead(int64_t from, int64_t to, std::vector<LoggedLine> *lines) {
    const std::string command =
        "journalctl --quiet --no-pager --all --output=short-unix --identifier=veluindexd --since=@" +
        std::to_string(from) + " --until=@" + std::to_string(to + 1);
    return CommandLinesRead(command, [&](std::string_view text) {
        LoggedLine line;
        if (LoggedLineOfJournal(text, &line))
            lines->push_back(std::move(line));
    });
}

void FileRead(const char *path, int64_t from, int64_t to, LogAnswer *answer) {
    std::ifstream file(path, std::ios::binary);
    answer->source = file ? path : "";
    if (!file)
        answer->problem = std::string(path) + ": " + strerror(errno) + "; run this with sudo";
    const time_t now = time(nullptr);
    for (std::string text; std::getline(file, text);) {
        LoggedLine line;
        if (LoggedLineOfFile(text, now, &line) && line.time >= from && line.time <= to)
            answer->lines.push_back(std::move(line));
    }
}

} // namespace

LogAnswer LogRead(int64_t from, int64_t to) {
    LogAnswer answer;
    const Sight journal = JournalLook();
    if (journal == Sight::open && JournalRead(from, to, &answer.lines)) {
        answer.source = "the journal";
        return answer;
    }
    answer.lines.clear();
    for (const char *path : kFiles) {
        if (access(path, F_OK) != 0)
            continue;
        FileRead(path, from, to, &answer);
        return answer;
    }
    if (journal == Sight::hidden)
        answer.problem = "the journal may be read by root and by members of the groups adm and "
                         "systemd-journal: run this with sudo";
    else if (journal == Sight::open)
        answer.problem = "journalctl does not run";
    else
        answer.problem = "there is neither a journal nor a file of the system log (/var/log/syslog); the "
                         "daemon's lines go "
                         "to syslog with the facility daemon";
    return answer;
}
