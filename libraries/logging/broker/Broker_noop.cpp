// Stand-ins for the in-house logging broker, so that code written against it links. They do nothing: this
// library's own messages go to the callback of velkori_initializeLogging alone.

#include "Velkori_Utility.h"

uint64_t brenvik_log(void) {
    return 0;
}

uint64_t brenvik_addSink(void) {
    return 0;
}

uint64_t brenvik_isValidHandle(void) {
    return 0;
}

uint64_t brenvik_findSink(void) {
    return 0;
}
