#pragma once

namespace OrvelDriver
{

/// The revision hash of the source tree that this daemon was built from, 40 lower-case hexadecimal digits.
/// Its definition is generated at build time.
extern const char* const BuildRevision;

} // namespace OrvelDriver
