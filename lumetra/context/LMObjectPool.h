#pragma once

#include "lumetra/context/LMPooledObject.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

// The id that the scans return when nothing qualifies.
inline constexpr uint64_t LMNotFound = 0x7FFFFFFFFFFFFFFFull;

// Hands out reusable objects under numeric ids and counts the leases of each.
// A request leases an allocated object that nobody leases (the lowest such id
// first) and makes a new one through createObjectWithId only when there is
// none. Releasing never destroys: unused objects stay for reuse until a flush
// or the pool's teardown, both of which go through deleteObjectWithId.
//
// Leases and releases may come from different threads: a small lock guards the
// tables, and is never held while a hook runs, so hooks may do GL work on
// another thread. Scans call their test with the lock held; a test must not
// call back into the pool.
class LMObjectPool {
public:
    using ObjectTest = std::function<bool(const std::shared_ptr<LMPooledObject>&)>;

    LMObjectPool() = default;
    virtual ~LMObjectPool();

    LMObjectPool(const LMObjectPool&) = delete;
    LMObjectPool& operator=(const LMObjectPool&) = delete;

    // Hooks a subclass may override.
    // An id leased once by the caller: a reused unused one, else a new one.
    virtual uint64_t requestNewObjectId();
    // The object to keep under a new id; the base pools the id itself. May
    // return null: the id then has no object.
    virtual std::shared_ptr<LMPooledObject> createObjectWithId(uint64_t objectId);
    // Removes the id from both tables. Overrides free the object's resources
    // first, then call this.
    virtual void deleteObjectWithId(uint64_t objectId);

    // The same as requestNewObjectId, reusing only an object the test accepts.
    uint64_t requestNewObjectIdPassing(const ObjectTest& test);
    void retainObjectWithId(uint64_t objectId);
    // Ends one lease; releasing an id that is not leased does nothing.
    void releaseObjectWithId(uint64_t objectId);
    std::shared_ptr<LMPooledObject> objectWithId(uint64_t objectId) const;
    // Stores the object for the id; null removes the id's object.
    void setObject(std::shared_ptr<LMPooledObject> object, uint64_t objectId);
    std::shared_ptr<LMPooledObject> operator[](uint64_t objectId) const { return objectWithId(objectId); }

    // Deletes every allocated id that nobody leases.
    void flushUnusedObjects();

    size_t objectsAllocated() const;
    size_t objectsUsed() const;
    size_t objectsUnused() const;

    uint64_t firstUnusedId() const;
    uint64_t firstUnusedIdPassing(const ObjectTest& test) const;
    // A new id whose object has been created and stored, not yet leased.
    uint64_t createNewObject();
    // The next id; ids are never recycled.
    uint64_t createObjectId();

    // Copies of the bookkeeping, for inspection.
    std::map<uint64_t, uint64_t> retainCounts() const;
    std::map<uint64_t, std::shared_ptr<LMPooledObject>> objectStorage() const;
    uint64_t currentId() const;
    void setCurrentId(uint64_t currentId);

protected:
    // Deletes every allocated id, used or not, through deleteObjectWithId, then
    // empties both tables. A subclass whose deleteObjectWithId frees resources
    // calls this from its own destructor, where its override still runs; the
    // base destructor calls it again for whatever is left.
    void teardown();

private:
    uint64_t firstUnusedIdLocked(const ObjectTest* test) const;

    mutable std::mutex mutex_;
    // Ordered maps: scans visit the lowest id first.
    std::map<uint64_t, uint64_t> retainCounts_;
    std::map<uint64_t, std::shared_ptr<LMPooledObject>> objectStorage_;
    uint64_t currentId_ = 0;
};
