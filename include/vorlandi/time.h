/*
 * libvorlandi: times. Date texts, time scales and the leap-second table.
 *
 * Ds50UTC is a time in days since 1950 Jan 0.0 UTC: 1950 Jan 1 00:00 is 1.0. Texts are fixed-length,
 * blank-padded character arrays without terminator. Every function may be called from any thread.
 */
#ifndef VORLANDI_TIME_H
#define VORLANDI_TIME_H

#include <stdint.h>

#ifdef __GNUC__
#pragma GCC visibility push(default)
#endif
#ifdef __cplusplus
extern "C" {
#endif

/* ---- Times ---- */

/*
 * Reads a date text.
 *
 *   text     in  [textLen] the text; a NUL ends it early
 *   textLen  in  length of the text, 0 or more
 *
 * Returns the time as Ds50UTC; 0.0 if the text is not a date (nor is a null text or one of negative length).
 *
 * The forms:
 *
 *   YYDDDHHMMSS.SSS             24061120030.500
 *   YYYYDDDHHMMSS.SSS           2024061120030.500
 *   YYDDD.DDDDDDDD              24061.50035301
 *   YYYYDDD.DDDDDDDD            2024061.50035301
 *   YYYY/DDD HHMM SS.SSS        2024/061 1200 30.500
 *   YYYYMonDDHHMMSS.SSS         2024Mar01120030.500
 *   DD Mon YYYY HH:MM:SS.SSS    01 Mar 2024 12:00:30.500
 *   YYYY/MM/DD HH:MM:SS.SSS     2024/03/01 12:00:30.500
 *   YYYY-MM-DDTHH:MM:SS.SSS     2024-03-01T12:00:30.5Z     (T may be a blank, Z may be missing)
 *   YYYY-DDDTHH:MM:SS.SSS       2024-061T12:00:30.5        (the same; always three digits for the day)
 *
 * Any number of digits may follow the point. Two-digit years 57 to 99 are 1957 to 1999, 00 to 56 are 2000 to 2056. A
 * year has one digit only after a blank: "4061.5" is not a date.
 */
double VorlanTimeFromText(const char* text, int32_t textLen);

/*
 * Writes a time as YYDDDHHMMSS.SSS, rounded to the millisecond.
 *
 *   ds50UTC  in   days since 1950, UTC, in the years 1900 to 2199
 *   text     out  [15] blanks if the time is not finite or lies outside those years
 */
void VorlanTimeToText15(double ds50UTC, char text[15]);

/*
 * Writes a time as YYYY-MM-DDTHH:MM:SS.ffffff, rounded to the microsecond.
 *
 *   ds50UTC  in   days since 1950, UTC, in the years 1900 to 2199
 *   text     out  [26] blanks if the time is not finite or lies outside those years
 */
void VorlanTimeToIso(double ds50UTC, char text[26]);

/*
 * Turns a time on the UTC scale into the same time on the TAI scale; before 1972 TAI - UTC counts as 10 s.
 *
 *   ds50UTC  in  days since 1950, UTC
 *
 * Returns days since 1950, TAI.
 */
double VorlanTimeUtcToTai(double ds50UTC);

/*
 * The inverse of VorlanTimeUtcToTai, to within one unit in the last place of the TAI time. A time inside a
 * leap second continues the old day: 23:59:60.5 is half a second after 0h of the next day.
 *
 *   ds50TAI  in  days since 1950, TAI
 *
 * Returns days since 1950, UTC.
 */
double VorlanTimeTaiToUtc(double ds50TAI);

/*
 * Replaces the leap-second table by that of a leap-seconds.list file, as the IERS and NIST publish it.
 *
 *   fileName  in  [512] name of the file
 *
 * Returns 0; the errno if the file can't be opened; 2 if any of it is bad, or if memory is short. On failure the old
 * table stays whole.
 * Messages: "VorlanTimeLoadLeapSeconds: ..." with file and line, where the content is bad, or "Out of memory.".
 * Threads: may run beside any other call; each conversion uses the old table or the new one.
 */
int32_t VorlanTimeLoadLeapSeconds(const char* fileName);

#ifdef __cplusplus
}
#endif
#ifdef __GNUC__
#pragma GCC visibility pop
#endif

#endif
