#pragma once

#include <string_view>

namespace Simulator
{

// How the kernel reads the text that is written to a file in sysfs. A zero byte ends every text, and one newline at the
// end is allowed. Stateless; any thread may call. The results are error numbers, 0 for success.

/// A number with an optional sign. As in C, "0x" and "0" in front make it hexadecimal and octal: "01" is 1, "08" is
/// EINVAL. Blanks are EINVAL. ERANGE if it does not fit.
int ParseNumber(std::string_view text, long& value);

/// A decimal number without a sign, or with "+". EINVAL and ERANGE as above.
int ParseDecimal(std::string_view text, unsigned long& value);

/// Whether the text is `word`, in the same case.
bool IsWord(std::string_view text, std::string_view word);

} // namespace Simulator
