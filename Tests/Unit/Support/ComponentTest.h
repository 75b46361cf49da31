#pragma once

#include "Bytes.h"
#include "CapturedLog.h"
#include "Kernel.h"
#include "ScriptedHub.h"

#include <gtest/gtest.h>
#include <log4cplus/hierarchy.h>
#include <log4cplus/logger.h>

#include <string>
#include <vector>

namespace UnitTests
{

using Texts = std::vector<std::string>;

/// The surroundings of a component, all new: the scripted hub, the captured log and the real kernel.
class ComponentTest : public testing::Test
{
protected:
    ComponentTest()
    {
        hub.Reset();
        Kernel::Restore();
    }

    ~ComponentTest() override
    {
        log4cplus::Logger::getDefaultHierarchy().resetConfiguration();
        Kernel::Restore();
    }

    ScriptedHub& hub = ScriptedHub::Instance();
    const log4cplus::helpers::SharedObjectPtr<CapturedLog> log = CapturedLog::Attach();
};

} // namespace UnitTests
