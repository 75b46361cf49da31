#pragma once

#include "CoProcessor.h"
#include "EventLog.h"
#include "FaultPlan.h"
#include "Gpio.h"

#include <memory>
#include <string>
#include <vector>

/// The board that the daemon runs on, as the tests use it. Each program that runs the tests is linked with one of
/// two: the simulated board, or the drivers of a real kernel with the simulated co-processor behind them.
class TestBoard
{
public:
    /// Builds the board. `resetGpio` is the pin of the co-processor's reset. No pin is exported yet.
    static std::unique_ptr<TestBoard> Make(Simulator::EventLog& events, int resetGpio);

    TestBoard() = default;
    virtual ~TestBoard() = default;

    TestBoard(const TestBoard&) = delete;
    TestBoard& operator=(const TestBoard&) = delete;

    virtual Simulator::CoProcessor& TheCoProcessor() = 0;

    /// Pulls or plugs the serial line.
    void SetPlugged(bool plugged)
    {
        TheCoProcessor().SetPlugged(plugged);
    }

    /// How the pins changed so far, in order. The times are those at which the changes were made.
    virtual std::vector<Simulator::PinChange> PinChanges() = 0;

    /// Unexports all pins and forgets what happened to them.
    virtual void StartPinsAnew() = 0;

    /// What was written to the GPIO files so far, as "path text"; empty if the board cannot say.
    virtual std::vector<std::string> GpioWrites() = 0;

    /// Failures of system calls that the test sets; none if the calls cannot be made to fail.
    virtual Simulator::FaultPlan* Faults() = 0;
};
