/*
 * libvorlandi: the services around the store. The trace log, which receives every message of the library, and
 * the key modes, which decide how satellites added from now on are keyed.
 *
 * Texts are fixed-length, blank-padded character arrays without terminator. At most that length of an input text is
 * read, and a NUL ends it early, so that a string literal may be passed; a null pointer counts as blanks. Every
 * function may be called from any thread.
 */
#ifndef VORLANDI_SERVICES_H
#define VORLANDI_SERVICES_H

#include <stdint.h>

#ifdef __GNUC__
#pragma GCC visibility push(default)
#endif
#ifdef __cplusplus
extern "C" {
#endif

/* ---- Trace log ---- */

/* Severities of a message. */
enum { VORLAN_TRACE_INFO = 1, VORLAN_TRACE_ERROR = 2 };

/*
 * Receives one message of the trace log.
 *
 *   severity  in  VORLAN_TRACE_INFO or VORLAN_TRACE_ERROR
 *   text      in  [textLen] the message without terminator, trailing blanks already cut; valid during the call only
 *   textLen   in  length of the message
 *   userData  in  what was given to VorlanTraceSetHandler
 *
 * Runs on the thread that logs, outside every lock of the library, and may call the library. It must not throw and must
 * not leave by longjmp. Threads may run it at the same time. In a load with VORLAN_LOAD_THREADS, the other threads of
 * that load wait meanwhile. It also hears messages logged while a thread or the process ends, for as long as it is set.
 */
typedef void (*VorlanTraceHandler)(int32_t severity, const char* text, int32_t textLen, void* userData);

/*
 * Appends the trace log to a file from now on, instead of to the one that was open before.
 *
 *   fileName  in  [512] name of the file, created if it does not exist; a pipe or a terminal is allowed as well
 *
 * Returns 0; or the errno of the failed open, and the log goes on as before. A pipe needs a reader (ENXIO).
 *
 * Each message is one line: the UTC time of day as 2026-01-31T23:59:59.123Z, a blank, "INFO " or "ERROR", a blank and
 * the text. Control characters in the text, line feeds among them, are written as blanks, except for tabs. Lines of
 * several threads never mix.
 *
 * A message that can't be written, because the disk is full or the reader of a pipe is gone, is dropped; no SIGPIPE
 * reaches the process. A pipe or terminal that takes nothing is waited for at most half a second, and not again before
 * it takes something; later messages are dropped at once. When writing works again, or the file is closed, an "INFO "
 * line says how many messages were dropped.
 */
int32_t VorlanTraceOpen(const char* fileName);

/* Closes the trace file, if one is open. */
void VorlanTraceClose(void);

/*
 * Sends every message to a handler as well as to the trace file; NULL removes the handler.
 *
 *   handler   in  called for each message, see VorlanTraceHandler
 *   userData  in  passed to the handler as it is
 *
 * A message that another thread is delivering at the same time may still reach the old handler.
 */
void VorlanTraceSetHandler(VorlanTraceHandler handler, void* userData);

/*
 * The handler that is set, so that a listener can put it back when it has finished.
 *
 *   handler   out  NULL if none is set
 *   userData  out  what the handler is called with
 *
 * A null output is skipped.
 */
void VorlanTraceGetHandler(VorlanTraceHandler* handler, void** userData);

/*
 * The last error message of the calling thread.
 *
 *   message  out  [512] the text, blank padded and cut at 512 characters; blanks if there was none
 *
 * It may be called, and messages may be logged, until the thread and the process have ended: also by destructors of
 * thread-local and global objects.
 */
void VorlanTraceLastError(char message[512]);

/* ---- Key modes ---- */

/*
 * Chooses between one key mode for all element types and a mode for each.
 *
 *   use   in  non-zero: the mode given here holds; 0: the mode of VorlanSetElsetKeyMode holds
 *   mode  in  0 ordinary keys, made from satellite number and epoch; 1 DMA keys
 *
 * A DMA key (direct memory access) is ten times the address of an object that holds the satellite: a query finds it
 * there without a search and, in the fixed guard mode, without the store's guard, so that the satellite must then not
 * be removed while another thread queries it. Such a key means nothing in another process or after the satellite is
 * removed. Equal satellites are not refused in this mode: each gets a key of its own.
 *
 * Satellites that are already stored keep their keys.
 */
void VorlanSetAllKeyMode(int32_t use, int32_t mode);

/*
 * Sets the key mode that holds while no mode for all is in use.
 *
 *   mode  in  0 ordinary keys, 1 DMA keys
 */
void VorlanSetElsetKeyMode(int32_t mode);

/*
 * Sets what happens when a satellite is added twice.
 *
 *   mode  in  0: the second is refused with a message and the key 0; otherwise it is refused silently, and the key made
 *             from its number and epoch is returned
 *
 * The stored satellite has this key unless other satellites with the same number and epoch were added before it; then
 * the key is that of the first of them.
 */
void VorlanSetDupKeyMode(int32_t mode);

/*
 * The key modes in force; all are 0 at the start.
 *
 *   useAll     out  not 0 if one mode is in use for all element types
 *   allMode    out  that mode
 *   elsetMode  out  the mode that holds otherwise
 *   dupMode    out  the mode of VorlanSetDupKeyMode
 *
 * A null output is skipped.
 */
void VorlanGetKeyModes(int32_t* useAll, int32_t* allMode, int32_t* elsetMode, int32_t* dupMode);

/* ---- Guard mode ---- */

/* Guard modes of the store. */
enum { VORLAN_GUARD_FIXED = 0, VORLAN_GUARD_SAFE = 1 };

/*
 * Chooses, for the whole process, which calls may run at the same time. At the start the fixed mode holds.
 *
 *   mode  in  VORLAN_GUARD_FIXED or VORLAN_GUARD_SAFE
 *
 * In the safe mode every function may run at the same time as every other, on any satellite. Each call sees the store
 * as it is before or after any change, never in between; of two calls that overlap either may come first. A removed key
 * returns "not found", not another satellite's data, as long as nobody adds the same satellite again. A batch is
 * several calls in this sense, and so is a load; a DMA key is used again after 4,096 further removals
 * (docs/threads.md).
 *
 * In the fixed mode a query that begins in the same instant in which the tree changes can be refused, be answered with
 * another satellite's data, or, if its satellite is being removed, read released memory and crash the process. Whoever
 * adds or removes satellites while other threads query uses the safe mode or keeps the queries away. Points and fields
 * of one satellite must not be written while another thread queries it. With DMA keys this also holds for saving,
 * listing and VorlanGetSatKey.
 *
 * The mode may be switched at any time, from any thread. The promise holds for calls that begin after the switch, once
 * those that ran during it have returned.
 *
 * Returns 0; 2 for any other number, and the mode stays.
 * Cost: docs/performance.md.
 */
int32_t VorlanSetGuardMode(int32_t mode);

/* Returns the guard mode in force. */
int32_t VorlanGetGuardMode(void);

/* ---- Read observer ---- */

/* Events of a read observer. */
enum {
    VORLAN_READ_FORMAT = 1,
    VORLAN_READ_BAD = 2,
    VORLAN_READ_DROPPED = 3,
    VORLAN_READ_STORED = 4,
    VORLAN_READ_MISSING = 5,
    VORLAN_READ_REFUSED = 6
};

/*
 * Hears what loading encounters, with the file and the line.
 *
 *   event        in  one of VORLAN_READ_...
 *   fileName     in  [fileNameLen] the file; valid during the call only
 *   fileNameLen  in  length of the file name
 *   line         in  the line, from 1; in a binary file the record
 *   text         in  [textLen] depends on the event; valid during the call only
 *   textLen      in  length of the text
 *   userData     in  what was given to VorlanSetReadObserver
 *
 * The events and their texts:
 *
 *   VORLAN_READ_FORMAT   a format was recognised: its name, one of UNIVERSAL, STK, V31, ECR, ITC, DCE_BINARY, DCE_TEXT,
 *                        LAUNCH, EELV, LCH, OASYS, OWNER, J2K, VECTOR, SIMOBS, OEM, MODIFIED_ITC
 *   VORLAN_READ_BAD      a line or group of lines is bad, or ends its block with an error. Text: the line; the first
 *                        line of a group; empty for a binary file. The messages about it follow. A line that can't be
 *                        read, or that is missing where the file ends in a header, is the one after the last, with an
 *                        empty text. A block without a point has its header to blame
 *   VORLAN_READ_DROPPED  a point is dropped, since its time is not later than the last one or is not a number: its
 *                        line, of a binary file nothing
 *   VORLAN_READ_STORED   a record was stored: its key
 *   VORLAN_READ_MISSING  a file that a card names can't be opened, is not a regular file, or can't be read to its end:
 *                        its name. File and line are those of the card. A read error in the file itself was reported as
 *                        a bad line before. Cards without a name are skipped
 *   VORLAN_READ_REFUSED  a record was not stored, after the message about it if there is one: "duplicate of " and the
 *                        key that its number and epoch make, "number or first time out of range", or "out of memory".
 *                        The line is that of its header
 *
 * Runs on the thread that loads, outside every lock, and may call the library. It must not throw. In a load with
 * VORLAN_LOAD_THREADS, the other threads of that load wait meanwhile. Texts have no terminator.
 */
typedef void (*VorlanReadObserver)(int32_t event, const char* fileName, int32_t fileNameLen, int64_t line,
                                   const char* text, int32_t textLen, void* userData);

/*
 * Sets the read observer of the calling thread; NULL removes it.
 *
 *   observer  in  called for each event while this thread loads files
 *   userData  in  passed to the observer as it is
 */
void VorlanSetReadObserver(VorlanReadObserver observer, void* userData);

/*
 * The read observer of the calling thread, so that a listener can put it back when it has finished.
 *
 *   observer  out  NULL if none is set
 *   userData  out  what the observer is called with
 *
 * A null output is skipped.
 */
void VorlanGetReadObserver(VorlanReadObserver* observer, void** userData);

#ifdef __cplusplus
}
#endif
#ifdef __GNUC__
#pragma GCC visibility pop
#endif

#endif
