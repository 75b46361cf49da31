#include "Traffic.h"

#include "Life.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace
{

constexpr int ResetGpio = 3;
constexpr long LossesOfADaemon = 60; // at the most

} // namespace

Figures RunTraffic(uint32_t seed, const Amounts& amounts)
{
    std::mt19937 random(seed);
    Arrivals arrivals;
    Simulator::EventLog events([&arrivals](std::chrono::microseconds, const std::string& event)
                               { arrivals.OnEvent(event); });
    Simulator::Board board(events, ResetGpio);
    std::ofstream(Ledger::PropertiesFile) << Ledger::Properties();

    Figures figures;
    Progress progress;
    std::unique_ptr<Queue> held; // by an application, over a restart
    for (long losses = 0; losses == 0 || progress.losses < amounts.losses;)
    {
        Life life(board, arrivals, amounts, progress, random, figures);
        life.Play(std::min(losses, amounts.losses - progress.losses));
        if (life.IsWithoutLeds())
        {
            ++figures["starts without LEDs, by design"];
            continue;
        }
        losses = std::uniform_int_distribution<long>(1, LossesOfADaemon)(random);
        std::string wrong;
        for (const std::string& problem : life.Problems())
        {
            wrong += problem + "\n";
        }
        if (held && held->Pending() > 0)
        {
            wrong += "a queue of the daemon before is still used\n";
        }
        if (!wrong.empty())
        {
            throw std::runtime_error(wrong);
        }
        held = life.TakeQueue();
        std::cerr << "board " << seed << ": " << progress.losses << " links lost\n";
    }
    return figures;
}
