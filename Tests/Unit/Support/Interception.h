#pragma once

#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <mutex>

namespace UnitTests
{

template<typename Signature>
class Interception;

/// A kernel call on its way from a component. It goes to the real function unless a test has replaced that. Any thread
/// may call while a test replaces it.
template<typename Result, typename... Arguments>
class Interception<Result(Arguments...)>
{
public:
    using Function = Result(Arguments...);

    constexpr explicit Interception(Function* function)
        : real(function)
    {
    }

    /// From now on the component's calls go to `function`, which may call `Real`.
    void Replace(std::function<Function> function)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        replacement = std::make_shared<const std::function<Function>>(std::move(function));
    }

    /// The `call`th call from now on, counted from 1, fails with `error`; all others are real.
    void FailAt(int call, int error)
    {
        const auto left = std::make_shared<std::atomic<int>>(call);
        Replace(
            [this, left, error](Arguments... arguments) -> Result
            {
                if (--*left != 0)
                {
                    return real(arguments...);
                }
                errno = error;
                return -1;
            });
    }

    /// Every call from now on fails with `error`.
    void FailAlways(int error)
    {
        Replace(
            [error](Arguments...) -> Result
            {
                errno = error;
                return -1;
            });
    }

    /// Passes the calls on again and counts them from 0.
    void Restore()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        replacement = nullptr;
        calls = 0;
    }

    /// How often the components have called since Restore.
    int Calls() const
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return calls;
    }

    /// The function itself, for tests and their support.
    Result Real(Arguments... arguments) const
    {
        return real(arguments...);
    }

    /// The linker puts this in the place of the component's call.
    Result Call(Arguments... arguments)
    {
        std::shared_ptr<const std::function<Function>> current;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            ++calls;
            current = replacement;
        }
        return current ? (*current)(arguments...) : real(arguments...);
    }

private:
    Function* real;
    mutable std::mutex mutex;
    std::shared_ptr<const std::function<Function>> replacement;
    int calls = 0;
};

} // namespace UnitTests
