// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/queue/request_path.h"

#include <errno.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <memory>

#include "catalogue/shares.h"
#include "platform/handle.h"
#include "platform/path.h"

namespace {

using CString = std::unique_ptr<char, CloseWith<free>>;

// Returns the real place of a directory, without a slash at its end: "/" becomes the empty text.
bool Resolve(std::string *directory) {
    const CString real(realpath(directory->empty() ? "/" : directory->c_str(), nullptr));
    if (real == nullptr)
        return false;
    *directory = real.get();
    if (*directory == "/")
        directory->clear();
    return true;
}

// Takes the name before the next slash off the front of `rest`.
std::string_view NameTake(std::string_view *rest) {
    const size_t slash = rest->find('/');
    const std::string_view name = rest->substr(0, slash);
    *rest = slash == std::string_view::npos ? std::string_view() : rest->substr(slash + 1);
    return name;
}

void ShareLinkReplace(std::string *path) {
    for (const char *link : kShareLinks) {
        const std::string_view share = link;
        if (!PathIsAtOrUnder(*path, share))
            continue;
        char target[kSharePathSize];
        if (ShareTargetGet(link, target) && *target == '/')
            path->replace(0, share.size(), target);
        return;
    }
}

} // namespace

std::string RequestPathMake(std::string_view path) {
    if (path.empty()) {
        errno = ENOENT;
        return {};
    }
    std::string result;
    if (path.front() != '/') {
        const CString folder(getcwd(nullptr, 0));
        if (folder == nullptr)
            return {};
        result = folder.get();
        if (result == "/")
            result.clear();
    }
    while (!path.empty()) {
        const std::string_view name = NameTake(&path);
        if (name.empty() || name == ".")
            continue;
        if (name != "..") {
            result.append("/").append(name);
            continue;
        }
        if (!Resolve(&result))
            return {};
        result.resize(result.empty() ? 0 : result.rfind('/'));
    }
    if (result.empty())
        result = "/";
    ShareLinkReplace(&result);
    return result;
}

std::string ParentOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}
