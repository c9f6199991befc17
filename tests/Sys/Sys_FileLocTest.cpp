#include "Sys/Sys_FileLoc.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "Sys/Posix/Sys_FileLocPosix.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"
#include "Sys_FileTestSupport.h"

namespace
{

using SysFileLocTest = vfltest::SysFolderTest;

TEST_F(SysFileLocTest, CanonicalFormsOfPathsThatNeedNoDisk)
{
    struct Case
    {
        char const* raw;
        char const* canonical; // null: refused
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
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.raw);
        std::string path = c.raw;
        bool const ok = Sys_FileLocPosix::CanonicalizePath(&path);
        EXPECT_EQ(ok, c.canonical != nullptr);
        EXPECT_EQ(path, c.canonical ? c.canonical : c.raw);
        if (c.canonical)
        {
            EXPECT_EQ(Sys_FileLoc(std::string(c.raw)).GetFullPath(), c.canonical);
        }
    }
    std::string withNul("/a\0b", 4);
    EXPECT_FALSE(Sys_FileLocPosix::CanonicalizePath(&withNul));
}

// The part of a path that exists is resolved as the kernel resolves it, so
// that ".." behind a symbolic link leads where the kernel goes; only the
// part that does not exist yet is tidied as text. The last name stays as
// it is written: a link is an entry of its own folder. A folder on disk
// gains its slash, a file does not.
TEST_F(SysFileLocTest, DotDotBehindALinkGoesWhereTheKernelGoes)
{
    namespace fs = std::filesystem;
    fs::create_directories(mDir.Path() / "real/sub");
    fs::create_directories(mDir.Path() / "a");
    fs::create_directory_symlink(Dir() + "real/sub", mDir.Path() / "a/link");
    fs::create_symlink(Dir() + "real/f", mDir.Path() / "a/filelink");
    vfltest::WriteWholeFile(Dir() + "real/f", {'K'});
    vfltest::WriteWholeFile(Dir() + "a/f", {'T'}); // where ".." as text would lead
    struct Case
    {
        char const* raw;
        char const* canonical;
    };
    Case const cases[] = {
        {"a/link/../f", "real/f"},
        {"a/link/..", "real/"},
        {"a/link/../../a/f", "a/f"},
        {"a/link/new/../g", "real/sub/g"},
        {"a/link/new/../../f", "real/f"},
        {"a/missing/../f", "a/f"},
        {"a/./link//x.wav", "real/sub/x.wav"},
        {"a/link", "a/link/"},
        {"a/filelink", "a/filelink"},
        {"real", "real/"},
        {"real/f", "real/f"},
        {"real/f/", "real/f/"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.raw);
        Sys_FileLoc const loc(Dir() + c.raw);
        EXPECT_EQ(loc.GetFullPath(), Dir() + c.canonical);
    }
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

TEST_F(SysFileLocTest, ParentsLeadUpToTheRootOfTheVolume)
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
    EXPECT_EQ(chain[0], "take.wav");
    EXPECT_EQ(chain[1], "b");
    EXPECT_EQ(chain[2], "a");
    EXPECT_TRUE(loc.GetVolume().IsMounted());
    EXPECT_EQ(loc.GetFullPath(), Sys_Utils::GetVolumeRootFolderLoc(loc.GetVolume()).GetFullPath());
    EXPECT_EQ(loc.GetFileName(), "");
    EXPECT_THROW(loc.GetParentFolder(), std::runtime_error);
    EXPECT_EQ(Sys_FileLoc(std::string("/")).IsVolumeRoot(), true);
}

TEST_F(SysFileLocTest, ComparisonIgnoresCase)
{
    struct Case
    {
        char const* a;
        char const* b;
        int order;
    };
    Case const cases[] = {
        {"/Audio/TAKE.WAV", "/audio/take.wav", 0},
        {"/audio/a.wav", "/audio/b.wav", -1},
        {"/audio/B.wav", "/audio/a.wav", 1},
        {"/audio/", "/AUDIO/", 0},
        {"/x/../audio//take.wav", "/AUDIO/take.wav", 0},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.a << " vs " << c.b);
        Sys_FileLoc const a{std::string(c.a)}, b{std::string(c.b)};
        EXPECT_EQ(a == b, c.order == 0);
        EXPECT_EQ(a != b, c.order != 0);
        EXPECT_EQ(a < b, c.order < 0);
        EXPECT_EQ(b<a, c.order> 0);
    }
}

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
}

TEST_F(SysFileLocTest, ALocationKeepsTheExtensionItFoundFirst)
{
    Sys_FileLoc const early(Dir() + "take.h3late");
    EXPECT_EQ(early.GetExtension(), "");
    std::vector<Sys_FileType> types = {Sys_FileType("h3late")};
    std::vector<std::string> descriptions = {"Registered late"};
    Sys_Utils::RegisterKnownTypes(types, descriptions);
    EXPECT_EQ(early.GetExtension(), "");
    EXPECT_EQ(early.GetFileName(), "take.h3late");
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

TEST_F(SysFileLocTest, PrintShowsTheChainUpToTheRoot)
{
    std::ostringstream out;
    Sys_FileLoc(Dir() + "take.wav").Print(out);
    std::string const text = out.str();
    EXPECT_EQ(text.rfind("Full Path: " + Dir() + "take.wav\n", 0), 0u) << text;
    EXPECT_NE(text.find("File Name: take\nExtension: wav\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nParent Folder: \nFull Path: " + Dir() + "\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Volume Name: "), std::string::npos);
}

TEST_F(SysFileLocTest, EmptyLocationsAndRelativePathsAreAssertions)
{
    EXPECT_THROW(Sys_FileLoc(std::string("relative/take.wav")).GetFullPath(), std::runtime_error);
    Sys_FileLoc const empty;
    EXPECT_FALSE(empty);
    EXPECT_THROW(empty.GetFullPath(), std::runtime_error);
    EXPECT_THROW(Sys_FileLoc copy(empty), std::runtime_error);
    Sys_FileLoc target(std::string("/x"));
    EXPECT_THROW(target = empty, std::runtime_error);
}

} // namespace
