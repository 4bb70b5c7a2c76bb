// A driver library that opens and closes and can do nothing else.
#include "uxvisa/visa.h"

#define EXPORTED __attribute__((visibility("default")))

extern "C" {
EXPORTED ViStatus uxOpen(ViSession, ViRsrc, ViAccessMode, ViUInt32, ViPSession vi) {
    *vi = 5;
    return VI_SUCCESS;
}
EXPORTED ViStatus uxClose(ViObject) {
    return VI_SUCCESS;
}
}
