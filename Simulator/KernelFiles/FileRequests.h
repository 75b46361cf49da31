#pragma once

#include "Answers.h"
#include "Gpio.h"
#include "Tree.h"
#include "Uleds.h"
#include "UledsRequests.h"

#include <fuse_lowlevel.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace Simulator
{

/// Answers the kernel's requests for the files from the models. Only the session's thread may call.
class FileRequests
{
public:
    FileRequests(Gpio& chip, Uleds& ledDevices, FaultPlan& faultPlan);

    FileRequests(const FileRequests&) = delete;
    FileRequests& operator=(const FileRequests&) = delete;

    /// The operations for a session whose context is a FileRequests.
    static fuse_lowlevel_ops Operations();

    /// Call it after each request, and at the time that NextDue returns.
    void AnswerWaiting();
    std::optional<std::chrono::steady_clock::time_point> NextDue() const;

    /// Call it after each change of a model or of the faults.
    void WakePollers();

    /// Answers all waiting requests with ENODEV and closes all handles of the LED device.
    void Abort();

private:
    struct Rights
    {
        mode_t permissions;
        uid_t user;
        gid_t group;
    };

    void Lookup(fuse_req_t request, Node parent, const std::string& name);
    void GetAttributes(fuse_req_t request, Node node);
    void SetAttributes(fuse_req_t request, Node node, const struct stat& wanted, int which);
    void ReadLink(fuse_req_t request, Node node);
    void ReadDirectory(fuse_req_t request, Node node, std::size_t size, off_t offset);
    void Open(fuse_req_t request, Node node, const fuse_file_info& info);
    void Read(fuse_req_t request, Node node, std::size_t size, off_t offset, const fuse_file_info& info);
    void Write(fuse_req_t request, Node node, const std::string& data, const fuse_file_info& info);
    void Poll(fuse_req_t request, Node node, const fuse_file_info& info, fuse_pollhandle* poller);
    void Release(fuse_req_t request, Node node, const fuse_file_info& info);

    void Give(fuse_req_t request, std::optional<Operation> operation, const Answers::Answer& answer);
    int ReadText(Node node, std::string& text) const;
    int WriteText(Node node, const std::string& text);
    struct stat Attributes(Node node) const;
    void ForgetRightsOfTheGone();

    Gpio& gpio;
    Uleds& uleds;
    Tree tree;
    Answers answers;
    UledsRequests device;
    const timespec mountTime;
    std::map<uint64_t, Rights> rights; // of the nodes whose rights were changed, by number
};

} // namespace Simulator
