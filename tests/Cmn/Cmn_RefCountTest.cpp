#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Cmn/Cmn_AliasedRefCountPtr.h"
#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_RefCountObject.h"
#include "Cmn/Cmn_RefCountPtr.h"
#include "Sys/Sys_ThreadSafeRefCountObject.h"

namespace
{
class Counted : public Cmn_RefCountObject
{
public:
    explicit Counted(int* deleted = nullptr) : mDeleted(deleted) {}
    Counted(Counted const&) = default;
    Counted& operator=(Counted const&) = default;
    ~Counted() override
    {
        if (mDeleted)
            ++*mDeleted;
    }
    int mValue = 0;

private:
    int* mDeleted;
};

class Shared : public Sys_ThreadSafeRefCountObject
{
public:
    explicit Shared(std::atomic<int>* deleted = nullptr) : mDeleted(deleted) {}
    Shared(Shared const&) = default;
    ~Shared() override
    {
        if (mDeleted)
            ++*mDeleted;
    }

private:
    std::atomic<int>* mDeleted;
};

class Event : public Shared
{
public:
    using Shared::Shared;
    int mSignals = 0;
};
} // namespace

TEST(Cmn_RefCount, CountsFromZeroAndTheLastPointerDeletesWhateverIsAssigned)
{
    int deleted = 0;
    auto* object = new Counted(&deleted);
    EXPECT_EQ(object->GetRefCount(), 0);
    {
        Cmn_RefCountPtr<Counted> a(object);
        EXPECT_EQ(object->GetRefCount(), 1);
        EXPECT_FALSE(object->IsShared());
        {
            Cmn_RefCountPtr<Counted> b = a;
            EXPECT_EQ(object->GetRefCount(), 2);
            EXPECT_TRUE(object->IsShared());
            Cmn_RefCountConstPtr<Counted> c = b;
            EXPECT_EQ(object->GetRefCount(), 3);
        }
        EXPECT_EQ(object->GetRefCount(), 1);
        EXPECT_EQ(deleted, 0);
    }
    EXPECT_EQ(deleted, 1);

    // Assigned itself, the count stays; given another object, it deletes its own.
    Cmn_RefCountPtr<Counted> a(new Counted(&deleted));
    Cmn_RefCountPtr<Counted>& alias = a;
    a = alias;
    EXPECT_EQ(a->GetRefCount(), 1);
    a = a.get();
    EXPECT_EQ(a->GetRefCount(), 1);
    EXPECT_EQ(deleted, 1);

    a = new Counted(&deleted);
    EXPECT_EQ(deleted, 2);
    Cmn_RefCountPtr<Counted> moved = std::move(a);
    EXPECT_FALSE(a);
    EXPECT_EQ(moved->GetRefCount(), 1);
    moved = nullptr;
    EXPECT_EQ(deleted, 3);
}

TEST(Cmn_RefCount, CopiedObjectHasItsOwnCountAndAssignmentLeavesTheCount)
{
    Cmn_RefCountPtr<Counted> a(new Counted());
    Cmn_RefCountPtr<Counted> a2 = a;
    Cmn_RefCountPtr<Counted> b(new Counted(*a));
    EXPECT_EQ(b->GetRefCount(), 1);
    a->mValue = 7;
    *b = *a;
    EXPECT_EQ(b->mValue, 7);
    EXPECT_EQ(b->GetRefCount(), 1);
    EXPECT_EQ(a->GetRefCount(), 2);

    Shared original;
    Shared copy(original);
    EXPECT_EQ(copy.GetRefCount(), 0);
}

TEST(Cmn_RefCount, HandlesConvertFromDerivedToBaseAndShareOneCount)
{
    std::atomic<int> deleted{0};
    {
        Cmn_PolymorphicHandle<Event, Shared> event(new Event(&deleted));
        event->mSignals = 3;
        Cmn_PolymorphicHandle<Shared> base = event;
        EXPECT_EQ(base->GetRefCount(), 2);
        EXPECT_TRUE(base == event);
        Cmn_AliasedRefCountPtr<Event, Shared> aliased(event.Get());
        EXPECT_EQ(aliased->mSignals, 3);
        EXPECT_EQ(aliased.GetAlias(), base.Get());
        EXPECT_EQ(base->GetRefCount(), 3);
        event.Reset();
        EXPECT_EQ(base->GetRefCount(), 2);
    }
    EXPECT_EQ(deleted, 1);
}

// Run under ThreadSanitizer and LeakSanitizer: many threads take and drop
// references to one object; it must be deleted exactly once, at the end.
TEST(Cmn_RefCount, ThreadSafeObjectSurvivesManyThreadsCopyingAndDropping)
{
    std::atomic<int> deleted{0};
    Cmn_PolymorphicHandle<Event, Shared> handle(new Event(&deleted));
    {
        Cmn_RefCountPtr<Shared> ptr(handle.GetBase());
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back(
                [&]
                {
                    for (int i = 0; i < 2000; ++i)
                    {
                        Cmn_RefCountPtr<Shared> p = ptr;
                        Cmn_PolymorphicHandle<Shared> h = handle;
                        Cmn_RefCountPtr<Shared> q = std::move(p);
                        h = Cmn_PolymorphicHandle<Shared>(handle);
                    }
                });
        for (auto& t : threads)
            t.join();
        EXPECT_EQ(handle->GetRefCount(), 2);
    }
    EXPECT_EQ(deleted, 0);

    // The last reference may go on any thread.
    std::thread([h = std::move(handle)]() mutable { h.Reset(); }).join();
    EXPECT_EQ(deleted, 1);
}
