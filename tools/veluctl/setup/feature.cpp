// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl feature: the switches of the photo library and of the video application.
#include <stdio.h>
#include <sys/stat.h>

#include <utility>

#include "catalogue/shares.h"
#include "platform/configuration.h"
#include "tools/queue/daemon_process.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/row_writer.h"
#include "tools/veluctl/setup/key_line_set.h"
#include "tools/veluctl/setup/setup_folder.h"

namespace {

struct Feature {
    const char *name;
    const ConfigurationKey &key;
    const char *meaning;
    const char *needs; // the link of the share that it is about
    const char *fills; // the command that brings what is there already
};

constexpr Feature kFeatures[] = {
    {"photo", ConfigurationKeyOf("supportphoto"), "the photo library: albums, rights, thumbnails",
     kPhotoShareLink, "sudo veluctl reindex --wait photo"},
    {"cinehall", ConfigurationKeyOf("supportcinehall"), "the video application: converted films", nullptr,
     nullptr},
};

constexpr Column kColumns[] = {
    {"feature", "FEATURE", Type::text},
    {"state", "STATE", Type::text},
    {"meaning", "MEANING", Type::text},
};

constexpr char kOn[] = "yes";
constexpr char kOff[] = "no";

bool IsOn(const Feature &feature) {
    return BlConfigurationIs(feature.key, kOn) != 0;
}

// True when the daemon has been running since before the switches were changed: it reads them at its start. Both times are those of
// one clock, whose steps are finer than the seconds of a process's start.
bool IsDaemonOlder() {
    struct stat started;
    struct stat changed;
    const auto time_of = [](const struct stat &status) {
        return std::pair(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    };
    return DaemonFind() != 0 && stat(kDaemonPidFile, &started) == 0 && stat(kDefaultsFile, &changed) == 0 &&
           time_of(started) < time_of(changed);
}

ExitCode FeatureList(const Options &options) {
    RowWriter writer(options.form(), kColumns, stdout);
    for (const Feature &feature : kFeatures)
        writer.Add({feature.name, IsOn(feature) ? "on" : "off", feature.meaning});
    writer.End();
    if (IsDaemonOlder())
        Complain(kDone, "the daemon has been running since before the last change and is to be started anew: "
                        "sudo systemctl "
                        "restart veluindexd");
    return kDone;
}

const Feature *FeatureFind(const std::string &name) {
    for (const Feature &feature : kFeatures) {
        if (name == feature.name)
            return &feature;
    }
    return nullptr;
}

ExitCode FeatureSwitch(const Feature &feature, bool on) {
    if (IsOn(feature) == on) {
        printf("The feature %s is %s already.\n", feature.name, on ? "on" : "off");
        return kDone;
    }
    const std::string folder = ParentOf(kDefaultsFile);
    if (const ExitCode rights = SetupFolder(folder); rights != kDone)
        return rights;
    if (const std::string reason = KeyLineSet(kDefaultsFile, feature.key.name, on ? kOn : kOff);
        !reason.empty())
        return Complain(kFailed, std::string(kDefaultsFile) + ": " + reason);
    printf("The feature %s is %s, once the daemon is started anew:\n", feature.name, on ? "on" : "off");
    puts("    sudo systemctl restart veluindexd\n    sudo systemctl try-restart veluwatchd");
    char share[kSharePathSize];
    if (on && feature.needs != nullptr && !ShareTargetGet(feature.needs, share))
        puts("It is about the photo share, which is to be made: sudo veluctl share add photo /srv/photo");
    if (on && feature.fills != nullptr)
        printf("What is there already comes by: %s\n", feature.fills);
    return kDone;
}

} // namespace

ExitCode FeatureCommand(const Options &options) {
    const bool list = options.what == "list";
    if (list != options.name.empty())
        return Complain(kUsage, list ? "feature list takes no name"
                                     : "feature " + options.what + " takes the name of a feature");
    if (!list && options.form() != Form::table)
        return Complain(kUsage, "--json and --csv go with feature list");
    if (list)
        return FeatureList(options);
    const Feature *feature = FeatureFind(options.name);
    if (feature == nullptr)
        return Complain(kRefused,
                        "refused: " + Quoted(options.name) + ": the features are photo and cinehall");
    return FeatureSwitch(*feature, options.what == "on");
}
