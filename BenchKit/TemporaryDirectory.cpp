#include "BenchKit/TemporaryDirectory.h"

#include "System/ThrowErrno.h"

#include <cstdlib>

TemporaryDirectory::TemporaryDirectory()
{
    std::string pattern = std::filesystem::temp_directory_path() / "orvel-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
    {
        System::ThrowErrno("cannot make " + pattern);
    }
    path = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}
