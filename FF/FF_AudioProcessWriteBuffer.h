#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"

#include <atomic>

// The consumer that collects a one-channel stream into the caller's memory,
// which must hold the whole stream. It counts the bytes it writes, and so
// decides when the chain is done.
class FF_AudioProcessWriteBuffer : public FF_AudioProcess
{
public:
    explicit FF_AudioProcessWriteBuffer(char* buffer);

    EProcessType GetProcessType() const override;
    // A stream of one channel only.
    void Preflight(FF_AudioProcessBlock* prototype) override;
    // Appends in's samples; out is not used.
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

    // Bytes; any thread.
    u64 GetUnitsToProcess() const { return mUnitsToProcess.load(std::memory_order_relaxed); }
    u64 GetUnitsProcessed() const { return mUnitsProcessed.load(std::memory_order_relaxed); }

protected:
    EResult ExecImpl() override;

private:
    char* mCursor;
    std::atomic<u64> mUnitsToProcess{0};
    std::atomic<u64> mUnitsProcessed{0};
};
