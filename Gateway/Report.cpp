#include "Report.h"

#include <utility>

namespace OrvelGateway
{

namespace
{

// Adds a line if a counter has grown. Without that it costs nothing.
class Lines
{
public:
    void Add(uint64_t before, uint64_t now, const char* one, const char* several, const std::string& whose,
             const char* what)
    {
        if (now != before)
        {
            lines.push_back(std::to_string(now - before) + " " + (now == before + 1 ? one : several) + whose + what);
        }
    }

    std::vector<std::string> Take()
    {
        return std::move(lines);
    }

private:
    std::vector<std::string> lines;
};

} // namespace

std::vector<std::string> TroubleOf(const std::string& program, const ParticipantCounters& before,
                                   const ParticipantCounters& now)
{
    Lines lines;
    lines.Add(before.invalid, now.invalid, "invalid packet from program ", "invalid packets from program ", program,
              ", dropped");
    lines.Add(before.lost, now.lost, "message lost for program ", "messages lost for program ", program,
              ", which reads too slowly");
    lines.Add(before.timedOut, now.timedOut, "request of program ", "requests of program ", program,
              " not confirmed by the link in time");
    return lines.Take();
}

std::vector<std::string> Trouble(const Counters& before, const Counters& now)
{
    Lines lines;
    lines.Add(before.programsRefused, now.programsRefused, "program refused", "programs refused", "",
              ": as many as may be are connected");
    lines.Add(before.dropped, now.dropped, "frame that asks for no confirmation dropped",
              "frames that ask for no confirmation dropped", "", ": the link could not be used");
    return lines.Take();
}

} // namespace OrvelGateway
