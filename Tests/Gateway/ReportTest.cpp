#include "Report.h"

#include <gmock/gmock.h>

using namespace OrvelGateway;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

TEST(Report, SaysNothingOfProgramsWithoutTrouble)
{
    ParticipantCounters now;
    now.requests = 10;
    now.confirmed = 9;
    now.refused = 1; // the program has been told
    now.delivered = 100;
    EXPECT_THAT(TroubleOf("4711 python3", {}, now), IsEmpty());
}

TEST(Report, SaysOnceHowMuchTroubleThereWasSinceTheLastTime)
{
    ParticipantCounters before;
    before.invalid = 3;
    before.lost = 5;
    ParticipantCounters now = before;
    now.invalid = 4;
    now.lost = 1005;
    now.timedOut = 2;
    EXPECT_THAT(TroubleOf("4711 python3", before, now),
                ElementsAre("1 invalid packet from program 4711 python3, dropped",
                            "1000 messages lost for program 4711 python3, which reads too slowly",
                            "2 requests of program 4711 python3 not confirmed by the link in time"));
    EXPECT_THAT(TroubleOf("4711 python3", now, now), IsEmpty());
}

TEST(Report, SaysWhatBelongsToNoProgram)
{
    Counters now;
    now.programsRefused = 2;
    now.dropped = 1;
    EXPECT_THAT(Trouble({}, now),
                ElementsAre("2 programs refused: as many as may be are connected",
                            "1 frame that asks for no confirmation dropped: the link could not be used"));
    EXPECT_THAT(Trouble(now, now), IsEmpty());
}

} // namespace
