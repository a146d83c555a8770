#pragma once

// A node whose comment forgets its thread rule.
class LMNode {
public:
    // A nested class follows its outer class's rule.
    class Part {};
};

// A value.
//
// Threads: a plain value.
struct LMStated {
    int value;
};
