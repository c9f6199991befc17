// VORN files on disk through FF_AudioFile, beyond what every format does
// (FormatMatrixTest): files laid out by hand as a Mac writes them
// (big-endian resource contents), and files that are refused, without
// anything being written for them.
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioInstrumentAttr.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_ResourceFork.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

namespace
{
namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using RF = Sys_ResourceFork;

class VORNFile : public ::testing::Test
{
protected:
    void SetUp() override { Sys_Init::Init(); }

    std::string Fork(std::string const& name) const { return mDir.File("Resource.FRK/" + name); }

    // A fork made here by hand, resource by resource.
    void WriteFork(std::string const& name, std::vector<RF::Resource> resources) const
    {
        RF fork;
        for (auto& r : resources)
            fork.Add(std::move(r));
        Bytes bytes;
        ASSERT_TRUE(fork.Serialize(&bytes));
        fs::create_directories(mDir.Path() / "Resource.FRK");
        vfltest::WriteWholeFile(Fork(name), bytes);
    }

    vfltest::TempDir mDir;
};

RF::Resource Resource(char const (&type)[5], std::int16_t id, Bytes data, std::string name = "")
{
    RF::Resource r;
    r.type = RF::Code(type);
    r.id = id;
    r.hasName = !name.empty();
    r.name = name;
    r.data = std::move(data);
    return r;
}

RF::Resource Str(std::int16_t id, std::string const& name, std::string const& value)
{
    Bytes data{static_cast<std::uint8_t>(value.size())};
    data.insert(data.end(), value.begin(), value.end());
    return Resource("STR ", id, data, name);
}

std::vector<RF::Resource> Strings(char const* size, char const* rate, char const* channels)
{
    return {Str(1000, "sample-size", size), Str(1001, "sample-rate", rate), Str(1002, "channels", channels)};
}

TEST_F(VORNFile, AMacFileIsReadFromItsBigEndianResources)
{
    std::string const path = mDir.File("From a Mac");
    vfltest::WriteWholeFile(path, Bytes{0x01, 0x02, 0xFF, 0xFE, 0x80, 0x00}); // three 16-bit frames
    Bytes regions = {0, 1, 0, 0, 0, 12, 0, 0, 0, 56, 0, 0, 0, 0, 0, 0, 0, 1,  // header
                     0, 0, 0, 0, 0, 0,  0, 1, 0, 0,  0, 2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 4, 'l', 'o', 'o', 'p'};
    regions.resize(18 + 56, 0);
    auto resources = Strings("2", "22050.000000", "1");
    resources.push_back(
        Resource("umid", 1000, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4}));
    resources.push_back(Resource("qxRL", 1000, regions));
    resources.push_back(Resource("qxLL", 1000, {0, 1, 0, 1, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0, 0, 2, 0, 2, 0, 0x76, 0, 0}));
    WriteFork("From a Mac", resources);

    FF_AudioFile file((Sys_FileLoc(path)));
    ASSERT_TRUE(file.Implements(FF_AudioFile::eVelmoraInterface)) << file.GetUnknownReason();
    EXPECT_EQ(file.GetAudioFileAttr().GetSamplesPerSec(), 22050);
    EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), 3);
    EXPECT_TRUE(file.GetUmid() == Sys_Umid(1, 2, 3, 4));
    std::vector<FF_ImportAudioRegion> found;
    file.GetRegions(&found, false);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].GetName(), "loop");
    EXPECT_EQ(found[0].GetStopSample(), 2u);
    FF_AudioInstrumentAttr loops;
    file.GetInstrumentAttr(&loops);
    EXPECT_EQ(loops.GetLoop1Type(), FF_AudioInstrumentAttr::kLoopNone);
    EXPECT_EQ(loops.GetLoop2Type(), FF_AudioInstrumentAttr::kLoopForwardBackward);
    EXPECT_EQ(loops.GetLoop2StopSample(), 2);
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
    std::int16_t samples[3] = {};
    file.SampleRead(samples, 3);
    EXPECT_EQ(samples[0], 0x0102);
    EXPECT_EQ(samples[1], -2);
    EXPECT_EQ(samples[2], -32768);
}

// A Mac file without the system's identity gets one in its fork; the
// resources another program put there stay as they were.
TEST_F(VORNFile, AdoptingAMacFileKeepsItsOtherResources)
{
    std::string const path = mDir.File("Take");
    vfltest::WriteWholeFile(path, Bytes(8, 1));
    auto resources = Strings("2", "44100.000000", "2");
    resources.push_back(Resource("ANNO", 128, {'n', 'o', 't', 'e'}, "by hand"));
    WriteFork("Take", resources);
    Sys_Umid umid;
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface)) << file.GetUnknownReason();
        ASSERT_FALSE(file.Implements(FF_AudioFile::eVelmoraInterface));
        ASSERT_TRUE(file.Implement(FF_AudioFile::eVelmoraInterface));
        umid = file.GetUmid();
    }
    RF fork;
    Bytes const bytes = vfltest::ReadWholeFile(Fork("Take"));
    ASSERT_TRUE(fork.Parse(bytes.data(), bytes.size()));
    ASSERT_NE(fork.Find(RF::Code("ANNO"), 128), nullptr);
    EXPECT_EQ(fork.Find(RF::Code("ANNO"), 128)->data, (Bytes{'n', 'o', 't', 'e'}));
    EXPECT_EQ(fork.Find(RF::Code("ANNO"), 128)->name, "by hand");
    EXPECT_NE(fork.Find(RF::Code("umid"), 1000), nullptr);
    FF_AudioFile again((Sys_FileLoc(path)));
    ASSERT_TRUE(again.Implements(FF_AudioFile::eVelmoraInterface));
    EXPECT_TRUE(again.GetUmid() == umid);
    EXPECT_EQ(again.GetAudioFileAttr().GetNumSamples(), 2);
    EXPECT_EQ(vfltest::ReadWholeFile(path), Bytes(8, 1));
}

TEST_F(VORNFile, FilesThatAreNoneAreRefusedAndNothingIsWritten)
{
    struct Case
    {
        char const* what;
        Bytes data;
        bool fork;
        std::vector<RF::Resource> resources;
    } const cases[] = {
        {"no fork", Bytes(12, 0), false, {}},
        {"11 bytes of 8-bit stereo", Bytes(11, 0), true, Strings("1", "44100.000000", "2")},
        {"no channels string", Bytes(12, 0), true, {Str(1000, "sample-size", "1"), Str(1001, "sample-rate", "8000")}},
        {"sample size 0", Bytes(12, 0), true, Strings("0", "8000", "1")},
        {"no rate", Bytes(12, 0), true, Strings("2", "fast", "1")},
        {"a loop list written little-endian", Bytes(12, 0), true,
         []
         {
             auto r = Strings("2", "8000", "1");
             r.push_back(Resource("qxLL", 1000, {1, 0, 1, 0, 1, 0, 0, 0}));
             return r;
         }()},
        {"a damaged fork", Bytes(12, 0), true, {}},
    };
    int n = 0;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.what);
        std::string const name = "file" + std::to_string(n++);
        vfltest::WriteWholeFile(mDir.File(name), c.data);
        if (c.fork)
            WriteFork(name, c.resources);
        if (std::string(c.what) == "a damaged fork")
            vfltest::WriteWholeFile(Fork(name), Bytes(300, 0xFF));
        Bytes const forkBefore = c.fork ? vfltest::ReadWholeFile(Fork(name)) : Bytes();
        auto const before = fs::last_write_time(mDir.File(name));

        FF_AudioFile file(Sys_FileLoc(mDir.File(name)));
        EXPECT_FALSE(file.Implements(FF_AudioFile::eImportExportInterface));
        EXPECT_EQ(fs::exists(Fork(name)), c.fork);
        if (c.fork)
        {
            EXPECT_EQ(vfltest::ReadWholeFile(Fork(name)), forkBefore);
        }
        EXPECT_EQ(fs::last_write_time(mDir.File(name)), before);
    }
    EXPECT_FALSE(fs::exists(Fork("file0")));
    // A name that says VORN gets a word about the missing fork.
    vfltest::WriteWholeFile(mDir.File("lost.vorn"), Bytes(4, 0));
    FF_AudioFile lost(Sys_FileLoc(mDir.File("lost.vorn")));
    EXPECT_NE(lost.GetUnknownReason().find("without its resource fork"), std::string::npos);
}

} // namespace
