#pragma once

#include "BenchKit/TestBoard.h"
#include "WiredCoProcessor.h"

#include <string>

/// The LED and GPIO drivers of the running kernel, and the simulated co-processor behind a pseudo-terminal.
class RealBoard : public TestBoard
{
public:
    /// Throws std::runtime_error with one line that says what the kernel lacks.
    RealBoard(Simulator::EventLog& eventLog, int resetGpio);
    ~RealBoard() override;

    RealBoard(const RealBoard&) = delete;
    RealBoard& operator=(const RealBoard&) = delete;

    Simulator::CoProcessor& TheCoProcessor() override;
    std::vector<Simulator::PinChange> PinChanges() override;
    void StartPinsAnew() override;
    std::vector<std::string> GpioWrites() override;
    Simulator::FaultPlan* Faults() override;

    GpioTrace& Trace();

private:
    Simulator::SerialLine line;
    WiredCoProcessor coProcessor;
};
