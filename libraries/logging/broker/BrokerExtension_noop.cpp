// Stand-ins for the logging broker's handlers of fatal errors; see Broker_noop.cpp.

#include "Velkori_Utility.h"

void brenvik_logFatalError(void) {}

void brenvik_setFatalLogHandler(void) {}

uint64_t brenvik_getFatalLogHandler(void) {
    return 0;
}

uint64_t brenvik_hasCustomFatalLogHandler(void) {
    return 0;
}
