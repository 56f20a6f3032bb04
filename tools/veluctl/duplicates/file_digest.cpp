// SPDX-License-Identifier: GPL-2.0-or-later
//
// The daemon's libraries have SHA-256 already, for the names of covers.
#include "tools/veluctl/duplicates/file_digest.h"

#include <errno.h>
#include <sha256.h>
#include <string.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "platform/file.h"
#include "platform/hash.h"

namespace {

constexpr size_t kEndBytes = size_t{64} * 1024;
constexpr size_t kPortionBytes = size_t{256} * 1024;

constexpr char kChanged[] = "has changed meanwhile";

// Opens a file that has to have that size.
FdHandle FileOfSize(const std::string &path, uint64_t size, std::string *problem) {
    uint64_t now = 0;
    errno = 0;
    FdHandle file = RegularFileOpen(path.c_str(), &now);
    if (!file)
        *problem = errno != 0 ? strerror(errno) : "is no file any more";
    else if (now != size)
        *problem = kChanged;
    return problem->empty() ? std::move(file) : FdHandle();
}

// False, with the reason, when there are fewer bytes.
bool PortionRead(const FdHandle &file, uint64_t at, std::vector<char> *bytes, std::string *problem) {
    int failure = 0;
    if (FileReadUpTo(file, at, bytes->data(), bytes->size(), &failure) == bytes->size())
        return true;
    *problem = failure != 0 ? strerror(failure) : kChanged;
    return false;
}

} // namespace

FileDigest EndsDigest(const std::string &path, uint64_t size) {
    FileDigest digest;
    const FdHandle file = FileOfSize(path, size, &digest.problem);
    if (!file)
        return digest;
    std::vector<char> bytes(std::min<uint64_t>(size, kEndBytes));
    uint64_t hash = kHashStart;
    for (const uint64_t at : {uint64_t{0}, size - bytes.size()}) {
        if (!PortionRead(file, at, &bytes, &digest.problem))
            return digest;
        hash = HashBlock({bytes.data(), bytes.size()}, hash);
    }
    digest.value = std::to_string(hash);
    return digest;
}

FileDigest WholeDigest(const std::string &path, uint64_t size,
                       const std::function<void(uint64_t bytes)> &read) {
    FileDigest digest;
    const FdHandle file = FileOfSize(path, size, &digest.problem);
    if (!file)
        return digest;
    SHA256_CTX sum;
    SHA256Init(&sum);
    std::vector<char> bytes(std::min<uint64_t>(size, kPortionBytes));
    for (uint64_t at = 0; at < size; at += bytes.size()) {
        bytes.resize(std::min<uint64_t>(size - at, kPortionBytes));
        if (!PortionRead(file, at, &bytes, &digest.problem))
            return digest;
        SHA256Update(&sum, reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
        read(bytes.size());
    }
    uint8_t value[SHA256_DIGEST_LENGTH];
    SHA256Final(value, &sum);
    digest.value.assign(reinterpret_cast<const char *>(value), sizeof value);
    return digest;
}
