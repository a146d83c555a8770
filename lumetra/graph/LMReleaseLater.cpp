#include "lumetra/graph/LMReleaseLater.h"

#include <utility>
#include <vector>

namespace {

struct PendingReleases {
    std::vector<std::shared_ptr<const void>> nodes;
    bool draining = false;
};

thread_local PendingReleases pending;

} // namespace

void LMReleaseLater(std::shared_ptr<const void> held)
{
    if (!held)
        return;
    pending.nodes.push_back(std::move(held));
    if (pending.draining)
        return;
    pending.draining = true;
    while (!pending.nodes.empty()) {
        // Moved out before it is let go: its destructor may add to the list.
        std::shared_ptr<const void> next = std::move(pending.nodes.back());
        pending.nodes.pop_back();
        next.reset();
    }
    pending.draining = false;
}
