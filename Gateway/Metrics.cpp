#include "Metrics.h"

#include "System/Descriptor.h"
#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace OrvelGateway
{

namespace
{

// A name may hold anything. What is not printable ASCII, or has a meaning in the format, becomes a question mark.
std::string LabelValue(const std::string& text)
{
    std::string value;
    for (const char character : text)
    {
        const bool isPlain = character >= ' ' && character <= '~' && character != '"' && character != '\\';
        value += isPlain ? character : '?';
    }
    return value;
}

class Text
{
public:
    /// The samples of a family follow it.
    void Family(const std::string& name, const char* type, const char* help)
    {
        family = "orvel_gateway_" + name;
        suffix = type == std::string("counter") ? "_total" : "";
        text += "# TYPE " + family + " " + type + "\n# HELP " + family + " " + help + "\n";
    }

    /// `labels` as 'direction="to_bus"'.
    void Sample(const std::string& value, const std::string& labels = "")
    {
        text += family + suffix + (labels.empty() ? "" : "{" + labels + "}") + " " + value + "\n";
    }

    void Sample(uint64_t value, const std::string& labels = "")
    {
        Sample(std::to_string(value), labels);
    }

    void Counter(const std::string& name, const char* help, uint64_t value)
    {
        Family(name, "counter", help);
        Sample(value);
    }

    void Gauge(const std::string& name, const char* help, uint64_t value)
    {
        Family(name, "gauge", help);
        Sample(value);
    }

    std::string End()
    {
        return std::move(text) + "# EOF\n";
    }

private:
    std::string text;
    std::string family;
    std::string suffix;
};

std::string WithOneDigit(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return text.data();
}

void AddPrograms(Text& text, const Figures& figures)
{
    text.Gauge("programs", "Programs that are connected.", figures.programs.size());
    text.Counter("refused_connections", "Connections beyond those that may be.", figures.count.programsRefused);
    text.Counter("invalid_packets", "Packets of programs that were no message.", figures.count.invalid);
    text.Counter("delivered_messages", "Messages that programs and the network have taken.", figures.count.delivered);
    text.Counter("lost_messages", "Messages for which the buffer of a program had no room.", figures.count.lost);
    text.Family("program_lost_messages", "counter", "The same for each program that is connected.");
    for (const auto& program : figures.programs)
    {
        text.Sample(program.count.lost, "program=\"" + LabelValue(program.name) + "\",connection=\"" +
                                            std::to_string(program.connection) + "\"");
    }
}

void AddNetwork(Text& text, const Figures::Network& network)
{
    const auto& count = network.count;
    text.Gauge("network_joined", "1 while the network interface for KNXnet/IP routing is there.",
               network.joined ? 1 : 0);
    text.Family("network_telegrams", "counter", "Telegrams of KNXnet/IP routing, and what became of them.");
    text.Sample(count.fromNetwork, R"(direction="from_network",outcome="confirmed")");
    text.Sample(count.refused, R"(direction="from_network",outcome="refused")");
    text.Sample(count.stoppedFromNetwork, R"(direction="from_network",outcome="stopped")");
    text.Sample(count.port.lost, R"(direction="from_network",outcome="lost")");
    text.Sample(count.toNetwork, R"(direction="to_network",outcome="sent")");
    text.Sample(count.stoppedToNetwork, R"(direction="to_network",outcome="stopped")");
    text.Sample(count.notSent, R"(direction="to_network",outcome="lost")");
    text.Counter("network_routers_lost_telegrams", "Telegrams that other routers lost, as they say.",
                 count.port.othersLost);
    text.Counter("network_routers_busy", "Times that another router was busy.", count.port.othersBusy);
    text.Family("network_unused_datagrams", "counter", "Datagrams that are no telegram.");
    text.Sample(count.port.malformed, R"(kind="malformed")");
    text.Sample(count.port.ignored, R"(kind="other_service")");
}

} // namespace

std::string ToOpenMetrics(const Figures& figures)
{
    const Counters& count = figures.count;
    Text text;
    text.Family("frames", "counter", "Frames exchanged with the daemon.");
    text.Sample(count.fromLink, R"(direction="from_bus")");
    text.Sample(count.toLink, R"(direction="to_bus")");
    text.Family("requests", "counter", "Requests of programs and of the network, and what became of them.");
    text.Sample(count.confirmed, R"(outcome="confirmed")");
    text.Sample(count.refused, R"(outcome="refused")");
    text.Sample(count.refusedAtOnce, R"(outcome="refused_without_link")");
    text.Sample(count.timedOut, R"(outcome="timed_out")");
    text.Counter("dropped_frames", "Other frames that came without a link.", count.dropped);
    text.Counter("unexpected_confirmations", "Confirmations that no request waited for.", count.unexpected);
    text.Counter("button_messages", "Messages of the programming button.", count.buttons);
    AddPrograms(text, figures);
    text.Gauge("link_up", "1 while the link to the bus is usable.", figures.linkUp ? 1 : 0);
    text.Counter("link_losses", "Times that the link was lost.", count.linkLosses);
    text.Family("bus_load_percent", "gauge", "Share of the last period that a line of 9600 bit/s was busy.");
    text.Sample(WithOneDigit(figures.busLoad));
    if (figures.network)
    {
        AddNetwork(text, *figures.network);
    }
    return text.End();
}

void WriteWhole(const std::string& file, const std::string& text)
{
    const std::string unfinished = file + ".new";
    System::Descriptor output(
        open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644));
    if (!output.IsOpen())
    {
        System::ThrowErrno("cannot write " + unfinished);
    }
    const ssize_t written = write(output.Number(), text.data(), text.size());
    if (written != static_cast<ssize_t>(text.size()))
    {
        const int error = written == -1 ? errno : ENOSPC; // for the rest
        unlink(unfinished.c_str());
        System::ThrowErrno("cannot write " + unfinished, error);
    }
    // A monitoring system is another user, and the mask of a service may shut others out. A refusal leaves the file as it is.
    static_cast<void>(fchmod(output.Number(), 0644));
    output.Close();
    if (rename(unfinished.c_str(), file.c_str()) == -1)
    {
        const int error = errno;
        unlink(unfinished.c_str());
        System::ThrowErrno("cannot replace " + file, error);
    }
}

} // namespace OrvelGateway
