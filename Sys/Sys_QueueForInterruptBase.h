#pragma once

#include "Sys/Sys_QueueForInterrupt_ElemBase.h"

#include <atomic>

// A queue from an ordinary thread (the producer) to interrupt level (the
// consumer: a signal handler or a real-time callback). The consumer only
// reads elements and marks them done; it never frees and never waits. The
// producer appends, and later disposes of what the consumer is done with.
//
// Only the consumer calls BaseFront and Advance; only the producer the
// others. Clear is for the producer while the consumer is stopped.
//
// The consumer keeps its place as the last element it finished
// (mLastProcessed) and finds its next one behind it. The simpler scheme of
// a front pointer that both sides write is wrong once the two sides run at
// the same time on two processors:
// - the consumer marks its front element done and then reads its link;
//   between the two the producer may dispose of the element, and the
//   consumer reads freed memory;
// - the consumer reads a null link at the end and is about to clear the
//   front; the producer appends B, sees a front that is still set and
//   leaves it; the consumer clears it, and B is never delivered.
// Here the producer never writes the consumer's place, and it keeps the
// element that the consumer last finished (its place) until the consumer
// has moved on.
class Sys_QueueForInterruptBase
{
public:
    Sys_QueueForInterruptBase() = default;
    // Deletes every element; the consumer must be stopped.
    virtual ~Sys_QueueForInterruptBase();
    Sys_QueueForInterruptBase(Sys_QueueForInterruptBase const&) = delete;
    Sys_QueueForInterruptBase& operator=(Sys_QueueForInterruptBase const&) = delete;

    // Consumer: marks the front element done and moves to the next one.
    void Advance() noexcept;
    // Producer: deletes the elements that the consumer is done with, from
    // the oldest on, up to the first that it is not done with.
    void DisposeProcessedElements();
    // Producer, with the consumer stopped: deletes every element.
    void Clear();

protected:
    // Producer: takes ownership of elem and appends it with data.
    void BaseAppend(Sys_QueueForInterrupt_ElemBase* elem, void* data);
    // Consumer: the data of the next element not yet done with, or null.
    void* BaseFront() const noexcept;

private:
    Sys_QueueForInterrupt_ElemBase* Front() const noexcept;

    using Elem = Sys_QueueForInterrupt_ElemBase;
    // The oldest element not yet deleted; written by the producer, read by
    // the consumer only while it has never finished an element.
    std::atomic<Elem*> mFirst{nullptr};
    // The newest element; the producer's alone.
    Elem* mLast = nullptr;
    // The element the consumer finished last; the consumer's alone to write.
    std::atomic<Elem*> mLastProcessed{nullptr};
};
