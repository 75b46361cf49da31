#include "StatusReport.h"

#include <gmock/gmock.h>

#include <cerrno>

using OrvelClient::FindingsOf;
using OrvelClient::IsWell;
using OrvelClient::LineOf;
using OrvelClient::StatusReport;
using OrvelClient::ToJson;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

// Of a board where all is well.
StatusReport WellReport()
{
    StatusReport report;
    report.daemons.certain.push_back({"1234", "orvel", true});
    report.gateway = {"/run/orvel/gateway", true, ""};
    report.linkState = 1;
    report.queues = {{"/cemiFromLL", 0, 0, 14}, {"/cemiToLL", 0, 3, 14}, {"/progButton", 0, 0, 6}};
    report.leds = {{"prg1", true}, {"knx", true}};
    report.counters.file = "/run/orvel/gateway.metrics";
    report.counters.age = std::chrono::seconds(3);
    report.counters.metrics = {{"frames.from_bus", 120},
                               {"frames.to_bus", 30},
                               {"requests.confirmed", 29},
                               {"requests.refused", 1},
                               {"requests.refused_without_link", 0},
                               {"requests.timed_out", 0},
                               {"programs", 2},
                               {"refused_connections", 0},
                               {"invalid_packets", 0},
                               {"lost_messages", 0},
                               {"bus_load_percent", 2.5},
                               {"link_losses", 1}};
    return report;
}

std::vector<std::string> Lines(const StatusReport& report)
{
    std::vector<std::string> lines;
    for (const auto& finding : FindingsOf(report))
    {
        lines.push_back(LineOf(finding));
    }
    return lines;
}

TEST(StatusReport, HasALineForEachThing)
{
    EXPECT_THAT(Lines(WellReport()),
                ElementsAre("ok    daemon                 is process 1234\n",
                            "ok    gateway                answers at /run/orvel/gateway\n",
                            "ok    link                   is usable\n",
                            "ok    /cemiFromLL            0 of 14 messages wait\n",
                            "ok    /cemiToLL              3 of 14 messages wait\n",
                            "ok    /progButton            0 of 6 messages wait\n",
                            "ok    LEDs                   prg1, knx are there\n",
                            "ok    frames                 120 from the bus, 30 to it\n",
                            "ok    requests               29 confirmed, 1 refused, 0 refused without a link, "
                            "0 timed out\n",
                            "ok    programs               2 connected, 0 refused, 0 invalid packets, 0 lost messages\n",
                            "ok    bus                    2.5 % load, 1 times without a link\n"));
    EXPECT_TRUE(IsWell(WellReport()));
}

TEST(StatusReport, IsAnObjectForPrograms)
{
    StatusReport report = WellReport();
    report.counters.metrics = {{"frames.from_bus", 120}, {"bus_load_percent", 2.5}};
    EXPECT_EQ(ToJson(report),
              R"({"well":true,"daemons":[1234],"gateway":"/run/orvel/gateway","link":"usable",)"
              R"("queues":{"/cemiFromLL":{"waiting":0,"capacity":14},"/cemiToLL":{"waiting":3,"capacity":14},)"
              R"("/progButton":{"waiting":0,"capacity":6}},"leds":{"prg1":true,"knx":true},)"
              R"("counters":{"bus_load_percent":2.5,"frames.from_bus":120},"problems":[]})");
}

TEST(StatusReport, WhatIsNotKnownIsNullForPrograms)
{
    StatusReport report;
    report.queues = {{"/cemiFromLL", ENOENT}};
    report.leds = {{"prg1", false}};
    EXPECT_EQ(ToJson(report), R"({"well":false,"daemons":[],"gateway":null,"link":null,"queues":{"/cemiFromLL":null},)"
                              R"("leds":{"prg1":false},"counters":null,"problems":["daemon does not run",)"
                              R"("/cemiFromLL is not there","LEDs prg1 are not there"]})");
}

TEST(StatusReport, WithoutAGatewayAllCanBeWell)
{
    StatusReport report = WellReport();
    report.gateway.answers = false;
    report.linkState.reset();
    EXPECT_TRUE(IsWell(report));
    const auto lines = Lines(report);
    EXPECT_THAT(lines, Contains("ok    gateway                does not run: applications use the queues, one at a "
                                "time\n"));
    EXPECT_THAT(lines, Contains("ok    link                   is not known: only a gateway can tell it without taking "
                                "the message\n"));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("frames")))); // they would be those of an earlier one
}

TEST(StatusReport, WhatIsWrongSaysSo)
{
    const std::vector<std::pair<std::string, void (*)(StatusReport & report)>> wrong{
        {"fail  daemon                 does not run", [](StatusReport& report) { report.daemons = {}; }},
        {"fail  daemon                 is not seen, but not every process is: run this as root",
         [](StatusReport& report) {
             report.daemons = {{}, {}, 0, true};
         }},
        {"fail  daemon                 runs more than once, as the processes 1234, 5: they take the link from each "
         "other",
         [](StatusReport& report) {
             report.daemons.certain.push_back({"5", "orvel", true});
         }},
        {"fail  gateway                no gateway listens",
         [](StatusReport& report) {
             report.gateway = {"/x", false, "no gateway listens"};
         }},
        {"fail  link                   is lost", [](StatusReport& report) { report.linkState = 0xFFFF; }},
        {"fail  /cemiFromLL            is not there", [](StatusReport& report) { report.queues[0].error = ENOENT; }},
        {"warn  /cemiFromLL            is not for this user: be root, or in the group orvel",
         [](StatusReport& report) { report.queues[0].error = EACCES; }},
        {"warn  /cemiFromLL            14 of 14 messages wait: nobody reads them, and what comes is dropped",
         [](StatusReport& report) { report.queues[0].waiting = 14; }},
        {"warn  /cemiToLL              14 of 14 messages wait: the daemon does not take them",
         [](StatusReport& report) { report.queues[1].waiting = 14; }},
        {"fail  LEDs                   knx are lost: a restart of the daemon makes them anew",
         [](StatusReport& report) { report.leds[1].isThere = false; }},
        {"warn  counters               are 31 s old: /run/orvel/gateway.metrics is not of the gateway that runs",
         [](StatusReport& report) { report.counters.age = std::chrono::seconds(31); }},
    };
    for (const auto& [line, change] : wrong)
    {
        StatusReport report = WellReport();
        change(report);
        EXPECT_FALSE(IsWell(report)) << line;
        EXPECT_THAT(Lines(report), Contains(line + "\n"));
    }
}

TEST(StatusReport, ADaemonThatThisUserMayNotLookIntoRuns)
{
    StatusReport report = WellReport();
    report.daemons.certain.clear();
    report.daemons.possible.push_back({"77", "orvel", false});
    EXPECT_TRUE(IsWell(report));
    EXPECT_THAT(Lines(report).front(),
                "ok    daemon                 is process 77 by its name; this user may not look into it\n");
    EXPECT_THAT(ToJson(report), StartsWith(R"({"well":true,"daemons":[77],)"));
}

TEST(StatusReport, AGatewayThatWritesNoCountersIsWell)
{
    StatusReport report = WellReport();
    report.counters.age.reset();
    report.counters.metrics.clear();
    EXPECT_TRUE(IsWell(report));
    EXPECT_THAT(Lines(report), Contains("ok    counters               none: the gateway does not write "
                                        "/run/orvel/gateway.metrics (--metrics)\n"));
}

} // namespace
