#pragma once

#include "Answers.h"
#include "Uleds.h"

#include <fuse_lowlevel.h>

#include <map>
#include <memory>
#include <string>

namespace Simulator
{

/// Answers the requests for the userspace LED device. Each open file of the device is a handle. Only the session's
/// thread may call.
class UledsRequests
{
public:
    UledsRequests(Uleds& ledDevices, Answers& sharedAnswers);

    void Open(fuse_req_t request, const fuse_file_info& info);

    /// Waits for a report, unless the file is non-blocking.
    void Read(fuse_req_t request, std::size_t size, const fuse_file_info& info);

    void Write(fuse_req_t request, const std::string& record, const fuse_file_info& info);

    /// `poller` stands for the waiting processes; it is null if nobody waits. This object owns it from now on.
    void Poll(fuse_req_t request, const fuse_file_info& info, fuse_pollhandle* poller);

    void Release(fuse_req_t request, const fuse_file_info& info);

    /// Makes all processes that wait in a poll ask again.
    void WakePollers();

    /// Closes all handles.
    void Abort();

private:
    struct PollDeleter
    {
        void operator()(fuse_pollhandle* poller) const
        {
            fuse_pollhandle_destroy(poller);
        }
    };

    Uleds& uleds;
    Answers& answers;
    std::map<Uleds::Handle, std::unique_ptr<fuse_pollhandle, PollDeleter>> pollers;
};

} // namespace Simulator
