#include "Hub.h"

#include "HubUser.h"

#include "Knx/Telegram.h"
#include "Orvel/Gateway.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace OrvelGateway;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

namespace
{

constexpr const char* Usable = "03 b9 00 01";
constexpr const char* Lost = "03 b9 ff ff";

// A hub with a usable link and two programs that know it.
class HubTest : public testing::Test, protected HubUser
{
protected:
    void SetUp() override
    {
        StartDaemon();
        one = *hub.ConnectProgram();
        two = *hub.ConnectProgram();
        All(one);
        All(two);
    }

    Id one{};
    Id two{};
};

TEST_F(HubTest, TellsAProgramFirstThatTheLinkIsUsable)
{
    EXPECT_THAT(All(*hub.ConnectProgram()), ElementsAre(Usable));
}

TEST_F(HubTest, TellsAProgramFirstThatTheLinkIsLost)
{
    hub.OnDaemonGone(now);
    EXPECT_THAT(All(*hub.ConnectProgram()), ElementsAre(Lost));
}

TEST_F(HubTest, TellsEverybodyWhenTheLinkIsLostAndUsableAgain)
{
    FromLink("b9 ff ff");
    hub.OnDaemonGone(now);
    StartDaemon();
    EXPECT_THAT(All(one), ElementsAre(Lost, Usable));
    EXPECT_THAT(All(two), ElementsAre(Lost, Usable));
    EXPECT_EQ(hub.Count().linkLosses, 1U);
}

TEST_F(HubTest, PassesOnThatTheLinkHasRecovered)
{
    FromLink("b9 00 01");
    EXPECT_THAT(All(one), ElementsAre(Usable));
}

TEST_F(HubTest, DoesNotCallALinkUsableBeforeTheDaemonDoes)
{
    hub.OnDaemonGone(now);
    hub.OnDaemonFound(now);
    const Id late = *hub.ConnectProgram();
    EXPECT_THAT(All(one), ElementsAre(Lost));
    EXPECT_THAT(All(late), IsEmpty());
    FromLink("b9 00 01");
    EXPECT_THAT(All(one), ElementsAre(Usable));
    EXPECT_THAT(All(late), ElementsAre(Usable));
}

TEST_F(HubTest, TakesALinkForUsableAfterASecondBecauseTheDaemonMayHaveToldSomebodyElse)
{
    hub.OnDaemonGone(now);
    hub.OnDaemonFound(now);
    EXPECT_EQ(hub.Due(), now + 1s);
    Pass(999ms);
    EXPECT_THAT(All(one), ElementsAre(Lost));
    Pass(1ms);
    EXPECT_THAT(All(one), ElementsAre(Usable));
}

TEST_F(HubTest, TakesALinkForUsableFromWhichAFrameComes)
{
    hub.OnDaemonGone(now);
    hub.OnDaemonFound(now);
    FromLink(Indication(1));
    EXPECT_THAT(All(one), ElementsAre(Lost, Usable, AsMessage(Indication(1))));
}

TEST_F(HubTest, TakesNoLinkForUsableWhileTheQueuesAreSilentThatCameAfterIt)
{
    hub.OnDaemonGone(now);
    Pass(1h);
    Send(one, Request(1));
    EXPECT_THAT(All(one), ElementsAre(Lost, AsMessage(Failed(1))));
    EXPECT_EQ(hub.Due(), std::nullopt);
    FromLink(Indication(1)); // another reader has taken what came before
    EXPECT_THAT(All(one), ElementsAre(Usable, AsMessage(Indication(1))));
}

TEST_F(HubTest, BelievesADaemonThatTheLinkIsLost)
{
    FromLink("b9 ff ff");
    FromLink("fb 00 0b 01 33 10 01 00"); // read from the daemon itself
    EXPECT_THAT(All(one), ElementsAre(Lost, "08 fb 00 0b 01 33 10 01 00"));
}

TEST_F(HubTest, LetsRequestsWaitUntilItIsKnownThatTheLinkIsUsable)
{
    hub.OnDaemonGone(now);
    hub.OnDaemonFound(now);
    Send(one, Request(1));
    EXPECT_THAT(AllToLink(), IsEmpty());
    Pass(1s);
    EXPECT_THAT(AllToLink(), ElementsAre(Request(1)));
    EXPECT_EQ(hub.Due(), now + 3s);
}

TEST_F(HubTest, GivesRequestsThatWaitedForTheLinkTheirWholeTime)
{
    hub.OnDaemonGone(now);
    hub.OnDaemonFound(now);
    for (int i = 0; i < 10; ++i) // more than the link takes at once
    {
        Send(one, Request(i));
    }
    Pass(1s);
    AllToLink();
    Pass(2s);
    EXPECT_THAT(All(one), ElementsAre(Lost, Usable));
    Pass(1s);
    EXPECT_EQ(All(one).size(), 10U);
}

TEST_F(HubTest, CarriesAnyFrameFromTheLinkToEverybodyAsItIs)
{
    std::string longest = "29";
    for (int i = 1; i < 260; ++i)
    {
        longest += " 5a";
    }
    FromLink(longest);
    FromLink("aa");
    EXPECT_THAT(All(one), ElementsAre("04 " + longest, "01 aa"));
    EXPECT_THAT(All(two), ElementsAre("04 " + longest, "01 aa"));
    EXPECT_EQ(hub.Count().fromLink, 2U);
}

TEST_F(HubTest, IgnoresAMessageWithoutAFrameBecauseItIsNotFromTheDaemon)
{
    const uint8_t sizeByte = 0;
    hub.OnMessage(&sizeByte, 0, now);
    hub.OnMessage(&sizeByte, 1, now);
    EXPECT_THAT(All(one), IsEmpty());
}

TEST_F(HubTest, TellsEverybodyOfTheButtonAsOftenAsItDoes)
{
    for (const int state : {0, 0, 0, 1})
    {
        hub.OnButton(static_cast<uint8_t>(state));
    }
    EXPECT_THAT(All(one), ElementsAre("02 ba 00", "02 ba 00", "02 ba 00", "02 ba 01"));
    EXPECT_THAT(All(two), ElementsAre("02 ba 00", "02 ba 00", "02 ba 00", "02 ba 01"));
}

TEST_F(HubTest, TakesNothingOfTheButtonBeforeSomebodyHasBeenToldTheStateOfTheLink)
{
    hub.Stay(one);
    EXPECT_TRUE(hub.TakesButton());
    hub.OnDaemonGone(now);
    EXPECT_TRUE(hub.TakesButton());
    hub.OnDaemonFound(now);
    EXPECT_FALSE(hub.TakesButton());
    Pass(1s);
    EXPECT_TRUE(hub.TakesButton());
}

TEST_F(HubTest, TakesNothingOfTheButtonUnlessAProgramStays)
{
    EXPECT_FALSE(hub.TakesButton());
    hub.Stay(one);
    hub.Stay(two);
    hub.Stay(two);
    hub.Disconnect(two);
    EXPECT_TRUE(hub.TakesButton());
    hub.Disconnect(one);
    EXPECT_FALSE(hub.TakesButton());
}

TEST_F(HubTest, AnswersTheSenderAndLetsAllOthersHearAConfirmedRequest)
{
    Send(one, "11 00 be e0 00 00 0a 03 01 00 81");
    EXPECT_THAT(AllToLink(), ElementsAre("11 00 be e0 00 00 0a 03 01 00 81"));
    FromLink("2e 00 be e0 11 05 0a 03 01 00 81");
    EXPECT_THAT(All(one), ElementsAre("0b 2e 00 be e0 11 05 0a 03 01 00 81"));
    EXPECT_THAT(All(two), ElementsAre("0b 29 00 bc e0 11 05 0a 03 01 00 81")); // and no acknowledge is asked for
    EXPECT_EQ(hub.Count().confirmed, 1U);
    EXPECT_EQ(hub.Count(one).confirmed, 1U);
}

TEST_F(HubTest, TellsNobodyElseOfARequestThatWasNotSent)
{
    Send(one, Request(1));
    AllToLink();
    FromLink("2e 00 bd e0 00 00 0a 03 01 00 81");
    EXPECT_THAT(All(one), ElementsAre("0b 2e 00 bd e0 00 00 0a 03 01 00 81"));
    EXPECT_THAT(All(two), IsEmpty());
    EXPECT_EQ(hub.Count(one).refused, 1U);
}

TEST_F(HubTest, RecognisesARequestWhateverTheLinkHasChanged)
{
    Send(one, "11 02 aa 00 b0 60 00 00 0a 03 01 00 81"); // with additional information
    AllToLink();
    FromLink("2e 04 04 02 00 07 bc d0 11 05 0a 03 01 00 81");
    EXPECT_EQ(hub.Count().confirmed, 0U); // one is for an individual address, the other for a group
    FromLink("2e 04 04 02 00 07 bc 50 11 05 0a 03 01 00 81");
    EXPECT_THAT(All(one), testing::Contains("0f 2e 04 04 02 00 07 bc 50 11 05 0a 03 01 00 81"));
}

TEST_F(HubTest, DoesNotConfuseRequestsWithOtherDestinationsOrData)
{
    Send(one, Request(1));
    AllToLink();
    for (const char* const other : {"2e 00 bc e0 00 00 0a 04 01 00 81", "2e 00 bc e0 00 00 0a 03 01 00 80",
                                    "2e 00 bc e0 00 00 0a 03 01 04 81", "2e 00 bc e0 00 00 0a 03 02 00 80 81"})
    {
        FromLink(other);
    }
    EXPECT_EQ(hub.Count().confirmed, 0U);
    EXPECT_EQ(hub.Count().unexpected, 4U);
}

TEST_F(HubTest, AnswersEqualRequestsInTheirOrder)
{
    Send(two, Request(1));
    AllToLink();
    Send(one, Request(1));
    AllToLink();
    FromLink(Confirmation(1));
    EXPECT_THAT(All(two), ElementsAre(AsMessage(Confirmation(1))));
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Heard(1))));
    FromLink(Confirmation(1));
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Confirmation(1))));
}

TEST_F(HubTest, AnswersForALinkThatDoesNotAnswerInTime)
{
    Send(one, Request(1));
    AllToLink();
    EXPECT_EQ(hub.Due(), now + 3s);
    Pass(2999ms);
    EXPECT_THAT(All(one), IsEmpty());
    Pass(1ms);
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Failed(1))));
    EXPECT_THAT(All(two), IsEmpty());
    EXPECT_EQ(hub.Count(one).timedOut, 1U);
    EXPECT_EQ(hub.Due(), std::nullopt);
}

TEST_F(HubTest, DoesNotAnswerARequestTwice)
{
    Send(one, Request(1));
    AllToLink();
    Pass(3s);
    All(one);
    FromLink(Confirmation(1));
    EXPECT_THAT(All(one), IsEmpty());
    EXPECT_THAT(All(two), ElementsAre(AsMessage(Heard(1)))); // because it was sent after all
    EXPECT_EQ(hub.Count().unexpected, 1U);
}

TEST_F(HubTest, TakesALateConfirmationForThatOfOneRequestOnly)
{
    Send(one, Request(1));
    AllToLink();
    Pass(3s);
    All(one);
    FromLink(Confirmation(1));
    FromLink(Confirmation(1)); // of another writer to the queue
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Heard(1))));
}

TEST_F(HubTest, AnswersARepeatedRequestWithTheConfirmationThatComesNext)
{
    Send(one, Request(1));
    AllToLink();
    Pass(3s);
    Send(one, Request(1));
    AllToLink();
    All(one);
    FromLink(Confirmation(1));
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Confirmation(1))));
    FromLink(Confirmation(1));
    EXPECT_THAT(All(one), IsEmpty());
    EXPECT_THAT(All(two), ElementsAre(AsMessage(Heard(1)), AsMessage(Heard(1))));
}

TEST_F(HubTest, LetsEverybodyHearWhatAnotherWriterToTheQueueHasSent)
{
    FromLink(Confirmation(1));
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Heard(1))));
    EXPECT_THAT(All(two), ElementsAre(AsMessage(Heard(1))));
}

TEST_F(HubTest, LetsAnIncompleteConfirmationPass)
{
    FromLink("2e 00 bc e0");
    EXPECT_THAT(All(one), ElementsAre("04 2e 00 bc e0"));
}

TEST_F(HubTest, KeepsAnIncompleteConfirmationFromTheNetworkWhichWouldCountIt)
{
    const Id network = hub.ConnectNetwork();
    All(network);
    FromLink("2e 00 bc e0");
    FromLink("2e 00");
    EXPECT_THAT(All(network), IsEmpty());
}

TEST_F(HubTest, DoesNotCountAsDeliveredWhatNobodyTook)
{
    FromLink(Indication(1));
    FromLink(Indication(2));
    All(two);
    const uint64_t before = hub.Count().delivered;
    ASSERT_NE(hub.Next(one), nullptr);
    hub.Taken(one);
    ASSERT_NE(hub.Next(one), nullptr);
    hub.Dropped(one);
    EXPECT_EQ(hub.Next(one), nullptr);
    EXPECT_EQ(hub.Count().delivered, before + 1);
    EXPECT_EQ(hub.Count(one).delivered, hub.Count(two).delivered - 1);
}

TEST_F(HubTest, RefusesARequestAtOnceWhileTheLinkIsLost)
{
    FromLink("b9 ff ff");
    All(one);
    Send(one, Request(1));
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Failed(1))));
    EXPECT_THAT(AllToLink(), IsEmpty());
    EXPECT_EQ(hub.Count().refusedAtOnce, 1U);
    EXPECT_EQ(hub.Count(one).refused, 1U);
}

TEST_F(HubTest, RefusesWhatTheLinkHasAndWhatWaitsForItWhenItIsLost)
{
    for (int i = 0; i < 10; ++i)
    {
        Send(one, Request(i));
    }
    EXPECT_EQ(AllToLink().size(), InFlight::Window);
    hub.OnDaemonGone(now);
    Strings expected{Lost};
    for (int i = 0; i < 10; ++i)
    {
        expected.push_back(AsMessage(Failed(i)));
    }
    EXPECT_EQ(All(one), expected);
    StartDaemon();
    EXPECT_THAT(AllToLink(), IsEmpty());
}

TEST_F(HubTest, DoesNotTakeAConfirmationOfTheNextDaemonForOneOfTheLast)
{
    Send(one, Request(1));
    AllToLink();
    Pass(3s);
    hub.OnDaemonGone(now);
    StartDaemon();
    All(one);
    FromLink(Confirmation(1)); // of somebody else, then
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Heard(1))));
}

TEST_F(HubTest, CarriesOtherFramesAndGivesTheirAnswersToEverybody)
{
    Send(one, "fc 00 0b 01 33 10 01");
    EXPECT_THAT(AllToLink(), ElementsAre("fc 00 0b 01 33 10 01"));
    FromLink("fb 00 0b 01 33 10 01 00");
    EXPECT_THAT(All(one), ElementsAre("08 fb 00 0b 01 33 10 01 00"));
    EXPECT_THAT(All(two), ElementsAre("08 fb 00 0b 01 33 10 01 00"));
    EXPECT_EQ(hub.Due(), std::nullopt);
}

TEST_F(HubTest, CountsOtherFramesThatTheLinkDoesNotGet)
{
    Send(one, "fc 00 0b 01 33 10 01");
    hub.OnDaemonGone(now);
    Send(one, "fc 00 0b 01 33 10 01");
    EXPECT_EQ(hub.Count().dropped, 2U);
    EXPECT_THAT(All(one), ElementsAre(Lost));
}

TEST_F(HubTest, ServesProgramsInTurn)
{
    const Id three = *hub.ConnectProgram();
    for (int i = 0; i < 3; ++i)
    {
        Send(one, Request(10 + i));
    }
    Send(two, Request(20));
    Send(three, Request(30));
    Send(three, Request(31));
    EXPECT_THAT(AllToLink(), ElementsAre(Request(10), Request(20), Request(30), Request(11), Request(31), Request(12)));
}

TEST_F(HubTest, HandsTheLinkNoMoreRequestsThanItCanConfirmAtOnce)
{
    for (int i = 0; i < 12; ++i)
    {
        Send(one, Request(i));
    }
    EXPECT_EQ(AllToLink().size(), InFlight::Window);
    Send(one, "fc 00 0b 01 33 10 01"); // waits for its turn
    Send(two, "fc 00 0b 01 33 10 02"); // asks for no confirmation
    EXPECT_THAT(AllToLink(), ElementsAre("fc 00 0b 01 33 10 02"));
    FromLink(Confirmation(0));
    EXPECT_THAT(AllToLink(), ElementsAre(Request(8)));
}

TEST_F(HubTest, LetsRequestsWaitAsLongAsTheLinkConfirmsOthers)
{
    for (int i = 0; i < 40; ++i)
    {
        Send(one, Request(i));
    }
    AllToLink();
    for (int i = 0; i < 40; ++i)
    {
        Pass(350ms); // the last one waits for more than 10 s
        FromLink(Confirmation(i));
        AllToLink();
    }
    EXPECT_EQ(hub.Count(one).confirmed, 40U);
}

TEST_F(HubTest, LetsOtherFramesWaitAsLongAsTheLinkTakesSome)
{
    for (int i = 0; i < 10; ++i)
    {
        Send(one, "fc 00 0b 01 33 10 01");
    }
    for (int i = 0; i < 9; ++i)
    {
        Pass(1s);
        ASSERT_NE(hub.NextToLink(), nullptr) << i;
        hub.TakenByLink(now);
    }
    EXPECT_EQ(hub.Count().dropped, 0U);
    Pass(3s);
    EXPECT_EQ(hub.Count().dropped, 1U);
}

TEST_F(HubTest, AnswersForASilentLinkAlsoWhatItHasNotTaken)
{
    for (int i = 0; i < 10; ++i)
    {
        Send(one, Request(i));
    }
    AllToLink();
    Pass(1s);
    Send(two, Request(20));
    Pass(2s);
    EXPECT_EQ(All(one).size(), 10U);
    EXPECT_THAT(All(two), IsEmpty());
    EXPECT_EQ(hub.Due(), now + 1s);
    Pass(1s);
    EXPECT_THAT(All(two), ElementsAre(AsMessage(Failed(20))));
    EXPECT_EQ(hub.Count().timedOut, 11U);
}

TEST_F(HubTest, TakesSixtyFourRequestsOfAProgramAndThenReadsNoMore)
{
    hub.OnDaemonGone(now);
    hub.OnDaemonFound(now);
    for (int i = 0; i < ORVEL_GATEWAY_REQUESTS; ++i)
    {
        ASSERT_TRUE(hub.CanSend(one)) << i;
        Send(one, Request(i));
    }
    EXPECT_FALSE(hub.CanSend(one));
    EXPECT_TRUE(hub.CanSend(two));
    AllNews();
    FromLink("b9 00 01");
    AllNews();
    EXPECT_NE(hub.NextToLink(), nullptr);
    hub.TakenByLink(now);
    EXPECT_TRUE(hub.CanSend(one));
    EXPECT_THAT(AllNews(), testing::Contains(one));
}

TEST_F(HubTest, DropsTheNewestMessagesOfAProgramThatReadsNoneAndTellsHowManyAreMissing)
{
    for (int i = 0; i < ORVEL_GATEWAY_MESSAGES + 5; ++i)
    {
        FromLink(Indication(i % 64));
    }
    EXPECT_EQ(hub.Count(one).lost, 5U);
    EXPECT_EQ(NextOf(one), AsMessage(Indication(0)));
    FromLink(Indication(40));
    FromLink(Indication(41));
    const auto all = All(one);
    ASSERT_EQ(all.size(), 1023U + 3U);
    EXPECT_EQ(all[1022], AsMessage(Indication(1023 % 64)));
    EXPECT_EQ(all[1023], "03 bb 00 05");
    EXPECT_EQ(all[1024], AsMessage(Indication(40)));
    EXPECT_EQ(all[1025], "03 bb 00 01"); // the other one found no room again
    EXPECT_EQ(All(two).size(), 1024U + 1U);
}

TEST_F(HubTest, TellsTheLastStateOfTheLinkAlsoToAProgramThatHadNoRoomForIt)
{
    for (int i = 0; i < ORVEL_GATEWAY_MESSAGES - 1; ++i)
    {
        FromLink(Indication(0));
    }
    hub.OnDaemonGone(now); // for which there is room
    StartDaemon();
    Strings all = All(one);
    ASSERT_EQ(all.size(), 1023U + 3U);
    EXPECT_EQ(all[1023], Lost);
    EXPECT_EQ(all[1024], "03 bb 00 01");
    EXPECT_EQ(all[1025], Usable);

    for (int i = 0; i < ORVEL_GATEWAY_MESSAGES; ++i)
    {
        FromLink(Indication(0));
    }
    hub.OnDaemonGone(now);
    EXPECT_EQ(NextOf(one), AsMessage(Indication(0)));
    hub.OnButton(0); // takes no place away from the state
    all = All(one);
    ASSERT_EQ(all.size(), 1023U + 3U);
    EXPECT_EQ(all[1024], Lost);
}

TEST_F(HubTest, CountsEachChangeOfTheLinkAsOneLostMessageForAProgramWithoutRoom)
{
    for (int i = 0; i < ORVEL_GATEWAY_MESSAGES; ++i)
    {
        FromLink(Indication(0));
    }
    hub.OnDaemonGone(now);
    hub.OnDaemonGone(now); // which changes nothing
    StartDaemon();
    Strings all = All(one);
    ASSERT_EQ(all.size(), 1024U + 1U); // it knows the present state
    EXPECT_EQ(all[1023], AsMessage(Indication(0)));
    EXPECT_EQ(all[1024], "03 bb 00 02");

    for (int i = 0; i < ORVEL_GATEWAY_MESSAGES; ++i)
    {
        FromLink(Indication(0));
    }
    FromLink("b9 ff ff");
    hub.OnDaemonGone(now); // the programs know that the link is lost
    all = All(one);
    ASSERT_EQ(all.size(), 1024U + 2U);
    EXPECT_EQ(all[1024], "03 bb 00 01");
    EXPECT_EQ(all[1025], Lost);
}

TEST_F(HubTest, ReadsNothingFromAProgramThatLeavesItsConfirmationsUnread)
{
    for (int i = 0; i < ORVEL_GATEWAY_MESSAGES; ++i)
    {
        FromLink(Indication(0));
    }
    int sent = 0;
    for (; hub.CanSend(one); ++sent)
    {
        Send(one, Request(sent % 64));
        AllToLink();
        FromLink(Confirmation(sent % 64));
        ASSERT_LT(sent, 1000);
    }
    AllNews();
    EXPECT_EQ(NextOf(one), AsMessage(Indication(0)));
    EXPECT_TRUE(hub.CanSend(one));
    EXPECT_THAT(AllNews(), testing::Contains(one));
    const auto all = All(one);
    EXPECT_EQ(std::count_if(all.begin(), all.end(), IsConfirmation), sent);
    EXPECT_EQ(hub.Count(one).lost, 0U);
}

TEST_F(HubTest, ReadsAProgramOnAndOnThatReadsItsConfirmations)
{
    for (int i = 0; i < 2 * ORVEL_GATEWAY_MESSAGES; ++i)
    {
        ASSERT_TRUE(hub.CanSend(one)) << i;
        Send(one, Request(i % 64));
        AllToLink();
        FromLink(Confirmation(i % 64));
        All(one);
    }
}

TEST_F(HubTest, DropsAndCountsPacketsThatAreNoMessages)
{
    for (const char* const packet : {"", "00", "00 11", "02 11", "03 aa bb", "01 aa bb"})
    {
        EXPECT_FALSE(SendPacket(one, packet)) << packet;
    }
    EXPECT_EQ(hub.Count(one).invalid, 6U);
    EXPECT_EQ(hub.Count().invalid, 6U);
    EXPECT_THAT(AllToLink(), IsEmpty());
}

TEST_F(HubTest, TakesFramesOfUpTo255Bytes)
{
    std::string frame = "fc";
    for (int i = 1; i < 255; ++i)
    {
        frame += " 00";
    }
    EXPECT_TRUE(SendPacket(one, "ff " + frame));
    EXPECT_FALSE(SendPacket(one, "00 " + frame + " 00"));
    EXPECT_THAT(AllToLink(), ElementsAre(frame));
}

TEST_F(HubTest, DropsRequestsThatAreNotComplete)
{
    for (const char* const frame : {"11", "11 00", "11 00 bc e0 00 00 0a 03 01 00",
                                    "11 00 bc e0 00 00 0a 03 01 00 81 00", "11 02 05 01 bc e0 00 00 0a 03 01 00 81",
                                    "11 ff bc e0 00 00 0a 03 01 00 81", "11 00 bc e0 00 00 0a 03 ff 00 81"})
    {
        EXPECT_FALSE(SendPacket(one, AsMessage(frame))) << frame;
    }
    EXPECT_EQ(hub.Count().invalid, 7U);
}

TEST_F(HubTest, CarriesWhatAProgramSentBeforeItLeft)
{
    Send(one, Request(1));
    Send(one, Request(2));
    hub.Disconnect(one);
    EXPECT_EQ(hub.Programs(), 1U);
    EXPECT_THAT(AllToLink(), ElementsAre(Request(1), Request(2)));
    FromLink(Confirmation(1));
    EXPECT_THAT(All(two), ElementsAre(AsMessage(Heard(1))));
}

TEST_F(HubTest, DoesNotGiveAProgramTheAnswersOfOneThatWasThereBefore)
{
    Send(one, Request(1));
    AllToLink();
    hub.Disconnect(one);
    const Id next = *hub.ConnectProgram();
    ASSERT_EQ(next, one);
    All(next);
    FromLink(Confirmation(1));
    EXPECT_THAT(All(next), ElementsAre(AsMessage(Heard(1))));
    EXPECT_EQ(hub.Count(next).confirmed, 0U);
}

TEST_F(HubTest, LetsAProgramHearWhatOneThatWasThereBeforeSentTooLate)
{
    Send(one, Request(1));
    AllToLink();
    Pass(3s);
    hub.Disconnect(one);
    const Id next = *hub.ConnectProgram();
    ASSERT_EQ(next, one);
    All(next);
    FromLink(Confirmation(1));
    EXPECT_THAT(All(next), ElementsAre(AsMessage(Heard(1))));
}

TEST_F(HubTest, ForgetsTheNewsOfAProgramThatHasLeft)
{
    AllNews();
    FromLink(Indication(1));
    hub.Disconnect(one);
    EXPECT_THAT(AllNews(), ElementsAre(two));
}

TEST_F(HubTest, RefusesProgramsBeyondThoseThatMayBe)
{
    EXPECT_TRUE(hub.ConnectProgram());
    EXPECT_TRUE(hub.ConnectProgram());
    EXPECT_FALSE(hub.ConnectProgram());
    EXPECT_EQ(hub.Count().programsRefused, 1U);
    EXPECT_EQ(hub.Programs(), 4U);
    hub.ConnectNetwork(); // has a place of its own
    hub.Disconnect(one);
    EXPECT_TRUE(hub.ConnectProgram());
}

TEST_F(HubTest, HasRoomForProgramsWhileThoseThatHaveLeftStillHaveRequests)
{
    hub.Disconnect(two);
    for (int i = 0; i < 4; ++i) // as many as may be, one after the other
    {
        const Id left = i == 0 ? one : *hub.ConnectProgram();
        Send(left, Request(i));
        hub.Disconnect(left);
    }
    for (int i = 0; i < 4; ++i)
    {
        ASSERT_TRUE(hub.ConnectProgram()) << i;
    }
    EXPECT_FALSE(hub.ConnectProgram());
    EXPECT_EQ(hub.Count().programsRefused, 1U);
    EXPECT_EQ(AllToLink().size(), 4U);
}

TEST_F(HubTest, GivesTheNetworkWhatProgramsGetButNothingBack)
{
    const Id network = hub.ConnectNetwork();
    All(network);
    Send(one, Request(1));
    Send(network, Request(2));
    EXPECT_THAT(AllToLink(), ElementsAre(Request(1), Request(2)));
    FromLink(Confirmation(1));
    FromLink(Confirmation(2));
    FromLink(Indication(3));
    EXPECT_THAT(All(network), ElementsAre(AsMessage(Heard(1)), AsMessage(Confirmation(2)), AsMessage(Indication(3))));
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Confirmation(1)), AsMessage(Heard(2)), AsMessage(Indication(3))));
}

TEST_F(HubTest, GivesTheNetworkNothingBackThatIsConfirmedTooLate)
{
    const Id network = hub.ConnectNetwork();
    All(network);
    Send(network, Request(1));
    AllToLink();
    Pass(3s);
    FromLink(Confirmation(1));
    EXPECT_THAT(All(network), ElementsAre(AsMessage(Failed(1))));
    EXPECT_THAT(All(one), ElementsAre(AsMessage(Heard(1))));
}

TEST_F(HubTest, AddsUpHowLongTheLineWasTaken)
{
    const auto oneTelegram = Knx::Telegram::TimeOnLine(Knx::FromHex(Indication(1)));
    FromLink(Indication(1));
    EXPECT_EQ(hub.Count().timeOnLine, oneTelegram);
    Send(one, Request(1));
    AllToLink();
    EXPECT_EQ(hub.Count().timeOnLine, oneTelegram);
    FromLink(Confirmation(1));
    EXPECT_EQ(hub.Count().timeOnLine, 2 * oneTelegram);
    FromLink("2e 00 bd e0 00 00 0a 03 01 00 81"); // not sent
    FromLink("fb 00 0b 01 33 10 01 00");
    EXPECT_EQ(hub.Count().timeOnLine, 2 * oneTelegram);
}

} // namespace
