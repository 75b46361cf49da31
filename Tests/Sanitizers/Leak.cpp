// Leaks memory. The address sanitizer reports that too, in every program that ends by itself.

#include <cstdio>
#include <vector>

int main()
{
    const auto* lost = new std::vector<int>(100);
    std::printf("%zu\n", lost->size());
    lost = nullptr;
}
