#pragma once

#include <memory>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_SyncObjectPosix.h"
#include "Sys/Sys_AsyncFileIOParams.h"

// A queued transfer on Linux. The engine that moves the bytes calls Finish
// on its own thread; Finish posts the completion to the thread that queued
// the transfer, where it runs inside that thread's next wait.
class Sys_AsyncFileIOParamsPosix : public Sys_AsyncFileIOParams
{
public:
    Sys_AsyncFileIOParamsPosix(int64 offset, int64 count, void* buffer, EventHandle event);
    ~Sys_AsyncFileIOParamsPosix() override;

    void SetOffset(int64 offset) override { mOffset = offset; }
    int64 GetOffset() const override { return mOffset; }
    void SetCount(int64 count) override { mCount = count; }
    int64 GetCount() const override { return mCount; }
    void SetBuffer(void* buffer) override { mBuffer = buffer; }
    void* GetBuffer() const override { return mBuffer; }
    void SetEvent(EventHandle event) override { mEvent = std::move(event); }
    EventHandle GetEvent() const override { return mEvent; }
    void SetCompletion(CompletionFunction function, void* data) override;
    void CallCompletion() override;
    bool HasException() const override { return mException != nullptr; }
    void ThrowException() const override;

    // On the queuing thread, as the transfer is queued: a new transfer
    // forgets the outcome of the last one.
    void Queue();
    // On the engine's thread: bytes transferred, or -errno.
    void Finish(int64 result);

    static void SetPlatformDependentMethods();

private:
    static Sys_AsyncFileIOParams* Create(int64 offset, int64 count, void* buffer, EventHandle event);
    // The completion routine, on the queuing thread.
    static void Complete(void* self);

    std::unique_ptr<Cmn_Exception> mException;
    EventHandle mEvent;
    int64 mCount;
    int64 mOffset;
    void* mBuffer;
    CompletionFunction mCompletion = nullptr;
    void* mCompletionData = nullptr;
    Sys_SyncObjectPosix::CompletionTarget mQueuingThread;
    int64 mResult = 0;
};
