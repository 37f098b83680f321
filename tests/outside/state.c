/* Loads a file and prints a position, as the programs beside it do. */
#include <stdio.h>

#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

int main(int argc, char** argv) {
    double position[3];
    int64_t key;
    if (argc != 2 || (key = VorlanAddSatFrFile(argv[1])) <= 0) return 1;
    if (VorlanDs50UTC(key, VorlanTimeFromText("2026-01-31T01:00:30", 19), NULL, position, NULL, NULL) != 0) return 1;
    printf("%.6f %.6f %.6f\n", position[0], position[1], position[2]);
    return 0;
}
