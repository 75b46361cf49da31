#include "System/ThrowErrno.h"

#include <gmock/gmock.h>

#include <stdexcept>

using System::ThrowErrno;
using testing::ThrowsMessage;

namespace
{

TEST(ThrowErrno, SaysWhatFailedAndWhy)
{
    EXPECT_THAT([] { ThrowErrno("cannot do this", EACCES); },
                ThrowsMessage<std::runtime_error>("cannot do this: Permission denied"));
}

TEST(ThrowErrno, TakesTheErrorOfTheLastSystemCall)
{
    errno = ENOENT;
    EXPECT_THAT([] { ThrowErrno("cannot do this"); },
                ThrowsMessage<std::runtime_error>("cannot do this: No such file or directory"));
}

} // namespace
