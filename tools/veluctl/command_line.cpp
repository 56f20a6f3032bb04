// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/command_line.h"

#include "tools/veluctl/requests.h"
#include "tools/veluctl/tables.h"

namespace {

constexpr char kRequests[] = "Asking for work";
constexpr char kLooking[] = "Looking";

void RequestOptions(CLI::App *command, Options *options) {
    CLI::Option *no_signal = command->add_flag("--no-signal", options->no_signal,
                                               "Leave the request in the queue without telling the daemon");
    CLI::Option *wait =
        command->add_flag("-w,--wait", options->wait, "Follow the run to its end and show how far it is");
    wait->excludes(no_signal);
    command->add_option("--timeout", options->timeout, "Give up waiting after so many seconds")
        ->type_name("SECONDS")
        ->needs(wait);
}

void PathsOptions(CLI::App *command, const char *argument, Options *options) {
    command->add_option("path", options->paths, argument)->type_name("PATH");
    CLI::Option *from = command->add_option(
        "--from", options->input, "Take more paths from this file, one on a line; - is standard input");
    from->type_name("FILE");
    command
        ->add_flag("-0,--null", options->null_input,
                   "The paths of --from end in zero bytes instead of newlines")
        ->needs(from);
    command->add_flag("--force", options->force, "Queue it whatever is on the disk");
}

void RenameOptions(CLI::App *command, Options *options) {
    command->add_option("new", options->new_path, "The path that it has now")->required()->type_name("NEW");
    command->add_option("old", options->old_path, "The path that it had")->required()->type_name("OLD");
    command->add_flag("--force", options->force, "Queue it whatever is on the disk");
}

void WordOption(CLI::App *command, const char *argument, std::span<const char *const> words,
                Options *options) {
    command->add_option("share", options->what, argument)
        ->required()
        ->type_name("SHARE")
        ->check(CLI::IsMember(std::vector<std::string>(words.begin(), words.end())));
}

void RequestCommandAdd(CLI::App *command, const RequestCommand &request, Options *options) {
    switch (QueueCommandFind(request.command)->argument) {
    case QueueArgument::path:
        PathsOptions(command, request.argument, options);
        break;
    case QueueArgument::two_paths:
        RenameOptions(command, options);
        break;
    case QueueArgument::share:
        WordOption(command, request.argument, kShareWords, options);
        break;
    case QueueArgument::library:
        WordOption(command, request.argument, kLibraryWords, options);
        break;
    case QueueArgument::table: // nobody is asked to empty one by hand
        break;
    }
    RequestOptions(command, options);
}

// Of those of these forms that a command has, one at a time.
CLI::Option *JsonOption(CLI::App *command, Options *options) {
    return command->add_flag("--json", options->json, "Print JSON");
}

void ListOptions(CLI::App *command, Options *options) {
    std::vector<std::string> kinds;
    for (const CatalogueTable &table : CatalogueTables())
        kinds.emplace_back(table.kind);
    command->add_option("-k,--kind", options->kinds, "Only rows of this kind; may be given more than once")
        ->type_name("KIND")
        ->allow_extra_args(false)
        ->check(CLI::IsMember(kinds));
    command->add_option("-d,--dir", options->directory, "Only what this directory holds, at any depth")
        ->type_name("DIR");
    command->add_option("-n,--limit", options->limit, "Stop after so many rows")->type_name("ROWS");
    CLI::Option *json = JsonOption(command, options);
    command->add_flag("--csv", options->csv, "Print CSV (RFC 4180, lines end in a newline)")->excludes(json);
}

} // namespace

void CommandLineMake(CLI::App *app, Options *options, const std::function<void(Command)> &chosen) {
    const auto make = [=](const char *name, const char *group, const char *description, Command function) {
        CLI::App *command = app->add_subcommand(name, description)->group(group);
        command->callback([=] { chosen(function); });
        return command;
    };
    app->require_subcommand(0, 1);

    for (const RequestCommand &request : RequestCommands())
        RequestCommandAdd(make(request.name, kRequests, request.description, request.run), request, options);

    JsonOption(make("status", kLooking, "Show the daemon, its queue and its catalogues", StatusCommand),
               options);
    ListOptions(make("list", kLooking, "List rows of the catalogue", ListCommand), options);
    CLI::App *find =
        make("find", kLooking, "List rows that hold a text in their path, title, artist and the like",
             ListCommand);
    find->add_option("text", options->text, "The text; the case of ASCII letters does not matter")
        ->required()
        ->type_name("TEXT");
    ListOptions(find, options);
    CLI::App *show =
        make("show", kLooking, "Show all that is catalogued of one file or directory", ShowCommand);
    show->add_option("path", options->paths, "The file or directory")
        ->required()
        ->expected(1)
        ->type_name("PATH");
    JsonOption(show, options);
    CLI::App *dump =
        make("dump", kLooking, "Show what each reader sees in a file, without touching the catalogue",
             DumpCommand);
    dump->add_option("file", options->paths, "The file")->required()->expected(1)->type_name("FILE");
    dump->add_flag("-a,--all", options->every_reader, "Try the readers of other kinds of files too");
    JsonOption(dump, options);
    CLI::App *check =
        make("check", kLooking, "Compare the catalogue with the shares and the cover pictures", CheckCommand);
    check->add_flag("--fix", options->fix, "Queue the repairs");
    CLI::Option *json = JsonOption(check, options);
    check->add_flag("--csv", options->csv, "Print CSV (RFC 4180, lines end in a newline)")->excludes(json);
    RequestOptions(check, options);
    CLI::App *report = make("report", kLooking,
                            "Make a page (HTML, complete in one file) about the catalogue", ReportCommand);
    report->add_option("file", options->paths, "The page's file, which is replaced; - is standard output")
        ->required()
        ->expected(1)
        ->type_name("FILE");
    report->add_flag("--no-check", options->no_check,
                     "Leave out the comparison with the disk, which takes the longest");
}
