// How one key event becomes at most one command call.
#include "DAW/DAW_KeyBinding.h"
#include "DAW/DAW_Command.h"
#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_KeyContextRegistry.h"
#include "DAW/DAW_KeyboardInputContext.h"
#include "DAW/DAW_LoggingCommand.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace
{
using vfltest::LoggingCommand;

using M = DAW_EventModifiers;
Cmn_RefCountPtr<M> Plain()
{
    return M::New();
}
Cmn_RefCountPtr<M> Shift(DAW_EShiftKeyState s)
{
    return M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, s);
}
Cmn_RefCountPtr<M> Left()
{
    return M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyUp, kDAW_LeftButtonDown);
}

Cmn_RefCountPtr<DAW_KeyEvent> Key(DAW_EKeyCode code, DAW_EKeyState state = kDAW_KeyDown,
                                  DAW_EAutoKey autoKey = kDAW_AutoKeyNone)
{
    return DAW_KeyEvent::New(code, autoKey, "", state);
}

constexpr DAW_EKeyCode kB = DAW_EKeyCode(kDAW_KeyA + 1);
constexpr DAW_EKeyCode kC = DAW_EKeyCode(kDAW_KeyA + 2);
constexpr DAW_EKeyCode kD = DAW_EKeyCode(kDAW_KeyA + 3);
constexpr DAW_EKeyCode kE = DAW_EKeyCode(kDAW_KeyA + 4);
constexpr DAW_EKeyCode kF = DAW_EKeyCode(kDAW_KeyA + 5);

class KeyResolution : public testing::Test
{
protected:
    void SetUp() override
    {
        // Space: exact shift-down binding, then a don't-care one; it also
        // takes repeats.
        mMap.AddKeyBinding(DAW_KeyBinding::New(Key(kDAW_KeySpace, kDAW_KeyDown, kDAW_AutoKeyRepeat),
                                               Shift(kDAW_ShiftKeyDown), &mShifted));
        mMap.AddKeyBinding(DAW_KeyBinding::New(Key(kDAW_KeySpace, kDAW_KeyDown, kDAW_AutoKeyRepeat),
                                               Shift(kDAW_ShiftKeyDontCare), &mPlay));
        // A: don't-care first, so the exact one after it is never reached.
        mMap.AddKeyBinding(DAW_KeyBinding::New(Key(kDAW_KeyA), Shift(kDAW_ShiftKeyDontCare), &mPlay));
        mMap.AddKeyBinding(DAW_KeyBinding::New(Key(kDAW_KeyA), Shift(kDAW_ShiftKeyDown), &mShifted));
        // B: the left button must be held.
        mMap.AddKeyBinding(DAW_KeyBinding::New(Key(kB), Left(), &mPlay));
        // C: a start and end command; D disabled; E without a command.
        mMap.AddKeyBinding(DAW_KeyBinding::New(Key(kC), Plain(), &mScrub));
        mMap.AddKeyBinding(DAW_KeyBinding::New(Key(kD), Plain(), &mDisabled));
        mMap.AddKeyBinding(DAW_KeyBinding::New(Key(kE), Plain(), nullptr));
        mDisabled.mEnabled = false;
        mContext.SetKeyBindingMap(&mMap);
    }
    void TearDown() override { DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(nullptr); }

    bool Handle(Cmn_RefCountPtr<DAW_KeyEvent> event, Cmn_RefCountPtr<M> modifiers)
    {
        Cmn_RefCountPtr<DAW_KeyboardState> state = DAW_KeyboardState::New(DAW_KeyStateArray{}, kDAW_KeyStateMacBitMap);
        return DAW_KeyboardInputContext::HandleKeyEvent(event, modifiers, state);
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

TEST_F(KeyResolution, TruthTable)
{
    using Log = std::vector<std::string>;
    struct Case
    {
        char const* what;
        Cmn_RefCountPtr<DAW_KeyEvent> event;
        Cmn_RefCountPtr<M> modifiers;
        bool consumed;
        Log calls;
    } const cases[] = {
        {"exact binding added first",
         Key(kDAW_KeySpace),
         Shift(kDAW_ShiftKeyDown),
         true,
         {"shifted.can0", "shifted.do"}},
        {"don't care takes shift up", Key(kDAW_KeySpace), Plain(), true, {"play.can0", "play.do"}},
        {"don't care added first shadows", Key(kDAW_KeyA), Shift(kDAW_ShiftKeyDown), true, {"play.can0", "play.do"}},
        {"text plays no part",
         DAW_KeyEvent::New(kDAW_KeyA, kDAW_AutoKeyNone, "x"),
         Plain(),
         true,
         {"play.can0", "play.do"}},
        {"other key state takes no part", Key(kDAW_KeyA), M::New(kDAW_MenuCommandKeyDown), false, {}},
        {"left button binding without the button", Key(kB), Plain(), false, {}},
        {"left button binding with it", Key(kB), Left(), true, {"play.can0", "play.do"}},
        {"unbound key", Key(kF), Plain(), false, {}},
        {"unmarked repeat swallowed", Key(kDAW_KeyA, kDAW_KeyDown, kDAW_AutoKeyRepeat), Plain(), true, {"play.can0"}},
        {"marked repeat runs",
         Key(kDAW_KeySpace, kDAW_KeyDown, kDAW_AutoKeyRepeat),
         Plain(),
         true,
         {"play.can0", "play.do"}},
        {"key up of a one-shot", Key(kDAW_KeyA, kDAW_KeyUp), Plain(), true, {"play.can0"}},
        {"start on down", Key(kC), Plain(), true, {"scrub.can0", "scrub.start"}},
        {"end on up", Key(kC, kDAW_KeyUp), Plain(), true, {"scrub.can0", "scrub.end"}},
        {"unmarked repeat of a held command", Key(kC, kDAW_KeyDown, kDAW_AutoKeyRepeat), Plain(), true, {"scrub.can0"}},
        {"disabled command leaves the key", Key(kD), Plain(), false, {"disabled.can0"}},
        {"binding without a command", Key(kE), Plain(), false, {}},
    };
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(&mContext);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        mLog.clear();
        EXPECT_EQ(Handle(c.event, c.modifiers), c.consumed);
        EXPECT_EQ(mLog, c.calls);
    }
}

TEST_F(KeyResolution, NoContextOrNoMap)
{
    EXPECT_FALSE(Handle(Key(kDAW_KeySpace), Plain()));
    DAW_KeyboardInputContext bare(8, "bare");
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(&bare);
    EXPECT_FALSE(Handle(Key(kDAW_KeySpace), Plain()));
    EXPECT_TRUE(mLog.empty());
    EXPECT_EQ(DAW_KeyboardInputContext::GetCurrentKeyboardInputContext(), &bare);
}

TEST_F(KeyResolution, DeletingErasesTheFirstOfTheKey)
{
    // A binding never added, on a bound key: the key's first binding goes.
    mMap.DeleteKeyBinding(DAW_KeyBinding::New(Key(kDAW_KeySpace), Plain(), &mScrub));
    EXPECT_EQ(mMap.FindMatchingKeyBinding(Key(kDAW_KeySpace), Shift(kDAW_ShiftKeyDown))->GetCommand(), &mPlay);
    mMap.DeleteKeyBinding(DAW_KeyBinding::New(Key(kDAW_KeySpace), Plain(), &mScrub));
    EXPECT_FALSE(mMap.FindMatchingKeyBinding(Key(kDAW_KeySpace), Plain()));
    // An unbound key changes nothing.
    size_t const before = mMap.GetKeyMap()->size();
    mMap.DeleteKeyBinding(DAW_KeyBinding::New(Key(kF), Plain(), &mPlay));
    EXPECT_EQ(mMap.GetKeyMap()->size(), before);
    // Copies share the table.
    DAW_KeyBindingMap copy(mMap);
    copy.DeleteKeyBinding(DAW_KeyBinding::New(Key(kB), Plain(), nullptr));
    EXPECT_EQ(mMap.GetKeyMap()->size(), before - 1);
    DAW_KeyBindingMap empty;
    EXPECT_EQ(empty.GetKeyMap(), nullptr);
    EXPECT_FALSE(empty.FindMatchingKeyBinding(Key(kB), Left()));
    empty.DeleteKeyBinding(DAW_KeyBinding::New(Key(kB), Plain(), nullptr));
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
