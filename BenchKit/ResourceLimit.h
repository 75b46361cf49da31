#pragma once

#include <sys/resource.h>

#include <algorithm>

/// Another soft limit of this process for as long as the object lives; at most the hard one.
class ResourceLimit
{
public:
    using Kind = decltype(RLIMIT_NOFILE);

    ResourceLimit(Kind limitedKind, rlim_t limit)
        : kind(limitedKind)
    {
        getrlimit(kind, &before);
        const rlimit wanted{std::min(limit, before.rlim_max), before.rlim_max};
        setrlimit(kind, &wanted);
    }

    ~ResourceLimit()
    {
        setrlimit(kind, &before);
    }

    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

private:
    const Kind kind;
    rlimit before{};
};
