// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl(1) from the table of the command line.
#include "tools/veluctl/documents.h"

#include <ctype.h>

#include <algorithm>

#include "tools/shared/roff.h"
#include "tools/veluctl/exit_code.h"

namespace {

// The name of the type without what the option's check adds.
std::string TypeName(const CLI::Option &option) {
    const std::string type = option.get_type_name();
    return type.substr(0, type.find(':'));
}

bool IsHelp(const CLI::Option &option) {
    return option.check_lname("help");
}

std::string Names(const CLI::Option &option) {
    std::string names;
    const auto add = [&](const std::string &name) {
        names += (names.empty() ? "\\fB" : ", \\fB") + RoffText(name) + "\\fR";
    };
    for (const std::string &name : option.get_snames())
        add("-" + name);
    for (const std::string &name : option.get_lnames())
        add("--" + name);
    if (option.get_expected_max() > 0)
        names += " \\fI" + RoffText(TypeName(option)) + "\\fR";
    return names;
}

std::string OptionEntry(const CLI::Option &option) {
    std::string text = option.get_description() + ".";
    std::string words;
    for (const std::string &word : OptionWords(option))
        words += (words.empty() ? " One of " : ", ") + word;
    if (!words.empty())
        text += words + ".";
    return RoffEntry(Names(option), text);
}

// Headings of a manual are in capitals.
std::string Heading(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char byte) { return static_cast<char>(toupper(byte)); });
    return text;
}

std::string CommandEntry(const CLI::App &command) {
    std::string synopsis = ".SS \"" + command.get_name();
    std::string arguments;
    std::string entries;
    for (const CLI::Option *option : command.get_options()) {
        if (option->nonpositional()) {
            entries += IsHelp(*option) ? "" : OptionEntry(*option);
            continue;
        }
        const bool many = option->get_expected_max() > 1;
        const std::string name = TypeName(*option) + (many ? "..." : "");
        synopsis += option->get_required() ? " " + name : " [" + name + "]";
        arguments += RoffEntry("\\fI" + name + "\\fR", option->get_description() + ".");
    }
    return synopsis + "\"\n" + RoffText(command.get_description()) + ".\n" + arguments + entries;
}

constexpr char kFiles[] = R"(.SH FILES
.TP
.I /var/spool/velu_indexing_queue
The queue. Lines are appended to it with one write each batch; while the daemon takes it over they are written again.
.TP
.I /var/spool/velu_indexing_queue.tmp
Its working copy during a run, or what an interrupted run has left.
.TP
.I /var/run/veluindexd.pid
The daemon's process id; only a process of that name is signalled.
.TP
.I /var/run/veluindexd.last_run
Its time is that of the end of the last run.
.TP
.I /etc/veluinfo.conf
Names the catalogues and the folder of the cover pictures.
)";

constexpr char kNotes[] = R"(.SH NOTES
Paths are made absolute; a path through a share's link
.RI ( /var/services/music )
becomes the path that rows have. No other link is resolved, least of all the last one.
.PP
All paths of one command are looked at first: if one is refused, none is queued. Names of files are shown with control
characters, bytes that are no UTF\-8 and characters that reorder others written out as \ex1B or \eu{202E}.
.PP
In JSON, a text that is no UTF\-8 has its exact bytes beside it, in hexadecimal, under its name with "_hex" behind.
CSV written to a file holds the bytes as they are.
.PP
Looking needs the right to read the catalogues, which everybody has by default; queueing needs root's rights.
)";

} // namespace

std::string ManualPage(const CLI::App &app) {
    std::string page =
        ".TH VELUCTL 1 \"2026-11-21\" \"veluindexd\" \"User Commands\"\n.SH NAME\nveluctl \\- " +
        RoffText(app.get_description()) + "\n.SH SYNOPSIS\n.B veluctl\n.I COMMAND\n[\\fIOPTION\\fR...]\n" +
        ".SH DESCRIPTION\nThe person's side of\n.BR veluindexd (8):\n" +
        "asks it for work through its queue and shows what it has catalogued.\n";
    std::string group;
    for (const CLI::App *command : CommandsOf(app)) {
        if (command->get_group() != group) {
            group = command->get_group();
            page += ".SH \"" + Heading(group) + "\"\n";
        }
        page += CommandEntry(*command);
    }
    page += ".SH OPTIONS\n";
    for (const CLI::Option *option : app.get_options())
        page += OptionEntry(*option);
    page += ".SH \"EXIT STATUS\"\n";
    for (const ExitCodeText &code : kExitCodes)
        page += RoffEntry("\\fB" + std::to_string(code.code) + "\\fR", code.meaning);
    return page + kFiles + kNotes +
           ".SH \"SEE ALSO\"\n.BR veluindexd (8),\n.BR veluinfo.conf (5),\n.BR velu\\-catalogue (5)\n";
}
