#include "System/ThrowErrno.h"

#include <system_error>

namespace System
{

void ThrowErrno(const std::string& what, int error)
{
    throw std::system_error(error, std::generic_category(), what);
}

} // namespace System
