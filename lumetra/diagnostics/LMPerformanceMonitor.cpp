#include "lumetra/diagnostics/LMPerformanceMonitor.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/platform/LMLog.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <limits>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace {

// GL_TIME_ELAPSED is core from 3.3; a 3.2 context may still offer it as an
// extension. Without it every query call would leave a GL error behind for
// the next step of a draw to find.
bool timerQueriesSupported()
{
    GLint major = 0, minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    if (major > 3 || (major == 3 && minor >= 3))
        return true;
    GLint extensions = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &extensions);
    for (GLint index = 0; index < extensions; ++index) {
        const auto* name = reinterpret_cast<const char*>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(index)));
        if (name && std::strcmp(name, "GL_ARB_timer_query") == 0)
            return true;
    }
    return false;
}

// A platform timer ticks every 0.1 ms when asked for a period of zero or
// less; so do we, and NaN is treated the same. Very long periods are capped
// at about thirty years so that deadlines cannot overflow.
std::chrono::nanoseconds timerPeriod(double seconds)
{
    constexpr double shortest = 0.0001;
    constexpr double longest = 1e9;
    if (!(seconds > 0.0)) {
        LMLog("LMPerformanceMonitor: Interval %g is not a positive number of seconds; ticking every %g seconds.",
              seconds, shortest);
        seconds = shortest;
    }
    return std::chrono::nanoseconds(static_cast<int64_t>(std::min(seconds, longest) * 1e9));
}

} // namespace

// The reporting timer: a thread that calls tick once per period until it is
// destroyed. Like a platform timer it keeps its schedule, and a late tick
// does not make up for the ones it missed.
class LMPerformanceMonitor::TimerThread {
public:
    TimerThread(std::chrono::nanoseconds period, LMPerformanceMonitor& monitor)
        : state_(std::make_shared<State>()), thread_(run, state_, period, &monitor)
    {}

    ~TimerThread()
    {
        {
            std::lock_guard<std::mutex> lock(state_->mutex);
            state_->stopped = true;
        }
        state_->wake.notify_one();
        // Destroyed from inside its own tick (a report that stopped or
        // released the monitor): the thread cannot join itself. It ends on
        // its own once that tick returns, touching nothing but its state.
        if (thread_.get_id() == std::this_thread::get_id())
            thread_.detach();
        else
            thread_.join();
    }

    TimerThread(const TimerThread&) = delete;
    TimerThread& operator=(const TimerThread&) = delete;

private:
    struct State {
        std::mutex mutex;
        std::condition_variable wake;
        bool stopped = false;
    };

    static void run(std::shared_ptr<State> state, std::chrono::nanoseconds period, LMPerformanceMonitor* monitor)
    {
        pthread_setname_np(pthread_self(), "Lumetra Monitor");
        using Clock = std::chrono::steady_clock;
        auto deadline = Clock::now() + period;
        std::unique_lock<std::mutex> lock(state->mutex);
        while (!state->wake.wait_until(lock, deadline, [&] { return state->stopped; })) {
            lock.unlock();
            monitor->tick();
            lock.lock();
            deadline += period;
            const auto now = Clock::now();
            if (deadline <= now)
                deadline = now + period;
        }
    }

    // Shared with the thread, which outlives this object when detached.
    std::shared_ptr<State> state_;
    std::thread thread_;
};

std::shared_ptr<LMPerformanceMonitor> LMPerformanceMonitor::performanceMonitor()
{
    return std::shared_ptr<LMPerformanceMonitor>(new LMPerformanceMonitor({}));
}

std::shared_ptr<LMPerformanceMonitor> LMPerformanceMonitor::performanceMonitorWithContext(
    const std::shared_ptr<LMContext>& context)
{
    return std::shared_ptr<LMPerformanceMonitor>(new LMPerformanceMonitor(context));
}

LMPerformanceMonitor::LMPerformanceMonitor(const std::weak_ptr<LMContext>& context) : context_(context)
{}

LMPerformanceMonitor::~LMPerformanceMonitor()
{
    stop();
}

void LMPerformanceMonitor::setEnabled(bool enabled)
{
    if (enabled_.exchange(enabled) == enabled)
        return;
    if (enabled)
        start();
    else
        stop();
}

void LMPerformanceMonitor::setInterval(double interval)
{
    if (interval_.exchange(interval) == interval)
        return;
    start();
}

void LMPerformanceMonitor::start()
{
    stop();

    std::lock_guard<std::mutex> lock(stateMutex_);
    const std::shared_ptr<LMContext> context = context_.lock();
    // Made meanwhile by a start on another thread, which also started the timer.
    if (!context || timerQueryCreated_)
        return;

    bool ran = false, supported = false;
    context->executeOpenGL([&] {
        ran = true;
        supported = timerQueriesSupported();
        if (!supported)
            return;
        glGenQueries(1, &timerQuery_);
        timerQueryCreated_ = true;
        queryBegun_ = false;
        spanOpen_ = false;
    });
    // A context without a GL context runs no block: nothing is made.
    if (!ran)
        return;
    if (!supported) {
        LMLog("LMPerformanceMonitor: The OpenGL context has no timer queries; nothing will be measured.");
        return;
    }
    queryContext_ = context;

    if (!usesTimerThread_)
        return;
    try {
        timer_ = std::make_unique<TimerThread>(timerPeriod(interval_), *this);
    } catch (const std::system_error& error) {
        LMLog("LMPerformanceMonitor: Could not start the timer thread: %s", error.what());
    }
}

void LMPerformanceMonitor::stop()
{
    std::unique_ptr<TimerThread> timer;
    {
        std::lock_guard<std::mutex> lock(stateMutex_);
        timer = std::move(timer_);
        if (timerQueryCreated_) {
            timerQueryCreated_ = false;
            // A context that is gone took the query object with it.
            if (const auto context = queryContext_.lock())
                context->executeOpenGL([this] { deleteQuery(); });
            queryContext_.reset();
            queryBegun_ = false;
            spanOpen_ = false;
        }
    }
    // Joined with the lock released: the tick it waits for may be calling
    // into the monitor.
    timer.reset();
}

void LMPerformanceMonitor::deleteQuery()
{
    if (spanOpen_)
        glEndQuery(GL_TIME_ELAPSED);
    glDeleteQueries(1, &timerQuery_);
}

std::shared_ptr<LMContext> LMPerformanceMonitor::spanContext() const
{
    if (!timerQueryCreated_)
        return nullptr;
    auto context = context_.lock();
    return context && context == queryContext_.lock() ? context : nullptr;
}

void LMPerformanceMonitor::startTiming()
{
    if (!enabled_)
        return;
    std::lock_guard<std::mutex> lock(stateMutex_);
    const auto context = spanContext();
    if (!context)
        return;
    context->executeOpenGL([this] {
        // A span the host left open is ended here: GL cannot begin a query
        // that is still active.
        if (spanOpen_)
            glEndQuery(GL_TIME_ELAPSED);
        // A query object never begun has no result to ask for (GL would
        // answer with an error): the first span after a start collects nothing.
        if (queryBegun_)
            collectResult();
        // Beginning again gives up the previous span if it was not collected.
        glBeginQuery(GL_TIME_ELAPSED, timerQuery_);
        queryBegun_ = true;
        spanOpen_ = true;
        timerQueryStarted_ = true;
    });
}

void LMPerformanceMonitor::stopTiming()
{
    if (!enabled_)
        return;
    std::lock_guard<std::mutex> lock(stateMutex_);
    // Without an open span there is nothing to end, and ending nothing
    // would leave a GL error behind.
    if (!spanOpen_)
        return;
    const auto context = spanContext();
    if (!context)
        return;
    context->executeOpenGL([this] {
        glEndQuery(GL_TIME_ELAPSED);
        spanOpen_ = false;
    });
}

void LMPerformanceMonitor::collectResult()
{
    GLint available = 0;
    glGetQueryObjectiv(timerQuery_, GL_QUERY_RESULT_AVAILABLE, &available);
    timerQueryResultsAvailable_ = available;
    if (!available)
        return;
    GLuint64 nanoseconds = 0;
    glGetQueryObjectui64v(timerQuery_, GL_QUERY_RESULT, &nanoseconds);
    // The value and its mark in one store: a tick sees both or neither.
    result_.store(std::min<uint64_t>(nanoseconds, resultMask) | newResultMark, std::memory_order_release);
    timerQueryResultsAvailable_ = 0;
}

void LMPerformanceMonitor::tick()
{
    // Test and clear in one step: a result stored meanwhile is either taken
    // by this tick or stays marked for the next one.
    const uint64_t taken = result_.fetch_and(resultMask, std::memory_order_acq_rel);
    if (!(taken & newResultMark))
        return;
    const TargetAction receiver = targetAction();
    // Last, with nothing held: the report may stop, restart or release the
    // monitor.
    receiver.sendFrom(*this);
}

LMPerformanceMonitor::TargetAction LMPerformanceMonitor::targetAction() const
{
    std::lock_guard<std::mutex> lock(targetActionMutex_);
    return targetAction_;
}

void LMPerformanceMonitor::setTargetAction(TargetAction targetAction)
{
    // The previous pair is destroyed outside the lock: its action may own
    // anything.
    std::lock_guard<std::mutex> lock(targetActionMutex_);
    std::swap(targetAction_, targetAction);
}

uint32_t LMPerformanceMonitor::latestRestults() const
{
    return static_cast<uint32_t>(std::min<uint64_t>(latestResultNanoseconds(), std::numeric_limits<uint32_t>::max()));
}

std::shared_ptr<LMContext> LMPerformanceMonitor::context() const
{
    std::lock_guard<std::mutex> lock(stateMutex_);
    return context_.lock();
}

void LMPerformanceMonitor::setContext(const std::weak_ptr<LMContext>& context)
{
    std::lock_guard<std::mutex> lock(stateMutex_);
    context_ = context;
}

bool LMPerformanceMonitor::timerRunning() const
{
    std::lock_guard<std::mutex> lock(stateMutex_);
    return timer_ != nullptr;
}

GLuint LMPerformanceMonitor::timerQuery() const
{
    std::lock_guard<std::mutex> lock(stateMutex_);
    return timerQuery_;
}

bool LMPerformanceMonitor::timerQueryCreated() const
{
    std::lock_guard<std::mutex> lock(stateMutex_);
    return timerQueryCreated_;
}

GLint LMPerformanceMonitor::timerQueryResultsAvailable() const
{
    std::lock_guard<std::mutex> lock(stateMutex_);
    return timerQueryResultsAvailable_;
}

bool LMPerformanceMonitor::timerQueryStarted() const
{
    std::lock_guard<std::mutex> lock(stateMutex_);
    return timerQueryStarted_;
}
