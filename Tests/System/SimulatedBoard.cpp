// The simulated board as the board of the tests.

#include "BenchKit/TestBoard.h"
#include "Board.h"

namespace
{

class SimulatedBoard : public TestBoard
{
public:
    SimulatedBoard(Simulator::EventLog& events, int resetPin)
        : board(events, resetPin)
        , resetGpio(resetPin)
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
        board.Files().TheGpio().Write(resetGpio, Simulator::PinFile::Direction, "in");
        board.Files().TheGpio().Unexport(std::to_string(resetGpio));
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
    const int resetGpio;
};

} // namespace

std::unique_ptr<TestBoard> TestBoard::Make(Simulator::EventLog& events, int resetGpio)
{
    return std::make_unique<SimulatedBoard>(events, resetGpio);
}
