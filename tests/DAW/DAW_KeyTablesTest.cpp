// The key tables, the modifiers' matching and the keyboard snapshot.
#include "Cmn/Cmn_Assert.h"
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyConversionUtils.h"
#include "DAW/DAW_KeyEvent.h"
#include "DAW/DAW_KeyboardState.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Utils = DAW_KeyConversionUtils;

std::vector<std::string> ExpectedNames()
{
    std::vector<std::string> names = {
        "Invalid", "Cancel",   "BackSpace", "Tab",    "Clear",     "Return",     "Esc",     "Space",
        "PageUp",  "PageDown", "Home",      "End",    "LeftArrow", "RightArrow", "UpArrow", "DownArrow",
        "Select",  "Execute",  "SnapShot",  "Insert", "Delete",    "Help",       "[",       "]",
        "\\",      "/",        ",",         ".",      "0",         "'",          ";",       "Tilde"};
    for (char c = '1'; c <= '9'; ++c)
        names.push_back(std::string(1, c));
    for (char c = 'A'; c <= 'Z'; ++c)
        names.push_back(std::string(1, c));
    names.push_back("-");
    names.push_back("=");
    for (int i = 0; i <= 9; ++i)
        names.push_back("Numpad " + std::to_string(i));
    for (char const* n : {"Numpad *", "Numpad +", "Numpad -", "Numpad .", "Numpad /", "Numpad =", "unknown"})
        names.push_back(n);
    for (int i = 1; i <= 24; ++i)
        names.push_back("F" + std::to_string(i));
    names.push_back("NumLock");
    names.push_back("ScrollLock");
    return names;
}

constexpr int kMacTable[128] = {
    41, 59, 44, 46, 48, 47, 66, 64, 43, 62,  0,  42, 57, 63, 45, 58, 65, 60, 32, 33,  34, 35, 37, 36, 68, 40,
    38, 67, 39, 28, 23, 55, 61, 22, 49, 56,  5,  52, 50, 29, 51, 30, 24, 26, 25, 54,  53, 27, 3,  7,  31, 2,
    0,  6,  0,  0,  0,  0,  0,  0,  0,  0,   0,  0,  0,  82, 0,  79, 0,  80, 0,  110, 0,  0,  0,  83, 85, 0,
    81, 0,  0,  84, 69, 70, 71, 72, 73, 74,  75, 76, 0,  77, 78, 0,  0,  0,  90, 91,  92, 88, 93, 94, 0,  96,
    0,  98, 0,  99, 0,  95, 0,  97, 0,  100, 21, 10, 8,  20, 89, 11, 87, 9,  86, 12,  13, 15, 14, 0};
} // namespace

TEST(DAW_KeyConversionUtilsTest, EveryNameAndTheNumbersAroundThem)
{
    std::vector<std::string> const names = ExpectedNames();
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

namespace
{
int sAsserts = 0;
void CountingHandler(bool, char const*, int)
{
    ++sAsserts;
}
} // namespace

TEST(DAW_KeyConversionUtilsTest, WindowsKeysAssert)
{
    EXPECT_THROW(Utils::WindowsKeyCodeToDAW_EKeyCode(65), std::runtime_error);
    EXPECT_THROW(Utils::DAW_EKeyCodeToWindowsKeyCode(kDAW_KeyA), std::runtime_error);
    DAW_KeyStateArray keys{};
    keys.mBytes[0] = 0xFF;
    EXPECT_THROW(DAW_KeyboardState::New(keys, kDAW_KeyStateWindowsBytes)->KeyIsDown(kDAW_KeyA), std::runtime_error);

    Cmn_Assert::Handler const previous = Cmn_Assert::SetHandler(&CountingHandler);
    sAsserts = 0;
    EXPECT_EQ(Utils::WindowsKeyCodeToDAW_EKeyCode(65), kDAW_KeyInvalid);
    EXPECT_EQ(Utils::DAW_EKeyCodeToWindowsKeyCode(kDAW_KeyA), 0);
    EXPECT_EQ(sAsserts, 2);
    Cmn_Assert::SetHandler(previous);
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
    using M = DAW_EventModifiers;
    struct Case
    {
        char const* what;
        Cmn_RefCountPtr<M> a, b;
        bool equal;
    } const cases[] = {
        {"all up", M::New(), M::New(), true},
        {"shift down against up", M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyDown),
         M::New(), false},
        {"shift don't care against down",
         M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyDontCare),
         M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyDown), true},
        {"down against shift don't care",
         M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyDown),
         M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyDontCare), true},
        {"shift don't care against up",
         M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyDontCare), M::New(), true},
        {"command don't care, option differs", M::New(kDAW_MenuCommandKeyDontCare, kDAW_AlternateKeyDown), M::New(),
         false},
        {"every key don't care",
         M::New(kDAW_MenuCommandKeyDontCare, kDAW_AlternateKeyDontCare, kDAW_MetaKeyDontCare, kDAW_ShiftKeyDontCare),
         M::New(kDAW_MenuCommandKeyDown, kDAW_AlternateKeyUp, kDAW_MetaKeyDown, kDAW_ShiftKeyUp), true},
        {"left button against none",
         M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyUp, kDAW_LeftButtonDown),
         M::New(), false},
        {"middle button against none",
         M::New(kDAW_MenuCommandKeyDontCare, kDAW_AlternateKeyDontCare, kDAW_MetaKeyDontCare, kDAW_ShiftKeyDontCare,
                kDAW_LeftButtonUp, kDAW_MiddleButtonDown),
         M::New(), false},
        {"right button both",
         M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyUp, kDAW_LeftButtonUp,
                kDAW_MiddleButtonUp, kDAW_RightButtonDown),
         M::New(kDAW_MenuCommandKeyUp, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyUp, kDAW_LeftButtonUp,
                kDAW_MiddleButtonUp, kDAW_RightButtonDown),
         true},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(*c.a == *c.b, c.equal);
        EXPECT_EQ(*c.b == *c.a, c.equal);
        EXPECT_EQ(*c.a != *c.b, !c.equal);
    }
}

TEST(DAW_EventModifiersTest, DescriptionsAndTests)
{
    auto m = DAW_EventModifiers::New(kDAW_MenuCommandKeyDown, kDAW_AlternateKeyUp, kDAW_MetaKeyUp, kDAW_ShiftKeyDown,
                                     kDAW_LeftButtonDown);
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
