#include "GuardedText.h"

#include <sys/mman.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <system_error>

namespace UnitTests
{

namespace
{

constexpr std::size_t PageSize = 65536; // a multiple of every page size that there is

void* page = nullptr;
volatile std::sig_atomic_t wasRead = 0;
struct sigaction previous;

void HandleFault(int /*signal*/, siginfo_t* information, void* /*context*/)
{
    const auto address = reinterpret_cast<std::uintptr_t>(information->si_addr);
    const auto begin = reinterpret_cast<std::uintptr_t>(page);
    if (wasRead == 0 && address >= begin && address - begin < PageSize)
    {
        wasRead = 1;
        mprotect(page, PageSize, PROT_READ);
    }
    else
    {
        sigaction(SIGSEGV, &previous, nullptr); // somebody else's fault, which comes again
    }
}

void Check(bool succeeded)
{
    if (!succeeded)
    {
        throw std::system_error(errno, std::generic_category(), "guarded text");
    }
}

} // namespace

GuardedText::GuardedText(const std::string& text)
{
    // cppcheck-suppress invalidFunctionArg ; -1 is what there is to give where no file is mapped
    page = mmap(nullptr, PageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    Check(page != MAP_FAILED);
    std::memcpy(page, text.c_str(), text.size() + 1);
    wasRead = 0;
    struct sigaction action = {};
    action.sa_sigaction = &HandleFault;
    action.sa_flags = SA_SIGINFO;
    Check(sigaction(SIGSEGV, &action, &previous) == 0);
    Check(mprotect(page, PageSize, PROT_NONE) == 0);
}

GuardedText::~GuardedText()
{
    sigaction(SIGSEGV, &previous, nullptr);
    munmap(page, PageSize);
}

char* GuardedText::Get() const
{
    return static_cast<char*>(page);
}

bool GuardedText::WasRead() const
{
    return wasRead != 0;
}

} // namespace UnitTests
