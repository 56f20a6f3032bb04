// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a path alone says about a file: the share it lies in, whether it is in a recycle bin.
#pragma once

// 1 when the path is the photo share or lies in it: the volume in front ("/volume1") is taken to be eight
// characters long, the share's name is compared without case.
int IsPhotoPath(const char *path);

// 1 when the path is the recycle bin of a share (third level: volume, share, "#recycle") or lies in it. A
// directory of that name anywhere else is an ordinary one.
int IsRecyclePath(const char *path);
