/*
 * First states: loads an ephemeris file and prints where the satellite is, every minute and a half.
 *
 * From the top folder of the project, once ./dev demo has built the library:
 *
 *   gcc -std=c99 -Iinclude examples/first_states.c -o build/first_states \
 *       -Lbuild/gcc/lib -lvorlandi -Wl,-rpath,$PWD/build/gcc/lib -lm
 *   build/first_states examples/data/81001_stk.e
 *
 * With the installed library: gcc -std=c99 first_states.c -lvorlandi -lm
 */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

/* Every message of the library arrives here; errors say why something could not be done. */
static void printMessage(int32_t severity, const char* text, int32_t length, void* userData) {
    (void)userData;
    if (severity == VORLAN_TRACE_ERROR) fprintf(stderr, "%.*s\n", (int)length, text);
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s EPHEMERIS_FILE\n", argv[0]);
        return 2;
    }
    VorlanTraceSetHandler(printMessage, NULL);

    /* A file becomes one or more satellites in the store, each with a key. */
    if (VorlanLoadFile(argv[1]) != 0 || VorlanGetCount() == 0) {
        fprintf(stderr, "%s: nothing was loaded\n", argv[1]);
        return 1;
    }
    int64_t* keys = malloc((size_t)VorlanGetCount() * sizeof *keys);
    if (keys == NULL) return 1;
    VorlanGetLoaded(2, keys); /* in the order of loading */
    const int64_t key = keys[0];
    free(keys);

    double start, end;
    if (VorlanStartEndTime(key, &start, &end) != 0) return 1;

    /* Any time inside the span has a state; here one every minute and a half, for ten steps. */
    printf("%-26s %14s %14s %14s %12s\n", "time (UTC)", "x (km)", "y (km)", "z (km)", "speed (km/s)");
    for (int step = 0; step < 10; ++step) {
        const double time = start + step * 90.0 / 86400.0;
        double minutes, position[3], velocity[3];
        int32_t revolution;
        if (time > end) break;
        if (VorlanDs50UTC(key, time, &minutes, position, velocity, &revolution) != 0) return 1;
        char text[26];
        VorlanTimeToIso(time, text);
        printf("%.26s %14.6f %14.6f %14.6f %12.6f\n", text, position[0], position[1], position[2],
               sqrt(velocity[0] * velocity[0] + velocity[1] * velocity[1] + velocity[2] * velocity[2]));
    }
    return 0;
}
