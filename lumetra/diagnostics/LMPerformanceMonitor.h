#pragma once

#include "lumetra/diagnostics/LMTargetAction.h"
#include "lumetra/platform/LMGL.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

class LMContext;

// Measures how long the GPU takes for the GL work between startTiming and
// stopTiming, usually one frame of a graph, and reports the latest figure to
// a target and action every `interval` seconds. It uses one GL timer query
// of a rendering context and never waits for the GPU: the result of a span
// is asked for once, when the next span begins, and a span the GPU has not
// finished by then is given up.
//
// Reports come from a timer thread the monitor owns, started by `start`; a
// host that has a loop of its own can switch that off and call `tick` itself.
// A result is handed from the GL queue to the ticking thread in one atomic
// word, so it is never torn and never lost between a tick's test and clear.
// After `stop` returns no tick is running or will run, unless `stop` was
// called from inside a report; releasing the monitor stops it.
//
// Every operation may be called from any thread, the report included.
//
// Threads: any thread, the report included. Lifecycle and span operations hold the monitor's lock around their
// block on the GL queue; tick never takes that lock nor touches GL, and calls the report with nothing held.
class LMPerformanceMonitor {
public:
    using TargetAction = LMTargetAction<LMPerformanceMonitor>;

    // Without a context: start makes nothing until one is set.
    static std::shared_ptr<LMPerformanceMonitor> performanceMonitor();
    static std::shared_ptr<LMPerformanceMonitor> performanceMonitorWithContext(
        const std::shared_ptr<LMContext>& context);
    ~LMPerformanceMonitor();

    LMPerformanceMonitor(const LMPerformanceMonitor&) = delete;
    LMPerformanceMonitor& operator=(const LMPerformanceMonitor&) = delete;

    // Stops, then makes the query object in the context and starts the
    // reporting timer. Makes nothing without a live context.
    void start();
    // Stops the timer and deletes the query object.
    void stop();
    // Begins a span, first collecting the previous span's result if the GPU
    // has it. Does nothing unless enabled and started with a live context.
    void startTiming();
    // Ends the span begun by startTiming; without one it does nothing.
    void stopTiming();
    // Calls the action on the target when a result has arrived since the
    // last tick; at most one call per tick, with the latest result. The
    // result is used up even when there is no one to call.
    void tick();

    // Spans are measured only while enabled. Setting a new value starts or
    // stops the monitor.
    bool enabled() const { return enabled_; }
    void setEnabled(bool enabled);
    // The reporting period in seconds. Setting a new value (re)starts the
    // monitor, enabled or not. Zero, negative and NaN periods are logged and
    // tick every 0.1 ms, as a platform timer would.
    double interval() const { return interval_; }
    void setInterval(double interval);
    // Whether start runs the reporting timer on a thread of the monitor's
    // own (the default) or leaves calling tick to the host. Takes effect at
    // the next start.
    bool usesTimerThread() const { return usesTimerThread_; }
    void setUsesTimerThread(bool uses) { usesTimerThread_ = uses; }

    // Who hears the reports; the target is held weakly.
    TargetAction targetAction() const;
    void setTargetAction(TargetAction targetAction);
    // The target while it lives.
    std::shared_ptr<void> target() const { return targetAction().target(); }

    // The latest GPU time measured, in nanoseconds, as an unsigned 32-bit
    // value: spans of 2^32 ns (about 4.3 s) or more read as 0xFFFFFFFF rather
    // than wrapping round to a short time. (The name is spelt so.)
    uint32_t latestRestults() const;
    // The same, with the 64 bits the GL query gives.
    uint64_t latestResultNanoseconds() const { return result_.load(std::memory_order_acquire) & resultMask; }

    // Weak: the monitor does not keep its context alive. A new context takes
    // effect at the next start; until then spans are measured in neither.
    std::shared_ptr<LMContext> context() const;
    void setContext(const std::weak_ptr<LMContext>& context);

    // Running state, for inspection.
    bool timerRunning() const;
    GLuint timerQuery() const;
    bool timerQueryCreated() const;
    // The last GL_QUERY_RESULT_AVAILABLE read; back to 0 once a result is read.
    GLint timerQueryResultsAvailable() const;
    bool timerQueryHasNewResults() const { return result_.load(std::memory_order_acquire) & newResultMark; }
    // Set by the first span ever begun and never cleared.
    bool timerQueryStarted() const;

protected:
    explicit LMPerformanceMonitor(const std::weak_ptr<LMContext>& context);

private:
    class TimerThread;

    // The top bit of the result word marks a result not yet reported.
    static constexpr uint64_t newResultMark = uint64_t(1) << 63;
    static constexpr uint64_t resultMask = newResultMark - 1;

    // With stateMutex_ held: the context spans are measured in, or null.
    std::shared_ptr<LMContext> spanContext() const;
    // On the GL queue: reads the previous span's result if it is there.
    void collectResult();
    // On the GL queue: ends an open span and deletes the query object.
    void deleteQuery();

    std::atomic<bool> enabled_{true};
    std::atomic<double> interval_{0.1};
    std::atomic<bool> usesTimerThread_{true};
    // The latest result and its not-yet-reported mark, handed over together.
    std::atomic<uint64_t> result_{0};

    mutable std::mutex targetActionMutex_;
    TargetAction targetAction_;

    // Guards what follows. Never held while a tick is waited for, so a
    // report can stop or restart the monitor.
    mutable std::mutex stateMutex_;
    std::weak_ptr<LMContext> context_;
    // The context the query object was made in.
    std::weak_ptr<LMContext> queryContext_;
    GLuint timerQuery_ = 0;
    bool timerQueryCreated_ = false;
    GLint timerQueryResultsAvailable_ = 0;
    bool timerQueryStarted_ = false;
    // The present query object has been begun at least once: only then has
    // GL a result to give for it.
    bool queryBegun_ = false;
    // Between glBeginQuery and glEndQuery.
    bool spanOpen_ = false;
    // Last, so that it goes first: a timer started by a report during
    // destruction is joined while the rest of the monitor still exists.
    std::unique_ptr<TimerThread> timer_;
};
