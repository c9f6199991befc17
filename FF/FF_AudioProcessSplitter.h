#pragma once

// TODO(engine): derive from FF_AudioProcess; the filter ExecImpl and
// GetProcessType (kProcessFilter) come from the base, Preflight and Process
// become its overrides, and the constructor names the task
// "FF_AudioProcessSplitter" (GetTaskName below).

class FF_AudioProcessBlock;

// Makes a two-channel stream of a one-channel stream, the same samples on
// both channels.
class FF_AudioProcessSplitter
{
public:
    FF_AudioProcessSplitter() = default;

    static constexpr char const* GetTaskName() { return "FF_AudioProcessSplitter"; }

    void Preflight(FF_AudioProcessBlock* block);
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out);
};
