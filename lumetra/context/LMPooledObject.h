#pragma once

// Anything an LMObjectPool can hold under an id. Subclasses are the pooled
// resources themselves (render targets) or plain values.
//
// Threads: no state and no locks; the pool that holds one guards its own tables, never the object.
class LMPooledObject {
public:
    virtual ~LMPooledObject() = default;
};
