/* A driver library that tells on standard error what it is called with, and opens "warm" resources
 * with a completion code. */
#include "uxvisa/visatype.h"

#include <stdio.h>
#include <string.h>

#define EXPORTED __attribute__((visibility("default")))

EXPORTED ViStatus uxOpen(ViSession manager, ViRsrc name, ViAccessMode mode, ViUInt32 timeout,
                         ViPSession vi) {
    fprintf(stderr, "uxOpen %lu %s %lu %lu\n", manager, name, mode, timeout);
    if (strstr(name, "cold") != NULL) {
        return VI_ERROR_RSRC_BUSY;
    }
    *vi = 7;
    return strstr(name, "warm") != NULL ? VI_WARN_CONFIG_NLOADED : VI_SUCCESS;
}

EXPORTED ViStatus uxClose(ViObject vi) {
    fprintf(stderr, "uxClose %lu\n", vi);
    return VI_SUCCESS;
}

__attribute__((destructor)) static void Unloaded(void) {
    fprintf(stderr, "unloaded\n");
}
