// vfl overview of every channel: as numbers, and as a picture with a lane
// for each channel.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

using vfltest::RunCommand;

namespace
{
class VflOverview : public vfltest::ToolTest
{
protected:
    VflOverview() : ToolTest({"sox", "ffmpeg"}) {}
    void SetUp() override
    {
        ToolTest::SetUp();
        if (IsSkipped())
            return;
        // Silence on the left, a loud tone on the right.
        Out("sox -n -r 44100 -c 2 -b 16 " + F("lr.wav") + " synth 3 sine 440 sine 220 remix 0 2 gain -1");
    }
};

TEST_F(VflOverview, EveryChannelOrOne)
{
    std::size_t const intervals = (3 * 44100 + 999) / 1000;
    struct
    {
        char const* options;
        int numbersPerLine;
        bool firstIsSilent;
    } const cases[] = {{"", 4, true}, {"--channel 1", 2, true}, {"--channel 2", 2, false}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.options);
        std::istringstream text(Out(Vfl("overview --spi 1000 " + std::string(c.options) + " " + F("lr.wav"))));
        std::size_t lines = 0;
        for (std::string line; std::getline(text, line); ++lines)
        {
            std::istringstream numbers(line);
            std::vector<int> v;
            for (int x; numbers >> x;)
                v.push_back(x);
            ASSERT_EQ(v.size(), static_cast<std::size_t>(c.numbersPerLine)) << line;
            if (c.firstIsSilent)
            {
                EXPECT_TRUE(v[0] == 0 && v[1] == 0) << line;
            }
            int const loud = c.firstIsSilent ? (v.size() > 2 ? 2 : -1) : 0;
            if (loud >= 0)
            {
                EXPECT_TRUE(v[static_cast<std::size_t>(loud)] > 100 && v[static_cast<std::size_t>(loud) + 1] < -100)
                    << line;
            }
        }
        EXPECT_EQ(lines, intervals);
    }
    std::string const json = Out(Vfl("overview --spi 1000 --json " + F("lr.wav")));
    EXPECT_TRUE(std::regex_search(json, std::regex("\"channel\":1,\"name\":\"left\",\"pairs\":\\[\\[0,0\\]"))) << json;
    EXPECT_TRUE(std::regex_search(json, std::regex("\"channel\":2,\"name\":\"right\",\"pairs\":\\[\\[1[0-9]{2},-1")))
        << json.substr(0, 400);
    // A channel the file does not have is a usage error.
    EXPECT_EQ(RunCommand(Vfl("overview --channel 3 " + F("lr.wav") + " 2>/dev/null")), 2);
}

TEST_F(VflOverview, APictureWithALaneForEachChannel)
{
    struct
    {
        int width, height;
    } const sizes[] = {{1200, 310}, {400, 120}};
    for (auto const& size : sizes)
    {
        SCOPED_TRACE(size.width);
        std::string const png = F("lr.png");
        Out(Vfl("overview " + F("lr.wav") + " --png " + png + " --width " + std::to_string(size.width) + " --height " +
                std::to_string(size.height)));
        std::string const rgb = Out("ffmpeg -v error -i " + png + " -f rawvideo -pix_fmt rgb24 -");
        ASSERT_EQ(rgb.size(), static_cast<std::size_t>(size.width * size.height * 3));
        // The wave's colour in the upper (silent) half is the centre line
        // at most; the lower half is full of it.
        auto waveIn = [&](int y0, int y1)
        {
            int n = 0;
            for (int y = y0; y < y1; ++y)
                for (int x = 0; x < size.width; ++x)
                {
                    auto const* p = reinterpret_cast<unsigned char const*>(rgb.data()) + (y * size.width + x) * 3;
                    n += p[0] == 34 && p[1] == 87 && p[2] == 160;
                }
            return n;
        };
        EXPECT_LE(waveIn(0, size.height / 2), size.width);
        EXPECT_GT(waveIn(0, size.height / 2), size.width / 2);
        EXPECT_GT(waveIn(size.height / 2, size.height), 20 * size.width / 2);
    }
    // To standard output as well.
    EXPECT_EQ(Out(Vfl("overview " + F("lr.wav") + " --png -")).substr(1, 3), "PNG");
}
} // namespace
