#include "WiredCoProcessor.h"

WiredCoProcessor::WiredCoProcessor(Simulator::SerialLine& line, Simulator::EventLog& events, int resetGpio)
    : coProcessor(line, events)
    , trace(
          [this, resetGpio](int pin, bool driven, bool high)
          {
              if (pin == resetGpio)
              {
                  coProcessor.SetResetLine(!driven || high);
              }
          })
{
}
