#pragma once

#include "Namespaces.h"

#include <gtest/gtest.h>

#include <linux/capability.h>
#include <sys/prctl.h>

#include <fstream>
#include <thread>

/// Runs `function` on a thread that lacks a capability of root. Programs that it starts lack it too, and end with
/// the thread.
template<typename Function>
void WithoutCapability(int capability, const Function& function)
{
    std::thread(
        [&]
        {
            EXPECT_EQ(prctl(PR_CAPBSET_DROP, capability, 0, 0, 0), 0);
            function();
        })
        .join();
}

/// Runs `function` where no queue may have more than `messages` messages, on a thread without CAP_SYS_RESOURCE,
/// which would lift the limit. Programs that it starts lack the capability too, and end with the thread.
template<typename Function>
void WithMessageLimit(int messages, const Function& function)
{
    int before = 0;
    std::ifstream("/proc/sys/fs/mqueue/msg_max") >> before;
    Simulator::SetMessageLimit(messages);
    WithoutCapability(CAP_SYS_RESOURCE, function);
    Simulator::SetMessageLimit(before);
}
