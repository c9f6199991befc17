#pragma once

#include <cstdint>

// Base of objects shared by reference count on one thread. The count is a
// plain integer: objects that cross threads derive from
// Sys_ThreadSafeRefCountObject instead.
class Cmn_RefCountObject
{
public:
    virtual ~Cmn_RefCountObject();

    void AddReference() { ++mRefCount; }
    // Deletes the object when the last reference goes.
    void RemoveReference();

    bool IsShared() const { return mRefCount > 1; }
    bool IsShareable() const { return mShareable; }
    void MarkUnshareable() { mShareable = false; }
    std::int32_t GetRefCount() const { return mRefCount; }

protected:
    Cmn_RefCountObject() = default;
    // A copy is a new object: it is referenced by nobody yet.
    Cmn_RefCountObject(Cmn_RefCountObject const&) {}
    // The references to the target stay what they were.
    Cmn_RefCountObject& operator=(Cmn_RefCountObject const&) { return *this; }

    // Decrements and reports whether the count reached 0, without deleting.
    bool RemoveReferenceHelper() { return --mRefCount == 0; }

private:
    std::int32_t mRefCount = 0;
    bool mShareable = true;
};
