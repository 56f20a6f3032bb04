// SPDX-License-Identifier: GPL-2.0-or-later
//
// The wall around a reader, tried from inside by a library that a file has taken over.
#include "platform/limits.h"
#include "tests/unit/child_process.h"
#include "tests/unit/started_reader.h"
#include "tests/unit/test_files.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace {

// A sanitizer's own handler has more to do than the filter lets it.
const std::string kEndOfCrash = VELU_SANITIZED ? "SIGSYS" : "SIGSEGV";

// What comes of a file that has the word carried out: how the reader ended, or what it answered.
std::string Outcome(const std::string &word) {
    StartedReader reader(HostileReader());
    if (!reader.Greets())
        return "no reader";
    Answer answer;
    if (!reader.HandOver("hostile:" + word))
        return "not handed over";
    if (reader.Answers(&answer))
        return answer.status == AnswerStatus::failed ? answer.reason : "done";
    const int status = reader.End();
    return WIFSIGNALED(status) ? "SIG" + std::string(sigabbrev_np(WTERMSIG(status)))
                               : "status " + std::to_string(WEXITSTATUS(status));
}

// The fields of /proc/PID/status.
std::map<std::string, std::string> StatusOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    std::map<std::string, std::string> fields;
    for (std::string line; std::getline(file, line);) {
        const size_t colon = line.find(':');
        fields[line.substr(0, colon)] = line.substr(std::min(colon + 2, line.size()));
    }
    return fields;
}

std::set<std::string> DescriptorsOf(pid_t pid) {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd"))
        names.insert(entry.path().filename());
    return names;
}

// The bound of a resource by its name in /proc/PID/limits, which has it twice; empty when it can be raised.
std::string LimitOf(pid_t pid, const std::string &name) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/limits");
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with(name + "  "))
            continue;
        std::string now, highest;
        std::istringstream(line.substr(name.size())) >> now >> highest;
        return now == highest ? now : std::string();
    }
    return {};
}

// Whether this process may become another user at all.
bool HasUsers() {
    std::ifstream file("/proc/self/uid_map");
    unsigned first = 0, there = 0, count = 0;
    file >> first >> there >> count;
    return geteuid() == 0 && count > 65534;
}

TEST(ReaderWall, AnHonestFileIsAnswered) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    for (uint32_t i = 0; i < 100; ++i) {
        Answer answer;
        ASSERT_TRUE(reader.HandOver("anything"));
        ASSERT_TRUE(reader.Answers(&answer));
        EXPECT_EQ(i, answer.number);
        EXPECT_EQ(AnswerStatus::read, answer.status);
        EXPECT_EQ("honest", answer.facts.facts.at(0).text);
    }
    reader.socket.Close();
    EXPECT_EQ(kReaderEnded, reader.End());
}

TEST(ReaderWall, WhatEndsTheReader) {
    for (const char *word : {"open-memory",
                             "open-write",
                             "create",
                             "openat2",
                             "temporary",
                             "memory-file",
                             "mkdir",
                             "unlink",
                             "rename",
                             "link",
                             "chmod",

                             "read",
                             "seek",
                             "write",
                             "truncate",
                             "ioctl",
                             "fcntl",
                             "dup",
                             "socket",
                             "connect",
                             "bind",
                             "send",
                             "send-elsewhere",
                             "peek",
                             "vfork",
                             "execute",
                             "trace",
                             "read-parent",
                             "kill-parent",
                             "kill-all",
                             "signal-parent",
                             "hold-parent",
                             "raise-limits",
                             "priority",
                             "be-root",
                             "join-groups",
                             "outlive",
                             "be-dumpable",
                             "namespace",
                             "mount",
                             "chroot",
                             "ring",
                             "bpf",
                             "key",
                             "share-memory",
                             "map-code",
                             "map-file",
                             "map-file-shared",
                             "make-code",
                             "filter"})
        EXPECT_EQ("SIGSYS", Outcome(word)) << word;
    EXPECT_FALSE(std::filesystem::exists("/tmp/hostile"));
}

TEST(ReaderWall, WhatIsRefused) {
    for (const char *word : {"open", "open-proc", "open-folder", "stat", "read-link", "access"})
        EXPECT_EQ("EACCES", Outcome(word)) << word;
    EXPECT_EQ("EAGAIN", Outcome("fork"));
    EXPECT_EQ("EBADF", Outcome("find-descriptors")); // there are no others
    EXPECT_EQ("EFBIG", Outcome("overrun"));          // behind kReaderPictureMax
}

TEST(ReaderWall, WhatEndsByItself) {
    EXPECT_EQ("SIGABRT", Outcome("abort"));
    EXPECT_EQ("status 0", Outcome("leave"));
    EXPECT_EQ(kEndOfCrash, Outcome("overflow"));
}

#if !VELU_SANITIZED // which has no bound on its address space
TEST(ReaderWall, MemoryHasItsBound) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    EXPECT_EQ(std::to_string(kReaderAddressMax), LimitOf(reader.pid, "Max address space"));
    Answer answer;
    ASSERT_TRUE(reader.HandOver("hostile:eat"));
    ASSERT_TRUE(reader.Answers(&answer));
    const Fact *pieces = FactFind(answer.facts, FactName::year);
    ASSERT_NE(nullptr, pieces);
    EXPECT_LT(pieces->number, kReaderAddressMax >> 20);
    EXPECT_GT(pieces->number, kReaderAddressMax >> 21);
}
#endif

TEST(ReaderWall, WhatAReaderKeeps) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    auto status = StatusOf(reader.pid);
    for (const char *set : {"CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"})
        EXPECT_EQ("0000000000000000", status[set]) << set;
    EXPECT_EQ("1", status["NoNewPrivs"]);
    EXPECT_EQ("2", status["Seccomp"]);
    EXPECT_EQ("1", status["Threads"]);
    EXPECT_EQ((std::set<std::string>{"0", "1", "2", "3", "4", "5", "6", "7"}), DescriptorsOf(reader.pid));
    for (const char *stream : {"0", "1", VELU_SANITIZED ? "1" : "2"})
        EXPECT_EQ("/dev/null",
                  std::filesystem::read_symlink("/proc/" + std::to_string(reader.pid) + "/fd/" + stream));
    EXPECT_EQ("0", LimitOf(reader.pid, "Max core file size"));
    EXPECT_EQ("0", LimitOf(reader.pid, "Max processes"));
    EXPECT_EQ(std::to_string(kReaderPictureMax), LimitOf(reader.pid, "Max file size"));
    EXPECT_EQ(std::to_string(kReaderOpenFilesMax), LimitOf(reader.pid, "Max open files"));
}

TEST(ReaderWall, ADaemonThatIsRootHasReadersThatAreNot) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    auto status = StatusOf(reader.pid);
    const std::string user = HasUsers() ? "65534" : std::to_string(getuid());
    EXPECT_EQ(user + "\t" + user + "\t" + user + "\t" + user, status["Uid"]);
    if (HasUsers()) {
        EXPECT_EQ(status["Uid"], status["Gid"]);
        EXPECT_EQ(std::string::npos, status["Groups"].find_first_not_of(' '));
    }
}

TEST(ReaderWall, AReaderHasItsOwnUserWhereThereIsOne) {
    const std::string users = FileRead("/etc/passwd");
    FileWrite("/etc/passwd",
              users + kReaderUser + ":x:977:976:Media readers:/nonexistent:/usr/sbin/nologin\n");
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    auto status = StatusOf(reader.pid);
    EXPECT_EQ(HasUsers() ? "977\t977\t977\t977" : status["Uid"], status["Uid"]);
    EXPECT_EQ(HasUsers() ? "976\t976\t976\t976" : status["Gid"], status["Gid"]);
    EXPECT_EQ("0000000000000000", status["CapEff"]);
    FileWrite("/etc/passwd", users);
}

TEST(ReaderWall, ADaemonThatIsNotRootHasTheFilterAlone) {
    // The sandbox shuts the folders above the tree.
    std::error_code ignored;
    for (std::filesystem::path folder = HostileReader(); folder != "/"; folder = folder.parent_path())
        std::filesystem::permissions(folder, std::filesystem::perms::others_exec,
                                     std::filesystem::perm_options::add, ignored);
    const int failures = ChildRunStatus([] {
        const bool other_user = HasUsers();
        if (other_user && (setgroups(0, nullptr) != 0 || setgid(12345) != 0 || setuid(12345) != 0))
            return 1;
        StartedReader reader(HostileReader());
        if (!reader.Greets())
            return 2;
        auto status = StatusOf(reader.pid);
        const bool confined = status["Seccomp"] == "2" && status["NoNewPrivs"] == "1" &&
                              status["CapPrm"] == "0000000000000000" &&
                              status["CapEff"] == "0000000000000000";
        if (!confined || (other_user && status["Uid"] != "12345\t12345\t12345\t12345"))
            return 3;
        return Outcome("open") == "EACCES" && Outcome("kill-parent") == "SIGSYS" ? 0 : 4;
    });
    EXPECT_EQ(0, failures);
}

// A second of silence.
std::string Wave() {
    std::string file(
        "RIFF\x64\x1F\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1F\0\0\x40\x1F\0\0\1\0\x08\0data\x40\x1F\0\0", 44);
    return file.append(8000, '\x80');
}

// Starts a reader as it is installed, sees that it is confined, and gives what it says of a file.
Answer AnswerOf(const char *program, ReaderKind kind, std::string_view file) {
    StartedReader reader(BuiltFile("lib/velu/") + program);
    EXPECT_TRUE(reader.Greets(kind)) << program;
    auto status = StatusOf(reader.pid);
    EXPECT_EQ("2", status["Seccomp"]);
    EXPECT_EQ("0000000000000000", status["CapEff"]);
    EXPECT_EQ("1", status["Threads"]);
    EXPECT_EQ(3U + 1 + kReaderSlots, DescriptorsOf(reader.pid).size());
    Answer answer;
    EXPECT_TRUE(reader.HandOver(file));
    EXPECT_TRUE(reader.Answers(&answer));
    return answer;
}

TEST(ReaderWall, TheInstalledReaderReadsBehindIt) {
    const Answer sound = AnswerOf("velureader", ReaderKind::sound_and_photos, Wave());
    EXPECT_EQ(AnswerStatus::read, sound.status);
    EXPECT_EQ(ContentClass::sound, sound.content);
    const Fact *rate = FactFind(sound.facts, FactName::sample_rate);
    ASSERT_NE(nullptr, rate);
    EXPECT_EQ(8000, rate->number);
    EXPECT_EQ(AnswerStatus::films,
              AnswerOf("velureader", ReaderKind::sound_and_photos, "nothing known").status);
}

#if VELU_FILMS
TEST(ReaderWall, TheInstalledReaderOfFilmsReadsBehindIt) {
    EXPECT_EQ(AnswerStatus::sound, AnswerOf("velureader-films", ReaderKind::films, Wave()).status);
    EXPECT_EQ(AnswerStatus::failed, AnswerOf("velureader-films", ReaderKind::films, "nothing known").status);
}
#endif

TEST(ReaderWall, FilesAreClosedWhenTheyAreAnswered) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    const auto before = DescriptorsOf(reader.pid);
    Answer answer;
    for (const char *content : {"anything", "", "hostile:open", "hostile:to-films"}) {
        ASSERT_TRUE(reader.HandOver(content));
        ASSERT_TRUE(reader.Answers(&answer));
        EXPECT_EQ(before, DescriptorsOf(reader.pid)) << content;
    }
}

TEST(ReaderWall, APictureLiesInItsSlot) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    Answer answer;
    for (int slot = 0; slot < 2 * kReaderSlots; ++slot) {
        ASSERT_TRUE(reader.HandOver("hostile:large-picture"));
        ASSERT_TRUE(reader.Answers(&answer));
        EXPECT_EQ(PictureFormat::gif, answer.picture);
        EXPECT_EQ(kReaderSmallPictureMax + 1, answer.picture_bytes);
        EXPECT_TRUE(answer.small_picture.empty());
        char bytes[16] = {};
        EXPECT_EQ(16, pread(reader.slots[slot % kReaderSlots].get(), bytes, sizeof bytes, 0));
        EXPECT_EQ(0, memcmp("GIF89a and so on", bytes, sizeof bytes));
    }
    ASSERT_TRUE(reader.HandOver("hostile:large-picture", 0)); // none is wanted
    ASSERT_TRUE(reader.Answers(&answer));
    EXPECT_EQ(PictureFormat::none, answer.picture);
}

TEST(ReaderWall, ASmallPictureComesWithItsAnswer) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    Answer answer;
    for (int slot = 0; slot < 2 * kReaderSlots; ++slot) {
        ASSERT_TRUE(reader.HandOver("hostile:picture"));
        ASSERT_TRUE(reader.Answers(&answer));
        EXPECT_EQ(PictureFormat::gif, answer.picture);
        EXPECT_EQ(16U, answer.picture_bytes);
        EXPECT_EQ("GIF89a and so on", answer.small_picture);
        struct stat status = {};
        ASSERT_EQ(0, fstat(reader.slots[slot % kReaderSlots].get(), &status));
        EXPECT_EQ(0, status.st_blocks);
    }
    ASSERT_TRUE(reader.HandOver("hostile:picture", 0)); // none is wanted
    ASSERT_TRUE(reader.Answers(&answer));
    EXPECT_EQ(PictureFormat::none, answer.picture);
    EXPECT_TRUE(answer.small_picture.empty());
}

TEST(ReaderWall, AFileForTheOtherReaderIsSaidToBeOne) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    Answer answer;
    ASSERT_TRUE(reader.HandOver("hostile:to-films"));
    ASSERT_TRUE(reader.Answers(&answer));
    EXPECT_EQ(AnswerStatus::films, answer.status);
    EXPECT_TRUE(answer.facts.facts.empty());
}

TEST(ReaderWall, AFileThatCannotBeReadIsSaidToBeOne) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    const FdHandle folder(open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC)); // EISDIR
    Answer answer;
    ASSERT_TRUE(reader.HandOver(folder.get(), 100));
    ASSERT_TRUE(reader.Answers(&answer));
    EXPECT_EQ(AnswerStatus::unreadable, answer.status);
    EXPECT_NE("", answer.reason);
}

TEST(ReaderWall, WhatIsNoRequestEndsIt) {
    const auto sent = [](size_t cut, std::vector<int> files) {
        StartedReader reader(HostileReader());
        EXPECT_TRUE(reader.Greets());
        const Request request;
        PacketSend(reader.socket.get(), std::as_bytes(std::span(&request, 1)).first(sizeof request - cut),
                   files, 0);
        const int status = reader.End();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    EXPECT_EQ(kReaderMisled, sent(0, {}));
    EXPECT_EQ(kReaderMisled, sent(1, {0}));
}

TEST(ReaderWall, NobodyStartsItByHand) {
    const int status = ChildRunStatus([] {
        const FdHandle null(open("/dev/null", O_RDWR));
        dup2(null.get(), STDERR_FILENO);
        close(kReaderSocket);
        execl(HostileReader().c_str(), "velureader", nullptr);
        return 127;
    });
    EXPECT_EQ(kReaderMisled, WEXITSTATUS(status));
}

TEST(ReaderWall, ItEndsWithTheOneThatStartedIt) {
    pid_t *reader_pid = SharedMake<pid_t>();
    const pid_t daemon = ChildStart([&] {
        StartedReader reader(HostileReader());
        if (!reader.Greets() || !reader.HandOver("hostile:spin"))
            return 1;
        *reader_pid = reader.pid;
        kill(getpid(), SIGKILL); // it leaves the reader alone
        return 0;
    });
    EXPECT_EQ(SIGKILL, WTERMSIG(ChildStatus(daemon)));
    EXPECT_TRUE(ProcessEnds(*reader_pid));
}

TEST(ReaderWall, TheDaemonSeesThroughEachLie) {
    for (const std::string &word : kAnswersNobodyDecodes) {
        StartedReader reader(HostileReader());
        ASSERT_TRUE(reader.Greets());
        Answer answer;
        ASSERT_TRUE(reader.HandOver("hostile:" + word));
        const auto packet = reader.Receive();
        EXPECT_FALSE(packet.empty()) << word;
        EXPECT_FALSE(AnswerDecode(packet, &answer)) << word;
    }
}

TEST(ReaderWall, DescriptorsThatAReaderSendsAreNotTaken) {
    StartedReader reader(HostileReader());
    ASSERT_TRUE(reader.Greets());
    const auto before = DescriptorsOf(getpid());
    ASSERT_TRUE(reader.HandOver("hostile:send-descriptors"));
    std::array<std::byte, 64> packet;
    std::vector<int> descriptors;
    EXPECT_EQ(-1, PacketReceive(reader.socket.get(), packet, &descriptors, 0, 0));
    EXPECT_EQ(EPROTO, errno);
    EXPECT_EQ(before, DescriptorsOf(getpid()));
}

} // namespace
