#include "FileRequests.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>
#include <vector>

namespace Simulator
{

namespace
{

constexpr off_t FileSize = 4096;              // what sysfs says of each of its files, and takes in one write
constexpr unsigned BackgroundRequests = 1000; // enough that no close waits behind what was asked after it

FileRequests& Self(fuse_req_t request)
{
    return *static_cast<FileRequests*>(fuse_req_userdata(request));
}

timespec Now()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

std::optional<Operation> OpenOperation(NodeKind kind)
{
    switch (kind)
    {
    case NodeKind::Export:
        return Operation::ExportOpen;
    case NodeKind::Direction:
        return Operation::DirectionOpen;
    case NodeKind::Value:
        return Operation::ValueOpen;
    default:
        return std::nullopt;
    }
}

std::optional<Operation> WriteOperation(NodeKind kind)
{
    switch (kind)
    {
    case NodeKind::Export:
        return Operation::ExportWrite;
    case NodeKind::Direction:
        return Operation::DirectionWrite;
    case NodeKind::Value:
        return Operation::ValueWrite;
    default:
        return std::nullopt;
    }
}

PinFile PinFileOf(NodeKind kind)
{
    switch (kind)
    {
    case NodeKind::Direction:
        return PinFile::Direction;
    case NodeKind::Value:
        return PinFile::Value;
    case NodeKind::ActiveLow:
        return PinFile::ActiveLow;
    default:
        return PinFile::Edge;
    }
}

// In sysfs nobody, not even root, can open a file for an access that nobody has permission for.
bool CanBeOpened(mode_t mode, int flags)
{
    const int access = flags & O_ACCMODE;
    const bool reads = access != O_WRONLY;
    const bool writes = access != O_RDONLY;
    return (!reads || (mode & 0444) != 0) && (!writes || (mode & 0222) != 0);
}

} // namespace

FileRequests::FileRequests(Gpio& chip, Uleds& ledDevices, FaultPlan& faultPlan)
    : gpio(chip)
    , uleds(ledDevices)
    , tree(chip, ledDevices)
    , answers(faultPlan)
    , device(ledDevices, answers)
    , mountTime(Now())
{
}

fuse_lowlevel_ops FileRequests::Operations()
{
    fuse_lowlevel_ops operations{};
    operations.init = [](void*, fuse_conn_info* connection) { connection->max_background = BackgroundRequests; };
    operations.lookup = [](fuse_req_t request, fuse_ino_t parent, const char* name)
    { Self(request).Lookup(request, Node::FromNumber(parent), name); };
    operations.getattr = [](fuse_req_t request, fuse_ino_t number, fuse_file_info*)
    { Self(request).GetAttributes(request, Node::FromNumber(number)); };
    operations.setattr = [](fuse_req_t request, fuse_ino_t number, struct stat* wanted, int which, fuse_file_info*)
    { Self(request).SetAttributes(request, Node::FromNumber(number), *wanted, which); };
    operations.readlink = [](fuse_req_t request, fuse_ino_t number)
    { Self(request).ReadLink(request, Node::FromNumber(number)); };
    operations.readdir = [](fuse_req_t request, fuse_ino_t number, size_t size, off_t offset, fuse_file_info*)
    { Self(request).ReadDirectory(request, Node::FromNumber(number), size, offset); };
    operations.create = [](fuse_req_t request, fuse_ino_t, const char*, mode_t, fuse_file_info*)
    { fuse_reply_err(request, EACCES); }; // sysfs makes its files itself
    operations.mkdir = [](fuse_req_t request, fuse_ino_t, const char*, mode_t) { fuse_reply_err(request, EPERM); };
    operations.symlink = [](fuse_req_t request, const char*, fuse_ino_t, const char*)
    { fuse_reply_err(request, EPERM); };
    operations.unlink = [](fuse_req_t request, fuse_ino_t, const char*) { fuse_reply_err(request, EPERM); };
    operations.rmdir = operations.unlink;
    operations.open = [](fuse_req_t request, fuse_ino_t number, fuse_file_info* info)
    { Self(request).Open(request, Node::FromNumber(number), *info); };
    operations.read = [](fuse_req_t request, fuse_ino_t number, size_t size, off_t offset, fuse_file_info* info)
    { Self(request).Read(request, Node::FromNumber(number), size, offset, *info); };
    operations.write =
        [](fuse_req_t request, fuse_ino_t number, const char* data, size_t size, off_t, fuse_file_info* info)
    { Self(request).Write(request, Node::FromNumber(number), std::string(data, size), *info); };
    operations.poll = [](fuse_req_t request, fuse_ino_t number, fuse_file_info* info, fuse_pollhandle* handle)
    { Self(request).Poll(request, Node::FromNumber(number), *info, handle); };
    operations.release = [](fuse_req_t request, fuse_ino_t number, fuse_file_info* info)
    { Self(request).Release(request, Node::FromNumber(number), *info); };
    return operations;
}

void FileRequests::Lookup(fuse_req_t request, Node parent, const std::string& name)
{
    const auto entries = tree.List(parent);
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const Tree::Entry& entry) { return entry.name == name; });
    if (found == entries.end())
    {
        fuse_reply_err(request, ENOENT);
        return;
    }
    fuse_entry_param entry{}; // timeouts of 0: the kernel asks each time
    entry.ino = found->node.Number();
    entry.attr = Attributes(found->node);
    fuse_reply_entry(request, &entry);
}

struct stat FileRequests::Attributes(Node node) const
{
    struct stat attributes
    {
    };
    attributes.st_ino = node.Number();
    attributes.st_mode = Tree::Mode(node);
    attributes.st_nlink = 1;
    attributes.st_uid = geteuid();
    attributes.st_gid = getegid();
    attributes.st_size = S_ISREG(attributes.st_mode) ? FileSize : 0;
    attributes.st_atim = mountTime;
    attributes.st_mtim = mountTime;
    attributes.st_ctim = mountTime;
    if (const auto changed = rights.find(node.Number()); changed != rights.end())
    {
        attributes.st_mode = (attributes.st_mode & S_IFMT) | changed->second.permissions;
        attributes.st_uid = changed->second.user;
        attributes.st_gid = changed->second.group;
    }
    return attributes;
}

void FileRequests::GetAttributes(fuse_req_t request, Node node)
{
    if (!tree.Exists(node))
    {
        fuse_reply_err(request, ENOENT);
        return;
    }
    const struct stat attributes = Attributes(node);
    fuse_reply_attr(request, &attributes, 0);
}

// The kernel has checked that the caller may do this, and has translated the numbers of user and group into those of
// the board's own namespace. A new size or time is accepted and has no effect.
void FileRequests::SetAttributes(fuse_req_t request, Node node, const struct stat& wanted, int which)
{
    if (!tree.Exists(node))
    {
        fuse_reply_err(request, ENOENT);
        return;
    }
    const auto isWanted = [which](int attribute) { return (which & attribute) != 0; };
    if (isWanted(FUSE_SET_ATTR_MODE | FUSE_SET_ATTR_UID | FUSE_SET_ATTR_GID))
    {
        const struct stat now = Attributes(node);
        const mode_t mode = isWanted(FUSE_SET_ATTR_MODE) ? wanted.st_mode : now.st_mode;
        rights[node.Number()] = {mode & ~static_cast<mode_t>(S_IFMT),
                                 isWanted(FUSE_SET_ATTR_UID) ? wanted.st_uid : now.st_uid,
                                 isWanted(FUSE_SET_ATTR_GID) ? wanted.st_gid : now.st_gid};
        ForgetRightsOfTheGone();
    }
    GetAttributes(request, node);
}

void FileRequests::ForgetRightsOfTheGone()
{
    for (auto entry = rights.begin(); entry != rights.end();)
    {
        entry = tree.Exists(Node::FromNumber(entry->first)) ? std::next(entry) : rights.erase(entry);
    }
}

void FileRequests::ReadLink(fuse_req_t request, Node node)
{
    if (!tree.Exists(node))
    {
        fuse_reply_err(request, ENOENT);
        return;
    }
    fuse_reply_readlink(request, tree.TextOf(node).c_str());
}

void FileRequests::ReadDirectory(fuse_req_t request, Node node, std::size_t size, off_t offset)
{
    std::vector<Tree::Entry> entries{{".", node}, {"..", Tree::Root}};
    for (Tree::Entry& entry : tree.List(node))
    {
        entries.push_back(std::move(entry));
    }
    std::vector<char> buffer(size);
    std::size_t used = 0;
    for (auto index = static_cast<std::size_t>(offset); index < entries.size(); ++index)
    {
        const struct stat attributes = Attributes(entries[index].node);
        const std::size_t needed =
            fuse_add_direntry(request, buffer.data() + used, size - used, entries[index].name.c_str(), &attributes,
                              static_cast<off_t>(index + 1));
        if (needed > size - used)
        {
            break;
        }
        used += needed;
    }
    fuse_reply_buf(request, buffer.data(), used);
}

void FileRequests::Open(fuse_req_t request, Node node, const fuse_file_info& info)
{
    if (node.Kind() == NodeKind::Uleds)
    {
        device.Open(request, info);
        return;
    }
    const auto open = [this, request, node, opened = info](const Fault&) mutable
    {
        if (!tree.Exists(node) || !CanBeOpened(Attributes(node).st_mode, opened.flags))
        {
            fuse_reply_err(request, tree.Exists(node) ? EACCES : ENODEV);
            return true;
        }
        opened.direct_io = 1; // each read and write of a program arrives here as it is
        fuse_reply_open(request, &opened);
        return true;
    };
    Give(request, OpenOperation(node.Kind()), open);
}

void FileRequests::Read(fuse_req_t request, Node node, std::size_t size, off_t offset, const fuse_file_info& info)
{
    if (node.Kind() == NodeKind::Uleds)
    {
        device.Read(request, size, info);
        return;
    }
    std::string text;
    if (const int error = ReadText(node, text); error != 0)
    {
        fuse_reply_err(request, error);
        return;
    }
    const std::size_t begin = std::min(static_cast<std::size_t>(offset), text.size());
    fuse_reply_buf(request, text.data() + begin, std::min(size, text.size() - begin));
}

void FileRequests::Write(fuse_req_t request, Node node, const std::string& data, const fuse_file_info& info)
{
    if (node.Kind() == NodeKind::Uleds)
    {
        device.Write(request, data, info);
        return;
    }
    const std::string text = data.substr(0, FileSize);
    const auto write = [this, request, node, text](const Fault&)
    {
        if (const int error = WriteText(node, text); error != 0)
        {
            fuse_reply_err(request, error);
        }
        else
        {
            fuse_reply_write(request, text.size());
        }
        return true;
    };
    Give(request, WriteOperation(node.Kind()), write);
}

// After a change of its mode, a file may be open for an access that it never supports.
int FileRequests::ReadText(Node node, std::string& text) const
{
    if ((Tree::Mode(node) & 0444) == 0)
    {
        return EIO;
    }
    switch (node.Kind())
    {
    case NodeKind::Brightness:
        return uleds.ReadBrightness(node.id, text);
    case NodeKind::MaxBrightness:
        return uleds.ReadMaxBrightness(node.id, text);
    case NodeKind::Text:
        text = tree.TextOf(node);
        return tree.Exists(node) ? 0 : ENODEV;
    case NodeKind::Unsupported:
        return EIO;
    default:
        return tree.Exists(node) ? gpio.Read(Tree::PinOf(node), PinFileOf(node.Kind()), text) : ENODEV;
    }
}

int FileRequests::WriteText(Node node, const std::string& text)
{
    if ((Tree::Mode(node) & 0222) == 0)
    {
        return EIO;
    }
    switch (node.Kind())
    {
    case NodeKind::Export:
        return gpio.Export(text);
    case NodeKind::Unexport:
        return gpio.Unexport(text);
    case NodeKind::Brightness:
        return uleds.WriteBrightness(node.id, text);
    case NodeKind::Text:
        return !tree.Exists(node) ? ENODEV : Tree::Takes(node, text) ? 0 : EINVAL;
    case NodeKind::Unsupported:
        return EIO;
    default:
        return tree.Exists(node) ? gpio.Write(Tree::PinOf(node), PinFileOf(node.Kind()), text) : ENODEV;
    }
}

void FileRequests::Poll(fuse_req_t request, Node node, const fuse_file_info& info, fuse_pollhandle* poller)
{
    if (node.Kind() == NodeKind::Uleds)
    {
        device.Poll(request, info, poller);
        return;
    }
    if (poller != nullptr)
    {
        fuse_pollhandle_destroy(poller);
    }
    fuse_reply_poll(request, POLLIN | POLLOUT | POLLRDNORM | POLLWRNORM); // a file of sysfs never makes one wait
}

void FileRequests::Release(fuse_req_t request, Node node, const fuse_file_info& info)
{
    if (node.Kind() == NodeKind::Uleds)
    {
        device.Release(request, info);
        return;
    }
    fuse_reply_err(request, 0);
}

void FileRequests::Give(fuse_req_t request, std::optional<Operation> operation, const Answers::Answer& answer)
{
    if (operation)
    {
        answers.Give(request, *operation, {}, answer);
        return;
    }
    answer({});
}

void FileRequests::AnswerWaiting()
{
    answers.GiveWaiting();
}

std::optional<std::chrono::steady_clock::time_point> FileRequests::NextDue() const
{
    return answers.NextDue();
}

void FileRequests::WakePollers()
{
    device.WakePollers();
}

void FileRequests::Abort()
{
    answers.Abort();
    device.Abort();
}

} // namespace Simulator
