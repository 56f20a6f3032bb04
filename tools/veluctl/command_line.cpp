// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/command_line.h"

#include <initializer_list>
#include <span>

#include "tools/veluctl/overview/left_out_files.h"
#include "tools/veluctl/requests.h"
#include "tools/veluctl/search/search_dates.h"
#include "tools/veluctl/search/search_fields.h"
#include "tools/veluctl/search/search_help.h"
#include "tools/veluctl/search/search_value_words.h"
#include "tools/veluctl/setup/setup_commands.h"

namespace {

constexpr char kRequests[] = "Asking for work";
constexpr char kLooking[] = "Looking";
constexpr char kSettingUp[] = "Setting up";

using OptionList = std::vector<CommandOption>;

OptionList Joined(std::initializer_list<OptionList> lists) {
    OptionList all;
    for (const OptionList &list : lists)
        all.insert(all.end(), list.begin(), list.end());
    return all;
}

CommandOption Flag(const char *name, const char *description, bool *target) {
    return {.letter = '\0', .name = name, .type = nullptr, .description = description, .target = target};
}

CommandOption Force(Options *options) {
    return Flag("force", "Queue it whatever is on the disk", &options->force);
}

// Following the run; --wait goes with, or not with, another option.
OptionList WaitOptions(const char *needs, const char *excludes, Options *options) {
    return {{.letter = 'w',
             .name = "wait",
             .type = nullptr,
             .description = "Follow the run to its end and show how far it is",
             .target = &options->wait,
             .needs = needs,
             .excludes = excludes},
            {.letter = '\0',
             .name = "timeout",
             .type = "SECONDS",
             .description = "Give up waiting after so many seconds",
             .target = &options->timeout,
             .needs = "wait"}};
}

OptionList RequestOptions(Options *options) {
    return Joined({{{.letter = '\0',
                     .name = "no-signal",
                     .type = nullptr,
                     .description = "Leave the request in the queue without telling the daemon",
                     .target = &options->no_signal,
                     .excludes = "wait"}},
                   WaitOptions(nullptr, "no-signal", options)});
}

OptionList ListOfPathsOptions(Options *options) {
    return {{.letter = '\0',
             .name = "from",
             .type = "FILE",
             .description = "Take more paths from this file, one on a line; - is standard input",
             .target = &options->input},
            {.letter = '0',
             .name = "null",
             .type = nullptr,
             .description = "The paths of --from end in zero bytes instead of newlines",
             .target = &options->null_input,
             .needs = "from"}};
}

CommandOption Json(Options *options) {
    return Flag("json", "Print JSON", &options->json);
}

// One of the two at a time.
OptionList FormOptions(Options *options) {
    CommandOption json = Json(options);
    CommandOption csv = Flag("csv", "Print CSV (RFC 4180, lines end in a newline)", &options->csv);
    json.excludes = csv.name;
    csv.excludes = json.name;
    return {json, csv};
}

// Which rows of a list are wanted, whatever they are.
OptionList PlaceOptions(Options *options) {
    return {{.letter = 'd',
             .name = "dir",
             .type = "DIR",
             .description = "Only what this directory holds, at any depth",
             .target = &options->directory},
            {.letter = 'n',
             .name = "limit",
             .type = "ROWS",
             .description = "Stop after so many rows; 0: none",
             .target = &options->limit}};
}

OptionList ListOptions(Options *options) {
    return Joined({{{.letter = 'k',
                     .name = "kind",
                     .type = "KIND",
                     .description = "Only rows of this kind; may be given more than once",
                     .target = &options->kinds,
                     .words = SearchKindWords()}},
                   PlaceOptions(options),
                   FormOptions(options)});
}

CommandArgument Needed(const char *name, const char *type, const char *description, std::string *target,
                       std::vector<const char *> words = {}) {
    return {name, type, description, target, true, std::move(words)};
}

CommandLine PathsLine(const char *argument, Options *options) {
    return {Joined({ListOfPathsOptions(options), {Force(options)}}),
            {{"path", "PATH", argument, &options->paths}}};
}

CommandLine RenameLine(Options *options) {
    return {{Force(options)},
            {Needed("new", "NEW", "The path that it has now", &options->new_path),
             Needed("old", "OLD", "The path that it had", &options->old_path)}};
}

CommandLine WordLine(const char *argument, std::span<const char *const> words, Options *options) {
    return {{}, {Needed("share", "SHARE", argument, &options->what, {words.begin(), words.end()})}};
}

// What the command takes beside the options of all requests.
CommandLine OwnLine(const RequestCommand &request, Options *options) {
    switch (QueueCommandFind(request.command)->argument) {
    case QueueArgument::path:
        return PathsLine(request.argument, options);
    case QueueArgument::two_paths:
        return RenameLine(options);
    case QueueArgument::share:
        return WordLine(request.argument, kShareWords, options);
    case QueueArgument::library:
        return WordLine(request.argument, kLibraryWords, options);
    case QueueArgument::table: // nobody is asked to empty one by hand
        break;
    }
    return {};
}

ProgramCommand RequestMake(const RequestCommand &request, Options *options) {
    CommandLine own = OwnLine(request, options);
    return {
        request.name,
        kRequests,
        request.description,
        request.run,
        {Joined({{kHelpOption}, std::move(own.options), RequestOptions(options)}), std::move(own.arguments)}};
}

ProgramCommand LookMake(const char *name, const char *description, Command function,
                        std::vector<CommandArgument> arguments, OptionList own) {
    return {name,
            kLooking,
            description,
            function,
            {Joined({{kHelpOption}, std::move(own)}), std::move(arguments)}};
}

CommandOption SortOption(Options *options) {
    return {.letter = 's',
            .name = "sort",
            .type = "FIELDS",
            .description = "Sort by these fields (year,title); a - in front of one turns its order round",
            .target = &options->sort,
            .beginnings = SearchFieldNames()};
}

CommandArgument SearchWordsArgument(const char *description, bool required, Options *options) {
    CommandArgument words = {"words", "WORD", description, &options->words, required};
    words.beginnings = SearchBeginnings();
    words.values = SearchValueWords;
    words.dashes = true;
    return words;
}

ProgramCommand FindMake(Options *options) {
    OptionList own = {SortOption(options),
                      {.letter = 'g',
                       .name = "group",
                       .type = "FIELDS",
                       .description = "Count the files of each album, artist, year ...",
                       .target = &options->group,
                       .excludes = "m3u",
                       .beginnings = SearchFieldNames()},
                      Flag("m3u", "Print a playlist of the songs and films", &options->playlist)};
    own.back().excludes = "json";
    ProgramCommand command =
        LookMake("find", "Find rows by words and fields", FindCommand,
                 {SearchWordsArgument("What to look for; without words: all of a kind or a directory", false,
                                      options)},
                 Joined({std::move(own), ListOptions(options)}));
    command.details = SearchHelp();
    command.examples = SearchExamples();
    return command;
}

ProgramCommand LogMake(Options *options) {
    CommandOption limit = PlaceOptions(options).back();
    limit.type = "NUMBER";
    limit.description = "Show so many kinds of lines, with --json and --csv the last lines";
    CommandArgument days = {
        "days",
        "DAYS",
        "Not the last run, but what came today, yesterday, in the last 7, 30 or 365 days, or on a "
        "date (2026-10-31)",
        &options->what,
        false,
        DayWords()};
    days.open = true;
    ProgramCommand command =
        LookMake("log", "Show what the daemon has logged in its last run, lines of one kind together",
                 LogCommand, {days},
                 Joined({{Flag("all", "All that the system's log has of it", &options->everything), limit},
                         FormOptions(options)}));
    command.examples = {{"sudo veluctl log", "What went wrong in the last run"},
                        {"sudo veluctl log yesterday --csv", "Each line of that day, with its time"}};
    return command;
}

ProgramCommand ExportMake(Options *options) {
    OptionList list = ListOptions(options);
    list.resize(list.size() - FormOptions(options).size());
    CommandArgument form =
        Needed("form", "FORM",
               "A playlist of the songs and films in UTF-8 (m3u is the same), a JSON object a line, or CSV",
               &options->what, ExportForms());
    form.open = true;
    ProgramCommand command = LookMake(
        "export", "Write all rows, or what find would find, for players and programs", ExportCommand,
        {form, SearchWordsArgument("What to look for, as find takes it; without words: everything", false,
                                   options)},
        Joined({{{.letter = 'o',
                  .name = "output",
                  .type = "FILE",
                  .description =
                      "Replace this file with the whole of it; - is standard output, as without this option",
                  .target = &options->path},
                 SortOption(options)},
                std::move(list)}));
    command.examples = {{"veluctl export jsonl -o library.jsonl", "All that is known of every file"},
                        {"veluctl export csv kind=photo taken=2026.. -o photos.csv",
                         "Photos since that year, for a spreadsheet"},
                        {"veluctl export m3u8 genre=jazz --sort year -o jazz.m3u8",
                         "A playlist that is kept up to date by cron"}};
    return command;
}

ProgramCommand DuplicatesMake(Options *options) {
    CommandArgument what = {"what",
                            "WHAT",
                            "Only files with the same bytes, or only recordings (songs of one artist, "
                            "title and length)",
                            &options->what,
                            false,
                            DuplicateWords()};
    what.open = true;
    CommandOption limit = PlaceOptions(options).back();
    limit.type = "GROUPS";
    limit.description = "Stop after so many groups; 0: none";
    ProgramCommand command = LookMake(
        "duplicates", "List what is there more than once, and what could be freed", DuplicatesCommand, {what},
        Joined({{PlaceOptions(options).front(),
                 limit,
                 {.letter = 't',
                  .name = "tolerance",
                  .type = "SECONDS",
                  .description =
                      "Lengths of one recording that follow each other may differ by so much; 2 unless given",
                  .target = &options->tolerance}},
                FormOptions(options)}));
    command.details = {
        {"Columns",
         {{"SAME",
           "bytes: the files are equal, byte by byte; recording: artist and title are, without regard to "
           "case and accents, and the lengths nearly so"},
          {"COPY",
           "The number of the file within its group; names with one number are hard links of one file, of "
           "which removing one frees nothing"},
          {"freed",
           "In JSON and CSV: the bytes that are free once all but the first copy of the group are gone"}}}};
    command.examples = {
        {"veluctl duplicates files --dir /srv/photo", "Photos that are there twice, byte by byte"},
        {"veluctl duplicates recordings --tolerance 5", "Songs that are there in two formats"}};
    return command;
}

CommandArgument OnlyWordsArgument(Options *options) {
    return SearchWordsArgument("Of which files, as find takes it; without words: of all", false, options);
}

ProgramCommand ListMake(Options *options) {
    CommandArgument what = {"what",
                            "WHAT",
                            "Not all rows, but values with the number of their files, or the files of a kind",
                            &options->what,
                            false,
                            ListedWords()};
    what.open = true;
    ProgramCommand command =
        LookMake("list", "List rows of the catalogue, or what they have in common, most files first",
                 ListCommand, {what, OnlyWordsArgument(options)}, ListOptions(options));
    command.examples = {{"veluctl list albums year=1990..1999", "Albums of the nineties"}};
    return command;
}

ProgramCommand RecentMake(Options *options) {
    CommandArgument days = {
        "days",         "DAYS", "Only what came today, yesterday, or in the last 7, 30 or 365 days",
        &options->what, false,  DayWords()};
    days.open = true;
    ProgramCommand command =
        LookMake("recent", "List what was added last, a screenful unless -n is given", RecentCommand,
                 {days, OnlyWordsArgument(options)}, ListOptions(options));
    command.examples = {{"veluctl recent kind=film -n 50", "The newest films"},
                        {"veluctl recent week kind=song", "The songs of the last seven days"}};
    return command;
}

ProgramCommand MissingMake(Options *options) {
    CommandArgument what = Needed("what", "WHAT", "What is missing", &options->what, MissingWords());
    what.open = true;
    CommandArgument words =
        SearchWordsArgument("Of which files, as find takes it; without words: of all. With files: "
                            "the directories; without one: the shares",
                            false, options);
    words.directories_behind = kLeftOutList;
    ProgramCommand command =
        LookMake("missing", "List what songs and albums lack, and files that the rules leave out",
                 MissingCommand, {what, words}, Joined({PlaceOptions(options), FormOptions(options)}));
    command.details = {LeftOutReasons()};
    command.examples = {{"veluctl missing years genre=jazz", "Songs of this genre without a year"},
                        {"veluctl list albums cover=no", "Albums in which songs lack a cover"},
                        {"veluctl missing files /srv/music", "What lies there and is not indexed"}};
    return command;
}

std::vector<ProgramCommand> LooksMake(Options *options) {
    const CommandOption json = Json(options);
    return {
        LookMake("status", "Show the daemon, its queue and its catalogues", StatusCommand, {},
                 {{.letter = 'w',
                   .name = "watch",
                   .type = nullptr,
                   .description = "Follow the runs, whoever has asked for them, until the daemon is idle",
                   .target = &options->watch,
                   .excludes = "json"},
                  json}),
        ListMake(options),
        FindMake(options),
        LogMake(options),
        RecentMake(options),
        MissingMake(options),
        DuplicatesMake(options),
        ExportMake(options),
        LookMake("stats", "Show the catalogue in numbers", StatsCommand, {}, {json}),
        LookMake("show", "Show all that is catalogued of one file or directory", ShowCommand,
                 {Needed("path", "PATH", "The file or directory", &options->path)}, {json}),
        LookMake("why", "Tell whether a path is in the catalogue and as what, or what keeps it out",
                 WhyCommand, {Needed("path", "PATH", "The file or directory", &options->path)}, {json}),
        LookMake("dump",
                 "Show what the catalogue would hold of a file and what each reader sees in it, without "
                 "touching it",
                 DumpCommand, {Needed("file", "FILE", "The file", &options->path)},
                 {{.letter = 'a',
                   .name = "all",
                   .type = nullptr,
                   .description = "Try the readers of other kinds of files too",
                   .target = &options->every_reader},
                  json}),
        LookMake("check", "Compare the catalogue with the shares and the cover pictures", CheckCommand, {},
                 Joined({{Flag("fix", "Queue the repairs", &options->fix)},
                         FormOptions(options),
                         RequestOptions(options)})),
        LookMake(
            "config", "Show the configuration, where it comes from and what is wrong with it", ConfigCommand,
            {{"what", "WHAT", "check: only what is wrong, for scripts", &options->what, false, {"check"}}},
            FormOptions(options)),
        LookMake("report", "Make a page (HTML, complete in one file) about the catalogue", ReportCommand,
                 {Needed("file", "FILE", "The page's file, which is replaced; - is standard output",
                         &options->path)},
                 {Flag("no-check", "Leave out the comparison with the disk, which takes the longest",
                       &options->no_check)}),
    };
}

// Not a request: the queue has no command for it.
ProgramCommand ForgetMake(Options *options) {
    return {"forget",
            kRequests,
            "Remove the rows of what cannot be looked at, at once and on purpose",
            ForgetCommand,
            {{kHelpOption, Flag("yes", "Do not ask", &options->yes)},
             {Needed("path", "PATH", "What is gone or away, with all below it", &options->path)}}};
}

std::vector<ProgramCommand> SetupMake(Options *options) {
    const OptionList form = FormOptions(options);
    ProgramCommand share = ShareMake(options);
    share.group = kSettingUp;
    share.line.options = Joined({{kHelpOption, Flag("index", "Index what is there", &options->index)},
                                 WaitOptions("index", nullptr, options),
                                 form});
    ProgramCommand feature = FeatureMake(options);
    feature.group = kSettingUp;
    feature.line.options = Joined({{kHelpOption}, form});
    return {share, feature};
}

// Help and --help say the same.
ProgramCommand HelpMake(const std::vector<ProgramCommand> &commands, Options *options) {
    std::vector<const char *> names;
    for (const ProgramCommand &command : commands)
        names.push_back(command.name);
    return LookMake("help", "Show what there is to be called, or what a command takes", HelpCommand,
                    {{"command", "COMMAND", "The command; without one: all of them", &options->what, false,
                      std::move(names)}},
                    {});
}

std::vector<ProgramCommand> CommandsMake(Options *options) {
    std::vector<ProgramCommand> commands;
    for (const RequestCommand &request : RequestCommands())
        commands.push_back(RequestMake(request, options));
    commands.push_back(ForgetMake(options));
    for (const ProgramCommand &command : SetupMake(options))
        commands.push_back(command);
    for (const ProgramCommand &command : LooksMake(options))
        commands.push_back(command);
    commands.push_back(HelpMake(commands, options));
    return commands;
}

} // namespace

Program ProgramMake(ProgramOptions *asked, Options *options) {
    return {"veluctl",
            "ask the media-indexing daemon for work and look at its catalogue",
            {{kHelpOption, Flag("version", "Print the version", &asked->version),
              Flag("man", "Print the manual page (man veluctl shows it)", &asked->manual),
              Flag("completion", "Print the completion for bash", &asked->completion),
              Flag("completion-zsh", "Print the completion for zsh", &asked->completion_zsh),
              Flag("completion-fish", "Print the completion for fish", &asked->completion_fish)},
             {}},
            CommandsMake(options)};
}
