#pragma once

#include <string>

namespace UnitTests
{

/// A text that knows whether somebody has looked at it: its page cannot be read until the first attempt. Only one can
/// exist at a time.
class GuardedText
{
public:
    /// `text` must be shorter than a page.
    explicit GuardedText(const std::string& text);
    ~GuardedText();

    GuardedText(const GuardedText&) = delete;
    GuardedText& operator=(const GuardedText&) = delete;

    char* Get() const;
    bool WasRead() const;
};

} // namespace UnitTests
