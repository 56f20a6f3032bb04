// SPDX-License-Identifier: GPL-2.0-or-later
//
// Loaded ahead of a program that takes longer to load than to run: it is loaded once, and each run is a copy of the process
// from right before its main().
//
// VELU_STARTED_BY is the number of a socket of packets. A packet of one byte carries five descriptors: the folder to run in,
// input, output and errors, and a file of the arguments, each of them with a NUL behind it. When the run is over its
// status goes back, an int as waitpid() gives it. The program ends with the connection.
#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Main = int (*)(int, char **, char **);
using Start = int (*)(Main, int, char **, void (*)(), void (*)(), void (*)(), void *);

enum Given { folder, input, output, errors, arguments, count };

Main program_main;

bool Receive(int socket, int (&given)[count]) {
    char byte = 0;
    iovec data = {&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof given)];
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != 1)
        return false;
    const cmsghdr *head = CMSG_FIRSTHDR(&message);
    if (head == nullptr || head->cmsg_len != CMSG_LEN(sizeof given))
        return false;
    memcpy(given, CMSG_DATA(head), sizeof given);
    return true;
}

int Run(const int (&given)[count], char **environment) {
    struct stat status;
    if (fchdir(given[folder]) != 0 || fstat(given[arguments], &status) != 0)
        _exit(127);
    const auto size = static_cast<size_t>(status.st_size);
    char *text = static_cast<char *>(calloc(1, size + 1));
    if (text == nullptr || pread(given[arguments], text, size, 0) != status.st_size)
        _exit(127);
    int words = 0;
    for (size_t i = 0; i < size; ++i)
        words += text[i] == '\0';
    char **list = static_cast<char **>(calloc(static_cast<size_t>(words) + 1, sizeof *list));
    if (list == nullptr)
        _exit(127);
    for (int i = 0; i < words; ++i, text += strlen(text) + 1)
        list[i] = text;
    for (int stream = 0; stream < 3; ++stream) {
        if (dup2(given[input + stream], stream) < 0)
            _exit(127);
    }
    for (const int one : given)
        close(one);
    return program_main(words, list, environment);
}

int Serve(int, char **, char **environment) {
    const char *number = getenv("VELU_STARTED_BY");
    if (number == nullptr)
        return 127;
    const int socket = atoi(number);
    unsetenv("VELU_STARTED_BY");
    unsetenv("LD_PRELOAD");
    for (int given[count]; Receive(socket, given);) {
        const pid_t run = fork();
        if (run == 0) {
            close(socket);
            return Run(given, environment);
        }
        for (const int one : given)
            close(one);
        int status = -1;
        if (run < 0 || waitpid(run, &status, 0) != run ||
            send(socket, &status, sizeof status, MSG_NOSIGNAL) < 0)
            return 127;
    }
    return 0;
}

} // namespace

// What the C runtime calls with the main() of the program.
extern "C" int __libc_start_main(Main main, int argc, char **argv, void (*init)(), void (*fini)(),
                                 void (*rtld_fini)(), void *stack_end) {
    program_main = main;
    const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(Serve, argc, argv, init, fini, rtld_fini, stack_end);
}
