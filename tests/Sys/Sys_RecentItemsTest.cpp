// The recent files and folders: their file format, limits and order, the
// write that never loses the old list.
#include "Sys/Sys_RecentItems.h"
#include "Sys/Posix/Sys_FilePosix.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileDialog.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_RecentItemsList.h"
#include "Sys/Sys_Utils.h"
#include "Sys_FileTestSupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
std::string Bytes(std::string const& path)
{
    std::vector<std::uint8_t> const b = vfltest::ReadWholeFile(path);
    return std::string(b.begin(), b.end());
}

std::vector<std::string> Paths(std::vector<Sys_RecentItem> const& items)
{
    std::vector<std::string> paths;
    for (Sys_RecentItem const& i : items)
        paths.push_back(i.mPath);
    return paths;
}

std::string Numbered(int n)
{
    return "/takes/take" + std::to_string(n) + ".wav";
}

// Numbered(0) to Numbered(count - 1), each ended by a zero byte but
// perhaps the last.
std::string NumberedList(int count, bool lastEnded)
{
    std::string list;
    for (int i = 0; i < count; ++i)
        list += Numbered(i) + std::string(1, '\0');
    return lastEnded ? list : list.substr(0, list.size() - 1);
}

class SysRecentItemsTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        vfltest::SysFolderTest::SetUp();
        setenv("XDG_DATA_HOME", Dir().c_str(), 1);
    }
    std::string ListFile(char const* name) const { return Dir() + "Zenthar/" + name; }
};
} // namespace

// A list file read back keeps its order up to the list's capacity; an
// item added goes in front, an existing one (in any case) moves there, and
// over the capacity the oldest goes.
TEST_F(SysRecentItemsTest, ListsKeepTheirOrderUpToTheirCapacity)
{
    struct Case
    {
        char const* what;
        int32 capacity;
        std::string bytes;              // what printf '%s\0' ... would have written
        std::vector<std::string> added; // oldest first
        std::vector<std::string> list;  // newest first
    };
    std::vector<Case> const cases = {
        {"empty file", 500, "", {}, {}},
        {"each path ended by a zero byte",
         500,
         std::string("/a/x.wav\0/b/y.wav\0/c/\0", 22),
         {},
         {"/a/x.wav", "/b/y.wav", "/c/"}},
        {"last one unterminated", 500, std::string("/a/x.wav\0/b/y", 13), {}, {"/a/x.wav", "/b/y"}},
        {"two zero bytes make an empty entry", 500, std::string("/a\0\0/b\0", 6), {}, {"/a", "", "/b"}},
        {"read beyond the capacity",
         5,
         NumberedList(6, false),
         {},
         {Numbered(0), Numbered(1), Numbered(2), Numbered(3), Numbered(4)}},
        {"new ones go in front", 50, "", {"/a/", "/b/"}, {"/b/", "/a/"}},
        {"an existing one moves to the front", 50, "", {"/a/", "/b/", "/c/", "/a/"}, {"/a/", "/c/", "/b/"}},
        {"the same place in another case", 50, "", {"/Takes/", "/b/", "/takes/"}, {"/takes/", "/b/"}},
        {"over the capacity the oldest goes", 2, "", {"/a/", "/b/", "/c/"}, {"/c/", "/b/"}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        Sys_RecentItemsList list(c.capacity);
        list.Parse(c.bytes);
        for (std::string const& path : c.added)
            list.Add(Sys_RecentItem(path));
        EXPECT_EQ(Paths(list.GetItems()), c.list);
    }
    // At the real capacities: the 501st file and the 51st folder.
    for (int32 const capacity : {Sys_RecentItems::kMaxRecentFiles, Sys_RecentItems::kMaxRecentFolders})
    {
        Sys_RecentItemsList list(capacity);
        for (int i = 0; i <= capacity; ++i)
            list.Add(Sys_RecentItem(Numbered(i)));
        ASSERT_EQ(list.GetItems().size(), static_cast<std::size_t>(capacity));
        EXPECT_EQ(list.GetItems().front().mPath, Numbered(capacity));
        EXPECT_EQ(list.GetItems().back().mPath, Numbered(1));
    }
}

TEST_F(SysRecentItemsTest, SixHundredStoredLoadFiveHundredAndWriteBackFiveHundred)
{
    std::filesystem::create_directories(Dir() + "Zenthar");
    std::string const stored = NumberedList(600, false);
    vfltest::WriteWholeFile(ListFile("Recent Files"), std::vector<std::uint8_t>(stored.begin(), stored.end()));
    // The folders' list written as a shell writes one.
    ASSERT_EQ(vfltest::RunCommand("printf '%s\\0' /a/ '/b c/' > '" + ListFile("Recent Folders") + "'"), 0);

    Sys_RecentItems::InitializeRecentItemsLists();
    Sys_RecentItems::ReadRecentFoldersAndFiles();
    EXPECT_EQ(Sys_RecentItems::GetRecentFiles().size(), 500u);
    EXPECT_EQ(Paths(Sys_RecentItems::GetRecentFolders()), (std::vector<std::string>{"/a/", "/b c/"}));
    Sys_RecentItems::WriteRecentFoldersAndFiles();
    EXPECT_EQ(Bytes(ListFile("Recent Files")), NumberedList(500, true));
    EXPECT_EQ(Bytes(ListFile("Recent Folders")), std::string("/a/\0/b c/\0", 10));
    // Nothing left beside them.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Dir() + "Zenthar"), {}), 2);

    // Absent lists are empty lists, quietly.
    std::filesystem::remove_all(Dir() + "Zenthar");
    Sys_RecentItems::ReadRecentFoldersAndFiles();
    EXPECT_TRUE(Sys_RecentItems::GetRecentFiles().empty());
    EXPECT_TRUE(Sys_RecentItems::GetRecentFolders().empty());
}

namespace
{
// Dies, as a crash or a power cut would, half-way through its first write.
class DyingFile : public Sys_FilePosix
{
public:
    using Sys_FilePosix::Sys_FilePosix;
    int64 Write(void const* buffer, int64 count) override
    {
        Sys_FilePosix::Write(buffer, count / 2);
        std::raise(SIGKILL);
        return 0;
    }
};
} // namespace

TEST_F(SysRecentItemsTest, AKillDuringAWriteLeavesTheOldListWholeAndAFailedWriteNothing)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    std::string const file = Dir() + "Recent Files";
    std::string const old("/old/one.wav\0/old/two.wav\0", 26);
    vfltest::WriteWholeFile(file, std::vector<std::uint8_t>(old.begin(), old.end()));
    EXPECT_EXIT(
        {
            Sys_Init::Init();
            Sys_File::SetCreateMethod([](Sys_FileLoc const& loc) -> Sys_FileImpl* { return new DyingFile(loc); });
            Sys_RecentItemsList list(500);
            for (int i = 0; i < 100; ++i)
                list.Add(Sys_RecentItem(Numbered(i)));
            list.Write(Sys_FileLoc(file));
            std::_Exit(0);
        },
        testing::KilledBySignal(SIGKILL), "");
    EXPECT_EQ(Bytes(file), old);

    // A write that fails throws and leaves nothing behind.
    Sys_RecentItemsList list(500);
    list.Add(Sys_RecentItem("/a.wav"));
    EXPECT_ANY_THROW(list.Write(Sys_FileLoc(Dir() + "no such folder/Recent Files")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Dir()), {}), 1);
}

namespace
{
std::string sOffered;
int sRuns = 0;
bool ChooseFirst(Sys_FileDialog::EChooser, std::string const&, std::vector<Sys_FileType> const&, std::string const&,
                 std::string const&, std::string const& name, void*, std::vector<std::string>* paths)
{
    ++sRuns;
    sOffered = name;
    paths->push_back("/chosen/" + (name.empty() ? std::string("x.wav") : name));
    return true;
}
} // namespace

TEST(SysFileDialogTest, TheFrontOffersANameAndRunsWithoutAResult)
{
    Sys_Init::Init();
    Sys_FileDialog::SetChooseMethod(&ChooseFirst);
    struct Case
    {
        char const* what;
        std::string* defaultName;
        bool wantResult;
        std::string offered;
    };
    std::string named = "take.wav", empty;
    Case const cases[] = {
        {"no default name", nullptr, true, "untitled"},
        {"an empty default name", &empty, true, "untitled"},
        {"a default name", &named, true, "take.wav"},
        {"no result wanted", &named, false, "take.wav"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        sRuns = 0;
        Sys_FileLoc result;
        EXPECT_TRUE(Sys_FileDialog::GetNewFileFromUser(c.wantResult ? &result : nullptr, "Save", c.defaultName, nullptr,
                                                       nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(sRuns, 1);
        EXPECT_EQ(sOffered, c.offered);
        if (c.wantResult)
        {
            EXPECT_EQ(result.GetFullPath(), "/chosen/" + c.offered);
        }
    }
    Sys_FileDialog::SetChooseMethod(nullptr);
}
