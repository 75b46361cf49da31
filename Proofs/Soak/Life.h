#pragma once

#include "Applications.h"
#include "Arrivals.h"
#include "Board.h"
#include "Ledger.h"
#include "LoggedDaemon.h"
#include "Traffic.h"

#include <memory>
#include <random>
#include <string>
#include <vector>

/// What a process holds.
struct Resources
{
    long descriptors = 0;
    long threads = 0;
    long memory = 0; ///< KiB, resident

    static Resources Of(pid_t process);
};

/// One daemon from start to end, whose link is lost again and again among other troubles, and the account of all
/// messages.
class Life
{
public:
    Life(Simulator::Board& theBoard, Arrivals& theArrivals, const Amounts& theAmounts, Progress& theProgress,
         std::mt19937& theRandom, Figures& theFigures);

    /// Loses the link so many times. If that is none, everything that is sent must arrive.
    void Play(long losses);

    /// What is wrong; empty if everything is accounted for.
    const std::vector<std::string>& Problems() const
    {
        return problems;
    }

    /// The LED worker came before its table. Such a daemon serves no LED, and was not used.
    bool IsWithoutLeds() const
    {
        return !applications;
    }

    /// The link was never lost, so everything that was sent has arrived.
    bool IsQuiet() const
    {
        return quiet;
    }

    /// What an application keeps open while the daemon restarts.
    std::unique_ptr<Queue> TakeQueue()
    {
        return applications->TakeQueue();
    }

private:
    long Random(long from, long to);
    void Require(bool holds, const std::string& otherwise);

    void Disturb();
    void LoseLink();
    void UnlinkSome();
    void Settle();
    void CheckLeds();
    void Compare(const Resources& atStart, const Resources& atEnd);
    void EndDaemon();
    void Account();
    void AccountDaemon();
    void AccountToLink();
    void AccountFromLink();
    void AccountDevices();

    Simulator::Board& board;
    Simulator::CoProcessor& coProcessor;
    Arrivals& arrivals;
    const Amounts amounts;
    Progress& progress;
    std::mt19937& random;
    Figures& figures;
    const long ledStatesBefore;
    const long ledReportsBefore;
    Ledger ledger;
    LoggedDaemon daemon;
    std::unique_ptr<Applications> applications;
    Applications::Record record;
    bool quiet = false; // the link was never lost
    int status = 0;
    std::vector<std::string> problems;
};
