// Random conversations with a hub, against what must be true of all of them.

#include "HubUser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace
{

// Four programs, a network and a link that do anything at any time, and an account of what they have said and heard.
class Conversation : HubUser
{
public:
    explicit Conversation(uint32_t seed)
        : engine(seed)
        , network(hub.ConnectNetwork())
    {
        participants[network];
    }

    void Run(int steps)
    {
        for (int i = 0; i < steps; ++i)
        {
            Step();
        }
        Finish();
    }

private:
    struct Account
    {
        std::deque<std::string> unanswered; // destination and data of the requests, in their order
        uint64_t requests = 0;
        uint64_t answers = 0;
        uint64_t lost = 0;
        std::string linkState; // the last that it was told
        bool isSleeping = false;
    };

    uint32_t Below(uint32_t limit)
    {
        return std::uniform_int_distribution<uint32_t>(0, limit - 1)(engine);
    }

    Id Anybody()
    {
        auto chosen = participants.begin();
        std::advance(chosen, Below(static_cast<uint32_t>(participants.size())));
        return chosen->first;
    }

    void Step()
    {
        switch (Below(20))
        {
        case 0:
            Connect();
            break;
        case 1:
            Leave(Anybody());
            break;
        case 2:
            SendPacket(Anybody(), "05 11 00 bc");
            break;
        case 3:
            Ask(Anybody(), "fc 00 0b 01 33 10 01");
            break;
        case 4:
            FromLink(Indication(static_cast<int>(Below(64))));
            break;
        case 5:
            hub.OnButton(0);
            break;
        case 6:
            Pass(std::chrono::milliseconds(Below(1500)));
            break;
        case 7:
            if (Below(4) == 0)
            {
                bool& isSleeping = participants[Anybody()].isSleeping;
                isSleeping = !isSleeping;
            }
            break;
        case 8:
            ChangeLink();
            break;
        case 9:
        case 10:
            Hear();
            break;
        case 11:
        case 12:
        case 13:
            Confirm();
            break;
        default:
            AskOften(Anybody());
            break;
        }
    }

    void Connect()
    {
        if (const auto id = hub.ConnectProgram())
        {
            participants[*id] = Account();
        }
    }

    void Leave(Id id)
    {
        if (id != network)
        {
            participants.erase(id);
            hub.Disconnect(id);
        }
    }

    void Ask(Id id, const std::string& frame)
    {
        if (hub.CanSend(id))
        {
            ASSERT_TRUE(Send(id, frame));
        }
    }

    void AskOften(Id id)
    {
        for (uint32_t times = Below(4) == 0 ? 80 : 1; times > 0 && hub.CanSend(id); --times)
        {
            const std::string request = Request(static_cast<int>(Below(8)));
            Ask(id, request);
            participants[id].unanswered.push_back(request.substr(18));
            ++participants[id].requests;
        }
    }

    void ChangeLink()
    {
        switch (Below(8))
        {
        case 0:
            FromLink("b9 ff ff");
            atLink.clear();
            break;
        case 1:
            hub.OnDaemonGone(now);
            atLink.clear();
            break;
        case 2:
        case 3:
            if (hub.State() == Hub::Link::Lost)
            {
                hub.OnDaemonFound(now);
            }
            break;
        default:
            FromLink("b9 00 01");
            break;
        }
    }

    // The link takes what there is, loses some, and confirms some of the others later.
    void Confirm()
    {
        for (const std::string& frame : AllToLink())
        {
            if (frame.substr(0, 2) == "11" && Below(20) != 0)
            {
                atLink.push_back(frame);
            }
        }
        for (uint32_t times = Below(6); times > 0 && !atLink.empty(); --times)
        {
            FromLink((Below(10) == 0 ? "2e 00 bd" : "2e 00 bc") + atLink.front().substr(8));
            atLink.pop_front();
        }
    }

    void Hear()
    {
        for (auto& [id, account] : participants)
        {
            for (uint32_t times = Below(50); times > 0 && !account.isSleeping && hub.Next(id) != nullptr; --times)
            {
                HearNext(id, account);
            }
        }
    }

    void HearNext(Id id, Account& account)
    {
        const std::string message = NextOf(id);
        if (message.substr(0, 5) == "03 bb")
        {
            const auto bytes = Knx::FromHex(message);
            account.lost += static_cast<unsigned>(bytes[2]) << 8U | bytes[3];
        }
        if (message.substr(0, 5) == "03 b9")
        {
            account.linkState = message;
        }
        if (!IsConfirmation(message))
        {
            return;
        }
        // Requests that differ may be answered in another order; each answer belongs to a request.
        const auto asked = std::find(account.unanswered.begin(), account.unanswered.end(), message.substr(21));
        ASSERT_NE(asked, account.unanswered.end()) << message;
        account.unanswered.erase(asked);
        ++account.answers;
    }

    // Whatever came before: in the end every request has its answer, and the counters agree.
    void Finish()
    {
        for (int i = 0; i < 1000; ++i)
        {
            Pass(1s);
            AllToLink();
        }
        uint64_t lost = 0;
        for (auto& [id, account] : participants)
        {
            while (hub.Next(id) != nullptr)
            {
                HearNext(id, account);
            }
            const auto& count = hub.Count(id);
            EXPECT_EQ(account.answers, account.requests);
            EXPECT_EQ(count.requests, account.requests);
            EXPECT_EQ(count.confirmed + count.refused + count.timedOut, account.requests);
            EXPECT_EQ(count.lost, account.lost);
            EXPECT_TRUE(hub.CanSend(id));
            EXPECT_EQ(account.linkState, hub.State() == Hub::Link::Usable ? "03 b9 00 01" : "03 b9 ff ff");
            lost += count.lost;
        }
        EXPECT_LE(lost, hub.Count().lost);
        EXPECT_EQ(hub.NextToLink(), nullptr);
        EXPECT_EQ(hub.Due(), std::nullopt);
    }

    std::mt19937 engine;
    Id network{};
    std::map<Id, Account> participants; // those that are connected
    std::deque<std::string> atLink;
};

class HubConversation : public testing::TestWithParam<uint32_t>
{
};

TEST_P(HubConversation, AnswersEachRequestOnceAndAccountsForEverything)
{
    Conversation(GetParam()).Run(5000);
}

INSTANTIATE_TEST_SUITE_P(Random, HubConversation, testing::Range(1U, 9U));

} // namespace
