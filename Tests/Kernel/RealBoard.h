#pragma once

#include "GpioTrace.h"
#include "TestBoard.h"

#include <string>

/// The LED and GPIO drivers of the running kernel, and the simulated co-processor behind a pseudo-terminal. Its reset input
/// follows the real pin.
class RealBoard : public TestBoard
{
public:
    /// Throws std::runtime_error with one line that says what the kernel lacks.
    RealBoard(Simulator::EventLog& eventLog, int resetGpio);
    ~RealBoard() override;

    RealBoard(const RealBoard&) = delete;
    RealBoard& operator=(const RealBoard&) = delete;

    Simulator::CoProcessor& TheCoProcessor() override;
    void SetPlugged(bool plugged) override;
    std::vector<Simulator::PinChange> PinChanges() override;
    void StartPinsAnew() override;
    std::vector<std::string> GpioWrites() override;
    Simulator::FaultPlan* Faults() override;

    GpioTrace& Trace();

private:
    Simulator::EventLog& events;
    Simulator::SerialLine line;
    Simulator::CoProcessor coProcessor;
    GpioTrace trace;
};
