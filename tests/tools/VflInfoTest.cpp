// vfl info: the JSON fields scripts read, and the Finder codes of a file.
// (Its fields against soxi are VflRead's.)
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <regex>

using vfltest::RunCommand;

namespace
{
class VflInfo : public vfltest::ToolTest
{
protected:
    VflInfo() : ToolTest({"sox", "soxi"}) {}
};

TEST_F(VflInfo, JsonCarriesTheNameAsTypedAndTheRevisionAsAString)
{
    Out("sox -n -r 44100 -c 2 -b 16 " + mDir.File("a.wav") + " synth 1.5 sine 440");
    Out(vfltest::ToolPath() + " adopt " + mDir.File("a.wav"));
    std::string const json = Out("cd " + mDir.Path().string() + " && " + vfltest::ToolPath() + " info --json ./a.wav");
    EXPECT_NE(json.find("{\"path\":\"./a.wav\","), std::string::npos) << json;
    EXPECT_TRUE(std::regex_search(json, std::regex("\"revision\":\"[0-9]+\""))) << json;
    EXPECT_NE(json.find("\"durationText\":\"0:00:01.500\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"bitRate\":1411200"), std::string::npos) << json;
    std::string size = Out("stat -c %s " + mDir.File("a.wav"));
    size.pop_back();
    EXPECT_NE(json.find("\"fileSize\":" + size + ","), std::string::npos) << json;
    std::string const text = Out(vfltest::ToolPath() + " info " + mDir.File("a.wav"));
    EXPECT_NE(text.find("duration: 0:00:01.500 (66150 frames)"), std::string::npos) << text;
}
} // namespace

namespace
{
// An AppleDouble "._NAME" file with only Finder info: what macOS writes
// beside a file on a volume that keeps none.
std::string SidecarWith(std::string const& typeAndCreator)
{
    std::string b("\x00\x05\x16\x07\x00\x02\x00\x00", 8);
    b.append(16, '\0');
    b += std::string("\x00\x01", 2) + std::string("\x00\x00\x00\x09\x00\x00\x00\x26\x00\x00\x00\x20", 12);
    return b + typeAndCreator + std::string(24, '\0');
}

TEST_F(VflInfo, FinderCodesAreShownWhereAFileHasThemAndNeverWritten)
{
    struct Case
    {
        char const* name;
        std::string codes; // the sidecar's type and creator; empty: no sidecar
        char const* text;  // the lines info prints, empty for none
        char const* json;
    };
    Case const cases[] = {
        {"take.wav", "WAVENuvo", "  Finder type: WAVE\n  Finder creator: Nuvo\n",
         "\"finderType\":\"WAVE\",\"finderCreator\":\"Nuvo\""},
        {"notes.txt", std::string("\x80TXT\x01R*t", 8), "  Finder type: \xC3\x84TXT\n  Finder creator: \\x01R*t\n",
         "\"finderType\":\"\xC3\x84TXT\",\"finderCreator\":\"\\\\x01R*t\""},
        {"plain.wav", "", "", ""},
    };
    Out("sox -n -r 8000 -c 1 -b 16 " + F("take.wav") + " synth 0.01 sine 440");
    Out("cp " + F("take.wav") + " " + F("plain.wav"));
    vfltest::WriteWholeFile(F("notes.txt"), {'h', 'i'});
    for (Case const& c : cases)
        if (!c.codes.empty())
            vfltest::WriteWholeFile(F(std::string("._") + c.name),
                                    [&]
                                    {
                                        std::string const s = SidecarWith(c.codes);
                                        return std::vector<std::uint8_t>(s.begin(), s.end());
                                    }());
    std::string const before = Out("ls -lA --time-style=full-iso " + mDir.Path().string());
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const text = Out(Vfl("info ") + F(c.name) + " 2>/dev/null", c.name[0] == 'n' ? 1 : 0);
        std::string const json = Out(Vfl("info --json ") + F(c.name) + " 2>/dev/null", c.name[0] == 'n' ? 1 : 0);
        if (*c.text)
        {
            EXPECT_NE(text.find(c.text), std::string::npos) << text;
            EXPECT_NE(json.find(c.json), std::string::npos) << json;
        }
        else
        {
            EXPECT_EQ(text.find("Finder"), std::string::npos) << text;
            EXPECT_EQ(json.find("finder"), std::string::npos) << json;
        }
    }
    EXPECT_EQ(Out("ls -lA --time-style=full-iso " + mDir.Path().string()), before);
}
} // namespace
