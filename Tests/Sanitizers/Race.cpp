// Two threads use a plain variable at once. "Race deliberate" uses the flag that Tests/Suppressions/tsan.txt names.
// "Race undeliberate" uses a counter beside it in the same object, which nothing names. "Race below" uses that
// counter from a function that the destructor calls; the destructor is named because it writes a flag.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace OrvelDriver
{

// This stands in the place of the daemon's component, whose names the suppressions have.
class Cemi
{
public:
    explicit Cemi(int* theFrames)
        : frames(theFrames)
    {
    }

    __attribute__((noinline)) ~Cemi()
    {
        Count();
    }

    Cemi(const Cemi&) = delete;
    Cemi& operator=(const Cemi&) = delete;

    void Fail()
    {
        failed = true;
    }

    bool HasFailed() const
    {
        return failed;
    }

    __attribute__((noinline)) void Count()
    {
        ++*frames;
    }

private:
    bool failed = false;
    int* frames;
};

} // namespace OrvelDriver

int main(int argc, char** argv)
{
    const std::string kind = argc == 2 ? argv[1] : "";
    int frames = 0;
    auto cemi = std::make_unique<OrvelDriver::Cemi>(&frames);
    if (kind == "deliberate")
    {
        std::thread worker(&OrvelDriver::Cemi::Fail, cemi.get());
        const bool seen = cemi->HasFailed();
        worker.join();
        std::printf("the flag was %s\n", seen ? "set" : "not set yet");
        return EXIT_SUCCESS;
    }
    if (kind == "undeliberate")
    {
        std::thread worker(&OrvelDriver::Cemi::Count, cemi.get());
        cemi->Count();
        worker.join();
        return EXIT_SUCCESS;
    }
    if (kind == "below")
    {
        std::thread worker([&frames] { ++frames; });
        cemi.reset();
        worker.join();
        return EXIT_SUCCESS;
    }
    std::fprintf(stderr, "usage: %s deliberate|undeliberate|below\n", argv[0]);
    return EXIT_FAILURE;
}
