// The contract of FF_AudioFile towards its plug-in, checked through a fake
// handler: open levels, write-back at the last close, the result-code
// mapping, and the byte swap on the sample path.
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileTestSupport.h"
#include "FF/FF_AudioInstrumentAttr.h"
#include "FF/PlugIns/PlugIn.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <numeric>

namespace
{
using fftest::CodeOf;

// A handler whose answers the test sets.
class FakePlugIn : public PlugIn
{
public:
    static FakePlugIn* Make()
    {
        auto* p = new FakePlugIn;
        p->AddRef();
        return p;
    }

    PlugInResult GetFileTypeName(std::int32_t size, char* buffer) override
    {
        return CopyTypeName(size, buffer, "FAKE");
    }
    PlugInResult GetByteOrder(std::int32_t* order) override
    {
        *order = byteOrder;
        return S_OK;
    }
    PlugInResult CanImplement(PlugInGuid const*) override { return S_OK; }
    bool IsBigEndian() override { return byteOrder != 1; }
    PlugInResult DoFormat() override { return S_OK; }
    PlugInResult DoOpen() override { return S_OK; }
    PlugInResult DoFlush() override
    {
        ++flushes;
        return flushResult;
    }
    PlugInResult DoSetNumSamples(std::int64_t frames) override
    {
        SetNumSamplesValue(frames);
        return S_OK;
    }
    PlugInResult DoImplement(PlugInGuid const*) override
    {
        SetValidBits(kValidRegions | kValidOverviews | kValidUmid | kValidModification);
        return implementResult;
    }
    // Fills the buffer with 0, 1, 2, ... so that the swap is visible.
    PlugInResult SampleRead(void* buffer, std::int64_t frames) override
    {
        ++reads;
        auto* p = static_cast<std::uint8_t*>(buffer);
        std::iota(p, p + frames * FrameSize(), std::uint8_t{0});
        return readResult;
    }

    void Facts(std::uint16_t channels, std::uint16_t bits, std::int64_t frames)
    {
        SetChannels(channels);
        SetSampleRate(44100);
        SetBitsPerSample(bits);
        SetNumSamplesValue(frames);
        SetDataOffset(0);
    }

    std::int32_t byteOrder = 1;
    PlugInResult flushResult = S_OK;
    PlugInResult implementResult = S_OK;
    PlugInResult readResult = S_OK;
    int flushes = 0;
    int reads = 0;
};

// An audio file that takes the fake handler instead of trying the table.
class TestAudioFile : public FF_AudioFile
{
public:
    TestAudioFile(Sys_FileLoc const& loc, FakePlugIn* fake) : FF_AudioFile(loc), mFake(fake) {}

protected:
    void InitInterfaces() override
    {
        mInterfacesInitialised = true;
        void* p = nullptr;
        mFake->QueryInterface(IID_IAudioFile, &p);
        mAudioFile = static_cast<IAudioFile*>(p);
        mFake->QueryInterface(IID_IImportExportAudioFile, &p);
        mImportExport = static_cast<IImportExportAudioFile*>(p);
        mFake->QueryInterface(IID_INativeAudioFile, &p);
        mNative = static_cast<INativeAudioFile*>(p);
        mInterfaceMask = eImportExportInterface | eNativeInterface;
        GetAudioFileAttr();
    }

private:
    FakePlugIn* mFake;
};

class FF_AudioFileContract : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Sys_Init::Init();
        mPath = mDir.File("a.wav");
        vfltest::WriteWholeFile(mPath, std::vector<std::uint8_t>(64, 0));
        Remake(2, 16, 8);
    }
    void TearDown() override { Remake(0, 0, 0, false); }
    // A new file on a new fake handler of these facts.
    void Remake(std::uint16_t channels, std::uint16_t bits, std::int64_t frames, bool again = true)
    {
        mFile.reset();
        if (mFake)
            mFake->Release();
        mFake = again ? FakePlugIn::Make() : nullptr;
        if (!again)
            return;
        mFake->Facts(channels, bits, frames);
        mFile = std::make_unique<TestAudioFile>(Sys_FileLoc(mPath), mFake);
    }

    vfltest::TempDir mDir;
    std::string mPath;
    FakePlugIn* mFake = nullptr;
    std::unique_ptr<TestAudioFile> mFile;
};

TEST(FF_AudioFileResults, EveryCodeOfEveryCheck)
{
    using Check = void (*)(PlugInResult);
    struct
    {
        char const* name;
        Check check;
        PlugInResult unimplemented, badParameter, corrupt;
    } const checks[] = {
        {"audio file", &FF_AudioFile::CheckAudioFileResult, 0x80041001, 0x80041002, 0x80041003},
        {"import/export", &FF_AudioFile::CheckImportExportResult, 0x80041011, 0x80041012, 0},
        {"native", &FF_AudioFile::CheckNativeResult, 0x80041021, 0x80041022, 0},
        {"velmora", &FF_AudioFile::CheckVelmoraResult, 0x80041031, 0x80041033, 0},
    };
    PlugInResult const privateCodes[] = {0x80041001, 0x80041002, 0x80041003, 0x80041011, 0x80041012,
                                         0x80041021, 0x80041022, 0x80041031, 0x80041032, 0x80041033};
    for (auto const& c : checks)
    {
        SCOPED_TRACE(c.name);
        EXPECT_FALSE(CodeOf([&] { c.check(S_OK); }).has_value());
        EXPECT_FALSE(CodeOf([&] { c.check(S_FALSE); }).has_value());
        EXPECT_EQ(*CodeOf([&] { c.check(E_UNEXPECTED); }), XC_FF_PlugIn_Unexpected);
        EXPECT_EQ(*CodeOf([&] { c.check(E_FAIL); }), XC_FF_PlugIn_Failed);
        EXPECT_EQ(*CodeOf([&] { c.check(E_NOINTERFACE); }), XC_FF_PlugIn_BadHRESULT);
        EXPECT_EQ(*CodeOf([&] { c.check(0x12345678); }), XC_FF_PlugIn_BadHRESULT);
        EXPECT_EQ(*CodeOf([&] { c.check(0x80070002); }), XC_Sys_SystemError);
        for (PlugInResult code : privateCodes)
        {
            SCOPED_TRACE(code);
            auto got = CodeOf([&] { c.check(code); });
            ASSERT_TRUE(got.has_value());
            if (code == c.unimplemented)
                EXPECT_EQ(*got, XC_FF_PlugIn_Unimplemented);
            else if (code == c.badParameter)
                EXPECT_EQ(*got, XC_FF_PlugIn_BadParameter);
            else if (code == c.corrupt)
                EXPECT_EQ(*got, XC_FF_PlugIn_CorruptFile);
            else // another interface's code is not this check's business
                EXPECT_EQ(*got, XC_FF_PlugIn_BadHRESULT);
        }
    }

    // The OS error survives with its low 16 bits.
    EXPECT_EQ(fftest::ErrnoOf([] { FF_AudioFile::CheckNativeResult(0x8007101C); }), 0x101C);
}

TEST_F(FF_AudioFileContract, NestedOpensKeepTheOuterMode)
{
    mFile->Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
    mFile->Open(FF_AudioFile::eOpenRead);
    EXPECT_EQ(mFile->GetOpenMode(), FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
    mFile->Close();
    EXPECT_EQ(mFile->GetOpenMode(), FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
    EXPECT_TRUE(mFile->IsOpen());
    mFile->Close();
    EXPECT_FALSE(mFile->IsOpen());

    mFile->Open(FF_AudioFile::eOpenRead);
    EXPECT_EQ(*CodeOf([&] { mFile->Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite); }),
              XC_FF_RequestedWriteWhileReading);
    EXPECT_EQ(mFile->GetOpenMode(), FF_AudioFile::eOpenRead);
    std::vector<char> buffer(4 * 4);
    mFile->SampleRead(buffer.data(), 4); // the outer level is still usable
    mFile->Close();
    EXPECT_FALSE(mFile->IsOpen());
}

// Implement marks the file dirty once the handler has answered, whatever it
// answered; a failure is thrown before that and leaves nothing to write. The
// write-back comes at the last close that allows it, even of a read, and
// once: a failed one throws with the file closed and is not tried again.
TEST_F(FF_AudioFileContract, WriteBackHappensOnceAtTheLastCloseAfterTheHandlerAnswered)
{
    struct
    {
        char const* name;
        PlugInResult implement, flush;
        int32 reopen;
        bool answer, throws;
        int flushes;
    } const cases[] = {
        {"added", S_OK, S_OK, FF_AudioFile::eOpenRead, true, false, 1},
        {"not added", S_FALSE, S_OK, FF_AudioFile::eOpenRead, false, false, 1},
        {"failed", E_FAIL, S_OK, FF_AudioFile::eOpenRead, false, true, 0},
        {"write-back failed", S_OK, 0x80070005, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite, true, false, 1},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Remake(2, 16, 8);
        mFake->implementResult = c.implement;
        mFake->flushResult = c.flush;
        mFile->Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        bool answer = false;
        EXPECT_EQ(CodeOf([&] { answer = mFile->Implement(FF_AudioFile::eVelmoraInterface); }).has_value(), c.throws);
        EXPECT_EQ(answer, c.answer);
        EXPECT_EQ(mFile->Implements(FF_AudioFile::eVelmoraInterface), c.answer);
        mFile->Close(false);
        EXPECT_FALSE(mFile->IsOpen());
        EXPECT_EQ(mFake->flushes, 0);

        mFile->Open(c.reopen);
        auto const code = CodeOf([&] { mFile->Close(); });
        EXPECT_EQ(code, c.flush == S_OK ? std::nullopt : std::optional<XC_BaseExceptionCode>(XC_Sys_SystemError));
        EXPECT_FALSE(mFile->IsOpen());
        EXPECT_EQ(mFile->GetOpenMode(), 0);
        EXPECT_EQ(mFake->flushes, c.flushes);
        mFile->Open(FF_AudioFile::eOpenRead);
        mFile->Close(); // clean now, or cleared by the failure
        EXPECT_EQ(mFake->flushes, c.flushes);
    }
}

// What the handler tells: the width, the mask and the type's name; and on
// the sample path only big-endian samples wider than a byte are swapped.
TEST_F(FF_AudioFileContract, AttributesMaskAndTheSwapOfBigEndianWideSamples)
{
    struct
    {
        std::int32_t order;
        std::uint16_t bits;
        std::vector<std::uint8_t> expected; // two frames of mono
    } const cases[] = {
        {1, 16, {0, 1, 2, 3}},
        {0, 16, {1, 0, 3, 2}},
        {0, 24, {2, 1, 0, 5, 4, 3}},
        {0, 32, {3, 2, 1, 0, 7, 6, 5, 4}},
        {0, 8, {0, 1}},
        {1, 24, {0, 1, 2, 3, 4, 5}},
        {1, 12, {0, 1, 2, 3}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "order " << c.order << " bits " << c.bits);
        Remake(1, c.bits, 100);
        mFake->byteOrder = c.order;
        EXPECT_EQ(mFile->GetAudioFileAttr().GetBytesPerSample() * 2u, c.expected.size());
        EXPECT_TRUE(mFile->Implements(
            FF_AudioFile::EInterface(FF_AudioFile::eVelmoraInterface | FF_AudioFile::eNativeInterface)));
        EXPECT_FALSE(mFile->Implements(FF_AudioFile::eVelmoraInterface));
        EXPECT_EQ(mFile->GetDescription(FF_AudioFile::eShortDescription), "FAKE");
        FF_AudioFile::StOpen open(mFile.get(), FF_AudioFile::eOpenRead);
        std::vector<std::uint8_t> got(c.expected.size());
        mFile->SampleRead(got.data(), 2);
        EXPECT_EQ(got, c.expected);
        mFile->SampleRead(got.data(), 0); // calls the plug-in, swaps nothing
        EXPECT_EQ(mFake->reads, 2);
    }
}

// An unknown file is closed again and is no error. Format keeps the bits of
// the mask it finds and only adds to them: a location probed as unknown
// still says so after it has been formatted.
TEST(FF_AudioFileOnDisk, UnknownFileIsNotAnErrorAndFormatAddsToTheMaskItFinds)
{
    Sys_Init::Init();
    vfltest::TempDir dir;
    struct
    {
        char const* name;
        std::vector<std::uint8_t> bytes;
        bool probedFirst;
    } const cases[] = {{"empty", {}, true},
                       {"text", {'a', 'b', 'c', '\n'}, true},
                       {"zeros", std::vector<std::uint8_t>(4096, 0), true},
                       {"never probed", {'a', 'b', 'c'}, false}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = dir.File(std::string(c.name) + ".wav");
        vfltest::WriteWholeFile(path, c.bytes);
        FF_AudioFile file((Sys_FileLoc(path)));
        if (c.probedFirst)
        {
            EXPECT_FALSE(file.Implements(FF_AudioFile::eImportExportInterface));
            EXPECT_TRUE(file.Implements(FF_AudioFile::eNoAudioInterface));
            EXPECT_EQ(file.GetFileType().GetFileType(), Sys_FileType::kTypeUnknown);
            EXPECT_FALSE(file.IsOpen());
            EXPECT_EQ(file.GetOpenMode(), 0);
        }
        file.Format(Sys_FileType(std::string("wav")), 2, 44100, 16, 0);
        EXPECT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface));
        EXPECT_TRUE(file.Implements(FF_AudioFile::eNativeInterface));
        EXPECT_EQ(file.Implements(FF_AudioFile::eNoAudioInterface), c.probedFirst);
    }
}

TEST(FF_AudioFileOnDisk, MissingFileThrowsTheSystemError)
{
    Sys_Init::Init();
    vfltest::TempDir dir;
    FF_AudioFile file(Sys_FileLoc(dir.File("nothing.wav")));
    EXPECT_EQ(fftest::ErrnoOf([&] { file.Implements(FF_AudioFile::eImportExportInterface); }), 2);
}

// The first change made on a file not yet probed reaches the file: the
// interface is looked up after the probe, not before.
TEST(FF_AudioFileOnDisk, TheFirstSetterOnAFreshObjectIsKept)
{
    Sys_Init::Init();
    vfltest::TempDir dir;
    std::string const path = dir.File("set.wav");
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        file.Format(Sys_FileType(std::string("wav")), 1, 8000, 16, 10);
    }
    struct
    {
        char const* name;
        std::function<void(FF_AudioFile&)> set;
        std::function<bool(FF_AudioFile&)> check;
    } const cases[] = {
        {"time stamp", [](FF_AudioFile& f) { f.SetSMPTETimeStamp(4242); },
         [](FF_AudioFile& f) { return f.GetSMPTETimeStamp() == 4242; }},
        {"instrument",
         [](FF_AudioFile& f)
         {
             f.SetInstrumentAttr(FF_AudioInstrumentAttr(61, 0, FF_AudioInstrumentAttr::kLoopNone, 0, 0,
                                                        FF_AudioInstrumentAttr::kLoopNone, 0, 0));
         },
         [](FF_AudioFile& f)
         {
             FF_AudioInstrumentAttr a;
             f.GetInstrumentAttr(&a);
             return a.GetRootMIDINote() == 61;
         }},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        {
            FF_AudioFile fresh((Sys_FileLoc(path)));
            c.set(fresh);
        }
        FF_AudioFile again((Sys_FileLoc(path)));
        EXPECT_TRUE(c.check(again));
    }
}
} // namespace
