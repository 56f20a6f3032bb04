// SPDX-License-Identifier: GPL-2.0-or-later
//
// The probe where something of it is missing: each is said once, and the run goes on.
#include "container/metamedia.h"

#include "tests/unit/child_process.h"
#include "tests/unit/probe_files.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mount.h>
#include <sys/prctl.h>

namespace {

TEST_F(ProbeTest, AMissingModuleIsToldOnceAndEveryFileFails) {
    const std::string path = Make("a.wav", kTone);
    const int status = ChildRunStatus([&] {
        if (!ModulesHide())
            return 2;
        return Get(path) == 1 && Get(path) == 1 ? 0 : 1;
    });
    EXPECT_EQ(0, WEXITSTATUS(status));
    const Texts lines = LogTakeTexts();
    ASSERT_EQ(1U, lines.size());
    EXPECT_EQ(0U, lines[0].find("metamedia.c# Cannot load the media probe: ")) << lines[0];
    EXPECT_NE(std::string::npos, lines[0].find("veluprobe.so")) << lines[0];
}

// Makes a kernel that has no filters of this one, for this process.
bool FiltersDeny() {
    scmp_filter_ctx deny = seccomp_init(SCMP_ACT_ALLOW);
    const scmp_arg_cmp is_install = {0, SCMP_CMP_EQ, PR_SET_SECCOMP, 0};
    const bool done =
        seccomp_rule_add_array(deny, SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(prctl), 1, &is_install) == 0 &&
        seccomp_rule_add_array(deny, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(seccomp), 0, nullptr) == 0 &&
        seccomp_load(deny) == 0;
    seccomp_release(deny);
    return done;
}

TEST_F(ProbeTest, AKernelWithoutFiltersIsToldOnceAndFilesAreRead) {
    const std::string path = Make("a.wav", std::string(kTone) + " -ac 2");
    const int status = ChildRunStatus([&] {
        if (!FiltersDeny())
            return 2;
        for (int i = 0; i < 2; ++i) {
            if (Get(path) != 0 || record->channels != 2 || record->sample_rate != 44100)
                return 3;
        }
        return 0;
    });
    EXPECT_EQ(0, WEXITSTATUS(status));
    EXPECT_EQ(Texts{"metamedia.c# The kernel has no system call filter, the media probe runs without."},
              LogTakeTexts());
}

} // namespace
