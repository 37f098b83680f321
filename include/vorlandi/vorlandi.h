/*
 * libvorlandi: a store of externally supplied satellite ephemerides that answers state and covariance queries.
 *
 * Times are Ds50UTC, days since 1950 Jan 0.0 UTC (see vorlandi/time.h), or MSE, minutes since the first
 * stored point of a satellite. Positions are km, velocities km/s, both in the coordinate system of the
 * ephemeris; nothing is converted between frames. A satellite is named by its satKey, a 64-bit integer.
 *
 * Coordinate systems are names kept with a satellite, by their codes: 1 ECI, earth-centred inertial, true equator and
 * mean equinox of date; 2 J2K, earth-centred inertial, mean equator and equinox of J2000; 3 EFG and 4 ECR,
 * earth-centred and turning with the earth, with axes through the Greenwich meridian and the pole. No query looks at
 * them. docs/formats.md lists the further codes that files can bring.
 *
 * Texts are fixed-length, blank-padded character arrays without terminator. At most that length of an input text is
 * read, and a NUL ends it early, so that a string literal may be passed; a null pointer counts as blanks. An output
 * text fills its whole length. A null output is skipped. A null input array results in status 2.
 *
 * Status: 0 success, 2 failure, or the errno of a failed open, of which ENOENT is 2 as well. Why something failed
 * is in the trace log (see vorlandi/services.h); a failed open is not logged. A function that fails leaves zeros,
 * or blanks, in its outputs.
 *
 * Memory: a function that runs out of memory fails as said above, logs "VorlanXxx: Out of memory." with its own name,
 * and leaves the store as it was; a load keeps what it has stored. It can be called again once there is memory.
 * Queries, fields, removing and logging allocate nothing. Three allocations end the process if they fail, with "Error
 * allocating N bytes" on standard error and in the trace log: those for points (the functions that add points or load
 * files), for the record of a satellite with an ordinary key (VorlanAddSat and loading), and for the list that
 * VorlanGetLoaded sorts. VorlanGetLoadedExt needs no such list.
 *
 * Threads: every function may be called from any thread. Which calls may run at the same time depends on the guard
 * mode, which the process chooses (VorlanSetGuardMode in vorlandi/services.h; docs/threads.md).
 *
 * In the safe mode every function may run at the same time as every other, on any satellite. Each call sees the store
 * as it is before or after any change, never in between; of two calls that overlap either may come first. A removed key
 * returns "not found", not another satellite's data, as long as nobody adds the same satellite again. A batch is
 * several calls in this sense, and so is a load; a DMA key is used again after 4,096 further removals.
 *
 * In the fixed mode, which holds at the start, queries run together without limit, and adding and removing satellites
 * waits for the queries that run. A query that begins in the same instant in which the tree changes can be refused, be
 * answered with another satellite's data, or, if its satellite is being removed, read released memory and crash the
 * process. Whoever adds or removes satellites while other threads query uses the safe mode or keeps the queries away.
 * Points and fields of one satellite must not be written while another thread queries it. With DMA keys this also holds
 * for saving, listing and VorlanGetSatKey.
 */
#ifndef VORLANDI_VORLANDI_H
#define VORLANDI_VORLANDI_H

#include <stdint.h>

#ifdef __GNUC__
#pragma GCC visibility push(default)
#endif
#ifdef __cplusplus
extern "C" {
#endif

/* ---- Library and satellites ---- */

/*
 * Prepares the library. Nothing has to be called before the other functions.
 *
 * Returns 0.
 */
int32_t VorlanInit(void);

/*
 * Name and version of the library.
 *
 *   infoStr  out  [128] the text, for example "Vorlandi 1.1.0"
 */
void VorlanGetInfo(char infoStr[128]);

/*
 * Adds a satellite without points.
 *
 *   satNum        in  satellite number, 0 to 999999999
 *   combinedCode  in  last digit: coordinate system, 1 ECI, 2 J2K, 3 EFG, 4 ECR. The rest, in tens, is the
 *                     caller's own: 21 is ECI with 20 stored separately; no function returns or uses it
 *   epochDs50UTC  in  epoch, days since 1950, UTC: from 0.0 to the end of 2199. The first point replaces it.
 *   earthRadius   in  earth radius of the ephemeris, km
 *   ke            in  gravitational constant in earth radii and minutes; both are only kept, as the fields 3 and
 *                     4, and no query uses them
 *
 * Returns the key; 0 if an equal satellite (number, coordinate system and epoch) is refused as a duplicate;
 * -1 on failure. A different satellite of the same number and epoch gets the next free key.
 * Messages: "AddRecToMem: Duplicated record/key ... found."; when memory is short, "AddRecToMem: Cannot allocate memory
 * for a new dma.", "AddRecToMem: Cannot allocate memory for a new rec." and "AddRecToMem: Unable to allocate memory for
 * key ....".
 * Cost: O(log satellites); waits for the queries in progress.
 */
int64_t VorlanAddSat(int32_t satNum, int32_t combinedCode, double epochDs50UTC, double earthRadius, double ke);

/*
 * Removes a satellite and its points.
 *
 *   satKey  in  key of the satellite
 *
 * Returns 0; 2 if the key is unknown.
 * Messages: "RemoveNode: Unable to locate this key ... in its binary tree.", "RemoveNode: Invalid DMA key
 * (<=0).", "RemoveDMA: /DMA doesn't exist or was already deallocated", "RemoveDMA: This DMA object isn't a
 * correct object.".
 */
int32_t VorlanRemoveSat(int64_t satKey);

/*
 * Removes all satellites.
 *
 * Returns 0.
 */
int32_t VorlanRemoveAllSats(void);

/* Returns the number of satellites. */
int32_t VorlanGetCount(void);

/*
 * Lists the keys of all satellites.
 *
 *   order    in   0 ascending by satellite number, coordinate system and epoch; 1 the reverse of it;
 *                 2 in the order of loading; 3 and above ascending by key
 *   satKeys  out  [n] the keys, VorlanGetCount() of them; untouched if there are no satellites
 *
 * Messages: "Warning-VorlanGetLoaded: The binary tree is empty. No satKey returns." (information).
 * Threads: no satellite may be added between the count and the listing, or the array is too small;
 * VorlanGetLoadedExt has no such condition.
 */
void VorlanGetLoaded(int32_t order, int64_t satKeys[]);

/*
 * Lists the keys of all satellites into an array of known size.
 *
 *   order     in   as for VorlanGetLoaded
 *   capacity  in   number of keys that satKeys has room for
 *   satKeys   out  [capacity] the first of the keys, as many as there are and fit; the rest is untouched
 *   count     out  number of satellites at the moment of the listing
 *
 * Returns 0; 2 for a negative capacity, or if memory is short: satKeys is then untouched.
 * Messages: "VorlanGetLoadedExt: Out of memory.".
 */
int32_t VorlanGetLoadedExt(int32_t order, int64_t capacity, int64_t satKeys[], int64_t* count);

/*
 * The key of a satellite number. Of several satellites with that number, the one nearest to the root of the
 * store in pre-order is taken.
 *
 *   satNum  in  satellite number
 *
 * Returns the key, or -1 if there is none.
 * Messages: "GetSatKey: Unable to locate satellite number ... in the Vorlan binary tree.".
 */
int64_t VorlanGetSatKey(int32_t satNum);

/*
 * The key that a satellite with this number and epoch gets, if no other satellite has it. That holds in the mode of
 * ordinary keys; if another satellite has the key, the new one gets the next free key.
 *
 *   satNum    in  satellite number, 0 to 999999999
 *   epochDtg  in  [20] epoch in one of the forms YYDDDHHMMSS.SSS, YYYYDDDHHMMSS.SSS, YYDDD.DDDDDDDD,
 *                 YYYYDDD.DDDDDDDD, YYYY/DDD HHMM SS.SSS and YYYYMonDDHHMMSS.SSS
 *
 * Returns the key, or -1 if there is none. The store is not consulted.
 */
int64_t VorlanFieldsToSatKey(int32_t satNum, const char* epochDtg);

/* ---- Data entry ---- */

/*
 * Appends a point to a satellite. A point that is not later than the last one, or whose time is not a number, is
 * dropped silently, status 0. An infinite time is stored: after plus infinity every further point is dropped, and
 * states next to an infinite time can't be interpolated.
 *
 *   satKey   in  key of the satellite
 *   ds50UTC  in  time of the point, days since 1950, UTC
 *   pos      in  [3] km
 *   vel      in  [3] km/s
 *   revNum   in  revolution number, kept as it is
 *
 * Returns 0; 2 if the key is unknown or an array is null.
 * Messages: those of an unknown key ("FindRecPtr: ...").
 */
int32_t VorlanAddSatEphem(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3], int32_t revNum);

/*
 * Appends a point with covariance; otherwise as VorlanAddSatEphem.
 *
 *   cov  in  [21] lower triangle of the 6x6 covariance of x, y, z, vx, vy, vz, row by row, in km and km/s;
 *            all zero means that the point has none
 */
int32_t VorlanAddSatEphemCovMtx(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3],
                                int32_t revNum, const double cov[21]);

/* The same as VorlanAddSatEphemCovMtx. */
int32_t VorlanAddSatEphemExt(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3], int32_t revNum,
                             const double cov[21]);

/* ---- Queries ---- */

/*
 * State of a satellite at a time in minutes since its first stored point.
 *
 *   satKey   in   key of the satellite
 *   mse      in   minutes since the first stored point
 *   ds50UTC  out  the same time in days since 1950, UTC
 *   pos      out  [3] km
 *   vel      out  [3] km/s
 *   revNum   out  revolution number, the remainder of 100000
 *
 * Returns 0; 2 if the key is unknown, there are no points, the time lies outside the span of the points, the
 * points around it are more than 61 minutes apart on average, or there are fewer than four and none at this
 * time.
 * Messages: "FindRecPtr: ...", "GetEphem: ...", "InterpolateEP: ...".
 * Method: Hermite interpolation of degree 7 over four points; the velocity is the derivative of that
 * polynomial (F. B. Hildebrand, Introduction to Numerical Analysis, 2nd ed. 1974, section 8.2).
 * Accuracy: status 0 does not mean that the state is good. The library checks only the mean of the three steps
 * between the four points, and its limit of 61 minutes is fixed. Of a low orbit with a point a minute, states
 * across a hole are up to 50 km off if the hole lasts an hour, 5,500 km if two hours, 45,000 km if three. With
 * points an hour apart they are up to 3,900 km off. Velocities of zero are taken as given: with positions alone, a
 * point a minute, states are up to 50 km off, and 250 km in the first and last interval. docs/accuracy.md has the
 * errors by orbit and spacing.
 * Cost: O(log satellites + log points), no allocation.
 */
int32_t VorlanMse(int64_t satKey, double mse, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum);

/*
 * As VorlanMse, with the covariance.
 *
 *   covMtx  out  [6][6] covariance of x, y, z, vx, vy, vz in km and km/s; zero where the points carry none
 *
 * Accuracy: at the time of a point the matrix is the stored one. Between points each element is interpolated by
 * itself, as a cubic through four points, so that the matrix need not be positive definite and variances can be
 * negative: where points are far apart, or where a variance changes by a factor above 16 from one point to the
 * next. A point without covariance counts as one with zeros. See docs/accuracy.md.
 */
int32_t VorlanMseCovMtx(int64_t satKey, double mse, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum,
                        double covMtx[6][6]);

/*
 * State of a satellite at a time; otherwise as VorlanMse.
 *
 *   ds50UTC  in   days since 1950, UTC
 *   mse      out  the same time in minutes since the first stored point
 */
int32_t VorlanDs50UTC(int64_t satKey, double ds50UTC, double* mse, double pos[3], double vel[3], int32_t* revNum);

/*
 * As VorlanDs50UTC, with the covariance.
 *
 *   covMtx  out  [6][6] covariance in km and km/s, as in VorlanMseCovMtx
 */
int32_t VorlanDs50UTCCovMtx(int64_t satKey, double ds50UTC, double* mse, double pos[3], double vel[3], int32_t* revNum,
                            double covMtx[6][6]);

/*
 * A stored point.
 *
 *   satKey   in   key of the satellite
 *   index    in   1 for the first point
 *   ds50UTC  out  its time, days since 1950, UTC
 *   pos      out  [3] km
 *   vel      out  [3] km/s
 *   revNum   out  revolution number, the remainder of 100000
 *
 * Returns 0; 2 if the key is unknown or there is no such point.
 * Messages: "FindRecPtr: ...", "GetEphem: ...".
 */
int32_t VorlanGetEphemeris(int64_t satKey, int32_t index, double* ds50UTC, double pos[3], double vel[3],
                           int32_t* revNum);

/*
 * As VorlanGetEphemeris, with the stored covariance.
 *
 *   covMtx  out  [6][6] covariance of x, y, z, vx, vy, vz in km and km/s; zero if the point carries none
 */
int32_t VorlanGetCovMtx(int64_t satKey, int32_t index, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum,
                        double covMtx[6][6]);

/*
 * State and covariance in one array.
 *
 *   satKey    in   key of the satellite
 *   ephType   in   what inVal is: 1 MSE, 2 Ds50UTC, 3 index of a stored point, from 1, its fraction cut
 *   inVal     in   the request: minutes, days since 1950, UTC, or an index
 *   extState  out  [128] 0: MSE; 1: Ds50UTC; 2 to 4: position, km; 5 to 7: velocity, km/s; 8: revolution
 *                  number; 9 to 29: lower triangle of the covariance row by row; the rest 0
 *
 * Returns 0; 2 as the single queries do, or if ephType is none of these.
 * Messages: "VorlanXten: Invalid ephemeris type. Valid values are 1, 2, and 3." and those of the single
 * queries.
 */
int32_t VorlanXten(int64_t satKey, int32_t ephType, double inVal, double extState[128]);

/*
 * Times of the first and the last stored point.
 *
 *   satKey        in   key of the satellite
 *   startDs50UTC  out  time of the first point, days since 1950, UTC
 *   endDs50UTC    out  time of the last point, days since 1950, UTC
 *
 * Returns 0; 2 if the key is unknown or there are no points.
 * Messages: "FindRecPtr: ...", "VorlanStartEndTime: satKey ... does not contain any ephemeris data.".
 */
int32_t VorlanStartEndTime(int64_t satKey, double* startDs50UTC, double* endDs50UTC);

/*
 * The card that names the file a satellite was read from: "EPHFIL = " and the first 503 characters of the
 * name.
 *
 *   satKey  in   key of the satellite
 *   line    out  [512] the card
 *
 * Returns 0; 2 if the key is unknown.
 * Messages: "FindRecPtr: ...".
 */
int32_t VorlanGetLine(int64_t satKey, char line[512]);

/* ---- Many at once ---- */

/*
 * States of one satellite at many times. Each answer has the bits of VorlanDs50UTCCovMtx, whatever the order
 * of the times; sorted times are the quickest.
 *
 *   satKey    in   key of the satellite
 *   n         in   number of times, 0 or more
 *   ds50UTC   in   [n] days since 1950, UTC
 *   posVel    out  [n][6] position (km) and velocity (km/s)
 *   revNums   out  [n] revolution numbers
 *   covMtx    out  [n][6][6] covariances in km and km/s, as in VorlanMseCovMtx; only worked out when asked for
 *   errCodes  out  [n] 0 or 2, as the single query returns
 *
 * Returns 0 if every code is 0; else 2, also for n below 0 and a null array of times. The other outputs of a failed
 * answer are zero.
 * Messages: that of the first failure alone.
 * Threads: as a query; the store can be changed by others between every few thousand answers.
 */
int32_t VorlanDs50UTCArr(int64_t satKey, int64_t n, const double ds50UTC[], double posVel[][6], int32_t revNums[],
                         double covMtx[][6][6], int32_t errCodes[]);

/*
 * States of many satellites at one time; otherwise as VorlanDs50UTCArr.
 *
 *   n        in  number of satellites, 0 or more
 *   satKeys  in  [n] keys
 *   ds50UTC  in  days since 1950, UTC
 *
 * Returns 0 if every code is 0; else 2, also for n below 0 and a null array of keys. The other outputs of a failed
 * answer are zero.
 */
int32_t VorlanSatsDs50UTC(int64_t n, const int64_t satKeys[], double ds50UTC, double posVel[][6], int32_t revNums[],
                          double covMtx[][6][6], int32_t errCodes[]);

/*
 * Stored points of a satellite; otherwise as VorlanDs50UTCArr. Each answer is that of VorlanGetCovMtx.
 *
 *   first    in   index of the first point wanted, from 1
 *   n        in   number of points, 0 or more
 *   ds50UTC  out  [n] times, days since 1950, UTC
 *   covMtx   out  [n][6][6] stored covariances in km and km/s; zero where the points carry none
 *
 * Returns 0 if every code is 0; else 2, also for n below 0. The other outputs of a failed answer are zero.
 */
int32_t VorlanGetEphemerisArr(int64_t satKey, int64_t first, int64_t n, double ds50UTC[], double posVel[][6],
                              int32_t revNums[], double covMtx[][6][6], int32_t errCodes[]);

/* ---- Fields ---- */

/*
 * Sets a field of a satellite from a text; leading blanks don't count.
 *
 *   satKey    in  key of the satellite
 *   fieldIdx  in  11 coordinate system code, an integer; 14 text, cut at 8 characters; 15 input tag, cut at
 *                 128; any other number changes nothing
 *   valueStr  in  [512] the new value
 *
 * Returns 0; 2 if the key is unknown.
 * Messages: "FindRecPtr: ...".
 */
int32_t VorlanSetField(int64_t satKey, int32_t fieldIdx, const char* valueStr);

/*
 * A field of a satellite as text, on the left of the 512 characters.
 *
 *   satKey    in   key of the satellite
 *   fieldIdx  in   1 satellite number; 2 epoch as YYDDDHHMMSS.SSS; 3 earth radius, km; 4 ke; 5 to 7 position,
 *                  km, and 8 to 10 velocity, km/s, of the first point; 11 coordinate system code; 12 number
 *                  of points; 13 file name; 14 text of 8; 15 input tag; any other number returns blanks
 *   valueStr  out  [512] the value
 *
 * Returns 0; 2 if the key is unknown or there are no points.
 * Messages: "FindRecPtr: ...", "VorlanGetField: satKey ... does not contain any ephemeris data.".
 */
int32_t VorlanGetField(int64_t satKey, int32_t fieldIdx, char valueStr[512]);

/*
 * All fields of a satellite.
 *
 *   satKey        in   key of the satellite
 *   satNum        out  satellite number
 *   text8         out  [8] text
 *   text128       out  [128] input tag
 *   epochDs50UTC  out  epoch, days since 1950, UTC
 *   earthRadius   out  earth radius, km
 *   ke            out  gravitational constant in earth radii and minutes
 *   pos           out  [3] position of the first point, km; zero if there is none
 *   vel           out  [3] velocity of the first point, km/s; zero if there is none
 *   coordSys      out  coordinate system code
 *   numPts        out  number of points
 *   fileName      out  [512] file that the satellite was read from
 *
 * Returns 0; 2 if the key is unknown.
 * Messages: "FindRecPtr: ...".
 */
int32_t VorlanGetAllFields(int64_t satKey, int32_t* satNum, char text8[8], char text128[128], double* epochDs50UTC,
                           double* earthRadius, double* ke, double pos[3], double vel[3], int32_t* coordSys,
                           int32_t* numPts, char fileName[512]);

/* ---- Files ---- */

/*
 * Loads a file: an ephemeris in any known format, a card file that names ephemeris files, or a mixture of
 * both.
 *
 *   fileName  in  [512] leading blanks don't count
 *
 * Returns 0, also when nothing in the file was recognised; 2 if reading failed, and what was stored before
 * stays; the errno if the file can't be opened. Also 2 (ENOENT) if the file does not exist: a failed
 * read has logged an error, a failed open has not. A file named by a card that can't be opened, or is not a regular
 * file, is skipped; a satellite with a number or an epoch outside the range of keys is not stored and not reported.
 * Messages: "VorlanLoadFile: Reading VORLANs from file ...", "Total ephemeris points = ...", bad lines in
 * pairs "*** Read... : Bad ephemeris data. ***" and the line, and what ended a load, "*** Read...: ... ***" or
 * "VorlanLoadFile: Out of memory."; those of VorlanAddSat for a satellite that is not stored.
 * Threads: several threads may load files at once; nothing is locked while a file is read.
 */
int32_t VorlanLoadFile(const char* fileName);

/* How VorlanLoadFileExt and VorlanLoadBytes load: the options are added up. */
enum {
    VORLAN_LOAD_PRACTICAL = 1, /* by the practical rules instead of the fixed ones (docs/formats.md has both) */
    VORLAN_LOAD_DMA_KEYS = 2,  /* DMA keys for these records, whatever the key modes of the process are */
    VORLAN_LOAD_NO_CARDS = 4,  /* cards that name files are reported (VORLAN_READ_MISSING), not followed */
    VORLAN_LOAD_THREADS = 8    /* allows several threads for one large file */
};

/*
 * Loads a file and tells what it stored. With options 0 it reads as VorlanLoadFile does, with the same messages.
 *
 *   fileName  in   [512] leading blanks don't count
 *   options   in   sum of VORLAN_LOAD_...; they also hold for the files that cards name
 *   capacity  in   number of elements of satKeys, 0 or more
 *   satKeys   out  [capacity] keys of the records that this call stored, in the order of storing: first those of the
 *                  files that cards name, then those of the file's own blocks. Elements from count on stay as they are.
 *                  May be null.
 *   count     out  number of records stored, which may be larger than capacity; set to 0 first. May be null.
 *
 * Returns 0; 2 if a block failed, memory is short, an option is unknown or capacity is negative; the errno if the file
 * can't be opened (ENOENT is 2 as well: a failed open has no message). By the practical rules it also returns 2 if no
 * format was recognised, a record was refused or a card names a file that can't be read: a message tells what, and what
 * could be read is stored. When it fails, count and satKeys say what was stored, and that stays in the store.
 * A refused record, such as a duplicate, is not counted; the read observer hears VORLAN_READ_REFUSED.
 * Messages: those of VorlanLoadFile; by the practical rules also "VorlanLoadFileExt: file:line: ...", and of the
 * readers "ReadOEM: file:line: reason" between "*** ReadOEM : Bad ephemeris data. ***" and the line;
 * "VorlanLoadFileExt: Out of memory.".
 * Memory: with VORLAN_LOAD_PRACTICAL a failed allocation never ends the process.
 * Threads: as VorlanLoadFile. Loads with different options may run at the same time. With VORLAN_LOAD_THREADS the lines
 * of a file of 16 MB and more are read by as many threads as the process may run on, the calling one included, and at
 * most one for each 4 MB, if they mean the same wherever they are (docs/threads.md has the formats). These threads end
 * before the call does. What is stored, and all messages and events with their order, is as without the option; the
 * last error, the handler and the read observer are served on the calling thread alone. If the system starts no thread,
 * the calling one reads alone.
 */
int32_t VorlanLoadFileExt(const char* fileName, int32_t options, int64_t capacity, int64_t satKeys[], int64_t* count);

/*
 * Loads the content of a file that is in memory; otherwise as VorlanLoadFileExt.
 *
 *   bytes     in   [size] the content, which may be released after the call; null with size 0 is an empty file
 *   size      in   bytes, 0 or more
 *   fileName  in   [512] the name that messages, the satellite number and the record's input file are made from; one
 *                  that ends in ".DCE" says that the content is binary. It is not opened.
 *
 * Returns as VorlanLoadFileExt; 2 also for a negative size, or null bytes with a size.
 *
 * A satellite loaded so can't be loaded again from the card that VorlanSaveFile writes for it, unless a file of that
 * name holds the same content.
 */
int32_t VorlanLoadBytes(const void* bytes, int64_t size, const char* fileName, int32_t options, int64_t capacity,
                        int64_t satKeys[], int64_t* count);

/*
 * Writes a card file that names the input file of every satellite, so that loading it loads them again. Points are not
 * written. A card does not say by which rules its file was loaded: load the card file with the same options. Satellites
 * that came from memory (VorlanLoadBytes) also get a card, but there may be no file of that name.
 *
 *   fileName  in  [512] leading blanks don't count
 *   saveMode  in  0 replaces the file, any other number appends to it
 *
 * Returns 0; the errno if the file can't be opened; 2 if memory is short: an existing file is then untouched, a new
 * one empty. A failed write is not reported: if the disk is full the result is 0 and the file is incomplete. To be
 * sure, read the file back: a complete one has an "EPHFIL = " line of 521 characters for each satellite and ends with a
 * line feed. A line feed in a file name or a tag is written as a blank, so that it never begins another card.
 * Messages: "VorlanSaveFile: Out of memory.".
 * Threads: the store is free while the file is written, so that a pipe that nobody reads, or a disk that hangs, makes
 * only this call wait. Threads that save to the same file do so one after the other, each with the satellites that are
 * stored when its turn begins, and each appends its lines without a break. Writing to a pipe without a reader sends no
 * SIGPIPE.
 */
int32_t VorlanSaveFile(const char* fileName, int32_t saveMode);

/*
 * Loads one ephemeris file; cards in it are not followed.
 *
 *   fileName  in  [512] leading blanks don't count
 *
 * Returns the key of the satellite stored last, 0 if that was refused as a duplicate; -1 if the file can't be opened,
 * reading failed, memory is short or nothing was stored.
 * Messages: those of VorlanLoadFile, but for the first; "VorlanAddSatFrFile: Out of memory.".
 */
int64_t VorlanAddSatFrFile(const char* fileName);

#ifdef __cplusplus
}
#endif
#ifdef __GNUC__
#pragma GCC visibility pop
#endif

#endif
