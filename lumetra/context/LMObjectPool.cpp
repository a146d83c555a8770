#include "lumetra/context/LMObjectPool.h"

#include "lumetra/context/LMPooledNumber.h"
#include "lumetra/platform/LMLog.h"

#include <vector>

LMObjectPool::~LMObjectPool()
{
    teardown();
}

uint64_t LMObjectPool::requestNewObjectId()
{
    return requestNewObjectIdPassing(nullptr);
}

uint64_t LMObjectPool::requestNewObjectIdPassing(const ObjectTest& test)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const uint64_t reused = firstUnusedIdLocked(test ? &test : nullptr);
        if (reused != LMNotFound) {
            ++retainCounts_[reused];
            becameUsedLocked(reused);
            return reused;
        }
    }
    const uint64_t created = createNewObject();
    retainObjectWithId(created);
    return created;
}

std::shared_ptr<LMPooledObject> LMObjectPool::createObjectWithId(uint64_t objectId)
{
    return std::make_shared<LMPooledNumber>(objectId);
}

void LMObjectPool::deleteObjectWithId(uint64_t objectId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (auto count = retainCounts_.find(objectId); count != retainCounts_.end()) {
        if (count->second == 0)
            becameUsedLocked(objectId); // takes its weight off the unused weight
        retainCounts_.erase(count);
    }
    if (auto record = records_.find(objectId); record != records_.end()) {
        allocatedBytes_ -= record->second.bytes;
        records_.erase(record);
    }
    objectStorage_.erase(objectId);
}

void LMObjectPool::retainObjectWithId(uint64_t objectId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    // A new id was never unused; only a count that was 0 leaves the unused.
    auto [count, isNew] = retainCounts_.try_emplace(objectId, 0);
    if (!isNew && count->second == 0)
        becameUsedLocked(objectId);
    ++count->second;
}

// A release of an id that nobody leases is ignored rather than trusted: the
// count would wrap around to 2^64 - 1 and the id would count as leased for
// ever (never reused, never flushed), and its weight would be counted as
// unused twice. See docs/design.md, "Object pool".
void LMObjectPool::releaseObjectWithId(uint64_t objectId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto count = retainCounts_.find(objectId);
    if (count != retainCounts_.end() && count->second > 0 && --count->second == 0)
        becameUnusedLocked(objectId);
}

void LMObjectPool::becameUsedLocked(uint64_t objectId)
{
    if (auto record = records_.find(objectId); record != records_.end())
        unusedBytes_ -= record->second.bytes;
}

void LMObjectPool::becameUnusedLocked(uint64_t objectId)
{
    if (auto record = records_.find(objectId); record != records_.end()) {
        record->second.releasedAt = ++releaseClock_;
        unusedBytes_ += record->second.bytes;
    }
}

std::shared_ptr<LMPooledObject> LMObjectPool::objectWithId(uint64_t objectId) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto object = objectStorage_.find(objectId);
    return object == objectStorage_.end() ? nullptr : object->second;
}

void LMObjectPool::setObject(std::shared_ptr<LMPooledObject> object, uint64_t objectId)
{
    const size_t bytes = object ? bytesOfObject(*object) : 0;
    std::lock_guard<std::mutex> lock(mutex_);
    auto count = retainCounts_.find(objectId);
    const bool unused = count != retainCounts_.end() && count->second == 0;
    Record& record = records_[objectId];
    allocatedBytes_ = allocatedBytes_ - record.bytes + bytes;
    if (unused)
        unusedBytes_ = unusedBytes_ - record.bytes + bytes;
    record.bytes = bytes;
    if (object) {
        objectStorage_[objectId] = std::move(object);
    } else {
        objectStorage_.erase(objectId);
        records_.erase(objectId);
    }
}

void LMObjectPool::flushUnusedObjects()
{
    std::vector<uint64_t> unused;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& [objectId, count] : retainCounts_) {
            if (count == 0)
                unused.push_back(objectId);
        }
    }
    // The hook runs without the lock. A release on another thread meanwhile
    // can only add unused ids, which the next flush takes; an id leased again
    // since the snapshot is left alone.
    for (uint64_t objectId : unused) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            auto count = retainCounts_.find(objectId);
            if (count == retainCounts_.end() || count->second != 0)
                continue;
        }
        deleteObjectWithId(objectId);
    }
}

size_t LMObjectPool::bytesOfObject(const LMPooledObject&) const
{
    return 0;
}

size_t LMObjectPool::allocatedBytes() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return allocatedBytes_;
}

size_t LMObjectPool::unusedBytes() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return unusedBytes_;
}

size_t LMObjectPool::unusedBytesBudget() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return unusedBytesBudget_;
}

void LMObjectPool::setUnusedBytesBudget(size_t bytes)
{
    std::lock_guard<std::mutex> lock(mutex_);
    unusedBytesBudget_ = bytes;
}

void LMObjectPool::trimUnusedObjects()
{
    // One id at a time, the hook without the lock. Releases meanwhile only
    // make more ids unused, and more recently; the one found stays unused,
    // since leases do not run while the pool trims.
    for (uint64_t previous = LMNotFound;;) {
        uint64_t oldest = LMNotFound;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (unusedBytes_ <= unusedBytesBudget_)
                return;
            oldest = leastRecentlyReleasedIdLocked();
        }
        // A deletion hook that kept the id would otherwise have us spin.
        if (oldest == LMNotFound || oldest == previous)
            return;
        deleteObjectWithId(oldest);
        previous = oldest;
    }
}

uint64_t LMObjectPool::leastRecentlyReleasedId() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return leastRecentlyReleasedIdLocked();
}

uint64_t LMObjectPool::leastRecentlyReleasedIdLocked() const
{
    // Only ids with an object: one without weighs nothing.
    uint64_t oldest = LMNotFound, oldestRelease = UINT64_MAX;
    for (const auto& [objectId, count] : retainCounts_) {
        if (count != 0)
            continue;
        auto record = records_.find(objectId);
        if (record != records_.end() && record->second.releasedAt < oldestRelease) {
            oldest = objectId;
            oldestRelease = record->second.releasedAt;
        }
    }
    return oldest;
}

size_t LMObjectPool::objectsAllocated() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return retainCounts_.size();
}

size_t LMObjectPool::objectsUsed() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    size_t used = 0;
    for (const auto& entry : retainCounts_)
        used += entry.second != 0;
    return used;
}

size_t LMObjectPool::objectsUnused() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    size_t unused = 0;
    for (const auto& entry : retainCounts_)
        unused += entry.second == 0;
    return unused;
}

uint64_t LMObjectPool::firstUnusedId() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return firstUnusedIdLocked(nullptr);
}

uint64_t LMObjectPool::firstUnusedIdPassing(const ObjectTest& test) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return firstUnusedIdLocked(test ? &test : nullptr);
}

uint64_t LMObjectPool::firstUnusedIdLocked(const ObjectTest* test) const
{
    for (const auto& [objectId, count] : retainCounts_) {
        if (count != 0)
            continue;
        if (!test)
            return objectId;
        auto object = objectStorage_.find(objectId);
        if ((*test)(object == objectStorage_.end() ? nullptr : object->second))
            return objectId;
    }
    return LMNotFound;
}

uint64_t LMObjectPool::createNewObject()
{
    const uint64_t objectId = createObjectId();
    setObject(createObjectWithId(objectId), objectId);
    return objectId;
}

uint64_t LMObjectPool::createObjectId()
{
    std::lock_guard<std::mutex> lock(mutex_);
    const uint64_t objectId = currentId_++;
    if (currentId_ == UINT64_MAX)
        LMLog("LMObjectPool ran out of object ids!");
    return objectId;
}

std::map<uint64_t, uint64_t> LMObjectPool::retainCounts() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return retainCounts_;
}

std::map<uint64_t, std::shared_ptr<LMPooledObject>> LMObjectPool::objectStorage() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return objectStorage_;
}

uint64_t LMObjectPool::currentId() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return currentId_;
}

void LMObjectPool::setCurrentId(uint64_t currentId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    currentId_ = currentId;
}

void LMObjectPool::teardown()
{
    std::vector<uint64_t> allocated;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& entry : retainCounts_)
            allocated.push_back(entry.first);
    }
    for (uint64_t objectId : allocated)
        deleteObjectWithId(objectId);

    std::lock_guard<std::mutex> lock(mutex_);
    retainCounts_.clear();
    objectStorage_.clear();
    records_.clear();
    allocatedBytes_ = unusedBytes_ = 0;
}
