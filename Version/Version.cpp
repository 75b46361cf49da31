#include "Version.h"

namespace OrvelVersion
{

extern const char* const BuildRevision; // 40 digits; its definition is generated at build time

std::string VersionText(const std::string& program)
{
    return program + " " ORVEL_VERSION " (revision " + BuildRevision + ")\n";
}

} // namespace OrvelVersion
