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
constexpr int MostInARow = 20;       // of what a busy machine may cause

std::string Joined(const std::vector<std::string>& problems)
{
    std::string text;
    for (const std::string& problem : problems)
    {
        text += problem + "\n";
    }
    return text;
}

} // namespace

Figures RunTraffic(uint32_t seed, const Amounts& amounts)
{
    std::mt19937 random(seed);
    Arrivals arrivals;
    Simulator::EventLog events([&arrivals](std::chrono::microseconds, const Simulator::Event& event)
                               { arrivals.OnEvent(event); });
    Simulator::Board board(events, ResetGpio);
    std::ofstream(Ledger::PropertiesFile) << Ledger::Properties();

    Figures figures;
    Progress progress;
    std::unique_ptr<Queue> held; // by an application, over a restart
    long losses = 0;             // until a daemon has lost no link: there nothing may be lost at all
    int withoutLeds = 0;
    int restless = 0;
    while (losses == 0 || progress.losses < amounts.losses)
    {
        Life life(board, arrivals, amounts, progress, random, figures);
        life.Play(std::min(losses, amounts.losses - progress.losses));
        std::string wrong = Joined(life.Problems());
        if (life.IsWithoutLeds())
        {
            ++figures["starts without LEDs, by design"];
            if (++withoutLeds == MostInARow)
            {
                wrong += "daemons get no LEDs\n";
            }
            if (!wrong.empty())
            {
                throw std::runtime_error(wrong);
            }
            continue;
        }
        withoutLeds = 0;
        if (losses > 0 || life.IsQuiet())
        {
            losses = std::uniform_int_distribution<long>(1, LossesOfADaemon)(random);
        }
        else if (++restless == MostInARow)
        {
            wrong += "links are lost that nobody cuts\n";
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
