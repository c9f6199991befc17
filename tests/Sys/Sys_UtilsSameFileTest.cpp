// Whether two locations reach one file: by the file itself where it exists,
// by the place it would be made where it does not.
#include "Sys/Sys_Utils.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "Sys/Sys_FileLoc.h"
#include "Sys_FileTestSupport.h"

namespace
{
namespace fs = std::filesystem;

using SysUtilsSameFileTest = vfltest::SysFolderTest;

TEST_F(SysUtilsSameFileTest, SpellingsLinksAndFilesNotMadeYet)
{
    std::string const d = Dir();
    vfltest::WriteWholeFile(d + "a.wav", {1});
    vfltest::WriteWholeFile(d + "A.wav", {2});
    vfltest::WriteWholeFile(d + "other.wav", {1});
    fs::create_directory(d + "sub");
    fs::create_symlink(d + "a.wav", d + "link.wav");
    fs::create_hard_link(d + "a.wav", d + "hard.wav");
    fs::create_symlink(d + "sub", d + "sublink");
    fs::create_symlink(d + "new.wav", d + "dangling.wav");
    struct
    {
        char const *a, *b;
        bool same;
    } const cases[] = {
        {"a.wav", "a.wav", true},
        {"a.wav", "sub/../a.wav", true},
        {"a.wav", "link.wav", true},
        {"a.wav", "hard.wav", true},
        {"a.wav", "A.wav", false}, // two files on a file system that tells case
        {"a.wav", "other.wav", false},
        {"a.wav", "missing.wav", false},
        {"new.wav", "new.wav", true},
        {"new.wav", "dangling.wav", true}, // writing through the link makes new.wav
        {"sub/x.wav", "sublink/x.wav", true},
        {"x.wav", "sub/x.wav", false},
        {"n.wav", "N.wav", false},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(std::string(c.a) + " and " + c.b);
        EXPECT_EQ(Sys_Utils::IsSameFile(Sys_FileLoc(d + c.a), Sys_FileLoc(d + c.b)), c.same);
        EXPECT_EQ(Sys_Utils::IsSameFile(Sys_FileLoc(d + c.b), Sys_FileLoc(d + c.a)), c.same);
    }
}
} // namespace
