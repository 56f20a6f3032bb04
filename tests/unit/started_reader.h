// SPDX-License-Identifier: GPL-2.0-or-later
//
// A reader as the daemon starts one, and both ends of what it is told.
#pragma once

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/handle.h"
#include "platform/limits.h"
#include "reader/protocol/message.h"

// A file of the build that this program is of.
inline std::string BuiltFile(const std::string &path) {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / path;
}

// The reader whose files take it over (tests/hostile_reader).
inline std::string HostileReader() {
    return BuiltFile("hostile/lib/velu/velureader");
}

// What a taken-over reader can send that is no answer; the names are those of tests/hostile_reader.
inline const std::vector<std::string> kAnswersNobodyDecodes = {"lie-magic",
                                                               "lie-status",
                                                               "lie-content",
                                                               "lie-picture",
                                                               "lie-picture-kind",
                                                               "lie-picture-size",
                                                               "lie-facts",
                                                               "lie-one-fact",
                                                               "lie-reason",
                                                               "lie-entries",
                                                               "lie-more-entries",
                                                               "lie-fact-name",
                                                               "lie-fact-size",
                                                               "lie-text",
                                                               "lie-small-picture",
                                                               "lie-small-picture-cut",
                                                               "lie-small-picture-longer",
                                                               "cut",
                                                               "longer",
                                                               "huge",
                                                               "hello"};

struct StartedReader {
    explicit StartedReader(const std::string &program) {
        int ends[2] = {-1, -1};
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
            return;
        socket = FdHandle(ends[0]);
        const FdHandle theirs(ends[1]);
        int given[1 + kReaderSlots] = {theirs.get()};
        for (int i = 0; i < kReaderSlots; ++i) {
            slots[i] = FdHandle(memfd_create("slot", MFD_CLOEXEC | MFD_ALLOW_SEALING));
            if (ftruncate(slots[i].get(), kReaderPictureMax) != 0)
                return;
            fcntl(slots[i].get(), F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL);
            given[1 + i] = slots[i].get();
        }
        pid = fork();
        if (pid == 0)
            Become(program.c_str(), given);
    }
    ~StartedReader() {
        if (pid > 0 && !reaped) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    }
    StartedReader(const StartedReader &) = delete;
    StartedReader &operator=(const StartedReader &) = delete;

    // True when it says in time that it is ready.
    bool Greets(ReaderKind kind = ReaderKind::sound_and_photos) {
        Hello hello;
        const auto packet = Receive();
        return HelloDecode(packet, &hello) && hello.kind == kind;
    }

    // Hands a file over. It has the number of requests before it.
    bool HandOver(int file, int64_t size, uint32_t wants = kWantsPicture) {
        Request request;
        request.number = next_number++;
        request.slot = request.number % kReaderSlots;
        request.size = size;
        request.wants = wants;
        return PacketSend(socket.get(), std::as_bytes(std::span(&request, 1)), {&file, 1}, 0) ==
               sizeof request;
    }

    bool HandOver(std::string_view content, uint32_t wants = kWantsPicture) {
        const FdHandle file(memfd_create("file", MFD_CLOEXEC));
        return write(file.get(), content.data(), content.size()) == static_cast<ssize_t>(content.size()) &&
               HandOver(FdHandle(open(("/proc/self/fd/" + std::to_string(file.get())).c_str(),
                                      O_RDONLY | O_CLOEXEC))
                            .get(),
                        static_cast<int64_t>(content.size()), wants);
    }

    // Empty at the end of the connection, and when nothing came in time.
    std::vector<std::byte> Receive() {
        pollfd ready = {socket.get(), POLLIN, 0};
        std::vector<std::byte> packet(2 * kReaderAnswerSize);
        ssize_t got = 0;
        if (poll(&ready, 1, kPatience) == 1)
            got = PacketReceive(socket.get(), packet, nullptr, 0, 0);
        packet.resize(got > 0 ? static_cast<size_t>(got) : 0);
        return packet;
    }

    // False when no answer came, or none that is believed.
    bool Answers(Answer *answer) { return AnswerDecode(Receive(), answer); }

    // Its status, as waitpid gives it; -1 when it does not end in time.
    int End() {
        int status = 0;
        for (int i = 0; i < kPatience && !reaped; ++i) {
            reaped = waitpid(pid, &status, WNOHANG) == pid;
            if (!reaped)
                usleep(1000);
        }
        return reaped ? status : -1;
    }

    bool IsAlive() { return !reaped && !(reaped = waitpid(pid, nullptr, WNOHANG) == pid); }

    pid_t pid = -1;
    FdHandle socket;
    FdHandle slots[kReaderSlots];

private:
    static constexpr int kPatience = 20'000; // milliseconds

    [[noreturn]] static void Become(const char *program, const int (&given)[1 + kReaderSlots]) {
        int moved[1 + kReaderSlots] = {};
        for (int i = 0; i <= kReaderSlots; ++i)
            moved[i] = fcntl(given[i], F_DUPFD, kReaderFirstSlot + kReaderSlots);
        for (int i = 0; i <= kReaderSlots; ++i) {
            dup2(moved[i], kReaderSocket + i);
            close(moved[i]);
        }
        execl(program, program, nullptr);
        _exit(127);
    }

    uint32_t next_number = 0;
    bool reaped = false;
};
