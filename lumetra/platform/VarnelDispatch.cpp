#include "lumetra/platform/VarnelDispatch.h"

#include <atomic>
#include <chrono>
#include <climits>
#include <exception>
#include <linux/futex.h>
#include <mutex>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace {

// How long each side waits actively before parking. Back-to-back blocks come
// within a few microseconds; an idle queue parks its thread after this.
constexpr auto pureSpin = std::chrono::microseconds(10);
constexpr auto yieldingSpin = std::chrono::microseconds(60);

inline void cpuRelax()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

void futexWait(std::atomic<uint32_t>& word, uint32_t expected)
{
    syscall(SYS_futex, reinterpret_cast<uint32_t*>(&word), FUTEX_WAIT_PRIVATE, expected, nullptr, nullptr, 0);
}

void futexWakeAll(std::atomic<uint32_t>& word)
{
    syscall(SYS_futex, reinterpret_cast<uint32_t*>(&word), FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

// Waits until `word` differs from `seen` and returns its new value: first by
// spinning, then by yielding the core, then parked on the futex. The parked
// flag and the word are both accessed sequentially consistently, so either the
// waker sees the flag or the waiter sees the new value (no lost wake-up).
uint32_t awaitChange(std::atomic<uint32_t>& word, uint32_t seen, std::atomic<uint32_t>& parked)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    for (unsigned round = 1;; ++round) {
        const uint32_t value = word.load(std::memory_order_acquire);
        if (value != seen)
            return value;
        if (round % 64 != 0) {
            cpuRelax();
            continue;
        }
        const auto waited = Clock::now() - start;
        if (waited > yieldingSpin)
            break;
        if (waited > pureSpin)
            sched_yield();
    }

    parked.store(1, std::memory_order_seq_cst);
    uint32_t value;
    while ((value = word.load(std::memory_order_seq_cst)) == seen)
        futexWait(word, seen);
    parked.store(0, std::memory_order_relaxed);
    return value;
}

void publish(std::atomic<uint32_t>& word, uint32_t value, std::atomic<uint32_t>& parked)
{
    word.store(value, std::memory_order_seq_cst);
    if (parked.load(std::memory_order_seq_cst))
        futexWakeAll(word);
}

} // namespace

struct VarnelDispatch::Channel {
    // Submitters take this lock so that only one hand-over is in flight.
    std::mutex submitMutex;
    const LMBlockRef* pendingBlock = nullptr;
    std::exception_ptr pendingError;
    bool stopping = false;

    // Sequence numbers of the last block handed over and the last one done,
    // each beside the flag that tells whether its waiter is parked; kept on
    // separate cache lines because the two threads write them.
    alignas(64) std::atomic<uint32_t> requestSequence{0};
    std::atomic<uint32_t> workerParked{0};
    alignas(64) std::atomic<uint32_t> doneSequence{0};
    std::atomic<uint32_t> submitterParked{0};

    void serve();
};

namespace {
thread_local const void* currentChannel = nullptr;
}

VarnelDispatch::VarnelDispatch(std::string label) : label_(std::move(label)), channel_(std::make_shared<Channel>())
{
    thread_ = std::thread([channel = channel_] { channel->serve(); });
    // Thread names are limited to 15 characters; the full label stays in label().
    pthread_setname_np(thread_.native_handle(), label_.substr(0, 15).c_str());
}

VarnelDispatch::~VarnelDispatch()
{
    const bool fromOwnThread = isCurrentQueue();
    {
        // From its own thread the queue is inside a block that holds no lock
        // (the submitter holds it), so the stop request must not take it.
        std::unique_lock<std::mutex> lock(channel_->submitMutex, std::defer_lock);
        if (!fromOwnThread)
            lock.lock();
        channel_->stopping = true;
        publish(channel_->requestSequence, channel_->requestSequence.load(std::memory_order_relaxed) + 1,
                channel_->workerParked);
    }
    // A thread cannot join itself: when the last owner lets go from inside one
    // of the queue's blocks, the thread finishes that block and then exits on
    // its own, keeping the channel alive until it does.
    if (fromOwnThread)
        thread_.detach();
    else
        thread_.join();
}

bool VarnelDispatch::isCurrentQueue() const
{
    return currentChannel == channel_.get();
}

void VarnelDispatch::dispatchSyncToQueue(LMBlockRef block)
{
    if (isCurrentQueue()) {
        block();
        return;
    }

    // Held for the whole hand-over: a block may let go of the last owner of
    // this queue, and the submitter must still be able to collect its result.
    const std::shared_ptr<Channel> keepAlive = channel_;
    Channel& channel = *keepAlive;
    std::lock_guard<std::mutex> lock(channel.submitMutex);
    channel.pendingBlock = &block;
    const uint32_t request = channel.requestSequence.load(std::memory_order_relaxed) + 1;
    publish(channel.requestSequence, request, channel.workerParked);

    uint32_t done = channel.doneSequence.load(std::memory_order_acquire);
    while (done != request)
        done = awaitChange(channel.doneSequence, done, channel.submitterParked);

    channel.pendingBlock = nullptr;
    if (channel.pendingError)
        std::rethrow_exception(std::exchange(channel.pendingError, nullptr));
}

void VarnelDispatch::Channel::serve()
{
    currentChannel = this;
    uint32_t seen = 0;
    for (;;) {
        seen = awaitChange(requestSequence, seen, workerParked);
        // The request's writes (block, stop flag) were published before the
        // sequence number, and awaitChange read it with acquire ordering.
        if (stopping)
            break;
        try {
            (*pendingBlock)();
        } catch (...) {
            pendingError = std::current_exception();
        }
        publish(doneSequence, seen, submitterParked);
    }
    currentChannel = nullptr;
}
