#pragma once

#include "FF/FF_AudioProcess.h"

// Makes a two-channel stream of a one-channel stream, the same samples on
// both channels.
class FF_AudioProcessSplitter : public FF_AudioProcess
{
public:
    FF_AudioProcessSplitter() { SetName(GetTaskName()); }

    static constexpr char const* GetTaskName() { return "FF_AudioProcessSplitter"; }

    void Preflight(FF_AudioProcessBlock* block) override;
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;
};
