// The simulated board as the board of the tests.

#include "Board.h"
#include "TestBoard.h"

namespace
{

class SimulatedBoard : public TestBoard
{
public:
    SimulatedBoard(Simulator::EventLog& events, int resetGpio)
        : board(events, resetGpio)
        , resetPin(std::to_string(resetGpio))
    {
    }

    Simulator::CoProcessor& TheCoProcessor() override
    {
        return board.TheCoProcessor();
    }

    std::vector<Simulator::PinChange> PinChanges() override
    {
        return board.Files().TheGpio().Changes();
    }

    void StartPinsAnew() override
    {
        board.Files().TheGpio().Unexport(resetPin);
        board.Files().TheGpio().Forget();
    }

    std::vector<std::string> GpioWrites() override
    {
        std::vector<std::string> writes;
        for (const auto& write : board.Files().TheGpio().Writes())
        {
            writes.push_back(write.path + " " + write.text);
        }
        return writes;
    }

    Simulator::FaultPlan* Faults() override
    {
        return &board.Files().TheFaults();
    }

private:
    Simulator::Board board;
    const std::string resetPin;
};

} // namespace

std::unique_ptr<TestBoard> TestBoard::Make(Simulator::EventLog& events, int resetGpio)
{
    return std::make_unique<SimulatedBoard>(events, resetGpio);
}
