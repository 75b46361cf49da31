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
        const Exchange exchange = subject.Run(FramesPerTurn, load.size, load.underWay);
        processorTime += subject.ProcessorTime() - used;
        duration += exchange.duration;
        roundTrips.insert(roundTrips.end(), exchange.roundTrips.begin(), exchange.roundTrips.end());
        frames += FramesPerTurn;
    }

    Figures Result() const
    {
        const auto count = static_cast<double>(frames);
        Figures figures;
        figures.roundTrip = roundTrips.empty() ? 0 : Spread(roundTrips).median;
        figures.processorTime = std::chrono::duration<double, std::micro>(processorTime).count() / count;
        figures.framesPerSecond = count / std::chrono::duration<double>(duration).count();
        return figures;
    }

private:
    Subject& subject;
    std::chrono::nanoseconds processorTime{0};
    std::chrono::nanoseconds duration{0};
    std::vector<double> roundTrips;
    std::size_t frames = 0;
};

} // namespace

std::vector<PairOfFigures> MeasurePair(const Program& first, const Program& second, const std::vector<Load>& loads,
                                       std::size_t turns, const Processors& processors)
{
    Subject one(first, processors);
    Subject other(second, processors);
    std::vector<Sum> ofOne;
    std::vector<Sum> ofOther;
    ofOne.reserve(loads.size());
    ofOther.reserve(loads.size());
    for (const Load& load : loads)
    {
        // This is not counted, because the first time nothing is prepared.
        Sum(one).Turn(load);
        Sum(other).Turn(load);
        ofOne.emplace_back(one);
        ofOther.emplace_back(other);
    }
    for (std::size_t turn = 0; turn < turns; ++turn)
    {
        for (std::size_t load = 0; load < loads.size(); ++load)
        {
            ofOne[load].Turn(loads[load]);
            ofOther[load].Turn(loads[load]);
        }
    }

    std::vector<PairOfFigures> figures;
    figures.reserve(loads.size());
    for (std::size_t load = 0; load < loads.size(); ++load)
    {
        figures.push_back({ofOne[load].Result(), ofOther[load].Result()});
    }
    return figures;
}
