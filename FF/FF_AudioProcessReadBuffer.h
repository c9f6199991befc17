#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"

// The producer that plays interleaved samples from the caller's memory into
// a chain: once, or from a loop start to the end over and over, jumping
// back or turning round (ping-pong). A looping reader ends only by abort.
//
// Going backwards, each frame keeps its channels in place: the left sample
// of a stereo pair stays on the left.
class FF_AudioProcessReadBuffer : public FF_AudioProcess
{
public:
    // Bytes per channel in one block.
    static constexpr i32 cReadBlockSize = 32768;

    // buffer holds length frames of 1 or 2 (stereo) channels of bits-wide
    // samples; it is not copied, and must live as long as the reader.
    FF_AudioProcessReadBuffer(char* buffer, i64 length, i32 sampleRate, i16 bits, bool stereo, bool loop, i64 loopStart,
                              bool pingPong);

    EProcessType GetProcessType() const override;
    void Preflight(FF_AudioProcessBlock* prototype) override;
    // Fills out with the next stretch; in is not used.
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

    // The next frame to read, and the direction (1 or -1); for tests.
    i64 GetPosition() const { return mPosition; }
    i32 GetDirection() const { return mDirection; }

protected:
    EResult ExecImpl() override;
    void AbortImpl() override;

private:
    char* mBuffer;
    i64 mLength;
    i64 mPosition = 0;
    i32 mSampleRate;
    i16 mBitsPerSample;
    i16 mBytesPerSample;
    i16 mFrameSize;
    i32 mNumChannels;
    bool mLoop;
    i64 mLoopStart;
    bool mPingPong;
    i32 mDirection = 1;
};
