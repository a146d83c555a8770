#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <set>
#include <thread>

// The calling thread leases `leases` times, as the drawing thread does, while
// a second thread gives back each lease as soon as it is made, as a host
// dropping images elsewhere does. lease(i) makes the i-th lease (and may
// flush), idOf names it and release gives it back. Returns how many leases
// handed out an id that was still leased.
template <class Lease, class IdOf, class Release>
int leaseWhileAnotherThreadReleases(int leases, Lease&& lease, IdOf&& idOf, Release&& release)
{
    using Handle = decltype(lease(0));
    std::mutex mutex;
    std::deque<Handle> toRelease;
    std::set<uint64_t> leased;
    bool done = false;
    int handedOutTwice = 0;

    std::thread releaser([&] {
        for (;;) {
            Handle handle;
            {
                std::lock_guard<std::mutex> lock(mutex);
                if (toRelease.empty()) {
                    if (done)
                        return;
                    continue;
                }
                handle = toRelease.front();
                toRelease.pop_front();
                leased.erase(idOf(handle)); // before the release, so a reuse is legitimate
            }
            release(handle);
        }
    });
    for (int i = 0; i < leases; ++i) {
        Handle handle = lease(i);
        std::lock_guard<std::mutex> lock(mutex);
        handedOutTwice += !leased.insert(idOf(handle)).second;
        toRelease.push_back(handle);
    }
    {
        std::lock_guard<std::mutex> lock(mutex);
        done = true;
    }
    releaser.join();
    return handedOutTwice;
}
