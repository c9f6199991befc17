#include <gtest/gtest.h>

#include <vector>

#include "Cmn/Cmn_DelayedDeletionEntryBase.h"
#include "Cmn/Cmn_DelayedDeletionList.h"

namespace
{
struct Entry : Cmn_DelayedDeletionEntryBase
{
    std::vector<int>* mDeleted;
    int mId;
    Entry* mMarkOnDeletion = nullptr;
    Cmn_DelayedDeletionList* mAddTo = nullptr;
    Entry* mAddOnDeletion = nullptr;
    Entry(std::vector<int>* deleted, int id) : mDeleted(deleted), mId(id) {}
    ~Entry() override
    {
        mDeleted->push_back(mId);
        if (mMarkOnDeletion)
            mMarkOnDeletion->MarkForDeletion();
        if (mAddOnDeletion)
            mAddTo->Add(mAddOnDeletion);
    }
};
} // namespace

TEST(Cmn_DelayedDeletionListTest, CollectsMarkedEntriesOnly)
{
    std::vector<int> deleted;
    Cmn_DelayedDeletionList list;
    Entry* entries[4];
    for (int i = 0; i < 4; ++i)
        list.Add(entries[i] = new Entry(&deleted, i));
    entries[1]->MarkForDeletion();
    entries[3]->MarkForDeletion();
    EXPECT_TRUE(deleted.empty());
    list.CollectGarbage();
    EXPECT_EQ(deleted, (std::vector<int>{1, 3}));
    EXPECT_EQ(list.Size(), 2);
    entries[0]->MarkForDeletion();
    entries[2]->MarkForDeletion();
    list.CollectGarbage();
    EXPECT_EQ(list.Size(), 0);
}

TEST(Cmn_DelayedDeletionListTest, DestructorThatMarksOrAddsDuringCollection)
{
    std::vector<int> deleted;
    Cmn_DelayedDeletionList list;
    auto* a = new Entry(&deleted, 0);
    auto* b = new Entry(&deleted, 1);
    auto* late = new Entry(&deleted, 2);
    a->mMarkOnDeletion = b;
    a->mAddTo = &list;
    a->mAddOnDeletion = late;
    list.Add(a);
    list.Add(b);
    a->MarkForDeletion();
    list.CollectGarbage();
    EXPECT_EQ(deleted, (std::vector<int>{0, 1}));
    ASSERT_EQ(list.Size(), 1);
    late->MarkForDeletion();
}
