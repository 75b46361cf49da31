#include "ScriptedHub.h"

#include "Allocations.h"
#include "Await.h"

#include <algorithm>
#include <sstream>

namespace UnitTests
{

namespace
{

std::string TransmitText(uint16_t topic, const uint8_t* data, uint16_t length)
{
    std::ostringstream text;
    text << "Transmit " << topic << ":" << std::hex;
    for (uint16_t index = 0; index < length; ++index)
    {
        text << ' ' << (data[index] < 0x10 ? "0" : "") << static_cast<int>(data[index]);
    }
    return text.str();
}

} // namespace

ScriptedHub& ScriptedHub::Instance()
{
    static ScriptedHub hub;
    return hub;
}

Nemt::CommHub* ScriptedHub::Hub()
{
    return Nemt::CommHub::Instance();
}

Nemt::CommHub* ScriptedHub::OtherHub()
{
    return Hub() + 1;
}

void ScriptedHub::Reset()
{
    const std::lock_guard<std::mutex> lock(mutex);
    calls.clear();
    topicListeners.clear();
    connectionListeners.clear();
    observe = nullptr;
    transmitAnswer = true;
    isConnectedAnswer = false;
    reconnectAnswer = true;
}

void ScriptedHub::AnswerTransmit(bool accepted)
{
    const std::lock_guard<std::mutex> lock(mutex);
    transmitAnswer = accepted;
}

void ScriptedHub::AnswerIsConnected(bool connected)
{
    const std::lock_guard<std::mutex> lock(mutex);
    isConnectedAnswer = connected;
}

void ScriptedHub::AnswerReconnect(bool succeeds)
{
    const std::lock_guard<std::mutex> lock(mutex);
    reconnectAnswer = succeeds;
}

void ScriptedHub::Observe(std::function<void(const HubCall&)> observer)
{
    const std::lock_guard<std::mutex> lock(mutex);
    observe = std::move(observer);
}

std::vector<HubCall> ScriptedHub::Calls() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return calls;
}

std::vector<std::string> ScriptedHub::Texts() const
{
    std::vector<std::string> texts;
    for (const HubCall& call : Calls())
    {
        texts.push_back(call.text);
    }
    return texts;
}

std::size_t ScriptedHub::CallsOf(const Nemt::CommHub* hub) const
{
    const std::vector<HubCall> all = Calls();
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [hub](const HubCall& call) { return call.hub == hub; }));
}

bool ScriptedHub::Await(const std::string& text, int count)
{
    std::unique_lock<std::mutex> lock(mutex);
    return called.wait_for(lock, AwaitLimit,
                           [&] {
                               return std::count_if(calls.begin(), calls.end(),
                                                    [&](const HubCall& call) { return call.text == text; }) >= count;
                           });
}

void ScriptedHub::Receive(uint16_t topic, const Bytes& payload)
{
    std::vector<Nemt::ITopicListener*> listeners;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        listeners = topicListeners;
    }
    for (Nemt::ITopicListener* listener : listeners)
    {
        const auto passing =
            std::make_unique<Bytes>(payload); // gone after the call, and without a spare byte behind it
        listener->OnTopicData(topic, passing->data(), static_cast<uint16_t>(passing->size()));
    }
}

void ScriptedHub::Report(bool connected)
{
    std::vector<Nemt::IConnectionListener*> listeners;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        listeners = connectionListeners;
    }
    for (Nemt::IConnectionListener* listener : listeners)
    {
        listener->OnConnectionChanged(connected);
    }
}

void ScriptedHub::Record(const Nemt::CommHub* asked, std::string text, const void* listener)
{
    const HubCall call{std::move(text), listener, asked, std::this_thread::get_id()};
    std::function<void(const HubCall&)> observer;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        observer = observe;
        calls.push_back(call);
        called.notify_all();
    }
    if (observer)
    {
        observer(call);
    }
}

bool ScriptedHub::Answer(const bool& answer) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return answer;
}

} // namespace UnitTests

using UnitTests::ScriptedHub;

namespace Nemt
{

CommHub* CommHub::Instance()
{
    static CommHub hubs[2]; // the second is the other one
    return &hubs[0];
}

bool CommHub::IsConnected() const
{
    ScriptedHub::Instance().Record(this, "IsConnected");
    return ScriptedHub::Instance().Answer(ScriptedHub::Instance().isConnectedAnswer);
}

bool CommHub::Reconnect()
{
    ScriptedHub::Instance().Record(this, "Reconnect");
    return ScriptedHub::Instance().Answer(ScriptedHub::Instance().reconnectAnswer);
}

bool CommHub::Transmit(uint16_t topic, const uint8_t* data, uint16_t length)
{
    const UnitTests::Uncounted own;
    ScriptedHub::Instance().Record(this, UnitTests::TransmitText(topic, data, length));
    return ScriptedHub::Instance().Answer(ScriptedHub::Instance().transmitAnswer);
}

void CommHub::RegisterTopicListener(ITopicListener* listener)
{
    const UnitTests::Uncounted own;
    ScriptedHub& script = ScriptedHub::Instance();
    {
        const std::lock_guard<std::mutex> lock(script.mutex);
        script.topicListeners.push_back(listener);
    }
    script.Record(this, "RegisterTopicListener", listener);
}

void CommHub::UnregisterTopicListener(const ITopicListener* listener)
{
    ScriptedHub& script = ScriptedHub::Instance();
    {
        const std::lock_guard<std::mutex> lock(script.mutex);
        auto& all = script.topicListeners;
        all.erase(std::remove(all.begin(), all.end(), listener), all.end());
    }
    script.Record(this, "UnregisterTopicListener", listener);
}

void CommHub::RegisterConnectionListener(IConnectionListener* listener)
{
    ScriptedHub& script = ScriptedHub::Instance();
    {
        const std::lock_guard<std::mutex> lock(script.mutex);
        script.connectionListeners.push_back(listener);
    }
    script.Record(this, "RegisterConnectionListener", listener);
}

void CommHub::UnregisterConnectionListener(const IConnectionListener* listener)
{
    ScriptedHub& script = ScriptedHub::Instance();
    {
        const std::lock_guard<std::mutex> lock(script.mutex);
        auto& all = script.connectionListeners;
        all.erase(std::remove(all.begin(), all.end(), listener), all.end());
    }
    script.Record(this, "UnregisterConnectionListener", listener);
}

} // namespace Nemt
