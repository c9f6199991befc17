// Locations, the types of files, and walks through folders.
#include "Sys/Sys_FileLoc.h"
#include "Sys/Posix/Sys_FileLocIteratorPosix.h"
#include "Sys/Posix/Sys_FileLocPosix.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLocIterator.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"
#include "Sys_FileTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace
{

namespace fs = std::filesystem;
using vfltest::MacCode;
using SysFileLocTest = vfltest::SysFolderTest;

// A path that needs no disk is tidied as text, and a relative one refused.
// The part of a path that exists is resolved as the kernel resolves it, so
// that ".." behind a symbolic link leads where the kernel goes; only the
// part that does not exist yet is tidied as text. The last name stays as
// it is written: a link is an entry of its own folder. A folder on disk
// gains its slash, a file does not.
TEST_F(SysFileLocTest, CanonicalFormsAsTextAndWhereTheKernelGoes)
{
    fs::create_directories(mDir.Path() / "real/sub");
    fs::create_directories(mDir.Path() / "a");
    fs::create_directory_symlink(Dir() + "real/sub", mDir.Path() / "a/link");
    fs::create_symlink(Dir() + "real/f", mDir.Path() / "a/filelink");
    vfltest::WriteWholeFile(Dir() + "real/f", {'K'});
    vfltest::WriteWholeFile(Dir() + "a/f", {'T'}); // where ".." as text would lead
    struct Case
    {
        char const* raw;
        char const* canonical; // null: refused
        bool onDisk = false;   // below the test's folder
    };
    Case const cases[] = {
        {"/", "/"},
        {"//", "/"},
        {"/a//b///", "/a/b/"},
        {"/a/./b/../c", "/a/c"},
        {"/a/b/..", "/a/"},
        {"/a/b/.", "/a/b/"},
        {"/..", "/"},
        {"/../../x", "/x"},
        {"/Mixed/CASE.Wav", "/Mixed/CASE.Wav"},
        {"/no such folder/take 1.wav", "/no such folder/take 1.wav"},
        {"*:", "*:/"},
        {"*:take.wav", "*:/take.wav"},
        {"*:/a/../b/", "*:/b/"},
        {"relative/path", nullptr},
        {"take.wav", nullptr},
        {"./x", nullptr},
        {"", nullptr},
        {"a/link/../f", "real/f", true},
        {"a/link/..", "real/", true},
        {"a/link/../../a/f", "a/f", true},
        {"a/link/new/../g", "real/sub/g", true},
        {"a/link/new/../../f", "real/f", true},
        {"a/missing/../f", "a/f", true},
        {"a/./link//x.wav", "real/sub/x.wav", true},
        {"a/link", "a/link/", true},
        {"a/filelink", "a/filelink", true},
        {"real", "real/", true},
        {"real/f", "real/f", true},
        {"real/f/", "real/f/", true},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.raw);
        std::string const folder = c.onDisk ? Dir() : "";
        if (!c.onDisk)
        {
            std::string path = c.raw;
            EXPECT_EQ(Sys_FileLocPosix::CanonicalizePath(&path), c.canonical != nullptr);
            EXPECT_EQ(path, c.canonical ? c.canonical : c.raw);
        }
        if (c.canonical)
        {
            EXPECT_EQ(Sys_FileLoc(folder + c.raw).GetFullPath(), folder + c.canonical);
        }
        else
        {
            EXPECT_THROW(Sys_FileLoc(std::string(c.raw)).GetFullPath(), std::runtime_error); // an assertion
        }
    }
    std::string withNul("/a\0b", 4);
    EXPECT_FALSE(Sys_FileLocPosix::CanonicalizePath(&withNul));
    // An empty location is an assertion wherever it is used.
    Sys_FileLoc const empty;
    EXPECT_FALSE(empty);
    EXPECT_THROW(empty.GetFullPath(), std::runtime_error);
    EXPECT_THROW(Sys_FileLoc copy(empty), std::runtime_error);
    Sys_FileLoc target(std::string("/x"));
    EXPECT_THROW(target = empty, std::runtime_error);
    Sys_File file(Sys_FileLoc(Dir() + "a/link/../f"));
    Sys_File::StOpen open(&file, Sys_File::kOpenRead | Sys_File::kOpenExisting);
    char got = 0;
    EXPECT_EQ(file.Read(&got, 1), 1);
    EXPECT_EQ(got, 'K');
}

TEST_F(SysFileLocTest, NamesAndExtensionsAreWhatTheRegistryDecides)
{
    struct Case
    {
        char const* leaf;
        char const* name;
        char const* nameWithoutExtension;
        char const* extension;
    };
    Case const cases[] = {
        {"TAKE.WAV", "TAKE.wav", "TAKE", "wav"},
        {"take.wav", "take.wav", "take", "wav"},
        {"Mix.Final.Aif", "Mix.Final.aif", "Mix.Final", "aif"},
        {"take.tmp", "take.tmp", "take.tmp", ""},
        {"take", "take", "take", ""},
        {"take.wav.bak", "take.wav.bak", "take.wav.bak", ""},
        {"folder.wav/", "folder.wav", "folder.wav", ""},
        {"take 1 [2].wav", "take 1 [2].wav", "take 1 [2]", "wav"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.leaf);
        Sys_FileLoc const loc(Dir() + c.leaf);
        EXPECT_EQ(loc.GetFileName(), c.name);
        EXPECT_EQ(loc.GetFileName(Sys_FileLoc::kNameWithoutExtension), c.nameWithoutExtension);
        EXPECT_EQ(loc.GetExtension(), c.extension);
    }
}

TEST_F(SysFileLocTest, ParentsAndPrintLeadUpToTheRootOfTheVolume)
{
    std::string const path = Dir() + "a/b/take.wav";
    Sys_FileLoc loc(path);
    std::vector<std::string> chain;
    while (!loc.IsVolumeRoot())
    {
        chain.push_back(loc.GetFileName());
        loc = loc.GetParentFolder();
        EXPECT_EQ(loc.GetFullPath().back(), '/');
    }
    ASSERT_GE(chain.size(), 3u);
    EXPECT_EQ(std::vector(chain.begin(), chain.begin() + 3), (std::vector<std::string>{"take.wav", "b", "a"}));
    EXPECT_TRUE(loc.GetVolume().IsMounted());
    EXPECT_EQ(loc.GetFullPath(), Sys_Utils::GetVolumeRootFolderLoc(loc.GetVolume()).GetFullPath());
    EXPECT_EQ(loc.GetFileName(), "");
    EXPECT_THROW(loc.GetParentFolder(), std::runtime_error);
    EXPECT_EQ(Sys_FileLoc(std::string("/")).IsVolumeRoot(), true);

    // Print shows the same chain.
    std::ostringstream out;
    Sys_FileLoc(Dir() + "take.wav").Print(out);
    std::string const text = out.str();
    EXPECT_EQ(text.rfind("Full Path: " + Dir() + "take.wav\n", 0), 0u) << text;
    EXPECT_NE(text.find("File Name: take\nExtension: wav\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nParent Folder: \nFull Path: " + Dir() + "\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Volume Name: "), std::string::npos);
}

// The canonical path and the extension are learned once.
TEST_F(SysFileLocTest, WhatWasLearnedStaysUntilThePathIsSetAgain)
{
    std::string const path = Dir() + "later";
    Sys_FileLoc const early(path);
    EXPECT_EQ(early.GetFullPath(), path); // no folder there yet
    std::filesystem::create_directory(path);
    EXPECT_EQ(early.GetFullPath(), path); // canonical once, kept
    Sys_FileLoc const copy(early);
    EXPECT_EQ(copy.GetFullPath(), path);
    EXPECT_EQ(Sys_FileLoc(path).GetFullPath(), path + "/");

    // CreateFolder makes every level, and its location look again.
    Sys_FileLoc const made(Dir() + "x/y/z");
    EXPECT_EQ(made.GetFullPath(), Dir() + "x/y/z");
    Sys_Utils::CreateFolder(made);
    EXPECT_TRUE(std::filesystem::is_directory(Dir() + "x/y/z"));
    EXPECT_EQ(made.GetFullPath(), Dir() + "x/y/z/");
    Sys_Utils::CreateFolder(made);                          // already there
    Sys_Utils::CreateFolder(Sys_FileLoc(std::string("/"))); // nothing to do, nothing thrown

    // The extension too: a type registered later is not seen by an old location.
    Sys_FileLoc const take(Dir() + "take.h3late");
    EXPECT_EQ(take.GetExtension(), "");
    std::vector<Sys_FileType> types = {Sys_FileType("h3late")};
    std::vector<std::string> descriptions = {"Registered late"};
    Sys_Utils::RegisterKnownTypes(types, descriptions);
    EXPECT_EQ(take.GetExtension(), "");
    EXPECT_EQ(take.GetFileName(), "take.h3late");
    EXPECT_EQ(Sys_FileLoc(Dir() + "take.h3late").GetExtension(), "h3late");
    EXPECT_EQ(Sys_FileLoc(Dir() + "take.h3late").GetFileName(Sys_FileLoc::kNameWithoutExtension), "take");
}

TEST_F(SysFileLocTest, ALocationFromPartsKeepsItsParts)
{
    Sys_FileLoc const folder(Dir());
    Sys_Volume const volume = folder.GetVolume();
    Sys_FileLoc const loc(volume, folder, "Take", "xyz");
    EXPECT_EQ(loc.GetFullPath(), Dir() + "Take.xyz");
    EXPECT_EQ(loc.GetFileName(), "Take.xyz");
    EXPECT_EQ(loc.GetExtension(), "xyz"); // not registered, but given
    EXPECT_EQ(loc.GetParentFolder(), folder);
    EXPECT_TRUE(loc.GetVolume() == volume);

    Sys_FileLoc const noExtension(volume, folder, "notes", "");
    EXPECT_EQ(noExtension.GetFullPath(), Dir() + "notes");

    Sys_FileLoc const root(volume);
    EXPECT_TRUE(root.IsVolumeRoot());
    EXPECT_EQ(root.GetVolume().GetSerialNumber(), volume.GetSerialNumber());

    // On a volume that is not mounted it fails only at the disk.
    Sys_Volume const missing(std::string("h3 no volume has this label"));
    EXPECT_FALSE(missing.IsMounted());
    Sys_FileLoc const missingRoot(missing);
    EXPECT_EQ(missingRoot.GetFullPath(), "*:/");
    EXPECT_TRUE(missingRoot.IsVolumeRoot());
    Sys_FileLoc const file(missing, missingRoot, "take", "wav");
    EXPECT_EQ(file.GetFullPath(), "*:/take.wav");
    Sys_File f(file);
    EXPECT_FALSE(f.IsOnline());
    EXPECT_EQ(vfltest::SystemErrorOf([&] { f.Open(0x102); }), ENOENT);
}

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

// What ==, !=, < and > say of a and b, in one word: "=", "!<" or "!>".
template <class T> std::string Relation(T const& a, T const& b)
{
    return std::string(a == b ? "=" : "") + (a != b ? "!" : "") + (a < b ? "<" : "") + (b < a ? ">" : "");
}

// Locations compare without case, after tidying; types need all their
// fields equal, and are ordered as the maps of the registry order them.
TEST_F(SysFileTypeTest, EqualityAndOrderOfLocationsAndTypes)
{
    auto loc = [](char const* path) { return Sys_FileLoc(std::string(path)); };
    Sys_FileType const anyFile(Sys_FileType::kTypeFile), folder(Sys_FileType::kTypeFolder);
    struct Case
    {
        char const* name;
        std::string relation, expected;
    };
    Case const cases[] = {
        {"locations in other cases", Relation(loc("/Audio/TAKE.WAV"), loc("/audio/take.wav")), "="},
        {"locations by name", Relation(loc("/audio/a.wav"), loc("/audio/b.wav")), "!<"},
        {"locations by name without case", Relation(loc("/audio/B.wav"), loc("/audio/a.wav")), "!>"},
        {"folders in other cases", Relation(loc("/audio/"), loc("/AUDIO/")), "="},
        {"locations after tidying", Relation(loc("/x/../audio//take.wav"), loc("/AUDIO/take.wav")), "="},
        {"same extension", Relation(Sys_FileType("wav"), Sys_FileType("WAV")), "="},
        {"extension and code differ", Relation(Sys_FileType("wav"), Sys_FileType(MacCode("WAVE"))), "!<"},
        {"extensions by text", Relation(Sys_FileType("aif"), Sys_FileType("wav")), "!<"},
        {"codes as signed numbers", Relation(Sys_FileType(int32(-5)), Sys_FileType(int32(3))), "!<"},
        {"kinds first", Relation(Sys_FileType(Sys_FileType::kTypeUnknown), anyFile), "!<"},
        {"any file before every extension", Relation(anyFile, Sys_FileType("aaa")), "!<"},
        {"folders are never ordered", Relation(Sys_FileType(Sys_FileType::kTypeFolder), folder), "="},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.relation, c.expected);
    }
}

TEST_F(SysFileTypeTest, TheRegistryKeepsTheLastDescriptionAndGroupsOfEquivalentTypes)
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

    // Equivalence holds within a group and looks at the first argument.
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
         {Sys_FileType("wav"), Sys_FileType(MacCode("AIFF"))},
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

// start/
//   a.WAV  B.wav  c.txt  d.aif  Take [1].wav
//   loop -> start          (a link to a folder: listed, never entered)
//   sub0/ y.wav  deeper/ z.wav
//   Sub1/ x.wav
class SysFileLocIteratorTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        SysFolderTest::SetUp();
        mStart = Dir() + "start/";
        fs::create_directories(mStart + "sub0/deeper");
        fs::create_directories(mStart + "Sub1");
        for (char const* name :
             {"a.WAV", "B.wav", "c.txt", "d.aif", "Take [1].wav", "sub0/y.wav", "sub0/deeper/z.wav", "Sub1/x.wav"})
            vfltest::WriteWholeFile(mStart + name, {1, 2, 3});
        fs::create_directory_symlink(mStart, mStart + "loop");
    }

    // The paths below the start of everything a walk yields, joined by '|'.
    std::string Walk(Sys_FileLocIterator& it) const
    {
        std::string names;
        for (; it; ++it)
            names += (names.empty() ? "" : "|") + (*it).GetFullPath().substr(mStart.size());
        return names;
    }

    std::string mStart;
};

constexpr auto kTree = Sys_FileLocIterator::kIterateSubfolders;
constexpr auto kFolderOnly = Sys_FileLocIterator::kIterateFolderOnly;

// Each folder is listed in order, breadth first; types select once per
// type and folder, patterns use star and question mark without case.
TEST_F(SysFileLocIteratorTest, WalksSelectByTypeOrPatternFolderByFolder)
{
    Sys_FileType const wav("wav"), aif("aif");
    struct Case
    {
        char const* name; // a pattern, or what the types select
        std::vector<Sys_FileType> types;
        bool byPattern, tree;
        char const* expected;
    };
    Case const cases[] = {
        {"everything",
         {},
         false,
         true,
         "a.WAV|B.wav|c.txt|d.aif|loop/|sub0/|Sub1/|Take [1].wav|sub0/deeper/|sub0/y.wav|Sub1/x.wav|sub0/deeper/z.wav"},
        {"wav in the tree", {wav}, false, true, "a.WAV|B.wav|Take [1].wav|sub0/y.wav|Sub1/x.wav|sub0/deeper/z.wav"},
        {"wav by its Macintosh code", {Sys_FileType(MacCode("WAVE"))}, false, false, "a.WAV|B.wav|Take [1].wav"},
        {"wav then aif, per folder", {wav, aif}, false, false, "a.WAV|B.wav|Take [1].wav|d.aif"},
        {"a type listed twice comes twice", {aif, aif}, false, false, "d.aif|d.aif"},
        {"folders, links left out", {Sys_FileType(Sys_FileType::kTypeFolder)}, false, true, "sub0/|Sub1/|sub0/deeper/"},
        {"any file", {Sys_FileType(Sys_FileType::kTypeFile)}, false, false, "a.WAV|B.wav|c.txt|d.aif|Take [1].wav"},
        {"an unregistered extension", {Sys_FileType("txt")}, false, false, ""},
        {"?.wav", {}, true, false, "a.WAV|B.wav"},
        {"*.WAV", {}, true, false, "a.WAV|B.wav|Take [1].wav"},
        {"Take [1].wav", {}, true, false, "Take [1].wav"},
        {"take [?].WAV", {}, true, false, "Take [1].wav"},
        {"*1*", {}, true, false, "Sub1/|Take [1].wav"},
        {"sub?", {}, true, false, "sub0/|Sub1/"},
        {"*.*", {}, true, false, "a.WAV|B.wav|c.txt|d.aif|loop/|sub0/|Sub1/|Take [1].wav"},
        {"[1]*", {}, true, false, ""},
        {"", {}, true, false, ""},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::vector<Sys_FileType> types = c.types;
        auto const iterType = c.tree ? kTree : kFolderOnly;
        Sys_FileLocIterator it = c.byPattern ? Sys_FileLocIterator(Sys_FileLoc(mStart), c.name, iterType)
                                             : Sys_FileLocIterator(Sys_FileLoc(mStart), types, iterType);
        EXPECT_EQ(Walk(it), c.expected);
    }

    struct Match
    {
        char const* pattern;
        char const* name;
        bool matches;
    } const matches[] = {
        {"*", "", true},          {"*", "x", true},           {"?", "", false},
        {"a*b*c", "aXbYc", true}, {"a*b*c", "aXbY", false},   {"*.wav", ".wav", true},
        {"take.*", "take", true}, {"take.*", "takes", false}, {"**?", "a", true},
        {"[ab]", "a", false},     {"[ab]", "[AB]", true},     {"*a*a*a*a*b", "aaaaaaaaaaaaaaaaaaaaaaaa", false},
    };
    for (Match const& c : matches)
    {
        SCOPED_TRACE(testing::Message() << c.pattern << " ~ " << c.name);
        EXPECT_EQ(Sys_FileLocIteratorPosix::MatchesPattern(c.pattern, c.name), c.matches);
    }
}

TEST_F(SysFileLocIteratorTest, AStartThatIsNoFolderThrowsAnEmptyOneYieldsNothingALinkIsFollowedAbortEnds)
{
    std::vector<Sys_FileType> none;
    for (std::string const& start : {mStart + "a.WAV", mStart + "missing/", mStart + "missing"})
    {
        SCOPED_TRACE(start);
        EXPECT_TRUE(
            vfltest::ThrowsCode([&] { Sys_FileLocIterator it(Sys_FileLoc(start), none, kTree); }, XC_Sys_BadStartLoc));
    }
    fs::create_directory(mStart + "empty");
    Sys_FileLocIterator empty(Sys_FileLoc(mStart + "empty"), none, kTree);
    EXPECT_FALSE(empty);
    EXPECT_FALSE(empty);

    // A start through a link hands out the folder it leads to.
    std::vector<Sys_FileType> wav = {Sys_FileType("wav")};
    Sys_FileLocIterator linked(Sys_FileLoc(mStart + "loop/sub0"), wav, kFolderOnly);
    ASSERT_TRUE(linked);
    EXPECT_EQ((*linked).GetFullPath(), mStart + "sub0/y.wav");
    EXPECT_EQ((*linked).GetFullPath(), Sys_FileLoc(mStart + "loop/sub0/y.wav").GetFullPath());

    // After Abort the next step ends the walk, also from another thread.
    Sys_FileLocIterator first(Sys_FileLoc(mStart), none, kTree);
    ASSERT_TRUE(first);
    EXPECT_EQ((*first).GetFileName(), "a.wav"); // the registry's extension
    EXPECT_EQ(first.GetCurrentSearchPath(), mStart);
    first.Abort();
    ++first;
    EXPECT_FALSE(first);

    std::string const big = mStart + "big/";
    fs::create_directory(big);
    constexpr int kFiles = 3000;
    for (int i = 0; i < kFiles; ++i)
        vfltest::WriteWholeFile(big + "f" + std::to_string(i), {});
    Sys_FileLocIterator it(Sys_FileLoc(big), none, kTree);
    std::atomic<bool> seen{false};
    std::thread watcher(
        [&]
        {
            while (it.GetCurrentSearchPath().empty())
                std::this_thread::yield();
            seen = true;
            it.Abort();
        });
    int count = 0;
    for (; it; ++it)
        ++count;
    watcher.join();
    EXPECT_TRUE(seen);
    EXPECT_LE(count, kFiles);
    EXPECT_FALSE(it);
}

TEST_F(SysFileLocIteratorTest, AWalkKeptOnItsVolumeHandsOutMountPointsWithoutEnteringThem)
{
    vfltest::StMount const ram("-t tmpfs -o size=1m vfltest", mStart + "ram");
    vfltest::StMount const bound("--bind '" + mStart + "Sub1'", mStart + "bound");
    if (!ram.Mounted() || !bound.Mounted())
        GTEST_SKIP() << "cannot mount here";
    vfltest::WriteWholeFile(mStart + "ram/r.wav", {1});

    struct Case
    {
        char const* name;
        bool stay;
        char const* expected;
    };
    Case const cases[] = {
        {"crossing", false, "a.WAV|B.wav|Take [1].wav|bound/x.wav|ram/r.wav|sub0/y.wav|Sub1/x.wav|sub0/deeper/z.wav"},
        {"staying", true, "a.WAV|B.wav|Take [1].wav|sub0/y.wav|Sub1/x.wav|sub0/deeper/z.wav"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::vector<Sys_FileType> wav = {Sys_FileType("wav")};
        Sys_FileLocIterator it(Sys_FileLoc(mStart), wav, kTree);
        if (c.stay)
            it.StayOnStartVolume();
        EXPECT_EQ(Walk(it), c.expected);
    }
    Sys_FileLocIterator folders(Sys_FileLoc(mStart), "*", kFolderOnly);
    folders.StayOnStartVolume();
    EXPECT_NE(("|" + Walk(folders) + "|").find("|ram/|"), std::string::npos);
}

TEST_F(SysFileLocIteratorTest, AnUnreadableFolderIsPassedOverInSilence)
{
    fs::create_directory(mStart + "locked");
    vfltest::WriteWholeFile(mStart + "locked/secret.wav", {1});
    fs::permissions(mStart + "locked", fs::perms::none);
    for (fs::path p = mStart; p != p.parent_path() && p.string().size() > 1; p = p.parent_path())
        if (p.string().rfind(fs::canonical(mDir.Path()).string(), 0) == 0)
            fs::permissions(p, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                   fs::perms::others_read | fs::perms::others_exec);
    int const found = vfltest::RunUnprivileged(
        [&]
        {
            std::vector<Sys_FileType> wav = {Sys_FileType("wav")};
            int count = 0;
            try
            {
                for (Sys_FileLocIterator it(Sys_FileLoc(mStart), wav, kTree); it; ++it)
                    ++count;
            }
            catch (...)
            {
                return 101;
            }
            return count;
        });
    fs::permissions(mStart + "locked", fs::perms::owner_all);
    if (found == -1)
        GTEST_SKIP() << "cannot drop privileges";
    EXPECT_EQ(found, 6); // the six wave files outside the locked folder
}

} // namespace
