// Compares how the simulated kernel and the C library read numbers and words that are written to the kernel's files.
// The input is the text.

#include "KernelText.h"

#include "Expect.h"

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace Simulator;

namespace
{

struct Number
{
    int error;
    unsigned long magnitude; // of what the digits say, also of a negative number
};

// A number without a sign, up to the end or to a newline at the end.
Number MagnitudeOf(const std::string& text, int base)
{
    if (text.empty() || std::isalnum(static_cast<unsigned char>(text[0])) == 0)
    {
        return {EINVAL, 0}; // where the C library would take blanks and signs
    }
    char* rest = nullptr;
    errno = 0;
    const unsigned long magnitude = std::strtoul(text.c_str(), &rest, base);
    const int error = errno;
    if (error == ERANGE)
    {
        return {ERANGE, 0};
    }
    const std::string behind = rest;
    return {rest != text.c_str() && (behind.empty() || behind == "\n") ? 0 : EINVAL, magnitude};
}

void CheckNumber(const std::string& text)
{
    const bool negative = text[0] == '-';
    const bool isSigned = negative || text[0] == '+';
    Number wanted = MagnitudeOf(text.substr(isSigned ? 1 : 0), 0);
    const unsigned long limit = static_cast<unsigned long>(INT64_MAX) + (negative ? 1 : 0);
    if (wanted.error == 0 && wanted.magnitude > limit)
    {
        wanted.error = ERANGE;
    }
    long value = 0;
    Fuzz::ExpectEqual("the number's error", ParseNumber(text, value), wanted.error);
    if (wanted.error == 0)
    {
        const unsigned long magnitude =
            value < 0 ? 0UL - static_cast<unsigned long>(value) : static_cast<unsigned long>(value);
        Fuzz::ExpectEqual("the number", magnitude, wanted.magnitude);
        Fuzz::Expect("its sign", value == 0 || (value < 0) == negative);
    }
}

void CheckDecimal(const std::string& text)
{
    const Number wanted = MagnitudeOf(text.substr(text[0] == '+' ? 1 : 0), 10);
    unsigned long value = 0;
    Fuzz::ExpectEqual("the decimal number's error", ParseDecimal(text, value), wanted.error);
    if (wanted.error == 0)
    {
        Fuzz::ExpectEqual("the decimal number", value, wanted.magnitude);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string whole(data, data + size); // zero bytes included: what is behind the first does not count
    const std::string text = whole.substr(0, whole.find('\0'));
    CheckNumber(text);
    CheckDecimal(text);
    for (const char* const word : {"in", "out", "low", "high"})
    {
        Fuzz::ExpectEqual(word, IsWord(whole, word), text == word || text == word + std::string("\n"));
    }
    long first = 0;
    long second = 0;
    Fuzz::ExpectEqual("the zero byte as the end", ParseNumber(whole, first), ParseNumber(text, second));
    Fuzz::ExpectEqual("the number before the zero byte", first, second);
    return 0;
}
