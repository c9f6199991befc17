// vfl info against soxi, field by field, and the JSON fields scripts read.
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
    void SetUp() override
    {
        if (auto const missing = Missing({"sox", "soxi"}); !missing.empty())
            GTEST_SKIP() << missing << " is needed";
    }
};

TEST_F(VflInfo, SingleFieldsAgreeWithSoxi)
{
    struct
    {
        char const* name;
        char const* sox; // what sox makes it from
    } const files[] = {
        {"u8.wav", "-r 8000 -c 1 -b 8 -e unsigned"},
        {"s16.wav", "-r 44100 -c 2 -b 16"},
        {"s24x6.wav", "-r 48000 -c 6 -b 24 -t wavpcm"},
        {"odd.wav", "-r 22050 -c 1 -b 16"},
        {"s16.aif", "-r 32000 -c 2 -b 16"},
        {"s24.aifc", "-r 96000 -c 1 -b 24"},
    };
    for (auto const& f : files)
    {
        SCOPED_TRACE(f.name);
        std::string const path = mDir.File(f.name);
        Out(std::string("sox -n ") + f.sox + " " + path + " synth 0.123457 sine 440");
        for (char const* field : {"-r", "-c", "-b", "-s", "-D", "-t"})
        {
            SCOPED_TRACE(field);
            EXPECT_EQ(Out(vfltest::ToolPath() + " info " + field + " " + path),
                      Out(std::string("soxi ") + field + " " + path));
        }
        // Several fields at once print in the order asked for.
        EXPECT_EQ(Out(vfltest::ToolPath() + " info -t -s " + path), Out("soxi -t " + path) + Out("soxi -s " + path));
    }
}

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
