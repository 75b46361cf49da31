// For the fuzzers that need queues or mounts.

#include "BenchKit/Sandboxed.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv)
{
    if (!IsInside())
    {
        _exit(RunInside(*argv));
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a killed fuzzer takes the one inside with it
    return 0;
}
