#pragma once

// Marks a node as busy (being drawn, or asking its inputs) for one scope, so
// that meeting the mark again inside that scope, which only a node that is
// its own input can do, is noticed instead of recursing without end.
class LMCycleGuard {
public:
    explicit LMCycleGuard(bool& busy) : busy_(busy) { busy_ = true; }
    ~LMCycleGuard() { busy_ = false; }

    LMCycleGuard(const LMCycleGuard&) = delete;
    LMCycleGuard& operator=(const LMCycleGuard&) = delete;

private:
    bool& busy_;
};
