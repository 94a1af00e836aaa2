/* The smallest host: it links the library, listens to its log and asks for the coordinate space. */
#include <Velkori_Utility.h>
#include <stdio.h>

static void printLine(velkori_LogLevel level, const char* line) {
    printf("%d %s\n", (int)level, line);
}

int main(void) {
    velkori_CoordinateSpace_ space;
    velkori_initializeLogging(printLine);
    if (velkori_getCoordinateSpace(&space) != velkori_Result_Success) {
        return 1;
    }
    printf("up is (%g, %g, %g)\n", space.up.x, space.up.y, space.up.z);
    return 0;
}
