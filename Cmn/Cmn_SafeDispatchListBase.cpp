#include "Cmn/Cmn_SafeDispatchListBase.h"

#include <utility>

#include "Cmn/Cmn_Assert.h"

Cmn_SafeDispatchListBase::~Cmn_SafeDispatchListBase()
{
    CMN_ASSERT(mIteratorCount == 0);
    while (mFirst)
        delete std::exchange(mFirst, mFirst->mNext);
}

Cmn_SafeDispatchListBase::Node* Cmn_SafeDispatchListBase::Add(void* pointer)
{
    CMN_ASSERT(pointer);
    mFirst = new Node{pointer, mFirst};
    return mFirst;
}

void Cmn_SafeDispatchListBase::Remove(Node* node)
{
    CMN_ASSERT(node && node->mPointer);
    if (node)
        node->mPointer = nullptr;
}

bool Cmn_SafeDispatchListBase::IsEmpty()
{
    Iterator it(*this);
    return !it;
}

int32 Cmn_SafeDispatchListBase::GetNodeCount() const
{
    int32 count = 0;
    for (Node const* node = mFirst; node; node = node->mNext)
        ++count;
    return count;
}

void Cmn_SafeDispatchListBase::Unlink(Node* node, Node* previous)
{
    if (previous && previous->mNext != node)
        previous = nullptr;
    if (!previous && mFirst != node)
    {
        previous = mFirst;
        while (previous && previous->mNext != node)
            previous = previous->mNext;
        CMN_ASSERT(previous);
        if (!previous)
            return;
    }
    if (previous)
        previous->mNext = node->mNext;
    else
        mFirst = node->mNext;
    delete node;
}

Cmn_SafeDispatchListBase::Iterator::Iterator(Cmn_SafeDispatchListBase& list) : mList(list), mCurrent(list.mFirst)
{
    ++mList.mIteratorCount;
    AdvancePastRemoved();
}

Cmn_SafeDispatchListBase::Iterator::~Iterator()
{
    --mList.mIteratorCount;
}

Cmn_SafeDispatchListBase::Iterator& Cmn_SafeDispatchListBase::Iterator::operator++()
{
    CMN_ASSERT(mCurrent);
    if (!mCurrent)
        return *this;
    mPrevious = mCurrent;
    mCurrent = mCurrent->mNext;
    AdvancePastRemoved();
    return *this;
}

void Cmn_SafeDispatchListBase::Iterator::AdvancePastRemoved()
{
    while (mCurrent && !mCurrent->mPointer)
    {
        Node* const next = mCurrent->mNext;
        if (mList.mIteratorCount == 1)
            mList.Unlink(mCurrent, mPrevious);
        else
            mPrevious = mCurrent;
        mCurrent = next;
    }
}
