#pragma once

#include "CoProcessor.h"
#include "EventLog.h"
#include "FaultPlan.h"
#include "Gpio.h"

#include <memory>
#include <string>
#include <vector>

/// The board that the daemon runs on, as the tests use it. The program that runs the tests is linked with one of two:
/// the simulated board, or the drivers of a real kernel with the simulated co-processor behind them.
class TestBoard
{
public:
    /// Builds the board. `resetGpio` is the pin that the co-processor's reset is wired to; no pin is exported yet.
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

    /// How the pins changed so far, in order; times are those of whoever changed them.
    virtual std::vector<Simulator::PinChange> PinChanges() = 0;

    /// No pin is exported any more, and what happened to them is forgotten.
    virtual void StartPinsAnew() = 0;

    /// What was written to the GPIO files so far, as "path text". Nothing where the board cannot tell.
    virtual std::vector<std::string> GpioWrites() = 0;

    /// Failures of system calls, to be set by the test. None where the calls cannot be made to fail.
    virtual Simulator::FaultPlan* Faults() = 0;
};
