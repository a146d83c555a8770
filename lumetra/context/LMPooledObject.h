#pragma once

// Anything an LMObjectPool can hold under an id. Subclasses are the pooled
// resources themselves (render targets) or plain values.
class LMPooledObject {
public:
    virtual ~LMPooledObject() = default;
};
