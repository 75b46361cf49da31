#pragma once

#include <fuse_lowlevel.h>

#include <filesystem>
#include <memory>
#include <string>

namespace Simulator
{

/// A mounted file system, and the connection over which the kernel's requests arrive.
class FuseSession
{
public:
    /// Mounts at `mountPoint`, a directory. `context` is the user data of the requests.
    /// Throws std::runtime_error with one line that says what is missing.
    FuseSession(const std::filesystem::path& mountPoint, const fuse_lowlevel_ops& operations, void* context);

    /// Unmounts, even if files are open. Every request that is still unanswered fails with ENOTCONN or ECONNABORTED. No
    /// request may be under way on another thread.
    ~FuseSession();

    FuseSession(const FuseSession&) = delete;
    FuseSession& operator=(const FuseSession&) = delete;

    /// For poll: readable if there is a request.
    int Descriptor() const;

    /// Handles one request on the calling thread; returns at once if there is none. False if the connection has ended.
    bool HandleRequest();

private:
    static void Mount(const std::string& mountPoint, int device);

    struct Deleter
    {
        void operator()(fuse_session* ended) const
        {
            fuse_session_destroy(ended);
        }
    };

    const std::string mountedAt;
    std::unique_ptr<fuse_session, Deleter> session;
    fuse_buf buffer{}; // its memory is allocated with the first request
};

} // namespace Simulator
