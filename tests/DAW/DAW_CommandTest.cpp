// Commands and options, with their registries. The registries are of the
// process: each test uses numbers no other test uses.
#include "DAW/DAW_Command.h"
#include "DAW/DAW_CommandOption.h"
#include "DAW/DAW_CommandOptionRegistry.h"
#include "DAW/DAW_CommandRegistry.h"
#include "DAW/DAW_KeyConversionUtils.h"
#include "DAW/DAW_TestSupport.h"

#include <gtest/gtest.h>

TEST(DAW_CommandOptionRegistryTest, EmptyBeforeAnyRegistrationThenFirstStays)
{
    // Runs first in its own process under ctest, and before the others here.
    if (!DAW_CommandOptionRegistry::GetCommandOptionMap())
    {
        EXPECT_FALSE(DAW_CommandOptionRegistry::FindByOwnerCommandIDAndName(1, "copy"));
    }
    auto const first = DAW_CommandOption::New(9001, "copy", kDAW_ModifierAlternateKey, false);
    DAW_CommandOptionRegistry::RegisterCommandOption(first);
    DAW_CommandOptionRegistry::RegisterCommandOption(DAW_CommandOption::New(9001, "copy", kDAW_ModifierShiftKey, true));
    DAW_CommandOptionRegistry::RegisterCommandOption(DAW_CommandOption::New(9001, "all", kDAW_ModifierShiftKey, true));
    EXPECT_EQ(DAW_CommandOptionRegistry::FindByOwnerCommandIDAndName(9001, "copy"), first);
    EXPECT_FALSE(DAW_CommandOptionRegistry::FindByOwnerCommandIDAndName(9002, "copy"));
    EXPECT_FALSE(DAW_CommandOptionRegistry::FindByOwnerCommandIDAndName(9001, "Copy"));
    // Ordered by command, then by name.
    auto const& map = *DAW_CommandOptionRegistry::GetCommandOptionMap();
    auto it = map.lower_bound({9001, ""});
    ASSERT_NE(it, map.end());
    EXPECT_EQ(it->first.mOptionName, "all");
    EXPECT_EQ((++it)->first.mOptionName, "copy");
}

TEST(DAW_CommandRegistryTest, FirstCommandUnderANumberStays)
{
    // The registry keeps them for the life of the process.
    static vfltest::LoggingCommand first("Play", 8001, 0), second("Stop", 8001, 5),
        other("Stop", 8002, 0, kDAW_CommandStartAndEnd);
    DAW_CommandRegistry::RegisterCommand(&first);
    DAW_CommandRegistry::RegisterCommand(&second);
    EXPECT_EQ(DAW_CommandRegistry::FindCommandByID(8001), &first);
    EXPECT_EQ(DAW_CommandRegistry::FindCommandByName("Stop"), nullptr);
    DAW_CommandRegistry::RegisterCommand(&other);
    EXPECT_EQ(DAW_CommandRegistry::FindCommandByName("Stop"), &other);
    EXPECT_EQ(DAW_CommandRegistry::FindCommandByID(8003), nullptr);
}

TEST(DAW_CommandOptionTest, HeldModifierOrKeyTurnsTheDefaultOver)
{
    auto const shiftAndCommand = vfltest::ModifiersOf("command+shift+");
    auto const dontCare = vfltest::ModifiersOf("command?+option?+control?+shift?+");
    DAW_KeyStateArray keys{};
    int const space = DAW_KeyConversionUtils::DAW_EKeyCodeToMacKeyCode(kDAW_KeySpace);
    keys.mBytes[space >> 3] = u8(1 << (space & 7));
    auto const spaceHeld = DAW_KeyboardState::New(keys, kDAW_KeyStateMacBitMap);
    struct Case
    {
        DAW_EModifierKind kind;
        bool defaultState;
        DAW_EKeyCode key;
        Cmn_RefCountPtr<DAW_EventModifiers> modifiers;
        bool expected;
    } const cases[] = {
        {kDAW_ModifierShiftKey, true, kDAW_KeyInvalid, shiftAndCommand, false},
        {kDAW_ModifierShiftKey, false, kDAW_KeyInvalid, shiftAndCommand, true},
        {kDAW_ModifierMenuCommandKey, false, kDAW_KeyInvalid, shiftAndCommand, true},
        {kDAW_ModifierAlternateKey, false, kDAW_KeyInvalid, shiftAndCommand, false},
        {kDAW_ModifierMetaKey, true, kDAW_KeyInvalid, shiftAndCommand, true},
        // Don't care is not down.
        {kDAW_ModifierShiftKey, true, kDAW_KeyInvalid, dontCare, true},
        {kDAW_ModifierPlainKey, true, kDAW_KeySpace, dontCare, false},
        {kDAW_ModifierPlainKey, false, kDAW_KeySpace, dontCare, true},
        {kDAW_ModifierPlainKey, false, kDAW_KeyTab, dontCare, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "kind " << c.kind << " default " << c.defaultState);
        auto const option = DAW_CommandOption::New(1, "o", c.kind, c.defaultState, c.key);
        EXPECT_EQ(option->GetOptionState(c.modifiers, spaceHeld), c.expected);
    }
    EXPECT_THROW(DAW_CommandOption::New(1, "o", DAW_EModifierKind(9), true)->GetOptionState(dontCare, spaceHeld),
                 std::runtime_error);
}
