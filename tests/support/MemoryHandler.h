// A format handler on a file in memory, with its interfaces: made by the
// handler's factory (WAVE::Create, AIFF::Create, ...), attached, not opened.
#pragma once

#include "FF/PlugIns/IAudioFile.h"
#include "FF/PlugIns/IEbuAudioFile.h"
#include "FF/PlugIns/IImportExportAudioFile.h"
#include "FF/PlugIns/INativeAudioFile.h"
#include "FF/PlugIns/IOrvanelAudioFile.h"
#include "FF/PlugIns/IVelmoraAudioFile.h"
#include "support/InstrumentCompare.h"
#include "support/MemoryIFile.h"

#include <gtest/gtest.h>

class MemoryHandler
{
public:
    using Factory = PlugInResult (*)(void**);
    explicit MemoryHandler(Factory create, std::vector<std::uint8_t> bytes = {}) : mFile(std::move(bytes))
    {
        void* object = nullptr;
        create(&object);
        mAudio = static_cast<IAudioFile*>(object);
        EXPECT_EQ(mAudio->SetFile(&mFile), S_OK);
    }
    ~MemoryHandler() { mAudio->Release(); }
    MemoryHandler(MemoryHandler const&) = delete;
    MemoryHandler& operator=(MemoryHandler const&) = delete;

    // An interface, or null; the handler lives as long as this object.
    template <class I> I* Get(PlugInGuid const& iid)
    {
        void* p = nullptr;
        if (mAudio->QueryInterface(iid, &p) != S_OK)
            return nullptr;
        static_cast<IUnknown*>(p)->Release();
        return static_cast<I*>(p);
    }
    IImportExportAudioFile* IE() { return Get<IImportExportAudioFile>(IID_IImportExportAudioFile); }
    INativeAudioFile* Native() { return Get<INativeAudioFile>(IID_INativeAudioFile); }
    IVelmoraAudioFile* Velmora() { return Get<IVelmoraAudioFile>(IID_IVelmoraAudioFile); }
    IEbuAudioFile* Ebu() { return Get<IEbuAudioFile>(IID_IEbuAudioFile); }
    IOrvanelAudioFile* Orvanel() { return Get<IOrvanelAudioFile>(IID_IOrvanelAudioFile); }
    // Opened, and offering its audio.
    bool Recognised() { return mAudio->Open() == S_OK && IE() != nullptr; }
    std::int64_t Frames()
    {
        std::int64_t n = -1;
        IE()->GetNumSamples(&n);
        return n;
    }
    std::int64_t DataOffset()
    {
        std::int64_t offset = -1;
        Native()->SampleToOffset(0, &offset);
        return offset;
    }
    PlugInInstrument Instrument()
    {
        PlugInInstrument i;
        Orvanel()->GetInstrumentAttr(&i);
        return i;
    }
    std::vector<std::uint8_t> const& Bytes() { return mFile.Bytes(); }

    IAudioFile* mAudio = nullptr;
    MemoryIFile mFile;
};
