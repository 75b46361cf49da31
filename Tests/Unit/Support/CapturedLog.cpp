#include "CapturedLog.h"

#include "Await.h"

#include <log4cplus/hierarchy.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <algorithm>
#include <cerrno>

namespace UnitTests
{

log4cplus::helpers::SharedObjectPtr<CapturedLog> CapturedLog::Attach()
{
    log4cplus::Logger::getDefaultHierarchy().resetConfiguration(); // root at DEBUG, without appenders
    log4cplus::helpers::SharedObjectPtr<CapturedLog> log(new CapturedLog);
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(log.get()));
    return log;
}

CapturedLog::~CapturedLog()
{
    destructorImpl();
}

void CapturedLog::close() {}

std::vector<std::string> CapturedLog::Lines() const
{
    std::vector<std::string> texts;
    for (const LogLine& line : Details())
    {
        texts.push_back(line.text);
    }
    return texts;
}

std::vector<std::string> CapturedLog::Failures() const
{
    std::vector<std::string> texts = Lines();
    const auto isDebug = [](const std::string& text) { return text.rfind("DEBUG ", 0) == 0; };
    texts.erase(std::remove_if(texts.begin(), texts.end(), isDebug), texts.end());
    return texts;
}

std::vector<LogLine> CapturedLog::Details() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return lines;
}

bool CapturedLog::Await(const std::string& text, int count)
{
    std::unique_lock<std::mutex> lock(mutex);
    return appended.wait_for(lock, AwaitLimit,
                             [&] {
                                 return std::count_if(lines.begin(), lines.end(),
                                                      [&](const LogLine& line) { return line.text == text; }) >= count;
                             });
}

void CapturedLog::Clear()
{
    const std::lock_guard<std::mutex> lock(mutex);
    lines.clear();
}

void CapturedLog::LeaveErrno(int error)
{
    errnoAfterwards = error;
}

void CapturedLog::append(const log4cplus::spi::InternalLoggingEvent& event)
{
    const std::string level = log4cplus::getLogLevelManager().toString(event.getLogLevel());
    {
        const std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(
            {level + ' ' + event.getLoggerName() + ' ' + event.getMessage(), event.getFile(), event.getFunction()});
        appended.notify_all();
    }
    errno = errnoAfterwards;
}

} // namespace UnitTests
