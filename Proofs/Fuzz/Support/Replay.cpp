// Replaces the fuzzer's own main function with compilers that have none: gives the target each file of the directories
// that are named, once.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C"
{
    int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);
    __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);
}

int main(int argc, char** argv)
{
    if (LLVMFuzzerInitialize != nullptr)
    {
        LLVMFuzzerInitialize(&argc, &argv);
    }
    std::vector<std::filesystem::path> files;
    for (const char* const directory : std::vector<const char*>(argv + 1, argv + argc))
    {
        for (const auto& entry : std::filesystem::directory_iterator(directory))
        {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files)
    {
        std::printf("%s\n", file.c_str());
        std::fflush(stdout);
        std::ifstream stream(file, std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs\n", files.size());
    return files.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
