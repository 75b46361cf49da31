#pragma once

#include "DaemonLog.h"
#include "KnxBus.h"
#include "Program.h"

#include "Board.h"
#include "EventLog.h"
#include "LoggedDaemon.h"

#include "System/Process.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

/// 32 programs on one gateway on one daemon, and an account of every message. Everything happens in one thread, but for the
/// board and the daemon's log.
class Soak
{
public:
    /// How much there is to be.
    struct Amounts
    {
        long frames = 0;   ///< from the link: telegrams from the bus, and confirmed requests
        long daemons = 0;  ///< restarts
        long gateways = 0; ///< restarts
    };

    /// What there was, by name, in the order of the account.
    using Account = std::vector<std::pair<std::string, long>>;

    Soak(uint32_t seed, const Amounts& theAmounts);
    ~Soak();

    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;

    /// Throws Mismatch with the first thing that does not add up.
    Account Run();

private:
    using Clock = std::chrono::steady_clock;

    enum class End
    {
        Quiet,      ///< by SIGTERM when all is done: nothing may be missing
        Terminated, ///< by SIGTERM in the midst of it
        Killed
    };

    long Random(long from, long to);

    // One turn of everything.
    void Turn();
    void Wait();
    void TakeArrivals();
    void Observe();
    void CheckObserved();
    void Inject();
    void TendDaemon();
    void Tend();

    template<typename Condition>
    void TurnUntil(const Condition& condition, const std::string& otherwise);
    template<typename Condition, typename Otherwise>
    void TurnUntilThat(const Condition& condition, const Otherwise& otherwise);

    bool IsStable() const;
    bool IsEven() const;
    std::string WhatIsMissing() const;

    void StartDaemon();
    void TroubleDaemon();
    void PressButton();
    void StartGateway();
    void EndGateway(End end);
    void BecomeQuiet();
    void CheckVanished();
    void CheckCounters();
    std::string WrongCounter();
    void CheckGatewayLog();
    std::map<std::string, double> Metrics() const;
    Account Sum();

    const Amounts amounts;
    std::mt19937 random;
    KnxBus bus;
    Simulator::EventLog events;
    Simulator::Board board;
    DaemonLog log;
    std::unique_ptr<LoggedDaemon> daemon;
    std::unique_ptr<System::Process> gateway;
    Program::Whole whole;
    std::vector<Program> programs; // the observer first

    // The daemon.
    int endsWith = 0; // status that it is about to end with
    bool isEnding = false;
    Clock::time_point startsAt;
    long usableSinceStart = 0; // how often all heard that
    long listenersBefore = 0;  // of the daemons before

    // The observer's account against the daemon's.
    std::vector<DaemonLog::Entry> said; // by the daemons
    std::size_t saidAt = 0;             // as far as the observer has heard
    std::size_t checked = 0;            // of what it has heard
    bool isFirst = true;                // frame of this gateway: those before may have gone with the last one

    // Of this gateway.
    bool beganQuiet = true;
    std::size_t saidBefore = 0;
    long doubtful = 0; // frames that nobody knows whether the daemon sent
    long arrivedHere = 0;
    long propertiesHere = 0;
    uint32_t firstRequest = 1;

    // Of all.
    uint32_t lastHeard = 0; // telegram
    Clock::time_point heardAt;
    long telegrams = 0;
    long requests = 0;
    long buttons = 0;
    std::map<std::string, long> figures;
    Sums sums;
};
