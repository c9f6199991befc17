#include "Cmn/Cmn_DelayedDeletionList.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_DelayedDeletionEntryBase.h"

Cmn_DelayedDeletionList Cmn_DelayedDeletionList::gDefaultList;

Cmn_DelayedDeletionList::~Cmn_DelayedDeletionList()
{
    CollectGarbage();
}

void Cmn_DelayedDeletionList::Add(Cmn_DelayedDeletionEntryBase* entry)
{
    CMN_ASSERT(entry);
    if (entry)
        mEntries.PushBack(entry);
}

bool Cmn_DelayedDeletionList::CollectGarbagePredicate(Cmn_DelayedDeletionEntryBase* entry)
{
    if (!entry->IsMarkedForDeletion())
        return false;
    delete entry;
    return true;
}

void Cmn_DelayedDeletionList::CollectGarbage()
{
    // The marked entries leave the list before any is deleted: a destructor
    // that adds or marks entries then never meets a list in mid-walk.
    for (;;)
    {
        Cmn_PolyVector<Cmn_DelayedDeletionEntryBase*> doomed;
        Cmn_DelayedDeletionEntryBase** kept = mEntries.Begin();
        for (Cmn_DelayedDeletionEntryBase* entry : mEntries)
        {
            if (entry->IsMarkedForDeletion())
                doomed.PushBack(entry);
            else
                *kept++ = entry;
        }
        mEntries.Erase(kept, mEntries.End());
        if (doomed.Empty())
            return;
        for (Cmn_DelayedDeletionEntryBase* entry : doomed)
            CollectGarbagePredicate(entry);
    }
}
