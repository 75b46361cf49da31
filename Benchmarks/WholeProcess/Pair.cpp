#include "Pair.h"

#include "Spread.h"

namespace
{

constexpr std::size_t FramesPerTurn = 500;

// One program's turns, added up.
class Sum
{
public:
    explicit Sum(Subject& measured)
        : subject(measured)
    {
    }

    void Turn(const Load& load)
    {
        const auto used = subject.ProcessorTime();
        const Exchange exchange = subject.TheApplication().Run(FramesPerTurn, load.size, load.underWay);
        processorTime += subject.ProcessorTime() - used;
        duration += exchange.duration;
        roundTrips.insert(roundTrips.end(), exchange.roundTrips.begin(), exchange.roundTrips.end());
        lost += exchange.lost;
        frames += FramesPerTurn;
    }

    Figures Result() const
    {
        const auto count = static_cast<double>(frames);
        Figures figures;
        figures.roundTrip = roundTrips.empty() ? 0 : Spread(roundTrips).median;
        figures.processorTime = std::chrono::duration<double, std::micro>(processorTime).count() / count;
        figures.framesPerSecond = count / std::chrono::duration<double>(duration).count();
        figures.lost = lost;
        return figures;
    }

private:
    Subject& subject;
    std::chrono::nanoseconds processorTime{0};
    std::chrono::nanoseconds duration{0};
    std::vector<double> roundTrips;
    std::size_t lost = 0;
    std::size_t frames = 0;
};

PairOfFigures Measure(Subject& first, Subject& second, const Load& load, std::size_t turns)
{
    // Not counted: at the first time nothing is at hand.
    Sum(first).Turn(load);
    Sum(second).Turn(load);

    Sum ofFirst(first);
    Sum ofSecond(second);
    for (std::size_t turn = 0; turn < turns; ++turn)
    {
        ofFirst.Turn(load);
        ofSecond.Turn(load);
    }
    return {ofFirst.Result(), ofSecond.Result()};
}

} // namespace

std::vector<PairOfFigures> MeasurePair(const Program& first, const Program& second, const std::vector<Load>& loads,
                                       std::size_t turns, const Processors& processors)
{
    Subject one(first, processors);
    Subject other(second, processors);
    std::vector<PairOfFigures> figures;
    figures.reserve(loads.size());
    for (const Load& load : loads)
    {
        figures.push_back(Measure(one, other, load, turns));
    }
    return figures;
}
