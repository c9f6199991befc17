#include "FF/FF_AudioProcessSplitter.h"

#include "FF/FF_AudioProcessTestBlocks.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace ffproc;

TEST(FF_AudioProcessSplitter, MonoBecomesTwoEqualChannels)
{
    for (int bits : {8, 16, 24, 32})
    {
        SCOPED_TRACE(bits);
        Channels const input = SineRamp(1, 1000, bits, 1.0);
        FF_AudioProcessSplitter stage;
        RunResult r = RunStage(stage, input, 48000, bits, 300);
        ASSERT_EQ(r.out.size(), 2u);
        EXPECT_EQ(r.out[0], input[0]);
        EXPECT_EQ(r.out[1], input[0]);
        EXPECT_EQ(r.last.GetNumChannels(), 2);
    }
}

TEST(FF_AudioProcessSplitter, MoreThanOneChannelIsAnAssertion)
{
    FF_AudioProcessSplitter stage;
    FF_AudioProcessBlock proto = Prototype(2, 48000, 16, 64, 64);
    EXPECT_THROW(stage.Preflight(&proto), std::runtime_error);
    FF_AudioProcessBlock in(proto);
    FF_AudioProcessBlock out(proto);
    EXPECT_THROW(stage.Process(&in, &out), std::runtime_error);
}
