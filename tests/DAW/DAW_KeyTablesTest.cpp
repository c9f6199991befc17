// The key tables, the modifiers' matching and the keyboard snapshot.
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyConversionUtils.h"
#include "DAW/DAW_KeyEvent.h"
#include "DAW/DAW_KeyboardState.h"
#include "DAW/DAW_TestSupport.h"
#include "Sys/Sys_FileTestSupport.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Utils = DAW_KeyConversionUtils;
using vfltest::ModifiersOf;

// The names of the key codes, in the order of the codes.
constexpr char kNames[] =
    "Invalid|Cancel|BackSpace|Tab|Clear|Return|Esc|Space|PageUp|PageDown|Home|End|LeftArrow|RightArrow|"
    "UpArrow|DownArrow|Select|Execute|SnapShot|Insert|Delete|Help|[|]|\\|/|,|.|0|'|;|Tilde|1|2|3|4|5|6|"
    "7|8|9|A|B|C|D|E|F|G|H|I|J|K|L|M|N|O|P|Q|R|S|T|U|V|W|X|Y|Z|-|=|Numpad 0|Numpad 1|Numpad 2|Numpad 3|"
    "Numpad 4|Numpad 5|Numpad 6|Numpad 7|Numpad 8|Numpad 9|Numpad *|Numpad +|Numpad -|Numpad .|"
    "Numpad /|Numpad =|unknown|F1|F2|F3|F4|F5|F6|F7|F8|F9|F10|F11|F12|F13|F14|F15|F16|F17|F18|F19|F20|"
    "F21|F22|F23|F24|NumLock|ScrollLock";

constexpr int kMacTable[128] = {
    41, 59, 44, 46, 48, 47, 66, 64, 43, 62,  0,  42, 57, 63, 45, 58, 65, 60, 32, 33,  34, 35, 37, 36, 68, 40,
    38, 67, 39, 28, 23, 55, 61, 22, 49, 56,  5,  52, 50, 29, 51, 30, 24, 26, 25, 54,  53, 27, 3,  7,  31, 2,
    0,  6,  0,  0,  0,  0,  0,  0,  0,  0,   0,  0,  0,  82, 0,  79, 0,  80, 0,  110, 0,  0,  0,  83, 85, 0,
    81, 0,  0,  84, 69, 70, 71, 72, 73, 74,  75, 76, 0,  77, 78, 0,  0,  0,  90, 91,  92, 88, 93, 94, 0,  96,
    0,  98, 0,  99, 0,  95, 0,  97, 0,  100, 21, 10, 8,  20, 89, 11, 87, 9,  86, 12,  13, 15, 14, 0};
} // namespace

TEST(DAW_KeyConversionUtilsTest, EveryNameAndTheNumbersAroundThem)
{
    std::vector<std::string> names;
    std::istringstream in(kNames);
    for (std::string name; std::getline(in, name, '|');)
        names.push_back(name);
    ASSERT_EQ(names.size(), 112u);
    for (int code = 0; code < 112; ++code)
    {
        SCOPED_TRACE(code);
        EXPECT_EQ(Utils::DAW_EKeyCodeToDescriptiveString(DAW_EKeyCode(code)), names[code]);
        if (code != 0 && code != 85)
        {
            EXPECT_EQ(Utils::DescriptiveStringToDAW_EKeyCode(names[code]), code);
        }
    }
    for (int code : {-1, 112, 1000})
        EXPECT_EQ(Utils::DAW_EKeyCodeToDescriptiveString(DAW_EKeyCode(code)), "unknown") << code;
    EXPECT_EQ(Utils::DescriptiveStringToDAW_EKeyCode("Enter"), kDAW_KeyNumpadEnter);
    EXPECT_EQ(Utils::DescriptiveStringToDAW_EKeyCode("unknown"), kDAW_KeyInvalid);
    EXPECT_EQ(Utils::DescriptiveStringToDAW_EKeyCode("a"), kDAW_KeyInvalid);
}

TEST(DAW_KeyConversionUtilsTest, MacintoshTableBothWays)
{
    std::set<int> present;
    for (int n = 0; n < 128; ++n)
    {
        SCOPED_TRACE(n);
        // The last number is never read.
        EXPECT_EQ(Utils::MacKeyCodeToDAW_EKeyCode(int16(n)), n == 127 ? 0 : kMacTable[n]);
        if (kMacTable[n] != 0)
        {
            EXPECT_EQ(Utils::DAW_EKeyCodeToMacKeyCode(DAW_EKeyCode(kMacTable[n])), n);
            present.insert(kMacTable[n]);
        }
    }
    EXPECT_EQ(present.size(), 95u);
    for (int code = 1; code < 112; ++code)
        if (!present.count(code))
        {
            EXPECT_EQ(Utils::DAW_EKeyCodeToMacKeyCode(DAW_EKeyCode(code)), 0) << code;
        }
    EXPECT_EQ(Utils::DAW_EKeyCodeToMacKeyCode(kDAW_KeyInvalid), 127);
    EXPECT_EQ(Utils::MacKeyCodeToDAW_EKeyCode(-1), kDAW_KeyInvalid);
    EXPECT_EQ(Utils::MacKeyCodeToDAW_EKeyCode(32767), kDAW_KeyInvalid);
}

TEST(DAW_KeyConversionUtilsTest, WindowsKeysAssert)
{
    EXPECT_THROW(Utils::WindowsKeyCodeToDAW_EKeyCode(65), std::runtime_error);
    EXPECT_THROW(Utils::DAW_EKeyCodeToWindowsKeyCode(kDAW_KeyA), std::runtime_error);
    DAW_KeyStateArray keys{};
    keys.mBytes[0] = 0xFF;
    EXPECT_THROW(DAW_KeyboardState::New(keys, kDAW_KeyStateWindowsBytes)->KeyIsDown(kDAW_KeyA), std::runtime_error);

    vfltest::StCountAsserts const asserts;
    EXPECT_EQ(Utils::WindowsKeyCodeToDAW_EKeyCode(65), kDAW_KeyInvalid);
    EXPECT_EQ(Utils::DAW_EKeyCodeToWindowsKeyCode(kDAW_KeyA), 0);
    EXPECT_EQ(asserts.Failed(), 2);
}

TEST(DAW_KeyboardStateTest, MacintoshBitMap)
{
    DAW_KeyStateArray keys{};
    // 'A' is number 0, 'S' 1, Return 36 (byte 4, bit 4), F5 96 (byte 12, bit 0).
    keys.mBytes[0] = 0x02;
    keys.mBytes[4] = 0x10;
    keys.mBytes[12] = 0x01;
    auto const state = DAW_KeyboardState::New(keys, kDAW_KeyStateMacBitMap);
    struct Case
    {
        DAW_EKeyCode code;
        bool down;
    } const cases[] = {{DAW_EKeyCode(kDAW_KeyA + 18), true}, // S
                       {kDAW_KeyA, false},
                       {kDAW_KeyReturn, true},
                       {DAW_EKeyCode(kDAW_KeyF1 + 4), true},
                       {DAW_EKeyCode(kDAW_KeyF1 + 5), false},
                       // Insert has no Macintosh number and reads the 'A' bit.
                       {kDAW_KeyInsert, false}};
    for (Case const& c : cases)
        EXPECT_EQ(state->KeyIsDown(c.code), c.down) << c.code;
    keys.mBytes[0] = 0x01;
    EXPECT_TRUE(DAW_KeyboardState::New(keys, kDAW_KeyStateMacBitMap)->KeyIsDown(kDAW_KeyInsert));
    EXPECT_FALSE(DAW_KeyboardState::New(keys, DAW_EKeyStateArrayFormat(7))->KeyIsDown(kDAW_KeyA));
}

TEST(DAW_KeyEventTest, EqualityByKeyAndTextOrderByKey)
{
    auto const a = DAW_KeyEvent::New(kDAW_KeyA, kDAW_AutoKeyNone, "a");
    auto const bigA = DAW_KeyEvent::New(kDAW_KeyA, kDAW_AutoKeyRepeat, "A", kDAW_KeyUp);
    auto const aUp = DAW_KeyEvent::New(kDAW_KeyA, kDAW_AutoKeyRepeat, "a", kDAW_KeyUp);
    auto const b = DAW_KeyEvent::New(DAW_EKeyCode(kDAW_KeyA + 1), kDAW_AutoKeyNone, "a");
    EXPECT_TRUE(*a != *bigA);
    EXPECT_FALSE(*a < *bigA || *bigA < *a || *a > *bigA);
    EXPECT_TRUE(*a == *aUp);
    EXPECT_TRUE(*a<*b&& * b> * a && *a != *b);
    EXPECT_FALSE(a->IsAutoKey());
    EXPECT_TRUE(aUp->IsAutoKey());
    EXPECT_EQ(aUp->GetKeyState(), kDAW_KeyUp);
    auto const plain = DAW_KeyEvent::New(kDAW_KeyTab);
    EXPECT_EQ(plain->GetText(), "");
    EXPECT_EQ(plain->GetKeyState(), kDAW_KeyDown);
    EXPECT_FALSE(plain->IsAutoKey());
}

TEST(DAW_EventModifiersTest, DontCareMeetsBothAndButtonsAreExact)
{
    struct Case
    {
        char const* what;
        char const *a, *b;
        bool equal;
    } const cases[] = {
        {"all up", "", "", true},
        {"shift down against up", "shift+", "", false},
        {"shift don't care against down", "shift?+", "shift+", true},
        {"down against shift don't care", "shift+", "shift?+", true},
        {"shift don't care against up", "shift?+", "", true},
        {"command don't care, option differs", "command?+option+", "", false},
        {"every key don't care", "command?+option?+control?+shift?+", "command+control+", true},
        {"left button against none", "left+", "", false},
        {"middle button against none", "command?+option?+control?+shift?+middle+", "", false},
        {"right button both", "right+", "right+", true},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        auto const a = ModifiersOf(c.a), b = ModifiersOf(c.b);
        EXPECT_EQ(*a == *b, c.equal);
        EXPECT_EQ(*b == *a, c.equal);
        EXPECT_EQ(*a != *b, !c.equal);
    }
}

TEST(DAW_EventModifiersTest, DescriptionsAndTests)
{
    auto m = ModifiersOf("command+shift+left+");
    EXPECT_EQ(m->GetKeyModifiersDescriptiveString(), "+command+shift");
    EXPECT_EQ(m->GetMouseModifiersDescriptiveString(), "");
    m->SetAlernateKeyState(kDAW_AlternateKeyDown);
    m->SetMetaKeyState(kDAW_MetaKeyDown);
    EXPECT_EQ(m->GetKeyModifiersDescriptiveString(), "+command+option+control+shift");
    m->SetShiftKeyState(kDAW_ShiftKeyDontCare);
    m->SetMenuCommandKeyState(kDAW_MenuCommandKeyDontCare);
    EXPECT_EQ(m->GetKeyModifiersDescriptiveString(), "+option+control");
    EXPECT_FALSE(m->ShiftKeyIsDown());
    EXPECT_TRUE(m->LeftButtonIsDown());
    EXPECT_FALSE(m->RightButtonIsDown());
}
