/* driver_leaver RESOURCE...: opens the resources, tells the statuses on standard error and exits
 * with all of them open. */
#include "uxvisa/visa.h"

#include <stdio.h>

int main(int count, char** resources) {
    ViSession manager = 0;
    ViSession vi = 0;
    int i;
    if (viOpenDefaultRM(&manager) != VI_SUCCESS) {
        return 2;
    }
    for (i = 1; i < count; ++i) {
        const ViStatus status = viOpen(manager, resources[i], VI_NO_LOCK, 1234, &vi);
        fprintf(stderr, "status %08lX\n", (unsigned long)status & 0xFFFFFFFFUL);
    }
    fprintf(stderr, "leaving\n");
    return 0;
}
