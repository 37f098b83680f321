/* Prints how many satellites a file holds. */
#include <stdio.h>

#include "vorlandi/vorlandi.h"

int main(int argc, char** argv) {
    if (argc != 2 || VorlanLoadFile(argv[1]) != 0) return 1;
    printf("%d\n", (int)VorlanGetCount());
    return 0;
}
