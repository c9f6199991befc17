#include "FF/FF_AudioProcessInterleave.h"

#include <gtest/gtest.h>

#include <string>

// Every width and every count around the vector steps: split and joined
// bytes are those of the plain per-sample copy, and nothing beyond the
// frames or the channels is touched.
TEST(FF_AudioProcessInterleave, SplitAndJoinMoveEveryByteToItsPlaceAndNoFurther)
{
    for (i32 bytes : {1, 2, 3})
        for (i64 count = 0; count <= 40; ++count)
        {
            SCOPED_TRACE(testing::Message() << bytes << " bytes, " << count << " frames");
            std::size_t const side = static_cast<std::size_t>(count * bytes);
            std::string frames(2 * side, '\0');
            for (std::size_t k = 0; k < frames.size(); ++k)
                frames[k] = static_cast<char>(k * 37 + 11);
            std::string expectLeft, expectRight;
            for (i64 i = 0; i < count; ++i)
            {
                expectLeft += frames.substr(static_cast<std::size_t>(2 * i * bytes), static_cast<std::size_t>(bytes));
                expectRight +=
                    frames.substr(static_cast<std::size_t>((2 * i + 1) * bytes), static_cast<std::size_t>(bytes));
            }
            // A guard of 32 bytes after each buffer must stay as it was.
            std::string const guard(32, '\x5a');
            std::string left(side, '\0'), right(side, '\0');
            left += guard;
            right += guard;
            FF_DeinterleaveStereo(frames.data(), left.data(), right.data(), count, bytes);
            EXPECT_EQ(left, expectLeft + guard);
            EXPECT_EQ(right, expectRight + guard);

            std::string joined(2 * side, '\0');
            joined += guard;
            FF_InterleaveStereo(expectLeft.data(), expectRight.data(), joined.data(), count, bytes);
            EXPECT_EQ(joined, frames + guard);
        }
}
