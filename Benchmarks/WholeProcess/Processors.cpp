#include "Processors.h"

#include <sched.h>
#include <sys/resource.h>

#include <cstddef>
#include <stdexcept>
#include <string>

Processors ChooseProcessors()
{
    cpu_set_t usable;
    CPU_ZERO(&usable);
    sched_getaffinity(0, sizeof(usable), &usable);
    Processors processors{-1, -1};
    for (int processor = 0; processor < CPU_SETSIZE; ++processor)
    {
        if (CPU_ISSET(static_cast<std::size_t>(processor), &usable))
        {
            processors.application = processors.application == -1 ? processor : processors.application;
            processors.subject = processor;
        }
    }
    return processors;
}

void KeepOn(int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(processor), &set);
    if (sched_setaffinity(0, sizeof(set), &set) == -1)
    {
        throw std::runtime_error("cannot use processor " + std::to_string(processor));
    }
}

void RaisePriority()
{
    constexpr int Highest = -20;
    setpriority(PRIO_PROCESS, 0, Highest);
}
