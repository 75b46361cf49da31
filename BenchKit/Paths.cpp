#include "BenchKit/Paths.h"

namespace Paths
{

std::string Driver()
{
    return DRIVER;
}

std::string Prepare()
{
    return PREPARE;
}

std::string Client()
{
    return CLIENT;
}

std::string Gateway()
{
    return GATEWAY;
}

std::string Board()
{
    return BOARD;
}

std::string ExampleC()
{
    return EXAMPLE_C;
}

std::string ExampleCpp()
{
    return EXAMPLE_CPP;
}

std::string ExampleGateway()
{
    return EXAMPLE_GATEWAY;
}

std::string StandInLibrary()
{
    return STAND_IN_LIBRARY;
}

std::string TraceLibrary()
{
    return TRACE_LIBRARY;
}

std::string LateThreads()
{
    return LATE_THREADS;
}

std::string EarlyThreads()
{
    return EARLY_THREADS;
}

std::string InSourceTree(const std::string& name)
{
    return SOURCE_TREE "/" + name;
}

std::string InBuildTree(const std::string& name)
{
    return BUILD_TREE "/" + name;
}

} // namespace Paths
