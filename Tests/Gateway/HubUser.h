#pragma once

#include "Hub.h"

#include "BenchKit/Messages.h"
#include "Knx/HexDigits.h"

#include <chrono>
#include <string>
#include <vector>

/// A hub with the time in the test's hand, for people: messages and frames are hexadecimal digits.
class HubUser
{
protected:
    using Hub = OrvelGateway::Hub;
    using Id = Hub::Id;

    // Telegrams with a value of six bits. A frame has no size byte, a message has one.

    static std::string Request(int value)
    {
        return "11 00 bc e0 00 00 0a 03 01 00 " + Value(value);
    }
    static std::string Confirmation(int value)
    {
        return "2e 00 bc e0 00 00 0a 03 01 00 " + Value(value);
    }
    static std::string Failed(int value)
    {
        return "2e 00 bd e0 00 00 0a 03 01 00 " + Value(value);
    }
    /// What others hear of the request.
    static std::string Heard(int value)
    {
        return "29 00 bc e0 ff ff 0a 03 01 00 " + Value(value);
    }
    static std::string Indication(int value)
    {
        return "29 00 bc e0 11 05 0a 03 01 00 " + Value(value);
    }

    static bool IsConfirmation(const std::string& message)
    {
        return message.substr(3, 2) == "2e";
    }

    void StartDaemon()
    {
        hub.OnDaemonFound(now);
        FromLink("b9 00 01");
    }

    void FromLink(const std::string& frame)
    {
        const auto message = WithSize(Knx::FromHex(frame));
        hub.OnMessage(message.data(), message.size(), now);
    }

    bool SendPacket(Id id, const std::string& packet)
    {
        const auto bytes = Knx::FromHex(packet);
        return hub.Send(id, bytes.data(), bytes.size(), now);
    }

    bool Send(Id id, const std::string& frame)
    {
        return SendPacket(id, AsMessage(frame));
    }

    /// The frames that the link takes now.
    std::vector<std::string> AllToLink()
    {
        std::vector<std::string> frames;
        while (const OrvelGateway::Message* const message = hub.NextToLink())
        {
            frames.push_back(Knx::ToHex({message->Frame(), message->Frame() + message->FrameSize()}));
            hub.TakenByLink(now);
        }
        return frames;
    }

    /// The next message for a participant, which takes it; "nothing" if there is none.
    std::string NextOf(Id id)
    {
        const OrvelGateway::Message* const message = hub.Next(id);
        if (message == nullptr)
        {
            return "nothing";
        }
        std::string text = Knx::ToHex({message->Data(), message->Data() + message->Size()});
        hub.Taken(id);
        return text;
    }

    std::vector<std::string> All(Id id)
    {
        std::vector<std::string> messages;
        while (hub.Next(id) != nullptr)
        {
            messages.push_back(NextOf(id));
        }
        return messages;
    }

    std::vector<Id> AllNews()
    {
        std::vector<Id> all;
        while (const auto id = hub.NextWithNews())
        {
            all.push_back(*id);
        }
        return all;
    }

    void Pass(std::chrono::milliseconds time)
    {
        now += time;
        hub.OnTime(now);
    }

    Hub::Time now{std::chrono::hours(1)};
    Hub hub{Hub::Settings{4, std::chrono::milliseconds(3000)}};

private:
    static std::string Value(int value)
    {
        return Knx::ToHex({static_cast<uint8_t>(0x80 | value)});
    }
};
