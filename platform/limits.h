// SPDX-License-Identifier: GPL-2.0-or-later
//
// Every bound on what one file, directory or request may cost; docs/limits.md lists them for operators. Files come
// from anybody who can write to a share, so that each length, count and size that a file claims meets one of these
// before it costs memory, time or disk space.
#pragma once

#include <stddef.h>
#include <stdint.h>

// --- Byte readers ------------------------------------------------------------------------------------------

// What a byte reader holds of its file at a time. Headers and tags of an ordinary file take one or two such
// reads, and a context fits the stack of a small machine.
inline constexpr size_t kReaderWindow = 16384;

// How far into a file positions go. File systems let an empty file claim as many bytes as 63 bits count; half of
// that leaves room to add a frame's length, or any other that a file claims, to a position.
inline constexpr int64_t kReaderFileMax = INT64_MAX / 2;

// --- MP3 ---------------------------------------------------------------------------------------------------

// A text frame longer than this ends the tag: the fields it could fill hold 1024 bytes with their terminator.
inline constexpr uint32_t kId3TextFrameMax = 1023;

// The longest MIME type of a picture frame that is looked at; the known ones are half as long.
inline constexpr uint32_t kId3MimeTypeMax = 31;

// A picture frame above this is no cover: scans at print resolution stay below 64 MiB, and a tag must not be
// a way to fill the system volume.
inline constexpr int64_t kPictureFrameMax = int64_t{64} * 1024 * 1024;

// Picture frames of one tag that are tried: there are 21 types of pictures, and each frame that is no good costs
// a line in the log, which is longer than the frame has to be. Those behind are stepped over.
inline constexpr int kId3PicturesMax = 256;

// A picture frame may claim this many bytes more than the file has (a tag whose end was cut off); they are
// stored as filler. One that claims more is not a picture.
inline constexpr int64_t kPictureFillMax = kReaderWindow;

// Play times from here on (12 hours, in seconds) come from damaged headers.
inline constexpr double kMp3DurationMax = 43200.0;

// --- AIFF --------------------------------------------------------------------------------------------------

// Chunk headers looked at in search of COMM, one small read each: ordinary files hold under twenty chunks, and
// a file of nothing but empty ones must not keep the daemon busy for hours.
inline constexpr int kAiffChunksMax = 16384;

// --- FLAC --------------------------------------------------------------------------------------------------

// Metadata blocks (and an ID3v2 tag before them) of one file: ordinary files hold under twenty, and libFLAC reads
// each one twice.
inline constexpr int kFlacBlocksMax = 1024;

// Bytes of all of them together: room for a dozen pictures of the largest size that the format can hold.
inline constexpr uint64_t kFlacMetadataMax = uint64_t{256} * 1024 * 1024;

// --- AAC ---------------------------------------------------------------------------------------------------

// How long the decoder may take over one file, in milliseconds. It reads the whole file: a gigabyte from a slow
// disk takes one minute.
inline constexpr int kDecoderTimeMax = 120'000;

// Room for the one line that it prints, terminator included; ordinary ones have about a hundred characters.
inline constexpr size_t kDecoderLineSize = 1024;

// --- MP4 ---------------------------------------------------------------------------------------------------

// What the reader holds of its file at a time: a page, which a read brings in anyway. Between the boxes that
// it looks at lie gigabytes that it steps over, so that a larger window would mostly bring in what nobody
// needs.
inline constexpr size_t kMp4Window = 4096;

// Boxes that are looked at in one file. A day of television in fragments of one second has 170 000 at the top
// level; a file of nothing but box headers costs at most a second.
inline constexpr uint32_t kMp4BoxesMax = 1U << 18;

// Tracks behind the first thousand are not looked at: concert recordings have tens, and each takes memory.
inline constexpr size_t kMp4TracksMax = 1000;

// Entries of a sample size table that are added up: four days of AAC at 48 kHz. Longer tables, which a sparse
// file has for nothing, give no bit rate.
inline constexpr uint32_t kMp4SamplesMax = 1U << 24;

// Bytes of an item's text that are read: four times what the catalogue's fields hold.
inline constexpr size_t kMp4TextMax = 1024;

// A picture above this is no cover, for the same reason as in an ID3 tag.
inline constexpr uint64_t kMp4PictureMax = kPictureFrameMax;

// What is looked at of the descriptor of an MPEG-4 track. None that comes before the bit rate is longer, even with
// a URL of 255 bytes.
inline constexpr uint64_t kMp4DescriptorPrefix = 512;

// --- Pictures ----------------------------------------------------------------------------------------------

// A picture for the photo library is smaller than this: decoding larger ones is beyond a small machine.
inline constexpr int64_t kPhotoSizeEnd = int64_t{20} * 1024 * 1024;

// The same under the rules `complete`, whose readers take no more of a picture than what says something about it: raw photos are
// TIFF files mostly, whose offsets reach no further.
inline constexpr int64_t kReadPictureSizeEnd = int64_t{4} * 1024 * 1024 * 1024;

// What the readers of picture sizes hold of a file at a time. Most pictures tell their size within the first
// page, and a page is what a read brings in anyway.
inline constexpr size_t kImageWindow = 4096;

// Segments of a JPEG before its frame header: this many full ones are 256 MiB of metadata. Colour profiles stop
// at 255 segments, and XMP of tens of megabytes takes some hundreds.
inline constexpr int kJpegSegmentsMax = 4096;

// Bytes between those segments, all together. Writers pad by a few, or leave a damaged segment's rest: a
// segment's worth.
inline constexpr int kJpegStrayBytesMax = 65536;

// Entries of a TIFF directory. It holds some tens of them, sorted by tag, and the two that are looked for have
// low tags.
inline constexpr uint64_t kTiffEntriesMax = 4096;

// --- EXIF --------------------------------------------------------------------------------------------------

// What libexif may hold of one picture. EXIF data are at most 64 KiB and their directories cost a few times
// that; entries that all claim the same bytes took some 8 MiB.
inline constexpr size_t kExifMemoryMax = size_t{2} * 1024 * 1024;

// --- MPEG video --------------------------------------------------------------------------------------------

// Start codes are looked for at offsets up to this one: the first packs of a stream hold all that is wanted,
// and a file costs a few reads however large it is.
inline constexpr int64_t kMpegPrefixOffsetMax = 99'999;

// --- Media probe -------------------------------------------------------------------------------------------

// The probe runs in a child process, which is looked at ten times a second: it has about 90 seconds. The count is
// tested before it is raised, so that the look after the 901st is the last. Signals to the daemon make looks come
// early; the 90 seconds pass all the same.
inline constexpr unsigned kProbeLooksMax = 900;

// The share of the machine's memory that the child may take. The daemon and the databases beside it need the
// other half.
inline constexpr double kProbeMemoryShare = 0.5;

// Seconds of processor time that the kernel grants the child, for the case that the daemon looks no more: above
// the 90 seconds of any kind.
inline constexpr unsigned kProbeCpuSecondsMax = 120;

// Descriptors of the child: the standard streams, the system log, the media file, and some to spare.
inline constexpr unsigned kProbeOpenFilesMax = 16;

// Its address space holds more than what is resident: the libraries' code, stacks and guard pages, and the heap's
// reserves. With this much above the machine's memory, the share above is always reached first.
inline constexpr uint64_t kProbeAddressReserve = uint64_t{1} << 30;

// --- Readers -----------------------------------------------------------------------------------------------

// The facts of a file (an album's worth of artists, a film's chapters), the bytes of their texts together, and of one.
inline constexpr size_t kReaderFactsMax = 256;
inline constexpr size_t kReaderTextMax = 65536;
inline constexpr size_t kReaderValueMax = 4096;

// Bytes of the reason for which a file could not be read. It is a part of one line of the log.
inline constexpr size_t kReaderReasonMax = 256;

// A picture above this is no cover: scans at print resolution stay below it.
inline constexpr uint32_t kReaderPictureMax = uint32_t{32} << 20;

// A picture up to this comes within its answer and is held in memory as it came, which saves more calls than the bytes cost; many
// covers do.
inline constexpr uint32_t kReaderSmallPictureMax = uint32_t{32} << 10;

// Files that one reader has been handed and has not answered yet, with a place for a larger picture each.
inline constexpr int kReaderSlots = 4;

// Descriptors of one request: the file, and what lies beside it and belongs to it.
inline constexpr size_t kReaderDescriptorsMax = 4;
// --- Readers, as the daemon keeps them ------------------------------------------------------------------------

// Readers in all, unless the machine has fewer processors: beyond four the disk is what is waited for.
inline constexpr int kReadersMax = 4;

// Files that are handed over ahead of their turn, and the bytes of answers, pictures among them, that wait for theirs. With
// fewer, readers would stand still behind one long film.
inline constexpr size_t kReaderAheadFiles = 32;
inline constexpr size_t kReaderAheadBytes = size_t{8} << 20;

// Bytes of answers that wait, up to which a small picture among them is held in the daemon's own memory and not in a file; and of
// small ones that are held to be compared with the next.
inline constexpr size_t kReaderHeldBytes = size_t{128} << 10;

// Files for which a reader that has nothing to do is woken, while nobody waits for one of them: to wake a processor that sleeps takes
// longer than a small file does.
inline constexpr int kReaderWakeFiles = 8;

// Pictures that are kept to tell whether the next file has the same one, and their bytes. The songs of an album come one after
// the other, those of several albums where these lie in one directory; each picture of the same size is read to be compared.
inline constexpr size_t kReaderPicturesMax = 8;
inline constexpr size_t kReaderPicturesBytes = size_t{4} << 20;

// Turns of a walk that wait: the files above, and a few directories between them.
inline constexpr size_t kTurnsMax = 64;

// Milliseconds of processor time and of the clock that a reader may spend on a file. Ordinary files take less than one; a
// disk that wakes up, or a slow network, takes some seconds.
inline constexpr int64_t kReaderProcessorMilliseconds = 10'000;
inline constexpr int64_t kReaderMilliseconds = 90'000;

// Bytes of memory that a reader may hold.
inline constexpr int64_t kReaderResidentMax = int64_t{256} << 20;

// Milliseconds after which a reader that has not answered is looked at, and then again. Hardly any file takes so long, so that
// looking costs nothing.
inline constexpr int64_t kReaderLookMilliseconds = 1000;

// Milliseconds that a reader may take to start. It loads its libraries, from a disk that may have to wake up, and on a machine that
// may be busy with others.
inline constexpr int64_t kReaderStartMilliseconds = 90'000;

// Attempts to start a reader, one after the other, before its kind counts as missing; and those at which somebody else kills
// it, whom nobody wants to wait for without end.
inline constexpr int kReaderStartsMax = 3;
inline constexpr int kReaderKilledStartsMax = 100;

// Files after which a reader is replaced, so that what a library never gives back does not add up.
inline constexpr int kReaderFilesMax = 4096;

// Files that the others are handed while a reader has nothing to do, before it gives way to one of the other kind. To start the
// reader of films again takes the processor time of some three hundred songs.
inline constexpr uint32_t kReaderIdleFiles = 256;

// Readers that may end while they are at a file before it is blamed, because the file before may have been the reason; and
// that somebody else may kill, which an administrator does, or the kernel when memory is short: of a machine that is out of
// memory any file may be the victim, and several times.
inline constexpr int kReaderCrashesMax = 2;
inline constexpr int kReaderKillsMax = 8;

// Milliseconds that killed readers are waited for at the end of a run, and how many may hang in a file system that does not
// answer before no more are started.
inline constexpr int64_t kReaderEndMilliseconds = 5000;
inline constexpr size_t kReaderEndingMax = 8;

// Descriptors of a reader: the standard streams, its socket, the slots and those of one request.
inline constexpr int kReaderOpenFilesMax = 12;

// Its address space: what it may hold and the code of its libraries, which is not all resident.
inline constexpr uint64_t kReaderAddressMax = uint64_t{512} << 20;

// --- Sound, read for complete rows ---------------------------------------------------------------------------

// Bytes of a tag that are read, and of what its compressed frames unpack to: the largest picture and as many texts as
// anybody has written.
inline constexpr size_t kSoundTagMax = size_t{40} << 20;

// Items of a tag that are looked at (frames, comments, ...): ordinary ones have some tens.
inline constexpr size_t kSoundItemsMax = 4096;

// Values of one key that become facts. Operas have that many singers; the other facts of the file need room, too.
inline constexpr size_t kSoundValuesMax = 64;

// Pictures of a tag that are looked at for a cover: there are 21 types. Of those that have to be read for it, less.
inline constexpr size_t kSoundPicturesMax = 64;
inline constexpr int kSoundLargePicturesMax = 4;

// Comments of Ogg, in bytes: from here on their pictures are looked for without TagLib, and as much may be left without these; a
// page has at most 64 KiB of them, of some writers 4.
inline constexpr int64_t kSoundLargeComments = int64_t{64} << 10;
inline constexpr size_t kSoundShownCommentsMax = size_t{1} << 20;
inline constexpr uint32_t kSoundCommentPagesMax = 4096;

// Bytes in which the first frame of MPEG audio is looked for: what stands before it is a tag that nobody knows.
inline constexpr int64_t kSoundJunkMax = int64_t{1} << 20;

// Bytes that are gone through frame by frame where nothing else tells the duration: four hours at 128 kbit/s. What is behind
// counts as being like what was before.
inline constexpr int64_t kSoundWalkMax = int64_t{256} << 20;

// Chunks of a WAV, AIFF or DSDIFF file and of a list in it, and objects of an ASF header; ordinary files hold under twenty.
inline constexpr int kSoundChunksMax = 4096;

// Bytes of one packet of an ASF file, of which some are looked into for a bit rate; encoders write from 1 to 16 KiB.
inline constexpr uint64_t kSoundAsfPacketMax = 65536;

// Boxes of an MP4 file: an hour in fragments of half a second has 65 thousand.
inline constexpr int kSoundBoxesMax = 1 << 17;

// Entries of a table of samples: four days of AAC. Longer ones give the bit rate that the header tells.
inline constexpr uint64_t kSoundSamplesMax = uint64_t{1} << 24;

// What TagLib may read of a file, and how often: a picture of the largest size, in base 64, needs two thirds of the bytes,
// and one piece of them for each kilobyte in which it looks for something.
inline constexpr int64_t kSoundLibraryBytesMax = int64_t{64} << 20;
inline constexpr int kSoundLibraryCallsMax = 65536;

// --- Readers: films ----------------------------------------------------------------------------------------

// Bytes of one film that it may read in all. The index of a day's recording is some 30 MB, the search for the streams'
// parameters takes 5 MB, and a file that makes it look everywhere else ends here.
inline constexpr int64_t kFilmReadMax = int64_t{128} << 20;

// Bytes in which it looks for the streams' parameters, which is its own habit (and ffprobe's).
inline constexpr int64_t kFilmProbeBytes = 5'000'000;

// Streams of a film: broadcasts have tens, and each takes memory.
inline constexpr int kFilmStreamsMax = 256;

// Packets that are read to come to the film's first one, and its bytes that are searched for messages: those stand before
// the picture, which is what takes room.
inline constexpr int kFilmPacketsMax = 64;
inline constexpr int kFilmMessagesMax = 65536;

// --- Directories -------------------------------------------------------------------------------------------

// Levels whose directory stays open while a subdirectory is walked. Below them a directory is closed and later
// opened again at the place reached, so that the depth of a tree costs no descriptors. Real trees are rarely
// deeper, and an open directory is the surer place.
inline constexpr size_t kWalkOpenLevels = 16;

// Bytes that are read of a file which says what is not to be catalogued, its patterns together with those of the directories
// above it, and the bytes of one: a name has 255. People write some tens; each is tried on each name.
inline constexpr size_t kIgnoreFileMax = size_t{64} << 10;
inline constexpr size_t kIgnorePatternsMax = 256;
inline constexpr size_t kIgnorePatternMax = 256;

// How often a walk enters a directory anew that a link below another link has led into before. People link the same
// album from several collections, and it has rows at each place; directories full of links to one another could be
// walked in more orders than there is time. Beyond it each such directory is still entered once.
inline constexpr size_t kWalkEnteredAgainMax = 1000;

// Bytes that are read of each table of mounts. A line is mostly shorter than two hundred, and machines with more than
// some thousand mounts are rare; what is mounted behind that counts as not mounted, and keeps its rows when it is empty.
inline constexpr size_t kMountTableMax = 4 * 1024 * 1024;

// Sub-directories that a level of the photo library's resync holds at first. Few directories have more, and a
// tree of the greatest depth then holds some megabytes of names. A directory is read again for each further
// portion, which is twice as large as the one before, so that any number of names takes few readings.
inline constexpr size_t kResyncFirstPortion = 256;

// --- Queue -------------------------------------------------------------------------------------------------

// Bytes of a queue line, its newline included; a longer one comes in pieces, each a line. It holds the longest
// path and what stands before it.
inline constexpr size_t kQueueLineMax = 4111;

// Attempts to take the queue over. A writer that creates it at this very moment is met by trying again at once.
inline constexpr int kQueueTakeOversMax = 16;

// Requests that could not be stored are tried again after 10, 20, 40 seconds and so on, in milliseconds. The first is
// the main loop's own sleep; a database that is back is noticed within the last.
inline constexpr int64_t kQueueRetryFirst = 10'000;
inline constexpr int64_t kQueueRetryLast = 600'000;

// Days of the daemon's running time after which such a request is given up. A catalogue that cannot be written for a
// week, with somebody at the machine who could mend it, does not come back by itself.
inline constexpr int kQueueKeptDaysMax = 7;
inline constexpr int64_t kQueueKeptMillisecondsMax = int64_t{kQueueKeptDaysMax} * 24 * 60 * 60 * 1000;

// Bytes of the spool of texts that users have handed over and whose rows are not on the disk yet. It holds tens of
// thousands of titles; what comes behind them stays in its own file.
inline constexpr int64_t kHandOverSpoolMax = int64_t{8} << 20;

// --- What a file is ----------------------------------------------------------------------------------------

// The part of a file that most formats are known by, and in which texts are looked at: a page.
inline constexpr size_t kContentHead = 4096;

// Tags of other formats that are stepped over in front of sound. Ordinary files have one; taggers that do not know each
// other's leave two.
inline constexpr int kContentTagsMax = 8;

// Headers of boxes, and objects of ASF, that are looked at in one file, one small read each: a film of a hundred tracks has
// about a thousand in front of the last one.
inline constexpr uint32_t kContentBoxesMax = 4096;

// Streams of an Ogg file. They all begin at the file's begin.
inline constexpr uint32_t kContentStreamsMax = 64;

// Bytes in front of MPEG audio that are none: remains of a cut stream or of a tag, at most a frame or a picture's rest. And the
// places in them that look like a frame's begin until the next one is missing; each costs a read.
inline constexpr int64_t kContentJunkMax = 65536;
inline constexpr uint32_t kContentRowsMax = 512;

// --- Photos ------------------------------------------------------------------------------------------------

// What the library for photos may read of one file, and what is gone through of a GIF: the metadata and previews of the largest raw photos take some
// megabytes. And in so many parts: it looks at single bytes, some thousands of them in an ordinary JPEG.
inline constexpr uint64_t kPhotoBytesMax = uint64_t{32} << 20;
inline constexpr uint32_t kPhotoReadsMax = 1U << 20;

// One value of a photo: XMP with thumbnails and makers' own blocks stay below it, previews that are left out do not.
inline constexpr uint64_t kPhotoValueMax = uint64_t{1} << 20;

// Of a picture that is a value of a photo, as Panasonic's raw photos have one: what it says of itself stands in front of its
// pixels, in segments of 64 KiB of which cameras write two or three.
inline constexpr uint64_t kPhotoPictureHead = uint64_t{256} << 10;

// A TIFF that the library is shown: raw photos of the largest sensors have 200 MiB. It is address space, not memory.
inline constexpr int64_t kPhotoViewMax = int64_t{256} << 20;

// Directories of a TIFF: raw photos have about ten, scans of whole books one a page.
inline constexpr uint32_t kPhotoDirectoriesMax = 64;

// Boxes that a picture's file consists of, parts of an X3F, and segments in front of a code stream: some tens.
inline constexpr size_t kPhotoBoxesMax = 1024;

// Where a drawing's size is looked for. Comments and definitions in front of it take a few kilobytes.
inline constexpr size_t kPhotoDrawingHead = 65536;

// --- Queues of the converters ------------------------------------------------------------------------------

// Seconds, and attempts after the first, that a queue without rights is waited for. Its readers take them away for
// the moments in which they empty it.
inline constexpr int kConverterQueueRetriesMax = 16;

// --- Catalogue ---------------------------------------------------------------------------------------------

// One commit for this many rows makes its cost negligible (measured: beyond 500 nothing is gained), and the
// milliseconds keep other programs' view of the catalogue, and their wait for its lock, short. The bytes bound
// the memory of a batch of very long texts.
inline constexpr size_t kBatchRowsMax = 500;
inline constexpr int64_t kBatchMillisecondsMax = 1000;
inline constexpr size_t kBatchBytesMax = size_t{1} << 20;

// Bytes of a fact's value, and of what searches look for: a server's index takes 2,700 bytes, and nobody types more than some
// words. Longer texts (lyrics, descriptions) are cut, never left out.
inline constexpr size_t kFactValueMax = 4096;
inline constexpr size_t kFactFoldedMax = 256;

// States of the files of one directory that are held at a time, about a hundred bytes each; the others are looked up when
// their turn comes. Few directories have a thousand files.
inline constexpr size_t kFileStatesMax = 32768;

// A database that cannot be reached is not asked again for so many milliseconds within a run: with a busy timeout
// or a connection attempt for each of a thousand files, a run would never end.
inline constexpr int64_t kDatabaseAwayMilliseconds = 5000;

// Rows that a walk tries in vain, each with its line in the log, before it is broken off because a catalogue is away. What the
// log tells of a hundred it tells of all.
inline constexpr uint64_t kRowsLostMax = 100;

// Milliseconds that another writer's lock is waited for. Such programs hold it for moments, and a longer wait would
// hold up a whole run for one that is stuck.
inline constexpr int kDatabaseBusyMilliseconds = 10'000;
