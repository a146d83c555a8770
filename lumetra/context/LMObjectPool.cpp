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
    retainCounts_.erase(objectId);
    objectStorage_.erase(objectId);
}

void LMObjectPool::retainObjectWithId(uint64_t objectId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    ++retainCounts_[objectId];
}

void LMObjectPool::releaseObjectWithId(uint64_t objectId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto count = retainCounts_.find(objectId);
    if (count != retainCounts_.end() && count->second > 0)
        --count->second;
}

std::shared_ptr<LMPooledObject> LMObjectPool::objectWithId(uint64_t objectId) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto object = objectStorage_.find(objectId);
    return object == objectStorage_.end() ? nullptr : object->second;
}

void LMObjectPool::setObject(std::shared_ptr<LMPooledObject> object, uint64_t objectId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (object)
        objectStorage_[objectId] = std::move(object);
    else
        objectStorage_.erase(objectId);
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
}
