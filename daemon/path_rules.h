// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a path alone says about a file by the rules that hold: the share it lies in, whether it is in a recycle bin,
// whether the photo library may have it.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string_view>

// The names of a share's path: its volume and its own.
inline constexpr int kShareParts = 2;

// Returns 1 when the path is the photo share or lies in it. By the rules `complete` that is what its link leads to, and where there is
// no link, and by the others, a fixed place: the volume in front ("/volume1") is taken to be eight characters long, the share's
// name is compared without case.
int IsPhotoPath(const char *path);

// Returns the bytes of the photo share's path, which has no slash at its end: at its fixed place 14, as for "/volume1/photo".
size_t PhotoSharePathLength();

// Returns what follows the share's path and its slash, within a path; empty for a shorter one, and for one that lies elsewhere
// where that can be told.
const char *BelowPhotoShare(const char *path);

// True for the path of the share itself. At its fixed place only its length is looked at.
[[nodiscard]] bool IsPhotoShare(const char *path);

// True for a path at, under or above which photo paths lie.
[[nodiscard]] bool MayHoldPhotoPaths(std::string_view path);

// Has the share's link looked at anew when it is asked about next. To be called before a request, and by programs that stay
// whenever they look at their shares.
void PhotoShareForget();

// Returns 1 when the path is the recycle bin of a share (third level: volume, share, "#recycle") or lies in
// it. A directory of that name anywhere else is an ordinary one.
int IsRecyclePath(const char *path);

// True for a path with "@eaDir" anywhere in it: pictures there belong to other files.
[[nodiscard]] bool IsAttributePath(const char *path);

// True for a file that the photo library may have by its path: none that is hidden or in an attribute directory.
[[nodiscard]] bool IsLibraryPath(const char *path);

// True for the extension of a picture that the photo library takes, without its dot; null: none. And for a path that has one.
[[nodiscard]] bool IsPictureExtension(const char *extension);
[[nodiscard]] bool HasPictureExtension(const char *path);

// True for the size in bytes of a picture that the photo library takes.
[[nodiscard]] bool IsLibrarySize(int64_t size);
