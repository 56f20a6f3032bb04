// SPDX-License-Identifier: GPL-2.0-or-later
//
// Listens at /dev/log (the sandbox's own) and gathers what the tested code logs, on a thread of its own: a
// logger waits while the socket's queue, ten lines long, is full.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class LogCatcher {
public:
    LogCatcher() {
        unlink(kSocket);
        socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::string(kSocket).copy(address.sun_path, sizeof address.sun_path - 1);
        ok_ = bind(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
        closelog(); // so that the next line looks for the socket anew
        reader_ = std::thread([this] { Read(); });
    }
    LogCatcher(const LogCatcher &) = delete;
    LogCatcher &operator=(const LogCatcher &) = delete;
    ~LogCatcher() {
        Stop();
        closelog();
        unlink(kSocket);
        close(socket_);
    }

    // The lines so far that hold `part`.
    std::vector<std::string> Lines(const std::string &part = "") {
        // A line is delivered when syslog() returns; the marker behind it proves that it has been read.
        const std::string marker = "log catcher marker " + std::to_string(++markers_);
        syslog(LOG_ERR, "%s", marker.c_str());
        for (int i = 0; ok_ && i < 2000; ++i) {
            const std::lock_guard<std::mutex> guard(mutex_);
            if (!lines_.empty() && lines_.back().find(marker) != std::string::npos)
                break;
            mutex_.unlock();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            mutex_.lock();
        }
        const std::lock_guard<std::mutex> guard(mutex_);
        std::vector<std::string> found;
        for (const std::string &line : lines_)
            if (line.find("log catcher marker") == std::string::npos && line.find(part) != std::string::npos)
                found.push_back(line);
        return found;
    }

    bool ok() const { return ok_; }

private:
    static constexpr char kSocket[] = "/dev/log";

    void Read() {
        char buffer[16384];
        for (;;) {
            const ssize_t length = recv(socket_, buffer, sizeof buffer, 0);
            const std::lock_guard<std::mutex> guard(mutex_);
            if (length <= 0 || stopping_)
                return;
            lines_.emplace_back(buffer, static_cast<size_t>(length));
        }
    }

    void Stop() {
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            stopping_ = true;
        }
        syslog(LOG_ERR, "stop");
        shutdown(socket_, SHUT_RD);
        reader_.join();
    }

    int socket_ = -1;
    int markers_ = 0;
    bool ok_ = false;
    bool stopping_ = false;
    std::mutex mutex_;
    std::vector<std::string> lines_;
    std::thread reader_;
};
