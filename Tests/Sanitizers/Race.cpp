// Two threads use a plain variable at once: "Race deliberate" the flag that Tests/Suppressions/tsan.txt names, "Race
// undeliberate" a counter beside it in the same object, which nothing names.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

namespace OrvelDriver
{

// In the place of the daemon's component, whose names the suppressions have.
class Cemi
{
public:
    void Fail()
    {
        failed = true;
    }

    bool HasFailed() const
    {
        return failed;
    }

    void Count()
    {
        ++frames;
    }

private:
    bool failed = false;
    int frames = 0;
};

} // namespace OrvelDriver

int main(int argc, char** argv)
{
    const std::string kind = argc == 2 ? argv[1] : "";
    OrvelDriver::Cemi cemi;
    if (kind == "deliberate")
    {
        std::thread worker(&OrvelDriver::Cemi::Fail, &cemi);
        const bool seen = cemi.HasFailed();
        worker.join();
        std::printf("the flag was %s\n", seen ? "set" : "not set yet");
        return EXIT_SUCCESS;
    }
    if (kind == "undeliberate")
    {
        std::thread worker(&OrvelDriver::Cemi::Count, &cemi);
        cemi.Count();
        worker.join();
        return EXIT_SUCCESS;
    }
    std::fprintf(stderr, "usage: %s deliberate|undeliberate\n", argv[0]);
    return EXIT_FAILURE;
}
