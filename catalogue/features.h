// SPDX-License-Identifier: GPL-2.0-or-later
//
// The two feature switches of the appliance. They are read once, at start-up, and hold for the life of the
// process: switching a feature on or off restarts the daemon.
#pragma once

extern int supportphoto;    // 1: the photo library is present
extern int supportcinehall; // 1: the video application is present

// Sets each switch to 1 when the key of its name in /etc.defaults/veluinfo.conf is "yes", else to 0.
void FeatureSwitchesRead();
