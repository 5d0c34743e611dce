// SPDX-License-Identifier: MIT
#include "DescriptorLimit.h"

#include <sys/resource.h>

void raiseDescriptorLimit()
{
    rlimit limits = {};
    if (getrlimit(RLIMIT_NOFILE, &limits) != 0)
        return;
    limits.rlim_cur = limits.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limits); // the soft limit does, too
}
