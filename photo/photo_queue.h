// SPDX-License-Identifier: GPL-2.0-or-later
//
// Hands pictures and videos to the daemons that make thumbnails and Flash copies of them: a line in their
// spool file, and a signal.
#pragma once

// What PhotoConvertQueueAdd is asked for, as a bit mask.
enum ConvertRequest : int { kConvertThumbnail = 1, kConvertFlv = 2 };

// Appends a line to a queue file unless it is there already. Waits for a file that may not be written yet (up
// to 16 seconds). Returns 0 when the line is in the file, else -1.
int WriteThumbQueue(const char *line, const char *queue_file);

// Queues what the path (a directory or a file) is eligible for and wakes the daemon that reads the queue. A
// daemon that does not run gets nothing.
void PhotoConvertQueueAdd(const char *path, int request);

// Waits between two attempts of the writer. It is sleep(); tests put a function of their own here.
extern unsigned (*photo_queue_pause)(unsigned seconds);
