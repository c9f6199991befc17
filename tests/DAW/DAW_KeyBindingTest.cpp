// How one key event becomes at most one command call.
#include "DAW/DAW_KeyBinding.h"
#include "DAW/DAW_Command.h"
#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_KeyContextRegistry.h"
#include "DAW/DAW_KeyboardInputContext.h"
#include "DAW/DAW_TestSupport.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace
{
using vfltest::BindingOf;
using vfltest::KeyOf;
using vfltest::LoggingCommand;
using M = DAW_EventModifiers;

class KeyResolution : public testing::Test
{
protected:
    void SetUp() override
    {
        // Space: exact shift-down binding, then a don't-care one; it also
        // takes repeats.
        mMap.AddKeyBinding(BindingOf("shift+Space repeat", &mShifted));
        mMap.AddKeyBinding(BindingOf("shift?+Space repeat", &mPlay));
        // A: don't-care first, so the exact one after it is never reached.
        mMap.AddKeyBinding(BindingOf("shift?+A", &mPlay));
        mMap.AddKeyBinding(BindingOf("shift+A", &mShifted));
        // B: the left button must be held.
        mMap.AddKeyBinding(BindingOf("left+B", &mPlay));
        // C: a start and end command; D disabled; E without a command.
        mMap.AddKeyBinding(BindingOf("C", &mScrub));
        mMap.AddKeyBinding(BindingOf("D", &mDisabled));
        mMap.AddKeyBinding(BindingOf("E", nullptr));
        mDisabled.mEnabled = false;
        mContext.SetKeyBindingMap(&mMap);
    }
    void TearDown() override { DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(nullptr); }

    bool Handle(std::string const& key)
    {
        DAW_KeyBindingText::Binding b = KeyOf(key);
        Cmn_RefCountPtr<DAW_KeyboardState> state = DAW_KeyboardState::New(DAW_KeyStateArray{}, kDAW_KeyStateMacBitMap);
        return DAW_KeyboardInputContext::HandleKeyEvent(b.mKeyEvent, b.mModifiers, state);
    }
    Cmn_RefCountPtr<DAW_KeyBinding> Find(std::string const& key)
    {
        return mMap.FindMatchingKeyBinding(KeyOf(key).mKeyEvent, KeyOf(key).mModifiers);
    }

    std::vector<std::string> mLog;
    LoggingCommand mPlay{"play", 1, 0, kDAW_CommandOneShot, &mLog};
    LoggingCommand mShifted{"shifted", 2, 0, kDAW_CommandOneShot, &mLog};
    LoggingCommand mScrub{"scrub", 3, 0, kDAW_CommandStartAndEnd, &mLog};
    LoggingCommand mDisabled{"disabled", 4, 0, kDAW_CommandOneShot, &mLog};
    DAW_KeyBindingMap mMap;
    DAW_KeyboardInputContext mContext{7, "edit"};
};
} // namespace

TEST_F(KeyResolution, TruthTableAndNoContextOrNoMap)
{
    EXPECT_FALSE(Handle("Space"));
    DAW_KeyboardInputContext bare(8, "bare");
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(&bare);
    EXPECT_FALSE(Handle("Space"));
    EXPECT_TRUE(mLog.empty());
    EXPECT_EQ(DAW_KeyboardInputContext::GetCurrentKeyboardInputContext(), &bare);

    using Log = std::vector<std::string>;
    struct Case
    {
        char const* what;
        char const* key;
        bool consumed;
        Log calls;
    } const cases[] = {
        {"exact binding added first", "shift+Space", true, {"shifted.can0", "shifted.do"}},
        {"don't care takes shift up", "Space", true, {"play.can0", "play.do"}},
        {"don't care added first shadows", "shift+A", true, {"play.can0", "play.do"}},
        {"text plays no part", "A x", true, {"play.can0", "play.do"}},
        {"other key state takes no part", "command+A", false, {}},
        {"left button binding without the button", "B", false, {}},
        {"left button binding with it", "left+B", true, {"play.can0", "play.do"}},
        {"unbound key", "F", false, {}},
        {"unmarked repeat swallowed", "A repeat", true, {"play.can0"}},
        {"marked repeat runs", "Space repeat", true, {"play.can0", "play.do"}},
        {"key up of a one-shot", "A up", true, {"play.can0"}},
        {"start on down", "C", true, {"scrub.can0", "scrub.start"}},
        {"end on up", "C up", true, {"scrub.can0", "scrub.end"}},
        {"unmarked repeat of a held command", "C repeat", true, {"scrub.can0"}},
        {"disabled command leaves the key", "D", false, {"disabled.can0"}},
        {"binding without a command", "E", false, {}},
    };
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(&mContext);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        mLog.clear();
        EXPECT_EQ(Handle(c.key), c.consumed);
        EXPECT_EQ(mLog, c.calls);
    }
}

TEST_F(KeyResolution, DeletingErasesTheFirstOfTheKey)
{
    // A binding never added, on a bound key: the key's first binding goes.
    mMap.DeleteKeyBinding(BindingOf("Space", &mScrub));
    EXPECT_EQ(Find("shift+Space")->GetCommand(), &mPlay);
    mMap.DeleteKeyBinding(BindingOf("Space", &mScrub));
    EXPECT_FALSE(Find("Space"));
    // An unbound key changes nothing.
    size_t const before = mMap.GetKeyMap()->size();
    mMap.DeleteKeyBinding(BindingOf("F", &mPlay));
    EXPECT_EQ(mMap.GetKeyMap()->size(), before);
    // Copies share the table.
    DAW_KeyBindingMap copy(mMap);
    copy.DeleteKeyBinding(BindingOf("B", nullptr));
    EXPECT_EQ(mMap.GetKeyMap()->size(), before - 1);
    DAW_KeyBindingMap empty;
    EXPECT_EQ(empty.GetKeyMap(), nullptr);
    EXPECT_FALSE(empty.FindMatchingKeyBinding(KeyOf("B").mKeyEvent, KeyOf("left+B").mModifiers));
    empty.DeleteKeyBinding(BindingOf("B", nullptr));
}

TEST(DAW_KeyContextRegistryTest, FirstContextUnderANumberStays)
{
    static DAW_KeyboardInputContext mixer(5001, "mixer"), again(5001, "again"), edit(5002, "edit");
    DAW_KeyContextRegistry::RegisterKeyContext(&mixer);
    DAW_KeyContextRegistry::RegisterKeyContext(&again);
    DAW_KeyContextRegistry::RegisterKeyContext(&edit);
    EXPECT_EQ(DAW_KeyContextRegistry::FindKeyContextByID(5001), &mixer);
    EXPECT_EQ(DAW_KeyContextRegistry::FindKeyContextByName("again"), nullptr);
    EXPECT_EQ(DAW_KeyContextRegistry::FindKeyContextByName("edit"), &edit);
    EXPECT_EQ(DAW_KeyContextRegistry::FindKeyContextByID(5003), nullptr);
}

TEST(DAW_KeyBindingMapTest, IndexAnswersAsTheWalkOfTheTable)
{
    // Modifier fields over every value, a few beyond the enumerations, and
    // key codes beyond the tables; the answer must be the first binding of
    // the key that operator== accepts, in the order of insertion.
    std::mt19937 random(27);
    int32 const keyValues[] = {0, 1, 2, 2, 3, -1};
    int32 const buttonValues[] = {0, 1, 0, 1, 2};
    auto const pick = [&random](auto const& values) { return values[random() % std::size(values)]; };
    auto const modifiers = [&]()
    {
        return M::New(DAW_EMenuCommandKeyState(pick(keyValues)), DAW_EAlternateKeyState(pick(keyValues)),
                      DAW_EMetaKeyState(pick(keyValues)), DAW_EShiftKeyState(pick(keyValues)),
                      DAW_ELeftMouseButtonState(pick(buttonValues)), DAW_EMiddleMouseButtonState(pick(buttonValues)),
                      DAW_ERightMouseButtonState(pick(buttonValues)));
    };
    DAW_EKeyCode const codes[] = {kDAW_KeyA, kDAW_KeyInvalid, DAW_EKeyCode(111), DAW_EKeyCode(112), DAW_EKeyCode(-5)};
    DAW_KeyBindingMap map;
    std::vector<Cmn_RefCountPtr<DAW_KeyBinding>> added;
    for (int round = 0; round < 4; ++round)
    {
        for (int i = 0; i < 300; ++i)
        {
            added.push_back(DAW_KeyBinding::New(DAW_KeyEvent::New(pick(codes)), modifiers(), nullptr));
            map.AddKeyBinding(added.back());
        }
        if (round == 2)
            map.DeleteKeyBinding(added.front());
        if (round == 3)
            map.GetKeyMap()->erase(map.GetKeyMap()->begin());
        // The table as it stands, read once: the finds then use one index.
        std::vector<std::pair<DAW_EKeyCode, Cmn_RefCountPtr<DAW_KeyBinding>>> table;
        for (auto const& [key, binding] : *map.GetKeyMap())
            table.emplace_back(key->GetKeyCode(), binding);
        for (int i = 0; i < 2000; ++i)
        {
            auto const event = DAW_KeyEvent::New(pick(codes));
            auto const m = modifiers();
            Cmn_RefCountPtr<DAW_KeyBinding> const found = map.FindMatchingKeyBinding(event, m);
            Cmn_RefCountPtr<DAW_KeyBinding> expected;
            for (auto const& [code, binding] : table)
                if (!expected && code == event->GetKeyCode() && *binding->GetEventModifiers() == *m)
                    expected = binding;
            ASSERT_EQ(found.get(), expected.get()) << "round " << round << ", event " << i;
        }
    }
}
