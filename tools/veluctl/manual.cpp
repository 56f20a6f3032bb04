// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl(1) from the table of the command line.
#include "tools/veluctl/documents.h"

#include <algorithm>
#include <string_view>

#include "platform/letters.h"
#include "tools/shared/command_value.h"
#include "tools/shared/roff.h"
#include "tools/veluctl/exit_code.h"

namespace {

std::string Names(const CommandOption &option) {
    std::string names;
    if (option.letter != '\0')
        names += "\\fB" + RoffText(std::string("-") + option.letter) + "\\fR" +
                 (option.name != nullptr ? ", " : "");
    if (option.name != nullptr)
        names += "\\fB" + RoffText(std::string("--") + option.name) + "\\fR";
    if (option.type != nullptr)
        names += " \\fI" + RoffText(option.type) + "\\fR";
    return names;
}

std::string OptionEntry(const CommandOption &option) {
    std::string text = std::string(option.description) + ".";
    for (const char *word : option.words)
        text.append(word == option.words.front() ? " One of " : ", ").append(word);
    return RoffEntry(Names(option), option.words.empty() ? text : text + ".");
}

// Headings of a manual are in capitals.
std::string Heading(std::string text) {
    std::ranges::transform(text, text.begin(), Upper);
    return text;
}

std::string Details(const ProgramCommand &command) {
    std::string text;
    for (const HelpList &list : command.details) {
        text += ".PP\n" + RoffText(list.heading) + ":\n";
        for (const auto &[name, meaning] : list.entries)
            text += RoffEntry("\\fB" + RoffText(name) + "\\fR", meaning + ".");
    }
    return text;
}

std::string CommandEntry(const ProgramCommand &command) {
    std::string synopsis = std::string(".SS \"") + command.name;
    std::string entries;
    for (const CommandArgument &argument : command.line.arguments) {
        const std::string name = std::string(argument.type) + (TakesMany(argument.target) ? "..." : "");
        synopsis += argument.required ? " " + name : " [" + name + "]";
        entries += RoffEntry("\\fI" + name + "\\fR", std::string(argument.description) + ".");
    }
    for (const CommandOption &option : command.line.options)
        entries += option.name == kHelpOption.name ? "" : OptionEntry(option);
    return synopsis + "\"\n" + RoffText(command.description) + ".\n" + entries + Details(command);
}

constexpr char kFiles[] = R"(.SH FILES
.TP
.I /var/spool/velu_indexing_queue
The queue. Lines are appended to it with one write each batch; while the daemon takes it over they are written again.
.TP
.I /var/spool/velu_indexing_queue.tmp
Its working copy during a run, or what an interrupted run has left.
.TP
.I /var/spool/velu_indexing_queue.kept
Requests that could not be stored and are tried again, each with its age in seconds.
.TP
.I /var/run/veluindexd.pid
The daemon's process id; only a process of that name is signalled.
.TP
.I /var/run/veluindexd.last_run
Its time is that of the end of the last run.
.TP
.I /var/lib/velu/run
By the rules "complete": how far the run is that goes on.
.TP
.I /var/lib/velu/last_run
Likewise: what became of the last one.
.TP
.I /etc/veluinfo.conf
Names the catalogues and the folder of the cover pictures.
.TP
.IR /var/services/music ", " /var/services/video ", " /var/services/photo
Links to the shares.
.TP
.I /etc.defaults/veluinfo.conf
The switches of the photo library and of the video application.
)";

constexpr char kNotes[] = R"(.SH NOTES
Paths are made absolute; a path through a share's link
.RI ( /var/services/music )
becomes the path that rows have. No other link is resolved, least of all the last one.
.PP
All paths of one command are looked at first: if one is refused, none is queued. Names of files are shown with control
characters, bytes that are no UTF\-8 and characters that reorder others written out as \ex1B or \eu{202E}; a terminal without UTF\-8
gets nothing but ASCII, a pipe or a file all other characters as they are.
.PP
In JSON, a text that is no UTF\-8 has its exact bytes beside it, in hexadecimal, under its name with "_hex" behind.
CSV written to a file holds the bytes as they are.
.PP
Looking needs the right to read the catalogues. By the rules "complete" the members of the group
.B velu
have it, by the rules "appliance" everybody; on a PostgreSQL server the server grants it. Queueing needs root's rights.
)";

// What people ask first, and how.
struct Example {
    const char *question;
    const char *command;
};
constexpr Example kExamples[] = {
    {"Index a folder, and follow the run:", "sudo veluctl add --wait /srv/music"},
    {"What came last?", "veluctl recent"},
    {"Why is this file missing?", "veluctl why '/srv/music/no cover.mp3'"},
    {"Which albums are there, and by whom?", "veluctl list albums | less"},
    {"Which tracks do albums lack?", "veluctl missing tracks"},
    {"What is known of a file?", "veluctl show song.flac"},
    {"All songs of a folder, for a spreadsheet:",
     "veluctl list --kind music --dir /srv/music --csv > songs.csv"},
    {"What does not agree with the disk?", "veluctl check"},
    {"Mend it:", "sudo veluctl check --fix --wait"},
};

// A paragraph is not begun right behind a heading.
void ExampleAdd(const std::string &question, const char *command, std::string *examples) {
    *examples += examples->empty() ? "" : ".PP\n";
    *examples += RoffText(question) + "\n.PP\n.nf\n.RS\n" + RoffText(command) + "\n.RE\n.fi\n";
}

std::string Examples(const Program &program) {
    std::string examples;
    for (const Example &example : kExamples)
        ExampleAdd(example.question, example.command, &examples);
    for (const ProgramCommand &command : program.commands) {
        for (const CommandExample &example : command.examples)
            ExampleAdd(std::string(example.meaning) + ":", example.line, &examples);
    }
    return ".SH EXAMPLES\n" + examples;
}

} // namespace

std::string ManualPage(const Program &program) {
    std::string page =
        ".TH VELUCTL 1 \"2026-11-21\" \"veluindexd\" \"User Commands\"\n.SH NAME\nveluctl \\- " +
        RoffText(program.description) + "\n.SH SYNOPSIS\n.B veluctl\n.I COMMAND\n[\\fIOPTION\\fR...]\n" +
        ".SH DESCRIPTION\nThe person's side of\n.BR veluindexd (8):\n" +
        "asks it for work through its queue and shows what it has catalogued.\n";
    std::string_view group;
    for (const ProgramCommand &command : program.commands) {
        if (command.group != group)
            page += ".SH \"" + Heading(command.group) + "\"\n";
        group = command.group;
        page += CommandEntry(command);
    }
    page += ".SH OPTIONS\n";
    for (const CommandOption &option : program.line.options)
        page += OptionEntry(option);
    page += ".SH \"EXIT STATUS\"\n";
    for (const ExitCodeText &code : kExitCodes)
        page += RoffEntry("\\fB" + std::to_string(code.code) + "\\fR", code.meaning);
    return page + kFiles + kNotes + Examples(program) +
           ".SH \"SEE ALSO\"\n.BR veluindexd (8),\n.BR veluinfo.conf (5),\n.BR velu\\-catalogue (5)\n";
}
