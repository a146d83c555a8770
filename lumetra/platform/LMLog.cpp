#include "lumetra/platform/LMLog.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>

namespace {

using Sink = std::function<void(const std::string&)>;

// Held by every call: lines never interleave, and a sink replaced from
// another thread is never running once LMSetLogSink returns. Recursive,
// because a sink may itself log or install another sink.
std::recursive_mutex& sinkMutex()
{
    static std::recursive_mutex mutex;
    return mutex;
}

// Shared, so that a sink that replaces itself lives until its call returns.
std::shared_ptr<const Sink>& installedSink()
{
    static std::shared_ptr<const Sink> sink;
    return sink;
}

// True on a thread while it runs the sink.
thread_local bool insideSink = false;

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

// One message, one line: a trailing newline ends it, and the newlines inside
// a quoted text (a compiler's log of several errors) become "; ".
void makeOneLine(std::string& message)
{
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
        message.pop_back();
    std::string line;
    line.reserve(message.size());
    for (size_t i = 0; i < message.size(); ++i) {
        if (message[i] != '\n' && message[i] != '\r') {
            line.push_back(message[i]);
            continue;
        }
        while (i + 1 < message.size() && (message[i + 1] == '\n' || message[i + 1] == '\r'))
            ++i;
        line.append("; ");
    }
    message = std::move(line);
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
    makeOneLine(message);

    std::lock_guard<std::recursive_mutex> lock(sinkMutex());
    const std::shared_ptr<const Sink> sink = installedSink();
    // A line logged by the sink itself goes to standard error: handing it to
    // the sink again could recurse without end.
    if (!sink || insideSink) {
        std::fprintf(stderr, "%s\n", message.c_str());
        return;
    }
    insideSink = true;
    struct Leave {
        ~Leave() { insideSink = false; }
    } leave;
    (*sink)(message);
}

void LMSetLogSink(std::function<void(const std::string&)> sink)
{
    std::shared_ptr<const Sink> replacement = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
    std::lock_guard<std::recursive_mutex> lock(sinkMutex());
    installedSink().swap(replacement);
    // The old sink goes here, unless a call that runs it holds it still.
}
