#pragma once

#include "CoProcessor.h"
#include "GpioTrace.h"

/// The simulated co-processor on a real kernel: its reset input follows the real pin.
class WiredCoProcessor
{
public:
    /// `resetGpio` is the pin. Throws std::runtime_error with one line that says what the kernel lacks.
    WiredCoProcessor(Simulator::SerialLine& line, Simulator::EventLog& events, int resetGpio);

    Simulator::CoProcessor& TheCoProcessor()
    {
        return coProcessor;
    }

    GpioTrace& Trace()
    {
        return trace;
    }

private:
    Simulator::CoProcessor coProcessor;
    GpioTrace trace;
};
