// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a probe costs. The parent's first look at the child comes after 0.1 s, so that a file costs at least
// that; this program measures what comes on top, and whether the child is done by then.
//
//   build/release/bin/probe_bench FILE...
#include "container/metamedia.h"
#include "container/metamedia_child.h"
#include "container/probe_module/probe.h"
#include "platform/media_record.h"
#include "platform/module.h"

#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 20;
constexpr int kForks = 500;

template <typename Body>
double Milliseconds(Body body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

template <typename Body>
double Median(int rounds, Body body) {
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i)
        times.push_back(Milliseconds(body));
    std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
    return times[static_cast<size_t>(rounds / 2)];
}

// Resident memory of this program in kB.
long Resident() {
    FILE *file = fopen("/proc/self/status", "re");
    char line[256];
    long resident = -1;
    while (file != nullptr && resident < 0 && fgets(line, sizeof line, file) != nullptr)
        sscanf(line, "VmRSS: %ld", &resident);
    if (file != nullptr)
        fclose(file);
    return resident;
}

template <typename Body>
void ChildDo(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}

void ForksMeasure(const char *when) {
    printf("%s: %ld kB resident, fork and wait %.3f ms, confined %.3f ms\n", when, Resident(),
           Median(kForks, [] { ChildDo([] {}); }), Median(kForks, [] {
               const pid_t parent = getpid();
               ChildDo([parent] { ChildConfine(parent); });
           }));
}

} // namespace

int main(int argc, char **argv) {
    ForksMeasure("module not loaded");
    std::string error;
    void *entry = nullptr;
    const double load = Milliseconds([&] { entry = ModuleEntry(kProbeModule, kProbeEntry, &error); });
    if (entry == nullptr) {
        fprintf(stderr, "probe_bench: %s\n", error.c_str());
        return 1;
    }
    printf("loading the module: %.1f ms\n", load);
    ForksMeasure("module loaded");
    const auto probe = reinterpret_cast<MediaProbe>(entry);
    static MediaInfo record;
    for (int i = 1; i < argc; ++i) {
        const char *path = argv[i];
        const int result = MiscMediaInfoGet(path, &record);
        const double child = Median(kRounds, [&] { ChildDo([&] { probe(path, &record); }); });
        const double whole = Median(kRounds, [&] { MiscMediaInfoGet(path, &record); });
        printf("%s: result %d, child %.2f ms, whole %.2f ms\n", path, result, child, whole);
    }
    return 0;
}
