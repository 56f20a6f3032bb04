// SPDX-License-Identifier: GPL-2.0-or-later
//
// What veluctl check looks for: where the catalogue, the shares and the cover pictures disagree.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

#include "daemon/queue_line.h"
#include "tools/veluctl/catalogue_reader.h"

// One disagreement. `line` is the request that mends it, `folder` the orphaned covers to remove; mostly one
// of them.
struct Finding {
    const char *problem;
    std::string path;
    std::string line;
    std::string folder;
};

inline constexpr char kRowWithoutFile[] = "row without file";
inline constexpr char kFileWithoutRow[] = "file without row";
inline constexpr char kUnreadable[] = "unreadable";
inline constexpr char kNoMetadata[] = "no metadata";
inline constexpr char kDamaged[] = "damaged";
inline constexpr char kStaleCover[] = "stale cover";
inline constexpr char kStateWithoutRow[] = "state without row";
inline constexpr char kRowWithoutState[] = "row without state";
inline constexpr char kFactWithoutFile[] = "facts without file";
inline constexpr char kShareAway[] = "share is away";

// A row as far as it matters here. A path may have one in each catalogue.
struct CheckedRow {
    std::string path;
    bool media = false;     // in music, video, photo or playlist
    bool directory = false; // in directory
    bool library = false;   // in photo_image
    bool cover = false;     // says that it has a cover
    bool read = false;      // its reader found something
    bool damaged = false;   // its reader said that the file is
    bool seen = false;      // the walk has met its file
};

// All rows that have a path, in its order, each path once. False, with the reason in the reader, when the
// media catalogue cannot be read; without a photo library there is no photo catalogue.
[[nodiscard]] bool CheckedRowsLoad(CatalogueReader *reader, std::vector<CheckedRow> *rows);

// True when there is a row below a path (`itself`: or at it).
[[nodiscard]] bool CheckedRowsKnow(const std::vector<CheckedRow> &rows, const std::string &path, bool itself);

CheckedRow *CheckedRowFind(std::vector<CheckedRow> *rows, std::string_view path);

// The request of a letter and a path; empty when a line cannot carry the path.
std::string RepairLine(QueueCommand command, const std::string &path);

// Everything that is wrong. False, with the reason in the reader, when it cannot be told.
[[nodiscard]] bool CatalogueCheck(CatalogueReader *reader, std::vector<Finding> *findings);

// True when there is a request or an order that mends it.
bool IsMendable(const Finding &finding);

// False, with the reason in the reader, when the file of a catalogue is damaged.
[[nodiscard]] bool DatabasesCheck(CatalogueReader *reader);

// Marks the rows whose files their readers could not read. False, with the reason in the reader, when that cannot be told.
[[nodiscard]] bool DamageMark(CatalogueReader *reader, std::vector<CheckedRow> *rows);

// Each adds what it finds. The walk comes first: it marks the rows whose files are there.
void SharesCheck(std::vector<CheckedRow> *rows, std::vector<Finding> *findings);
void RowsCheck(const std::vector<CheckedRow> &rows, std::vector<Finding> *findings);
void CoversCheck(const std::vector<CheckedRow> &rows, std::vector<Finding> *findings);

// The same of what the rules `complete` keep beside the rows. False when the catalogue cannot be read.
[[nodiscard]] bool FilesCheck(CatalogueReader *reader, std::vector<Finding> *findings);
