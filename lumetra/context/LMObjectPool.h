#pragma once

#include "lumetra/context/LMPooledObject.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

// The id that the scans return when nothing qualifies.
inline constexpr uint64_t LMNotFound = 0x7FFFFFFFFFFFFFFFull;

// Hands out reusable objects under numeric ids and counts the leases of each.
// A request leases an allocated object that nobody leases (the lowest such id
// first) and makes a new one through createObjectWithId only when there is
// none. Releasing never destroys: unused objects stay for reuse until a flush
// or the pool's teardown, both of which go through deleteObjectWithId.
//
// A pool may also bound what its unused objects cost: each object is weighed
// once, when it is stored (bytesOfObject; the base pool's numbers weigh
// nothing), and trimUnusedObjects deletes unused ids, the least recently
// released first, until the unused ones weigh no more than the budget. The
// budget is unlimited unless set, and nothing trims unless asked, so a pool
// that sets neither keeps every unused object until a flush.
//
// Leases and releases may come from different threads: a small lock guards the
// tables, and is never held while a hook runs, so hooks may do GL work on
// another thread. Scans call their test with the lock held; a test must not
// call back into the pool.
//
// Threads: any thread may lease, release, flush and read it; one lock guards the tables and is never held while a
// hook runs. Trimming must not run beside a lease.
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

    // What keeping the object costs, in bytes. Called without the lock, once
    // per object, when it is stored.
    virtual size_t bytesOfObject(const LMPooledObject& object) const;
    // What the stored objects weigh: all of them, and those of unused ids.
    size_t allocatedBytes() const;
    size_t unusedBytes() const;
    // The most that unused objects may weigh once trimUnusedObjects has run.
    size_t unusedBytesBudget() const;
    void setUnusedBytesBudget(size_t bytes);
    // Deletes unused ids, the least recently released first, until the unused
    // ones weigh no more than the budget. Leases must not run meanwhile (the
    // render-target pool trims on its GL queue, where its leases run);
    // releases may.
    void trimUnusedObjects();
    // The unused id released the longest time ago, or LMNotFound.
    uint64_t leastRecentlyReleasedId() const;

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
    // Bookkeeping of an id that becomes used or unused; the lock is held.
    void becameUsedLocked(uint64_t objectId);
    void becameUnusedLocked(uint64_t objectId);
    uint64_t leastRecentlyReleasedIdLocked() const;

    mutable std::mutex mutex_;
    // Ordered maps: scans visit the lowest id first.
    std::map<uint64_t, uint64_t> retainCounts_;
    std::map<uint64_t, std::shared_ptr<LMPooledObject>> objectStorage_;
    uint64_t currentId_ = 0;

    // Of each stored object: its weight, as it was when stored, and when its
    // id was last released, by a clock that counts releases. A lease and a
    // release only update a record, so they allocate nothing; finding the
    // least recently released id is a scan, which only trimming needs.
    struct Record {
        size_t bytes = 0;
        uint64_t releasedAt = 0;
    };
    std::unordered_map<uint64_t, Record> records_;
    uint64_t releaseClock_ = 0;
    size_t allocatedBytes_ = 0;
    size_t unusedBytes_ = 0;
    size_t unusedBytesBudget_ = SIZE_MAX;
};
