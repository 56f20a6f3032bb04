// SPDX-License-Identifier: GPL-2.0-or-later
//
// Stands in for the system logger: takes /dev/log of the sandbox and gives the lines that arrive there.
#pragma once

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

struct LogListener {
    LogListener() : fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        struct sockaddr_un address = {AF_UNIX, "/dev/log"};
        const struct timeval patience = {2, 0};
        ready = bind(fd, reinterpret_cast<const struct sockaddr *>(&address), sizeof address) == 0 &&
                setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) == 0;
    }
    ~LogListener() {
        closelog();
        close(fd);
        if (ready)
            unlink("/dev/log");
    }
    LogListener(const LogListener &) = delete;
    LogListener &operator=(const LogListener &) = delete;

    // The next line with its "<priority>", or the empty string when none comes.
    [[nodiscard]] std::string Next() const { return Receive(0); }

    // No line waits.
    [[nodiscard]] bool Quiet() const { return Receive(MSG_DONTWAIT).empty(); }

    int fd;
    bool ready = false; // /dev/log is ours

private:
    [[nodiscard]] std::string Receive(int flags) const {
        std::string line(64 * 1024, '\0');
        const ssize_t got = recv(fd, line.data(), line.size(), flags);
        line.resize(got > 0 ? static_cast<size_t>(got) : 0);
        return line;
    }
};
