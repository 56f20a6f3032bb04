// SPDX-License-Identifier: GPL-2.0-or-later
//
// libveluindex: the media and photo catalogues, and what programs of the appliance agree on about media
// files: extension classes, times as text, picture sizes, the places of covers. docs/catalogue.md describes
// the tables.
//
// Store operations return 0 on success and -1 on failure unless said otherwise; a store failure is logged
// once, here, with the database's words, and callers add their own line. A missing or empty argument fails.
// Records belong to the caller and are never changed except by MediaInfoValid.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <iterator>

#include "platform/rule_set.h"
#include "platform/veludb.h"

struct MediaInfo;
struct PhotoRecord;

enum class Catalogue : int { media = 0, photo = 1 };
inline constexpr size_t kCatalogues = 2;

// Returns what log lines call a catalogue.
inline constexpr const char *CatalogueName(Catalogue catalogue) {
    return catalogue == Catalogue::media ? "media catalogue" : "photo catalogue";
}

// Record kinds: the tables music, video, photo and playlist. kMediaTree stands for all of them in a delete.
enum MediaKind : int {
    kMediaMusic = 0,
    kMediaVideo = 1,
    kMediaPhoto = 2,
    kMediaPlaylist = 3,
    kMediaTree = 5
};
inline constexpr const char *kMediaTables[] = {"music", "video", "photo", "playlist"};
static_assert(std::size(kMediaTables) == kMediaPlaylist + 1);
inline constexpr char kDirectoryTable[] = "directory"; // beside them, with a number of its own nowhere
inline constexpr char kFileStateTable[] =
    "file_state"; // what is known of their files (platform/index/file_state.h)

// The tables of the photo catalogue.
enum PhotoTable : int {
    kPhotoTableImage = 0,
    kPhotoTableVideoDesc = 1,
    kPhotoTableVideoComment = 2,
    kPhotoTableShare = 3,
    kPhotoTableAccessRight = 4
};
inline constexpr const char *kPhotoTables[] = {"photo_image", "video_desc", "video_comment", "photo_share",
                                               "photo_access_right"};
static_assert(std::size(kPhotoTables) == kPhotoTableAccessRight + 1);

// What is to be done with an entry or a tree. kIndexReindex takes whole shares anew, kIndexUpdate is an add pass
// over the photo library.
enum IndexMode : int { kIndexAdd = 1, kIndexRemove = 2, kIndexReindex = 3, kIndexUpdate = 5 };

// --- Runs --------------------------------------------------------------------------------------------------
// Between RunBegin and RunEnd the store keeps its connections open and writes in bounded batches: a batch is
// committed after a few hundred rows or one second, whichever is first. Outside a run each operation opens,
// commits and closes by itself. A batch that cannot be committed is retried row by row, so that a bad row
// costs only itself. The age of a batch is looked at by writes: before anything that may take long without one,
// VELUIndexRunPause or VELUIndexRunFlush lets other writers at the database.

void VELUIndexRunBegin();

// Says by which rules the run works, before anything else is asked of the store. By `complete` the media catalogue gets its
// tables about files when it is first opened in the run (platform/index/file_state.h), and fails like one that is away when
// it cannot have them; where they are, the catalogue keeps the rule set. Without this it follows none.
void VELUIndexRunRules(RuleSet rules);

// Commits batches that are older than a second. To be called before each file; costs a look at the clock.
void VELUIndexRunPause();

// Commits what the run has written so far. To be called before any other program is started or signalled.
// This and VELUIndexRunEnd return -1 when the run could not store something because its store was away: when a
// statement failed for another reason than its own row's values (unreachable, locked, full, read-only, damaged, without
// rights, without tables). A row that fails by its own fault is logged by its path instead. The end of the run returns it also where a
// request is kept by VELUIndexRunRequestKeep.
int VELUIndexRunFlush();

// Commits, brings the rows safely to disk and closes the connections. To be called before the request that
// asked for the work is forgotten.
int VELUIndexRunEnd();

// What becomes of the requests of a run, each of which has a number from 1 on. From now on what the run does belongs to
// request `number`; 0: to none.
void VELUIndexRunRequest(uint64_t number);

// Has the request count as one of which a statement failed so, at the end of the run too: a cover that it asked for had no room.
void VELUIndexRunRequestKeep();

// True when a statement of the request failed because its store was away, perhaps long after the request. The answer is
// there until the next run begins, and final when the run has ended.
int BlVELUIndexRunRequestFailed(uint64_t number);

// What was written to the catalogue by all requests up to this number may be lost, although nothing of it failed: a
// connection has broken, or the disk has refused. 0: by none. Likewise final at the end.
uint64_t VELUIndexRunDoubtful(Catalogue catalogue);

// True when the catalogue was away a moment ago, and is not asked until that moment is over.
int BlVELUIndexRunAway(Catalogue catalogue);

// Says that the catalogue was away before this run, and that this has been told. As long as it is, the store has one line about
// it where it `tells`, else none.
void VELUIndexRunKnownAway(Catalogue catalogue, bool tells);

// True when a catalogue is away and has cost the run so many rows that to go on is in vain (kRowsLostMax; one, by the rules
// `complete` and where it is known to be away). Whoever goes through many files for the present request breaks off, which is
// a failure of that request.
int BlVELUIndexRunGivesUp();

// How a catalogue fared in the run that is over.
enum class RunFared {
    untold, // it was not asked, or what it took may be lost
    well,
    away, // something could not be stored because of that
};
RunFared VELUIndexRunFared(Catalogue catalogue);

// Makes sure that the catalogue takes writes at this moment, as far as that can be seen without one. Returns 0, or -1,
// which is a failure of the present request.
int VELUIndexRunReach(Catalogue catalogue);

// Returns how many rows of media files the run has removed, also when it is over. A batch that was written again may count twice.
uint64_t VELUIndexRunRemoved();

// A number that grows with every statement of the catalogue that fails, for whatever reason, reads included. Whoever
// depends on the success of several compares it before and after; those in the open batch count once that is committed.
uint64_t VELUIndexRunFailures(Catalogue catalogue);

// A number that grows when something that was reported as written is lost, or may be. What the open batch holds counts
// once that is committed: whoever is to remove what was not written anew commits, and compares before and after.
uint64_t VELUIndexRunLosses(Catalogue catalogue);

// Writes of one operation that come to the disk together: when the store fails in between, or this process ends, none of them
// does, so that its request, done again, finds all as it was. A statement that fails by its own fault costs itself only.
// Reads see what was written. The operation goes on to write only as long as all goes well, and no more than a batch holds.
struct VELUIndexTogether {
    explicit VELUIndexTogether(Catalogue catalogue);
    VELUIndexTogether(const VELUIndexTogether &) = delete;
    VELUIndexTogether &operator=(const VELUIndexTogether &) = delete;
    ~VELUIndexTogether();

    // Commits. `result` when all is written, else -1.
    [[nodiscard]] int Finish(int result);

    Catalogue catalogue;
    bool own; // a run around it
};

// --- Which rows there are ----------------------------------------------------------------------------------

// 1 when the catalogue has a row (of a file or, the media catalogue, a directory) below `path`, and with `itself` also
// one at it; 0 when it has none, -1 when that cannot be told.
int VELUIndexKnows(Catalogue catalogue, const char *path, bool itself);

// --- Media catalogue ---------------------------------------------------------------------------------------

// Makes the text of a record valid UTF-8: text that is not UTF-8 is taken as ISO-8859-1 and converted, a character cut in
// half goes at the end of a full field and behind a whole one of several bytes, control characters become blanks, blanks
// at the ends go. Fields flagged as UTF-16 stay as they are. A duration that is NaN, infinite or negative becomes 0, and so
// do negative track, disc and year numbers. Returns 0, or -1 without a record.
int MediaInfoValid(MediaInfo *record);

// Inserts or replaces the row of record->path in the table of `kind` (0 to 3). The row's text is made valid
// as by MediaInfoValid, and UTF-16 fields are converted; the path is stored byte by byte.
int MediaInfoDBSave(int kind, const MediaInfo *record);

// Removes the row of `path` from the table of `kind` (0 to 3), or, with kMediaTree, from all tables and
// `directory` every row whose path is `path` or lies under it. Covers of removed rows go with them.
int MediaInfoDBDelete(int kind, const char *path);

// Records a directory with its title (last component) and times.
int MediaInfoDBDirSave(const char *path);

// A sweep brings the media rows of a tree in step with a walk that saves what it finds, one directory after the other,
// those in it before itself. Between SweepBegin and SweepEnd the store remembers what is saved in the directories that the
// walk is in, by hashes of eight bytes each.
void MediaSweepBegin();
void MediaSweepEnd();

// How much is remembered: more when something was saved in between. What it is when the walk enters a directory is what
// MediaSweepLeave asks for.
size_t MediaSweepCount();

// Rows of the innermost directory that stay although they are not saved: those at and below `path`.
void MediaSweepKeep(const char *path);

// `path` is a directory in the innermost one: its own row and those below it are no business of that.
void MediaSweepDirectory(const char *path);

// The walk leaves `directory`. When it was read to its `end`, every row in it goes that was not saved and does not stay,
// with its cover. Returns 0, or -1 when rows could not be read or removed.
int MediaSweepLeave(size_t entered, const char *directory, bool end);

// Opens rows of a table of the media catalogue (0 to 3 of MediaKind). `columns` is a column list or "*";
// `condition` (without WHERE), `order` (without ORDER BY) may be null; `limit` 0 means all. Null on failure; to
// be freed with MediaInfoDBClose.
struct VELUIndexRows;
VELUIndexRows *MediaInfoDBOpen(int table, const char *columns, const char *condition, const char *order,
                               int limit);
void MediaInfoDBClose(VELUIndexRows *rows);

// Compacts a catalogue. Negative on failure.
int MediaDBVacuum();
int PhotoDBVacuum();

// Empties one table of either catalogue. Any other name is refused with a log line, and -1. Of kFileStateTable, where it is
// there, stamps and troubles are forgotten, so that every file is read again; its rows stay.
int VELUTruncateTable(const char *name);

// Set and tell the dirty markers of the tables music and video. Every save, delete and truncate of the table
// that succeeds sets its marker.
void VELUIndexMusicTableDirtySet(int flag);
void VELUIndexVideoTableDirtySet(int flag);
int BlVELUIndexIsMusicTableDirty();
int BlVELUIndexIsVideoTableDirty();

// --- Photo catalogue ---------------------------------------------------------------------------------------

// Texts of a picture that users type; a bit each.
enum PhotoTexts : unsigned { kPhotoTitle = 1, kPhotoDescription = 2 };

// Inserts or updates the row of record->path in photo_image and sets its `updated` mark. `mode` is kIndexAdd or
// kIndexUpdate. A row that is there keeps its title and its description, but for those in `handed_over` (of
// PhotoTexts): they become the record's.
int PhotoInfoDBSaveHandedOver(const PhotoRecord *record, int mode, unsigned handed_over);

// The same for a record of which nobody knows what was handed over: a title other than that by default, which is the
// last component of the path less its extension, and a description that is not empty.
int PhotoInfoDBSave(const PhotoRecord *record, int mode);

// Removes the row of one picture.
int PhotoInfoDBDelete(const char *path);

// Removes every row of photo_image, video_desc and video_comment whose path is `path` or lies under it.
int PhotoInfoDBDirDelete(const char *path);

// Opens rows of a table of the photo catalogue (a number of PhotoTable). Arguments and result as for
// MediaInfoDBOpen; freed with PhotoInfoDBClose.
VELUIndexRows *PhotoInfoDBOpen(int table, const char *columns, const char *condition, const char *order,
                               int limit);
void PhotoInfoDBClose(VELUIndexRows *rows);

// Return the rows behind MediaInfoDBOpen and PhotoInfoDBOpen, and the connection that they came from (open as
// long as the rows are). Both belong to `rows`.
const VELUDBResult *VELUIndexRowsResult(const VELUIndexRows *rows);
VELUDB *VELUIndexRowsConnection(const VELUIndexRows *rows);

// Runs one statement of the caller's own on that connection. Returns the number of rows changed, or -1.
int VELUIndexRowsExecute(const VELUIndexRows *rows, const char *sql);

// To be called when a statement of the caller's own on that connection has failed, so that its request hears of it.
void VELUIndexRowsFailed(const VELUIndexRows *rows);

// A list of paths; each node and its path belong to the list.
struct PhotoPathList {
    char *path;
    PhotoPathList *next;
};

// Returns the column "path" of all rows as a list, in row order; null when there are none.
PhotoPathList *PhotoPathDBGet(const VELUIndexRows *rows);
void FreePhotoPathList(PhotoPathList *list);

// Sees to it that no other program gives an album the id that this one is about to give, before the writes that belong
// together end. Returns 1, or 0 when an album has it; -1 on failure.
int VELUPhotoShareIdReserve(int id);

// Runs one statement on the photo catalogue. The number of rows affected, or -1.
int PhotoDBExec(const char *sql);

// Renames the rows of the paths in `list` that are `old_path` or lie under it: that part becomes `new_path`,
// and `name` and `album` follow the path, as does a title that is the one by default. A row that already has the new path
// gives way. -1 when a row could not be renamed; the others are.
int VELUUpdatePhotoPath(const PhotoPathList *list, const char *new_path, const char *old_path);

// Clears the `updated` mark of every row of photo_image; sets it at and below a path, for what cannot be looked at;
// removes the rows that are still unmarked.
int VELUPhotoInitAllRows();
int VELUPhotoKeepRows(const char *path);
int VELUPhotoDeleteNoUpdateRows();

// Makes or refreshes the row of a video in video_desc and sets its `updated` mark.
int VELUIndexPhotoUpdateVideoStatus(const char *path);

// Moves the rows of video_desc and video_comment at and below a path; descriptions at the new paths give way. Neither path may lie in
// the other. Returns 0 or -1.
int VELUIndexPhotoVideosMove(const char *new_path, const char *old_path);

// --- Programs beside the daemon ----------------------------------------------------------------------------

// Room for a URI: a path fits, and what a server's administrator types.
inline constexpr size_t kCatalogueUriSize = 4096;

// Gets the URI of the database that the configuration names for a catalogue; it may hold a password. Returns
// 0, or -1 when it does not fit.
int VELUIndexUriGet(Catalogue catalogue, char *out, size_t size);

// Opens a catalogue for reading: nothing is made, brought up to date or changed, and no right to write is
// needed. Null, with one log line, when it cannot be reached or nobody has made it yet.
VELUDB *VELUIndexReaderOpen(Catalogue catalogue);

// Gets the folder that holds the covers of all media files. Returns 0, or -1 when what is configured is no
// absolute path or does not fit.
int VELUIndexCoverDirGet(char *out, size_t size);

// Removes what a run that was broken off has left of covers whose rows were not committed, by the rules `complete`. To be called
// between runs, when no request waits that would bring such a row.
void VELUIndexCoversSettle();

// Lets this process keep covers in `folder` (an absolute path) instead of the configured one from now on: a
// program that only looks at files must not change the covers of others. Null takes the configuration again.
void VELUIndexCoverDirSet(const char *folder);

// --- Files -------------------------------------------------------------------------------------------------

// Returns the text after the last "." of the path, within it; null when there is no "." or nothing follows
// it.
const char *VELUIndexExtGet(const char *path);

// Return 1 for an extension of the class, else 0; `extension` comes without its dot, case does not matter,
// null is none. The ...File forms look at a path's extension.
int BlVELUIndexIsJpeg(const char *extension);
int BlVELUIndexIsPhotoOnWeb(const char *extension);
int BlVELUIndexIsVideoOnWeb(const char *extension);
int BlVELUIndexIsVideo(const char *extension);
int BlVELUIndexIsPhotoOnWebFile(const char *path);
int BlVELUIndexIsVideoOnWebFile(const char *path);

// Writes the times of the last status change and the last write of a file as local time, "%Y-%m-%d %H:%M:%S",
// into buffers of the given sizes. Returns 0, or -1 when the file cannot be looked at (both are then empty).
int VELUIndexCTimeMTimeGet(const char *path, char *ctime_text, size_t ctime_size, char *mtime_text,
                           size_t mtime_size);

// Gets the size in pixels of a JPEG, PNG, GIF, BMP, TIFF, PSD or ICO picture, by its content, from headers
// alone. Returns 0, or -1 (nothing written) when the file is none of these or its header is damaged.
int VELUIndexImgResGet(const char *path, int *width, int *height);

// --- Covers ------------------------------------------------------------------------------------------------

enum CoverFormat : int { kCoverJpeg = 1, kCoverPng = 2 };

// Gets the place where the cover picture of a media file is kept: the picture type (0 to 20, id3.org 2.3.0
// section 4.15), an index from 1 and a format name it. The folder is made when missing. Returns 1, or 0
// (`out` is then empty) when an argument is bad, the path does not fit or the folder cannot be made.
int GetCoverPath(const char *media_path, char *out, size_t size, int picture_type, int cover_index,
                 int format);

// Gets the folder that holds (or would hold) the covers of a media file; nothing is made. Returns 1 or 0.
int GetCoverFolder(const char *media_path, char *out, size_t size);

// Removes the cover pictures of one such folder, and the folder when that leaves it empty. Any other folder
// is left alone.
void CleanOldCover(const char *folder);
