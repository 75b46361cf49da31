#include "Metrics.h"

#include "BenchKit/ResourceLimit.h"
#include "BenchKit/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

using namespace OrvelGateway;
using testing::HasSubstr;
using testing::Not;

namespace
{

Figures SomeFigures()
{
    Figures figures;
    figures.count.fromLink = 1;
    figures.count.toLink = 2;
    figures.count.confirmed = 3;
    figures.count.refused = 4;
    figures.count.refusedAtOnce = 5;
    figures.count.timedOut = 6;
    figures.count.programsRefused = 7;
    figures.count.invalid = 8;
    figures.count.lost = 9;
    figures.count.linkLosses = 10;
    figures.count.dropped = 11;
    figures.count.unexpected = 12;
    figures.count.buttons = 13;
    figures.count.delivered = 14;
    figures.linkUp = true;
    figures.busLoad = 12.34;
    return figures;
}

TEST(Metrics, AreOneTextThatOthersUnderstand)
{
    EXPECT_EQ(ToOpenMetrics(SomeFigures()),
              "# TYPE orvel_gateway_frames counter\n"
              "# HELP orvel_gateway_frames Frames exchanged with the daemon.\n"
              "orvel_gateway_frames_total{direction=\"from_bus\"} 1\n"
              "orvel_gateway_frames_total{direction=\"to_bus\"} 2\n"
              "# TYPE orvel_gateway_requests counter\n"
              "# HELP orvel_gateway_requests Requests of programs and of the network, and what became of them.\n"
              "orvel_gateway_requests_total{outcome=\"confirmed\"} 3\n"
              "orvel_gateway_requests_total{outcome=\"refused\"} 4\n"
              "orvel_gateway_requests_total{outcome=\"refused_without_link\"} 5\n"
              "orvel_gateway_requests_total{outcome=\"timed_out\"} 6\n"
              "# TYPE orvel_gateway_dropped_frames counter\n"
              "# HELP orvel_gateway_dropped_frames Other frames that came without a link.\n"
              "orvel_gateway_dropped_frames_total 11\n"
              "# TYPE orvel_gateway_unexpected_confirmations counter\n"
              "# HELP orvel_gateway_unexpected_confirmations Confirmations that no request waited for.\n"
              "orvel_gateway_unexpected_confirmations_total 12\n"
              "# TYPE orvel_gateway_button_messages counter\n"
              "# HELP orvel_gateway_button_messages Messages of the programming button.\n"
              "orvel_gateway_button_messages_total 13\n"
              "# TYPE orvel_gateway_programs gauge\n"
              "# HELP orvel_gateway_programs Programs that are connected.\n"
              "orvel_gateway_programs 0\n"
              "# TYPE orvel_gateway_refused_connections counter\n"
              "# HELP orvel_gateway_refused_connections Connections beyond those that may be.\n"
              "orvel_gateway_refused_connections_total 7\n"
              "# TYPE orvel_gateway_invalid_packets counter\n"
              "# HELP orvel_gateway_invalid_packets Packets of programs that were no message.\n"
              "orvel_gateway_invalid_packets_total 8\n"
              "# TYPE orvel_gateway_delivered_messages counter\n"
              "# HELP orvel_gateway_delivered_messages Messages that programs and the network have taken.\n"
              "orvel_gateway_delivered_messages_total 14\n"
              "# TYPE orvel_gateway_lost_messages counter\n"
              "# HELP orvel_gateway_lost_messages Messages for which the buffer of a program had no room.\n"
              "orvel_gateway_lost_messages_total 9\n"
              "# TYPE orvel_gateway_program_lost_messages counter\n"
              "# HELP orvel_gateway_program_lost_messages The same for each program that is connected.\n"
              "# TYPE orvel_gateway_link_up gauge\n"
              "# HELP orvel_gateway_link_up 1 while the link to the bus is usable.\n"
              "orvel_gateway_link_up 1\n"
              "# TYPE orvel_gateway_link_losses counter\n"
              "# HELP orvel_gateway_link_losses Times that the link was lost.\n"
              "orvel_gateway_link_losses_total 10\n"
              "# TYPE orvel_gateway_bus_load_percent gauge\n"
              "# HELP orvel_gateway_bus_load_percent Share of the last period that a line of 9600 bit/s was busy.\n"
              "orvel_gateway_bus_load_percent 12.3\n"
              "# EOF\n");
}

TEST(Metrics, HaveEachProgramWithItsLosses)
{
    Figures figures;
    figures.programs = {{"thermostat", 3, {}}, {"thermostat", 5, {}}};
    figures.programs[1].count.lost = 17;
    const std::string text = ToOpenMetrics(figures);
    EXPECT_THAT(text, HasSubstr("\norvel_gateway_programs 2\n"));
    EXPECT_THAT(text,
                HasSubstr("\norvel_gateway_program_lost_messages_total{program=\"thermostat\",connection=\"3\"} 0\n"
                          "orvel_gateway_program_lost_messages_total{program=\"thermostat\",connection=\"5\"} 17\n"));
}

TEST(Metrics, ANameCannotBreakTheText)
{
    Figures figures;
    figures.programs = {{"a\"} 1\n# EOF\\\xff\x7f z~", 1, {}}};
    EXPECT_THAT(ToOpenMetrics(figures), HasSubstr("{program=\"a?} 1?# EOF??? z~\",connection=\"1\"} 0\n"));
}

TEST(Metrics, HaveTheNetworkOnlyIfThereIsOne)
{
    Figures figures;
    EXPECT_THAT(ToOpenMetrics(figures), Not(HasSubstr("network_")));
    figures.network = Figures::Network{};
    auto& count = figures.network->count;
    figures.network->joined = true;
    count.fromNetwork = 1;
    count.refused = 2;
    count.stoppedFromNetwork = 3;
    count.port.lost = 4;
    count.toNetwork = 5;
    count.stoppedToNetwork = 6;
    count.notSent = 7;
    count.port.othersLost = 8;
    count.port.othersBusy = 9;
    count.port.malformed = 10;
    count.port.ignored = 11;
    const std::string text = ToOpenMetrics(figures);
    for (const char* const line :
         {"network_joined 1", R"(network_telegrams_total{direction="from_network",outcome="confirmed"} 1)",
          R"(network_telegrams_total{direction="from_network",outcome="refused"} 2)",
          R"(network_telegrams_total{direction="from_network",outcome="stopped"} 3)",
          R"(network_telegrams_total{direction="from_network",outcome="lost"} 4)",
          R"(network_telegrams_total{direction="to_network",outcome="sent"} 5)",
          R"(network_telegrams_total{direction="to_network",outcome="stopped"} 6)",
          R"(network_telegrams_total{direction="to_network",outcome="lost"} 7)",
          "network_routers_lost_telegrams_total 8", "network_routers_busy_total 9",
          R"(network_unused_datagrams_total{kind="malformed"} 10)",
          R"(network_unused_datagrams_total{kind="other_service"} 11)"})
    {
        EXPECT_THAT(text, HasSubstr(std::string("\norvel_gateway_") + line + "\n"));
    }
    EXPECT_THAT(text, testing::EndsWith("\n# EOF\n"));
}

class MetricsFileTest : public testing::Test
{
protected:
    std::string Content() const
    {
        std::ifstream stream(File());
        std::ostringstream content;
        content << stream.rdbuf();
        return content.str();
    }

    std::string File() const
    {
        return directory.File("metrics");
    }

    std::size_t Files() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(directory.Path()), {}));
    }

    const TemporaryDirectory directory;
};

TEST_F(MetricsFileTest, IsReplacedAsAWhole)
{
    WriteWhole(File(), "the first, longer text\n");
    std::ifstream reader(File());
    WriteWhole(File(), "the second\n");
    EXPECT_EQ(Content(), "the second\n");
    EXPECT_EQ(Files(), 1U);
    // Whoever had opened the file before reads what he had opened.
    std::string line;
    std::getline(reader, line);
    EXPECT_EQ(line, "the first, longer text");
}

TEST_F(MetricsFileTest, EverybodyMayReadItWhateverTheMask)
{
    const mode_t before = umask(077);
    WriteWhole(File(), "text");
    umask(before);
    struct stat status
    {
    };
    ASSERT_EQ(stat(File().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
}

TEST_F(MetricsFileTest, WhatAnEarlierRunLeftIsOverwritten)
{
    std::ofstream(File() + ".new") << "half of a longer text that was never finished";
    WriteWhole(File(), "text");
    EXPECT_EQ(Content(), "text");
    EXPECT_EQ(Files(), 1U);
}

TEST_F(MetricsFileTest, NobodyLeadsItElsewhereByALink)
{
    std::filesystem::create_symlink(directory.File("elsewhere"), File() + ".new");
    EXPECT_THROW(WriteWhole(File(), "text"), std::system_error);
    EXPECT_FALSE(std::filesystem::exists(directory.File("elsewhere")));
}

TEST_F(MetricsFileTest, DoesNotWaitForAReaderOfWhatIsNoFile)
{
    ASSERT_EQ(mkfifo((File() + ".new").c_str(), 0600), 0);
    EXPECT_THROW(WriteWhole(File(), "text"), std::system_error);
}

TEST_F(MetricsFileTest, FailsWhereItCannotBeWrittenAndLeavesNothing)
{
    EXPECT_THROW(WriteWhole(File() + "/none/metrics", "text"), std::system_error);
    std::filesystem::create_directory(File());
    EXPECT_THROW(WriteWhole(File(), "text"), std::system_error);
    EXPECT_EQ(Files(), 1U);
}

TEST_F(MetricsFileTest, ATextThatTheDiskDoesNotTakeLeavesTheOldOne)
{
    WriteWhole(File(), "old");
    // A file may grow to two bytes: the rest of the text is not taken.
    std::signal(SIGXFSZ, SIG_IGN);
    int error = 0;
    try
    {
        const ResourceLimit twoBytes(RLIMIT_FSIZE, 2);
        errno = 0; // the system reports none for a part that was written
        WriteWhole(File(), "too long");
    }
    catch (const std::system_error& failure)
    {
        error = failure.code().value();
    }
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(error, ENOSPC);
    EXPECT_EQ(Content(), "old");
    EXPECT_EQ(Files(), 1U);
}

} // namespace
