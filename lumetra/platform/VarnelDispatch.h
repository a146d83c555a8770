#pragma once

#include "lumetra/platform/LMBlockRef.h"

#include <memory>
#include <string>
#include <thread>

// A serial queue backed by one dedicated thread, to which blocks are handed
// synchronously: dispatchSyncToQueue returns only after the block has run on
// that thread. Blocks never overlap, whichever threads submit them, and since
// every block runs on the same thread, thread-bound state such as the current
// GL context carries over from one block to the next.
//
// The hand-over spins briefly on both sides before parking on a futex, so
// blocks that come back to back cost about a microsecond while an idle queue
// leaves no core busy.
//
// Threads: any thread may submit; a submitter lock keeps hand-overs one at a time, and a block submitted from the
// queue's own thread runs at once, without it. Blocks run on the queue's thread only.
class VarnelDispatch {
public:
    explicit VarnelDispatch(std::string label);
    ~VarnelDispatch();

    VarnelDispatch(const VarnelDispatch&) = delete;
    VarnelDispatch& operator=(const VarnelDispatch&) = delete;

    // Runs the block on the queue's thread and waits for it. A block that
    // submits to its own queue runs the nested block at once. An exception
    // thrown by the block is rethrown to the submitter.
    void dispatchSyncToQueue(LMBlockRef block);

    // True when called from the queue's own thread (inside one of its blocks).
    bool isCurrentQueue() const;

    const std::string& label() const { return label_; }

private:
    struct Channel;

    const std::string label_;
    // Shared with the thread, which may outlive this object when the last
    // owner lets go from inside one of the queue's own blocks.
    std::shared_ptr<Channel> channel_;
    std::thread thread_;
};
