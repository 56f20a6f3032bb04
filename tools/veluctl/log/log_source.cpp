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
constexpr char kJournalHidden[] =
    "the journal may be read by root and by members of the groups adm and systemd-journal: ";
constexpr const char *kFiles[] = {"/var/log/syslog", "/var/log/daemon.log", "/var/log/messages"};

enum class Sight { none, hidden, open };

// What gives a user the right to read a log.
std::string RightText(const char *group) {
    return "run this with sudo; \"sudo adduser NAME " + std::string(group) +
           "\" lets NAME read it, from the next login on";
}

// Folders of machines lie in that of the journal; each has the file of the system's programs.
Sight JournalLook() {
    Sight sight = Sight::none;
    for (const char *journal : kJournals) {
        const DirHandle machines(opendir(journal));
        sight = machines == nullptr && errno == EACCES ? Sight::hidden : sight;
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
        answer->problem = std::string(path) + ": " + strerror(errno) +
                          "; root and the group adm may read it, mostly: " + RightText("adm");
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
        break;
    }
    // Where there is a journal, a file may have nothing of what it has.
    if (!answer.source.empty() && (journal != Sight::hidden || !answer.lines.empty()))
        return answer;
    if (journal == Sight::hidden) {
        answer.source.clear();
        answer.problem = kJournalHidden + RightText("systemd-journal") +
                         (answer.problem.empty() ? "" : " (" + answer.problem + ")");
        return answer;
    }
    if (!answer.problem.empty())
        return answer;
    answer.problem = journal == Sight::open ? "journalctl does not run"
                                            : "there is neither a journal nor a file of the system log "
                                              "(/var/log/syslog); the daemon's lines go "
                                              "to syslog with the facility daemon";
    return answer;
}
