// Names of new takes: shortened in their fixed order to fit the limit,
// numbered in front of the channel mark while taken, the same number for
// both files of a stereo pair, and whole UTF-8 characters in any script.
#include "FF/FF_AudioFileUtils.h"
#include "FF/FF_AudioProcessFileTestSupport.h"
#include "Sys/Sys_FileLoc.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

namespace
{
class FF_UniqueName : public ::testing::Test
{
protected:
    void SetUp() override { fffiles::InitFileTypes(); }
    // A fresh folder holding empty files of the given names.
    Sys_FileLoc Folder(std::string const& name, std::vector<std::string> const& files)
    {
        std::filesystem::create_directory(mDir.Path() / name);
        for (auto const& f : files)
            vfltest::WriteWholeFile(mDir.File(name + "/" + f), {});
        return Sys_FileLoc(mDir.File(name) + "/");
    }
    static std::string NameOf(Sys_FileLoc const& loc)
    {
        return std::filesystem::path(loc.GetFullPath()).filename().string();
    }
    vfltest::TempDir mDir;
};

// Mono names are shortened and numbered; a stereo pair (its right name the
// left one's with .R) shares its number and shortens to make room for it.
TEST_F(FF_UniqueName, NamesAreShortenedAndNumbered)
{
    struct Case
    {
        bool stereo;
        char const* name;
        char const* extension;
        int32 max;
        std::vector<std::string> existing;
        char const* expected; // of a pair, the left
    } const cases[] = {
        {false, "Take 1.L", "", 255, {}, "Take 1.L"},
        {false, "Take 1.L", "", 255, {"Take 1.L"}, "Take 1-1.L"},
        {false, "Guitar Solo", "", 9, {}, "GuitarSol"},
        {false, "Guitar Solo", "", 6, {}, "GutrSl"},
        {false, "Guitar Solo", "", 4, {}, "GtrS"},
        {false, "Guitar Solo", "wav", 13, {}, "GuitarSol.wav"},
        {false, "Guitar Solo", "wav", 13, {"GuitarSol.wav"}, "GuitrSl-1.wav"},
        {false, "Mix #2, final-cut.R", "wav", 15, {}, "Mx#2fnlct.R.wav"},
        {false, "Mix #2, final-cut", "wav", 11, {}, "Mx2fnlc.wav"},
        {false, "ABC123XYZ", "", 5, {}, "ABC12"},
        {false, "Take 1.L", "wav", 3, {}, "Take 1.L.wav"}, // no room for a name at all: left whole
        {false, "Take", "wav", 255, {"Take.wav", "Take-1.wav", "Take-2.wav"}, "Take-3.wav"},
        {false, "Take", "wav", 255, {"take.wav", "TAKE.wav"}, "Take.wav"}, // names on disk differ in case
        {false, "Take", "wav", 255, {"Take.L.wav"}, "Take.wav"},
        {false, "Bass", "wav", 9, {"Bass.wav", "Bss-1.wav"}, "Bss-2.wav"}, // shortened anew for each number
        {true, "Take", "wav", 255, {}, "Take.L.wav"},
        {true, "Take.R", "wav", 255, {}, "Take.L.wav"},
        {true, "Take", "wav", 255, {"Take.R.wav"}, "Take-1.L.wav"},
        {true, "Take", "wav", 255, {"Take.L.wav"}, "Take-1.L.wav"},
        {true, "Take", "wav", 255, {"Take.L.wav", "Take.R.wav", "Take-1.R.wav", "Take-2.L.wav"}, "Take-3.L.wav"},
        {true, "Take", "wav", 255, {"take.L.wav", "Take.l.wav"}, "Take.L.wav"},
        {true, "Guitar Solo", "wav", 12, {}, "GutrSl.L.wav"},
        {true, "Guitar Solo", "wav", 12, {"GutrSl.R.wav"}, "GtrS-1.L.wav"},
    };
    int n = 0;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(::testing::Message()
                     << (c.stereo ? "pair " : "") << c.name << " in " << c.max << " beside " << c.existing.size());
        Sys_FileLoc const folder = Folder("f" + std::to_string(n++), c.existing);
        Sys_FileLoc left, right;
        if (c.stereo)
            FF_AudioFileUtils::GetUniqueStereoAudioFileLocs(folder, c.name, c.extension, &left, &right, c.max);
        else
            FF_AudioFileUtils::GetUniqueMonoAudioFileLoc(folder, c.name, c.extension, &left, c.max);
        EXPECT_EQ(NameOf(left), c.expected);
        EXPECT_EQ(left.GetParentFolder(), folder);
        if (c.stereo)
        {
            EXPECT_EQ(NameOf(right), std::string(c.expected).replace(std::string(c.expected).size() - 5, 1, "R"));
        }
    }
}

// Strict UTF-8: no stray continuation, no overlong form, no surrogate.
bool IsValidUtf8(std::string const& s)
{
    for (std::size_t i = 0; i < s.size();)
    {
        auto const b = static_cast<unsigned char>(s[i]);
        std::size_t const n = b < 0x80                ? 1
                              : b >= 0xC2 && b < 0xE0 ? 2
                              : b >= 0xE0 && b < 0xF0 ? 3
                              : b >= 0xF0 && b < 0xF5 ? 4
                                                      : 0;
        if (n == 0 || i + n > s.size())
            return false;
        char32_t cp = n == 1 ? b : b & (0x7F >> n);
        for (std::size_t k = 1; k < n; ++k)
        {
            auto const c = static_cast<unsigned char>(s[i + k]);
            if ((c & 0xC0) != 0x80)
                return false;
            cp = (cp << 6) | (c & 0x3F);
        }
        if ((n == 3 && (cp < 0x800 || (cp >= 0xD800 && cp < 0xE000))) || (n == 4 && (cp < 0x10000 || cp > 0x10FFFF)))
            return false;
        i += n;
    }
    return true;
}

std::string Utf8(char32_t cp)
{
    if (cp < 0x80)
        return std::string(1, static_cast<char>(cp));
    std::size_t const n = cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
    std::string out(n, '\0');
    for (std::size_t k = n - 1; k > 0; --k, cp >>= 6)
        out[k] = static_cast<char>(0x80 | (cp & 0x3F));
    out[0] = static_cast<char>((0xF00 >> n) | cp); // 110, 1110 or 11110 in front
    return out;
}

TEST_F(FF_UniqueName, NamesInAnyScriptStayValidAndWithinTheLimit)
{
    // Ranges of letters of ten scripts, from two to four bytes each.
    struct Script
    {
        char const* name;
        char32_t first, last;
    } const scripts[] = {
        {"Latin accented", 0xC0, 0xFF}, {"Greek", 0x3B1, 0x3C9},      {"Cyrillic", 0x430, 0x44F},
        {"Hebrew", 0x5D0, 0x5EA},       {"Arabic", 0x627, 0x64A},     {"Devanagari", 0x915, 0x939},
        {"Han", 0x4E00, 0x4FFF},        {"Hiragana", 0x3041, 0x3096}, {"Hangul", 0xAC00, 0xAD00},
        {"Emoji", 0x1F600, 0x1F64F},
    };
    std::mt19937 random(14);
    Sys_FileLoc const folder = Folder("utf8", {});
    for (auto const& script : scripts)
    {
        SCOPED_TRACE(script.name);
        for (int i = 0; i < 1000; ++i)
        {
            // Letters of the script mixed with spaces, ASCII letters and digits.
            std::string name;
            int const length = std::uniform_int_distribution<int>(1, 30)(random);
            for (int k = 0; k < length; ++k)
            {
                int const kind = std::uniform_int_distribution<int>(0, 9)(random);
                char32_t const cp = kind < 6
                                        ? std::uniform_int_distribution<char32_t>(script.first, script.last)(random)
                                    : kind < 7 ? U' '
                                    : kind < 9 ? std::uniform_int_distribution<char32_t>(U'a', U'z')(random)
                                               : std::uniform_int_distribution<char32_t>(U'0', U'9')(random);
                name += Utf8(cp);
            }
            // Room at least for the extension and the first character.
            int32 const max = std::uniform_int_distribution<int32>(8, 60)(random);
            Sys_FileLoc result;
            FF_AudioFileUtils::GetUniqueMonoAudioFileLoc(folder, name, "wav", &result, max);
            std::string const got = NameOf(result);
            ASSERT_TRUE(IsValidUtf8(got)) << name << " -> " << got;
            ASSERT_LE(got.size(), static_cast<std::size_t>(max)) << name << " -> " << got;
            std::string const stem = got.substr(0, got.size() - 4);
            // What is left is the name with characters taken out, never the first.
            std::size_t first = 1;
            while (first < name.size() && (static_cast<unsigned char>(name[first]) & 0xC0) == 0x80)
                ++first;
            ASSERT_EQ(stem.compare(0, first, name, 0, first), 0) << name << " -> " << got;
            std::size_t at = 0;
            for (char const ch : stem)
            {
                at = name.find(ch, at);
                ASSERT_NE(at, std::string::npos) << name << " -> " << got;
                ++at;
            }
            if (name.size() + 4 <= static_cast<std::size_t>(max))
            {
                EXPECT_EQ(stem, name);
            }
        }
    }
}
} // namespace
