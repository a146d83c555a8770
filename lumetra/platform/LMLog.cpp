#include "lumetra/platform/LMLog.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

std::mutex& sinkMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::function<void(const std::string&)>& installedSink()
{
    static std::function<void(const std::string&)> sink;
    return sink;
}

std::string formatMessage(const char* format, va_list arguments)
{
    va_list measuring;
    va_copy(measuring, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measuring);
    va_end(measuring);
    if (length <= 0)
        return {};
    std::string message(static_cast<size_t>(length), '\0');
    std::vsnprintf(message.data(), message.size() + 1, format, arguments);
    return message;
}

} // namespace

void LMLog(const char* format, ...)
{
    if (!format)
        return;
    va_list arguments;
    va_start(arguments, format);
    std::string message = formatMessage(format, arguments);
    va_end(arguments);

    // One line per message: a trailing newline in the format is the line's end.
    while (!message.empty() && message.back() == '\n')
        message.pop_back();

    // The sink is called under the lock so that lines from several threads
    // never interleave and a sink being replaced is never called half-way.
    std::lock_guard<std::mutex> lock(sinkMutex());
    if (installedSink()) {
        installedSink()(message);
    } else {
        std::fprintf(stderr, "%s\n", message.c_str());
    }
}

void LMSetLogSink(std::function<void(const std::string&)> sink)
{
    std::lock_guard<std::mutex> lock(sinkMutex());
    installedSink() = std::move(sink);
}
