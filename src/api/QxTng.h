#pragma once

#include <cstdint>

#include "../common/TNGTypes.h"

/// The thumbnail library: 27 functions, and this header is all of them.
///
/// Given a file, the library hands back a small picture, at once or by callback from a background thread,
/// and keeps what it made in a cache on disk, once a cache folder is set and the cache is enabled.
///
/// Text. Paths are UTF-16, ended by a zero unit. A byte of a file name that is not valid UTF-8 is written
/// as the lone surrogate U+DC00 + byte. A path must be absolute for its thumbnail to be kept in the cache;
/// two spellings of a path are two files.
///
/// Results. Every function answers a TNGResult. None throws, and none crosses its caller's stack in any
/// other way. After a failure the out-parameters hold the defaults that are told at each function.
///
/// Ownership. What a function hands out belongs to the caller:
///   image object         `delete` it (platform/graphics/Image.h)
///   compressed buffer    VirtualFree(pBuffer, 0, MEM_RELEASE)     (platform/Memory.h)
///   ARGB buffer          HeapFree(GetProcessHeap(), 0, pBuffer)   (platform/Memory.h)
///   cache folder text    HeapFree(GetProcessHeap(), 0, pszFolder)
///
/// Threads. Every function may be called from any thread. Only ShutDown() must not overlap with another
/// call, but those of callbacks. A callback may call any function, ShutDown() too, which then stops the
/// callback's own thread as soon as the callback returns. While the process ends, or the library is unloaded,
/// calls answer QXTNG_ERROR_FAILED.
///
/// Processes. Any number of them may work on one cache folder, if each names it by the same text. An
/// operation keeps the other processes out while it lasts, and waits without limit for one that is in. A
/// process that is killed leaves the folder as it was before its last unfinished change. A child of fork()
/// has to exec.

#define QXTNG_API extern "C" __attribute__((visibility("default")))

// --- Thumbnails, at once --------------------------------------------------------------------------------
//
// `size` is the box that the thumbnail has to fit into; the aspect of the picture is kept and nothing is
// enlarged. `eSourceMode` is a TNGSourceMode. `*peOrigin` receives a TNGOrigin. `*pbDefault` receives 0 for
// a thumbnail of the file and 1 for a default image, which audio, video and unreadable files get: that is a
// success. After a failure `*pbDefault` is 1, the result pointer null, its size or length 0, and `*peOrigin`
// is untouched if the arguments were refused.
//
// QXTNG_ERROR_INVALID_ARGUMENT    a null pointer, a zero in `size`, a path that names no file
// QXTNG_ERROR_PRODUCTION_FAILED   the image library is missing, or nothing could be made
// QXTNG_ERROR_FAILED              the same for a request that goes through the cache
// QXTNG_ERROR_CACHE_LOCKED        the cache is enabled and cannot be entered

/// `*ppImage` receives an image object.
QXTNG_API std::uint32_t QXGenerateThumbnailImageInForeGround(const char16_t* pszFilePath, TNGSize size,
                                                             int eSourceMode, Gdiplus::Image** ppImage,
                                                             int* peOrigin, int* pbDefault);

/// `*ppBuffer` receives a JPEG or PNG file in memory, `*pnLength` its length in bytes.
QXTNG_API std::uint32_t QXGenerateThumbnailCompressedBufferInForeGround(const char16_t* pszFilePath,
                                                                        TNGSize size, int eSourceMode,
                                                                        unsigned char** ppBuffer,
                                                                        long* pnLength, int* peOrigin,
                                                                        int* pbDefault);

/// `*ppBuffer` receives raw pixels as told at TNG_OUTPUT_ARGB, `*pSizeOut` their width and height.
QXTNG_API std::uint32_t QXGenerateThumbnailARBGInForeGround(const char16_t* pszFilePath, TNGSize size,
                                                            int eSourceMode, unsigned char** ppBuffer,
                                                            TNGSize* pSizeOut, int* peOrigin, int* pbDefault);

// --- Thumbnails, in the background ----------------------------------------------------------------------

/// Files a request and returns; the thumbnail arrives through `pfnCallback`, on a thread of low priority.
/// What is handed over is released as told above. While the cache is enabled and cannot be entered (it may
/// have no folder) the request waits. A callback that throws ends its thread, and so does want of memory: see
/// IsBackGroundThreadActive(). `eOutputForm` is a TNGOutputForm. `*pnThreadId` is 0 for a new thread, whose
/// id it receives before the callback can be made, or the id of a thread that is idle. The context and its
/// record stay valid until the callback has been made or the thread has been stopped.
/// QXTNG_ERROR_INVALID_ARGUMENT, _THREAD_BUSY, _THREAD_NOT_FOUND, _THREAD_RESOURCES, _FAILED.
QXTNG_API std::uint32_t QXGenerateThumbnailInBackGround(const char16_t* pszFilePath, TNGSize size,
                                                        int eSourceMode, int eOutputForm,
                                                        TNGThumbnailCallback pfnCallback,
                                                        TNGBackgroundContext* pContext, unsigned* pnThreadId);

/// Ends a background thread; the request it works on gets no callback, and once this returns the library
/// touches neither context nor record any more. Waits up to 25 ms for the work, and up to a second for a
/// callback that has begun on another thread. QXTNG_ERROR_THREAD_NOT_FOUND if there is none, or it has ended
/// by itself.
QXTNG_API std::uint32_t QXStopBackGroundThread(unsigned nThreadId);

/// `*pbActive` receives 1 for a thread that works or waits for work; else 0 with
/// QXTNG_ERROR_THREAD_NOT_FOUND.
QXTNG_API std::uint32_t IsBackGroundThreadActive(unsigned nThreadId, int* pbActive);

// --- Settings of the cache ------------------------------------------------------------------------------
//
// They hold for the process and are not stored. Set the folder and enable the cache, in either order.

/// `*pbEnabled` receives 0 or 1; 0 at start.
QXTNG_API std::uint32_t GetCacheEnabled(int* pbEnabled);

/// Any value but 0 enables. Disabling deletes the files of a cache that is loaded. Waits up to a second for
/// work in the cache to end: else QXTNG_ERROR_LOCK_FAILED, and all is as before. QXTNG_ERROR_CACHE_LOCKED if
/// the cache cannot be locked at all.
QXTNG_API std::uint32_t SetCacheEnabled(int bEnabled);

/// `*ppszFolder` receives the cache folder; an empty text at start. The block has room for 260 units, more
/// if the text needs it.
QXTNG_API std::uint32_t GetCacheFolder(char16_t** ppszFolder);

/// The folder must exist, and have no cache of its own if there is one to be moved: from the second call on,
/// the files move with the setting. Waits up to a second for work in the cache to end. QXTNG_ERROR_FAILED,
/// and the old folder stays whole and in force, if the files cannot be moved.
QXTNG_API std::uint32_t SetCacheFolder(const char16_t* pszFolder);

/// The file size from which a picture keeps an extra-large rendition, in megabytes of 2^20 bytes; 17 at
/// start. Zero is refused, and 4096 or more does not fit.
QXTNG_API std::uint32_t GetThresholdFileSize(unsigned* pnMegabytes);
QXTNG_API std::uint32_t SetThresholdFileSize(unsigned nMegabytes);

// --- Loading and locking the cache ----------------------------------------------------------------------
//
// QXTNG_ERROR_CACHE_DISABLED while the cache is off (but not from LockCache() and ReleaseCacheLock()),
// QXTNG_ERROR_CACHE_LOCKED while it has no folder or no lock can be had, QXTNG_ERROR_LOCK_FAILED if other
// threads keep the cache's memory for over a second.
// Loading: QXTNG_ERROR_NOT_CACHED if there is nothing to load, QXTNG_ERROR_FILE_READ if it is damaged (it is
// made again).

/// Loads the whole cache into memory. Without it folders load as they are asked for.
QXTNG_API std::uint32_t InitDB();

/// Loads what the cache holds of one source folder, which must exist.
QXTNG_API std::uint32_t InitDBFolder(const char16_t* pszFolder);

/// Has the system read the cache's data files in the background, so that they are in memory when needed.
QXTNG_API std::uint32_t RefreshDBInSysFileCache();

/// Takes the whole cache for this process, waiting as long as another one has it, until ReleaseCacheLock().
/// Both answer success if there is nothing to do.
QXTNG_API std::uint32_t LockCache();
QXTNG_API std::uint32_t ReleaseCacheLock();

/// Stops all background threads as QXStopBackGroundThread() does, all at once, saves the cache, closes its
/// files, of which two stay open between requests, and empties memory. While it waits for them, a callback
/// gets QXTNG_ERROR_FAILED for a new thread.
QXTNG_API std::uint32_t ShutDown();

// --- Entries of the cache -------------------------------------------------------------------------------
//
// A null path is refused with QXTNG_ERROR_INVALID_ARGUMENT, and so is a path that does not exist, except by
// the first three. QXTNG_ERROR_NOT_CACHED if there is no entry, _CACHE_DISABLED, _CACHE_LOCKED, _LOCK_FAILED
// and _FILE_READ as above, QXTNG_ERROR_FILE_WRITE (UpdateFileInfo(): QXTNG_ERROR_FAILED) if the change cannot
// be saved.

/// `*pbCached` receives 1 if the cache has an entry for the picture or video in memory: it loads nothing.
/// QXTNG_ERROR_CACHE_DISABLED with 0 while the cache is off.
QXTNG_API std::uint32_t IsFileCached(const char16_t* pszFilePath, int* pbCached);

/// Removes the entry of a file, or those of a whole source folder.
QXTNG_API std::uint32_t DeleteThumbnail(const char16_t* pszFilePath);
QXTNG_API std::uint32_t DeleteFolder(const char16_t* pszFolder);

/// `*pbUpToDate` receives 1 if the entry was made from the file as it is now.
QXTNG_API std::uint32_t IsCachedThumbnailUpToDate(const char16_t* pszFilePath, int* pbUpToDate);

/// `*pSize` receives the size of the original picture, from the cache or from the file; (0, 0) if refused.
/// QXTNG_ERROR_UNSUPPORTED_FILE for audio and unknown files, QXTNG_ERROR_FAILED for videos,
/// QXTNG_ERROR_PRODUCTION_FAILED if the picture cannot be read.
QXTNG_API std::uint32_t GetSizeOriginal(const char16_t* pszFilePath, TNGSize* pSize);

/// Takes over the file's present time and size, without making its thumbnails anew. Saved at once.
QXTNG_API std::uint32_t UpdateFileInfo(const char16_t* pszFilePath);

/// Make the thumbnails anew of one file, of the files right in a folder, of all: where a file has changed.
/// Entries of files that are gone go. A picture that cannot be read keeps its old entry: UpdateThumbnail()
/// answers QXTNG_ERROR_FAILED then. Saved by ShutDown().
QXTNG_API std::uint32_t UpdateThumbnail(const char16_t* pszFilePath);
QXTNG_API std::uint32_t UpdateFolder(const char16_t* pszFolder);
QXTNG_API std::uint32_t UpdateAllOfCache();
