#include "Sys/Sys_FileType.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "Sys_FileTestSupport.h"

namespace
{

using vfltest::MacCode;

using SysFileTypeTest = vfltest::SysLayerTest;

TEST_F(SysFileTypeTest, ConstructorsSetKindExtensionAndCodeAndPrintShowsThem)
{
    Sys_FileType const unknown;
    EXPECT_EQ(unknown.GetFileType(), Sys_FileType::kTypeUnknown);
    Sys_FileType const byExtension(std::string("WaV"));
    EXPECT_EQ(byExtension.GetFileType(), Sys_FileType::kTypeFile);
    EXPECT_EQ(byExtension.GetWin32Extension(), "wav");
    EXPECT_EQ(byExtension.GetMacFileType(), 0);
    Sys_FileType const byCode(MacCode("WAVE"));
    EXPECT_EQ(byCode.GetFileType(), Sys_FileType::kTypeFile);
    EXPECT_EQ(byCode.GetWin32Extension(), "");
    EXPECT_EQ(byCode.GetMacFileType(), 0x57415645);
    Sys_FileType copy(byCode);
    Sys_FileType& self = copy;
    copy = self; // self-assignment changes nothing
    EXPECT_EQ(copy, byCode);
    Sys_FileType const none(Sys_FileType::kTypeNone);
    EXPECT_THROW(none.GetWin32Extension(), std::runtime_error);
    EXPECT_THROW(none.GetMacFileType(), std::runtime_error);
    EXPECT_THROW(none.GetDescriptiveString(), std::runtime_error);

    std::ostringstream file;
    Sys_FileType(MacCode("WAVE")).Print(file);
    EXPECT_EQ(file.str(), std::string("Description: Wave\nWin32 Extension: \nMac File Type: WAVE\n"));
    std::ostringstream folder;
    Sys_FileType(Sys_FileType::kTypeFolder).Print(folder);
    EXPECT_EQ(folder.str(), "Description: Unknown\n");
}

TEST_F(SysFileTypeTest, EqualityNeedsAllFieldsAndTheOrderIsThatOfTheMaps)
{
    struct Case
    {
        char const* name;
        Sys_FileType a, b;
        bool equal, less;
    };
    Sys_FileType const anyFile(Sys_FileType::kTypeFile);
    Case const cases[] = {
        {"same extension", Sys_FileType("wav"), Sys_FileType("WAV"), true, false},
        {"extension and code differ", Sys_FileType("wav"), Sys_FileType(MacCode("WAVE")), false, true},
        {"extensions by text", Sys_FileType("aif"), Sys_FileType("wav"), false, true},
        {"codes as signed numbers", Sys_FileType(int32(-5)), Sys_FileType(int32(3)), false, true},
        {"kinds first", Sys_FileType(Sys_FileType::kTypeUnknown), anyFile, false, true},
        {"any file before every extension", anyFile, Sys_FileType("aaa"), false, true},
        {"folders are never ordered", Sys_FileType(Sys_FileType::kTypeFolder), Sys_FileType(Sys_FileType::kTypeFolder),
         true, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.a == c.b, c.equal);
        EXPECT_EQ(c.a != c.b, !c.equal);
        EXPECT_EQ(c.a < c.b, c.less);
        EXPECT_EQ(c.b < c.a, !c.equal && !c.less);
    }
}

TEST_F(SysFileTypeTest, TheRegistryKeepsTheLastDescription)
{
    std::vector<Sys_FileType> types = {Sys_FileType("h3reg")};
    std::vector<std::string> first = {"First"};
    Sys_Utils::RegisterKnownTypes(types, first);
    EXPECT_TRUE(Sys_Utils::IsKnownType(Sys_FileType("H3REG")));
    std::vector<std::string> second = {"Second"};
    Sys_Utils::RegisterKnownTypes(types, second);
    EXPECT_EQ(Sys_FileType("h3reg").GetDescriptiveString(), "Second");
    EXPECT_EQ(Sys_FileType("h3unregistered").GetDescriptiveString(), "Unknown");
    EXPECT_FALSE(Sys_Utils::IsKnownType(Sys_FileType(Sys_FileType::kTypeFile)));
    std::vector<std::string> tooFew;
    EXPECT_THROW(Sys_Utils::RegisterKnownTypes(types, tooFew), std::runtime_error);
}

TEST_F(SysFileTypeTest, EquivalenceHoldsWithinAGroupAndLooksAtTheFirstArgument)
{
    Sys_FileType const wav("wav"), wave(MacCode("WAVE")), aif("aif");
    EXPECT_TRUE(Sys_Utils::AreTypesEquivalent(wav, wave));
    EXPECT_TRUE(Sys_Utils::AreTypesEquivalent(wave, wav));
    EXPECT_FALSE(Sys_Utils::AreTypesEquivalent(wav, aif));
    EXPECT_TRUE(Sys_Utils::AreTypesEquivalent(aif, aif));
    EXPECT_EQ(Sys_Utils::GetAssociatedExtension(wave), "wav");
    EXPECT_EQ(Sys_Utils::GetAssociatedExtension(Sys_FileType(MacCode("h3no"))), "");

    // Two groups that share a member stay apart.
    Sys_FileType const x("h3x"), y("h3y"), shared("h3shared");
    std::vector<Sys_FileType> one = {x, shared}, two = {y, shared};
    Sys_Utils::RegisterEquivalentTypes(one);
    Sys_Utils::RegisterEquivalentTypes(two);
    EXPECT_FALSE(Sys_Utils::AreTypesEquivalent(x, y));
    EXPECT_TRUE(Sys_Utils::AreTypesEquivalent(shared, x));
    EXPECT_TRUE(Sys_Utils::AreTypesEquivalent(shared, y));
}

TEST_F(SysFileTypeTest, APathIsOfTheTypeOfItsRegisteredExtensionOrAFolder)
{
    struct Case
    {
        char const* path;
        Sys_FileType expected;
    };
    Case const cases[] = {
        {"/h3/take.WAV", Sys_FileType("wav")},
        {"/h3/take.aif", Sys_FileType("aif")},
        {"/h3/take.xyz", Sys_FileType()},
        {"/h3/take", Sys_FileType()},
        {"/h3.wav/take", Sys_FileType()},
        {"/h3/missing folder/", Sys_FileType(Sys_FileType::kTypeFolder)},
        {"/h3/take.wav/", Sys_FileType(Sys_FileType::kTypeFolder)},
        {"/", Sys_FileType(Sys_FileType::kTypeFolder)},
        {"/tmp", Sys_FileType(Sys_FileType::kTypeFolder)},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(Sys_UtilsPosix::GetFileType(std::string(c.path)), c.expected);
    }
    EXPECT_EQ(Sys_Utils::GetFileType(Sys_FileLoc(std::string("/h3/x.Wav"))), Sys_FileType("wav"));
}

TEST_F(SysFileTypeTest, FilterPairsForFileChoosers)
{
    struct Case
    {
        char const* name;
        std::vector<Sys_FileType> types;
        int32 bufferSize;
        bool allFiles;
        std::string expected; // the bytes at the head of the buffer
        bool restUntouched;   // nothing written behind them
    };
    using namespace std::string_literals;
    Case const cases[] = {
        {"empty", {}, 64, false, "\0\0"s, true},
        {"one byte writes nothing", {}, 1, false, ""s, true},
        {"two types and all files",
         {Sys_FileType("wav"), Sys_FileType(vfltest::MacCode("AIFF"))},
         128,
         true,
         "Wave (*.wav)\0*.wav\0AIFF (*.aif)\0*.aif\0All Files (*.*)\0*.*\0\0"s,
         true},
        {"an unknown type matches everything",
         {Sys_FileType("h3none")},
         64,
         false,
         "Unknown (*.h3none)\0*.h3none\0\0"s,
         true},
        {"overflow leaves an empty list", {Sys_FileType("wav"), Sys_FileType("aif")}, 24, true, "\0\0"s, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::vector<Sys_FileType> types = c.types;
        std::string buffer(static_cast<size_t>(c.bufferSize) + 8, 'x');
        Sys_UtilsPosix::MakeFilterPairsString(&types, buffer.data(), c.bufferSize, c.allFiles);
        EXPECT_EQ(buffer.substr(0, c.expected.size()), c.expected);
        if (c.restUntouched)
        {
            EXPECT_EQ(buffer.find_first_not_of('x', c.expected.size()), std::string::npos);
        }
        EXPECT_EQ(buffer.find_first_not_of('x', static_cast<size_t>(c.bufferSize)), std::string::npos);
    }
    Sys_UtilsPosix::MakeFilterPairsString(nullptr, nullptr, 10, true); // does nothing
}

} // namespace
