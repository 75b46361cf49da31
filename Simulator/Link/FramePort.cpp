#include "FramePort.h"

#include "NemtLog.h"

#include <array>
#include <cerrno>
#include <cstring>

namespace Simulator
{

namespace
{

using namespace std::chrono_literals;

constexpr std::size_t ReadSize = 4096;  // bytes; all that a terminal can hold
constexpr auto DamageReportPeriod = 1s; // a line full of noise must not fill the log

bool IsTransient(int error)
{
    return error == EAGAIN || error == EINTR;
}

} // namespace

bool FramePort::Open(const std::string& deviceName)
{
    name = deviceName;
    if (!port.Open(name))
    {
        return false;
    }
    NemtLog_DebugFmt(LogText("Opened %s"), name.c_str());
    Clear();
    return true;
}

bool FramePort::OpenAgain(bool worthTelling)
{
    const bool isOpen = Open(name);
    if (!isOpen && worthTelling)
    {
        NemtLog_ErrorFmt(LogText("Cannot open %s: %s"), name.c_str(), strerror(errno));
    }
    return isOpen;
}

void FramePort::Close()
{
    port.Close();
}

pollfd FramePort::PollEntry() const
{
    return {port.Descriptor(), static_cast<short>(HasUnsent() ? POLLIN | POLLOUT : POLLIN), 0};
}

void FramePort::Receive(short events, const Wire::Decoder::Handler& onFrame)
{
    if ((events & POLLIN) == 0)
    {
        if ((events & (POLLHUP | POLLERR | POLLNVAL)) != 0)
        {
            OnGone();
        }
        return;
    }
    std::array<uint8_t, ReadSize> bytes;
    const ssize_t size = port.Read(bytes.data(), bytes.size());
    if (size > 0)
    {
        decoder.Feed(bytes.data(), static_cast<std::size_t>(size), onFrame);
        ReportDamage();
    }
    else if (size == 0 || !IsTransient(errno))
    {
        OnGone();
    }
}

void FramePort::Send(const Wire::Frame& frame)
{
    const std::vector<uint8_t> bytes = Wire::Encode(frame);
    unsent.insert(unsent.end(), bytes.begin(), bytes.end());
    SendUnsent();
}

void FramePort::SendUnsent()
{
    if (!IsOpen() || unsent.empty())
    {
        return;
    }
    const ssize_t written = port.Write(unsent.data(), unsent.size());
    if (written >= 0)
    {
        unsent.erase(unsent.begin(), unsent.begin() + written);
    }
    else if (!IsTransient(errno))
    {
        OnGone();
    }
}

void FramePort::Clear()
{
    unsent.clear();
    decoder = Wire::Decoder();
    damageReported = 0;
    if (IsOpen())
    {
        port.Flush();
    }
}

void FramePort::OnGone()
{
    NemtLog_WarnFmt(LogText("The other end of %s is gone"), name.c_str());
    Close();
}

void FramePort::ReportDamage()
{
    const auto now = std::chrono::steady_clock::now();
    if (decoder.Rejected() == damageReported || now < nextDamageReport)
    {
        return;
    }
    NemtLog_WarnFmt(LogText("Damaged frames dropped: %llu"),
                    static_cast<unsigned long long>(decoder.Rejected() - damageReported));
    damageReported = decoder.Rejected();
    nextDamageReport = now + DamageReportPeriod;
}

} // namespace Simulator
