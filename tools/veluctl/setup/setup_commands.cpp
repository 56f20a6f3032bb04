// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/setup/setup_commands.h"

#include "tools/veluctl/setup/share_refusal.h"

namespace {

CommandArgument Word(const char *name, const char *type, const char *description, std::string *target,
                     std::vector<const char *> words) {
    CommandArgument argument = {name, type, description, target};
    argument.words = std::move(words);
    return argument;
}

CommandArgument Action(std::vector<const char *> words, Options *options) {
    CommandArgument argument = Word("what", "WHAT", "What to do", &options->what, std::move(words));
    argument.required = true;
    return argument;
}

CommandArgument Name(const char *description, std::vector<const char *> words, Options *options) {
    CommandArgument argument = Word("name", "NAME", description, &options->name, std::move(words));
    argument.open = true;
    return argument;
}

} // namespace

ProgramCommand ShareMake(Options *options) {
    ProgramCommand command = {
        "share", "", "Say which folders are the shares, or show them", ShareCommand, {}};
    command.line.arguments = {Action({"add", "list", "remove"}, options),
                              Name("The share: music, video or photo", ShareNames(), options),
                              {"path", "PATH", "The folder that is to be the share", &options->path}};
    command.details = {
        {"What to do",
         {{"add NAME PATH", "Make a folder the share of that name, by a link in /var/services"},
          {"list", "Show the shares, and whether their storage is there"},
          {"remove NAME", "Take the link away; files and rows stay as they are"}}},
        {"Shares",
         {{"music, video, photo",
           "Each takes files of every kind. reindex, check and veluwatchd go through the "
           "shares, and the photo library is about the photo share"}}}};
    command.examples = {
        {"sudo veluctl share add music /srv/music", "Make a folder the music share"},
        {"sudo veluctl share add photo /srv/photo --index --wait", "The same, and index it at once"},
        {"veluctl share list", "See which shares there are"},
    };
    return command;
}

ProgramCommand FeatureMake(Options *options) {
    ProgramCommand command = {
        "feature", "", "Switch the photo library and the video application on or off", FeatureCommand, {}};
    command.line.arguments = {Action({"on", "off", "list"}, options),
                              Name("The feature: photo or cinehall", {"photo", "cinehall"}, options)};
    command.details = {
        {"What to do",
         {{"on NAME, off NAME",
           "Write the switch into /etc.defaults/veluinfo.conf, where the daemon reads it at its start"},
          {"list", "Show the switches"}}},
        {"Features",
         {{"photo",
           "The photo library: a second catalogue, of pictures, videos and albums of the photo share"},
          {"cinehall",
           "The video application: the queue of films to be converted, and renames in its tables"}}}};
    command.examples = {{"sudo veluctl feature on photo", "Keep a photo library"}};
    return command;
}
