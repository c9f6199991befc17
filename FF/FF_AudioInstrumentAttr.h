#pragma once

#include "Cmn/Cmn_Types.h"

// Sampler data of a file: root note, fine tune and two loops.
class FF_AudioInstrumentAttr
{
public:
    enum ELoopType
    {
        kLoopNone = 0,
        kLoopForward = 1,
        kLoopForwardBackward = 2,
        kLoopBackward = 3
    };

    FF_AudioInstrumentAttr(u8 rootMIDINote = 60, i8 fineTuneCents = 0, ELoopType loop1Type = kLoopNone,
                           int64 loop1Start = 0, int64 loop1Stop = 0, ELoopType loop2Type = kLoopNone,
                           int64 loop2Start = 0, int64 loop2Stop = 0)
        : mLoop1Type(loop1Type), mLoop1StartSample(loop1Start), mLoop1StopSample(loop1Stop), mLoop2Type(loop2Type),
          mLoop2StartSample(loop2Start), mLoop2StopSample(loop2Stop), mRootMIDINote(rootMIDINote),
          mFineTuneCents(fineTuneCents)
    {
    }

    ELoopType GetLoop1Type() const { return mLoop1Type; }
    void SetLoop1Type(ELoopType t) { mLoop1Type = t; }
    int64 GetLoop1StartSample() const { return mLoop1StartSample; }
    void SetLoop1StartSample(int64 v) { mLoop1StartSample = v; }
    int64 GetLoop1StopSample() const { return mLoop1StopSample; }
    void SetLoop1StopSample(int64 v) { mLoop1StopSample = v; }
    ELoopType GetLoop2Type() const { return mLoop2Type; }
    void SetLoop2Type(ELoopType t) { mLoop2Type = t; }
    int64 GetLoop2StartSample() const { return mLoop2StartSample; }
    void SetLoop2StartSample(int64 v) { mLoop2StartSample = v; }
    int64 GetLoop2StopSample() const { return mLoop2StopSample; }
    void SetLoop2StopSample(int64 v) { mLoop2StopSample = v; }
    u8 GetRootMIDINote() const { return mRootMIDINote; }
    void SetRootMIDINote(u8 v) { mRootMIDINote = v; }
    i8 GetFineTuneCents() const { return mFineTuneCents; }
    void SetFineTuneCents(i8 v) { mFineTuneCents = v; }

private:
    ELoopType mLoop1Type;
    int64 mLoop1StartSample;
    int64 mLoop1StopSample;
    ELoopType mLoop2Type;
    int64 mLoop2StartSample;
    int64 mLoop2StopSample;
    u8 mRootMIDINote;
    i8 mFineTuneCents;
};
