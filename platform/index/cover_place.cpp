// SPDX-License-Identifier: GPL-2.0-or-later
//
// The places of cover pictures: COVERDIR/xx/HASH/TYPE_INDEX.jpg (.png, .webp, .gif), HASH the SHA-256 of the media path
// in hex and xx its first two digits, so that no folder gets more than 256 subfolders or the files of two
// media.
#include "platform/index/cover_place.h"

#include "platform/clock.h"
#include "platform/configuration.h"
#include "platform/handle.h"
#include "platform/index/cover_pictures.h"
#include "platform/index/run_state.h"
#include "platform/own_group.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sha256.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <string_view>

namespace {

constexpr char kLogName[] = "cover_place.c";

constexpr int kLastPictureType = 20; // id3.org 2.3.0, section 4.15
constexpr int kFirstCoverIndex = 1;

// By their format, from 1 on.
constexpr const char *kExtensions[] = {".jpg", ".png", ".webp", ".gif"};
static_assert(std::size(kExtensions) == kCoverGif);

constexpr size_t kHashDigits = SHA256_DIGEST_LENGTH * 2;

// The folder that this process keeps covers in; empty: the configured one.
std::string &OwnCoverDir() {
    static std::string folder;
    return folder;
}

// Returns the configured folder without slashes at its end; empty when its path is not absolute.
std::string ConfiguredCoverDir() {
    char value[PATH_MAX];
    ConfigurationGet(ConfigurationKeyOf("coverdir"), value, sizeof value);
    std::string_view folder = value;
    while (folder.size() > 1 && folder.ends_with('/'))
        folder.remove_suffix(1);
    return folder.starts_with('/') ? std::string(folder) : std::string();
}

// Returns the folder of all covers, in the form of ConfiguredCoverDir.
std::string CoverDir() {
    if (!OwnCoverDir().empty())
        return OwnCoverDir();
    Run &run = run_state.run;
    if (!run.active)
        return ConfiguredCoverDir();
    if (!run.cover_dir)
        run.cover_dir = ConfiguredCoverDir();
    return *run.cover_dir;
}

// Returns the folder of a media file's covers below that of all covers; empty when there is none.
std::string FolderIn(std::string folder, const char *media_path) {
    if (media_path == nullptr || *media_path == '\0' || folder.empty())
        return {};
    char hash[SHA256_DIGEST_STRING_LENGTH];
    if (SHA256Data(reinterpret_cast<const uint8_t *>(media_path), strlen(media_path), hash) == nullptr)
        return {};
    folder += '/';
    folder.append(hash, kCoverGroupDigits);
    folder += '/';
    folder += hash;
    return folder;
}

std::string CoverFolder(const char *media_path) {
    return FolderIn(CoverDir(), media_path);
}

int CopyPath(const std::string &path, char *out, size_t size) {
    if (path.empty() || path.size() >= size)
        return 0;
    memcpy(out, path.c_str(), path.size() + 1);
    return 1;
}

bool IsDirectory(const char *path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// Lets new folders have their mode whatever the umask, without a call for each.
struct UmaskCleared {
    const mode_t before = umask(0);
    ~UmaskCleared() { umask(before); }
};

enum class Made { no, was_there, is_new };

// Other programs, which run as other users, show the covers. A folder that is there keeps the mode that its owner gave it.
Made MakeFolder(const std::string &path) {
    if (mkdir(path.c_str(), OwnFolderMode()) == 0)
        return Made::is_new;
    return errno == EEXIST && IsDirectory(path.c_str()) ? Made::was_there : Made::no;
}

// The innermost folder is tried first: those above it are mostly there.
Made MakeFolders(const std::string &path) {
    if (const Made made = MakeFolder(path); made != Made::no || errno != ENOENT)
        return made;
    const size_t slash = path.rfind('/');
    return slash != 0 && MakeFolders(path.substr(0, slash)) != Made::no ? MakeFolder(path) : Made::no;
}

const char *ExtensionOf(int format) {
    return format >= kCoverJpeg && format <= kCoverGif ? kExtensions[format - kCoverJpeg] : nullptr;
}

// A number as GetCoverPath writes it, from `first` to `last`, taken off the front of `text`.
bool TakeNumber(std::string_view *text, int first, int last) {
    int number = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc() || text->front() == '-' || number < first || number > last)
        return false;
    const auto digits = static_cast<size_t>(end - text->data());
    if (digits > 1 && text->front() == '0')
        return false;
    text->remove_prefix(digits);
    return true;
}

// Returns the format of a cover by its name, 0 for what is none.
int FormatOf(std::string_view name) {
    if (!TakeNumber(&name, 0, kLastPictureType) || !name.starts_with('_'))
        return 0;
    name.remove_prefix(1);
    if (!TakeNumber(&name, kFirstCoverIndex, INT_MAX))
        return 0;
    const auto *const found = std::ranges::find(kExtensions, name);
    return found != std::end(kExtensions) ? kCoverJpeg + static_cast<int>(found - kExtensions) : 0;
}

// Covers of all formats are kept by the rules `complete`, and known by their names by content when others hold.
bool IsKeptFormat(int format, const struct stat &status) {
    return format == kCoverJpeg || format == kCoverPng ||
           (format != 0 && (RuleSetActive() == RuleSet::complete || status.st_nlink > 1));
}

// A folder's path taken apart; false unless it has the form that GetCoverFolder gives it.
struct CoverFolderParts {
    std::string base;
    std::string group;
    std::string hash;
};

bool SplitCoverFolder(std::string_view folder, CoverFolderParts *parts) {
    constexpr size_t kTail = 1 + kCoverGroupDigits + 1 + kHashDigits;
    if (!folder.starts_with('/') || folder.size() < kTail)
        return false;
    const std::string_view tail = folder.substr(folder.size() - kTail);
    const std::string_view group = tail.substr(1, kCoverGroupDigits);
    const std::string_view hash = tail.substr(1 + kCoverGroupDigits + 1);
    const bool digits_only = hash.find_first_not_of("0123456789abcdef") == std::string_view::npos;
    if (tail[0] != '/' || tail[1 + kCoverGroupDigits] != '/' || !digits_only || !hash.starts_with(group))
        return false;
    const std::string_view base = folder.substr(0, folder.size() - kTail);
    *parts = {std::string(base.empty() ? "/" : base), std::string(group), std::string(hash)};
    return true;
}

DirHandle OpenFolder(int parent, const std::string &name) {
    const int fd = openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
    DirHandle folder(fd < 0 ? nullptr : fdopendir(fd));
    if (!folder && fd >= 0)
        close(fd);
    return folder;
}

void RemoveCovers(int base, DIR *folder, const char *kept) {
    const std::string_view keep = kept != nullptr ? kept : "";
    while (const dirent *entry = readdir(folder)) {
        const std::string_view name = entry->d_name;
        const int format = FormatOf(name);
        struct stat status;
        if (name == keep || (format == 0 && name != kCoverNew) ||
            fstatat(dirfd(folder), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
            (name != kCoverNew && !IsKeptFormat(format, status)))
            continue;
        if (status.st_nlink > 1)
            CoverPictureLeave(base, dirfd(folder), entry->d_name);
        unlinkat(dirfd(folder), entry->d_name, 0);
    }
}

} // namespace

void VELUIndexCoverDirSet(const char *folder) {
    OwnCoverDir() = folder != nullptr ? folder : "";
}

int VELUIndexCoverDirGet(char *out, size_t size) {
    if (out == nullptr || size == 0)
        return -1;
    *out = '\0';
    return CopyPath(CoverDir(), out, size) != 0 ? 0 : -1;
}

int GetCoverFolder(const char *media_path, char *out, size_t size) {
    if (out == nullptr || size == 0)
        return 0;
    *out = '\0';
    return CopyPath(CoverFolder(media_path), out, size);
}

// One call syncs the file system, with whatever others have written there lately; a call for each cover would
// wait for the disk each time.
bool CoversSync() {
    if (!run_state.covers_placed)
        return true;
    const FdHandle folder(open(CoverDir().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder && errno == ENOENT) // somebody has taken all covers away
        return true;
    if (!folder || syncfs(folder.get()) != 0) {
        run_state.covers_failed = SecondNow();
        return false;
    }
    run_state.covers_placed = false;
    return true;
}

int GetCoverPath(const char *media_path, char *out, size_t size, int picture_type, int cover_index,
                 int format) {
    if (out == nullptr || size == 0)
        return 0;
    *out = '\0';
    CoverPlace place;
    if ((format != kCoverJpeg && format != kCoverPng) ||
        !CoverPlaceGet(media_path, picture_type, cover_index, format, &place) || place.path.size() >= size ||
        !CoverPlaceMake(&place))
        return 0;
    return CopyPath(place.path, out, size);
}

bool CoverPlaceGet(const char *media_path, int picture_type, int cover_index, int format, CoverPlace *place) {
    const char *extension = ExtensionOf(format);
    if (extension == nullptr || picture_type < 0 || picture_type > kLastPictureType ||
        cover_index < kFirstCoverIndex)
        return false;
    place->covers = CoverDir();
    place->folder = FolderIn(place->covers, media_path);
    if (place->folder.empty())
        return false;
    place->path =
        place->folder + '/' + std::to_string(picture_type) + '_' + std::to_string(cover_index) + extension;
    return true;
}

bool CoverDirMake(const std::string &covers) {
    const UmaskCleared cleared;
    return MakeFolders(covers) != Made::no;
}

bool CoverPlaceMake(CoverPlace *place) {
    const UmaskCleared cleared;
    const Made made = MakeFolders(place->folder);
    if (made == Made::no)
        return false;
    run_state.covers_placed = true;
    place->is_new = made == Made::is_new;
    return true;
}

void CleanOldCover(const char *folder) {
    CoverFolderClean(folder, nullptr);
}

// The folders below the cover folder are opened one by one and never through a link, which might lead into a
// share. What is no cover stays, and then its folder stays too.
void CoverFolderClean(const char *folder, const char *kept) {
    CoverFolderParts parts;
    if (folder == nullptr || !SplitCoverFolder(folder, &parts))
        return;
    // Most media have no covers.
    struct stat status;
    if (lstat(folder, &status) != 0 && errno == ENOENT)
        return;
    const FdHandle base(open(parts.base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const DirHandle group = OpenFolder(base.get(), parts.group);
    if (!group)
        return;
    const DirHandle covers = OpenFolder(dirfd(group.get()), parts.hash);
    if (!covers)
        return;
    RemoveCovers(base.get(), covers.get(), kept);
    if (unlinkat(dirfd(group.get()), parts.hash.c_str(), AT_REMOVEDIR) == 0)
        unlinkat(base.get(), parts.group.c_str(), AT_REMOVEDIR);
}

void CoversRemove(const std::string &media_path) {
    CleanOldCover(CoverFolder(media_path.c_str()).c_str());
}

bool CoversMove(const char *new_media_path, const char *old_media_path) {
    const std::string from = CoverFolder(old_media_path);
    const std::string to = CoverFolder(new_media_path);
    struct stat status;
    // A request that is done again finds them moved.
    if (from.empty() || to.empty() || lstat(from.c_str(), &status) != 0)
        return true;
    CleanOldCover(to.c_str());
    const UmaskCleared cleared;
    if (MakeFolders(to.substr(0, to.rfind('/'))) == Made::no || rename(from.c_str(), to.c_str()) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to move the covers of %s. (%s)", kLogName, __LINE__, old_media_path,
               strerror(errno));
        return false;
    }
    rmdir(from.substr(0, from.rfind('/')).c_str());
    run_state.covers_placed = true;
    return true;
}
