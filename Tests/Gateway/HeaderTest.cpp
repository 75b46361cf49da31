#include "Orvel/Gateway.h"

#include "HeaderC.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{

TEST(GatewayHeader, TellsCWhatApplicationsRelyOn)
{
    EXPECT_STREQ(SocketInC, "/run/orvel/gateway");
    EXPECT_THAT(CodesInC, ElementsAre(0xBA, 0xBB));
    EXPECT_THAT(SizesInC, ElementsAre(3, 4));
    EXPECT_THAT(BoundsInC, ElementsAre(64, 1024));
}

TEST(GatewayHeader, TellsCppTheSame)
{
    EXPECT_STREQ(ORVEL_GATEWAY_SOCKET, SocketInC);
    EXPECT_THAT(CodesInC, ElementsAre(ORVEL_GATEWAY_BUTTON_CODE, ORVEL_GATEWAY_LOST_CODE));
}

} // namespace
