#include "UledsRequests.h"

#include <fcntl.h>
#include <linux/uleds.h>

#include <algorithm>
#include <cerrno>

namespace Simulator
{

UledsRequests::UledsRequests(Uleds& ledDevices, Answers& sharedAnswers)
    : uleds(ledDevices)
    , answers(sharedAnswers)
{
}

void UledsRequests::Open(fuse_req_t request, const fuse_file_info& info)
{
    const auto open = [this, request, opened = info](const Fault&) mutable
    {
        opened.direct_io = 1;
        opened.nonseekable = 1;
        opened.fh = uleds.Open();
        fuse_reply_open(request, &opened);
        return true;
    };
    answers.Give(request, Operation::UledsOpen, {}, open);
}

void UledsRequests::Read(fuse_req_t request, std::size_t size, const fuse_file_info& info)
{
    const bool waits = (info.flags & O_NONBLOCK) == 0;
    const auto read = [this, request, size, waits, handle = info.fh](const Fault& fault)
    {
        if (fault.count == std::size_t{0})
        {
            fuse_reply_buf(request, nullptr, 0);
            return true;
        }
        int32_t brightness = 0;
        const long result = uleds.Read(handle, size, brightness);
        if (result == -EAGAIN && waits)
        {
            return false;
        }
        if (result < 0)
        {
            fuse_reply_err(request, static_cast<int>(-result));
            return true;
        }
        const auto count = static_cast<std::size_t>(result);
        fuse_reply_buf(request, reinterpret_cast<const char*>(&brightness),
                       std::min(count, fault.count.value_or(count)));
        return true;
    };
    answers.Give(request, Operation::UledsRead, uleds.NameOf(info.fh), read);
}

void UledsRequests::Write(fuse_req_t request, const std::string& record, const fuse_file_info& info)
{
    const auto write = [this, request, record, handle = info.fh](const Fault& fault)
    {
        const long result = uleds.Write(handle, record);
        if (result < 0)
        {
            fuse_reply_err(request, static_cast<int>(-result));
        }
        else
        {
            fuse_reply_write(request, fault.count.value_or(static_cast<std::size_t>(result)));
        }
        return true;
    };
    const std::string name = record.substr(0, std::min<std::size_t>(record.find('\0'), LED_MAX_NAME_SIZE));
    answers.Give(request, Operation::UledsWrite, name, write);
}

void UledsRequests::Poll(fuse_req_t request, const fuse_file_info& info, fuse_pollhandle* poller)
{
    if (poller != nullptr)
    {
        pollers[info.fh].reset(poller); // one is enough: it stands for all who wait on this handle
    }
    const auto poll = [this, request, handle = info.fh](const Fault& fault)
    {
        const short real = fault.onlyTheseEvents ? short{0} : uleds.Poll(handle);
        fuse_reply_poll(request, static_cast<unsigned short>(real | fault.events));
        return true;
    };
    answers.Give(request, Operation::UledsPoll, uleds.NameOf(info.fh), poll);
}

void UledsRequests::Release(fuse_req_t request, const fuse_file_info& info)
{
    pollers.erase(info.fh);
    uleds.Close(info.fh);
    fuse_reply_err(request, 0);
}

void UledsRequests::WakePollers()
{
    for (const auto& [handle, poller] : pollers)
    {
        fuse_lowlevel_notify_poll(poller.get());
    }
    pollers.clear(); // who goes on waiting asks again, and leaves a new one
}

void UledsRequests::Abort()
{
    uleds.CloseAll();
    WakePollers();
}

} // namespace Simulator
