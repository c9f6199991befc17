#include "DAW/DAW_KeyConversionUtils.h"

#include "Cmn/Cmn_Assert.h"

#include <iterator>

namespace
{
// Macintosh key number to key code; 0 where the number has no key.
constexpr DAW_EKeyCode kMacToKey[128] = {
    DAW_EKeyCode(41), DAW_EKeyCode(59), DAW_EKeyCode(44), DAW_EKeyCode(46), DAW_EKeyCode(48), DAW_EKeyCode(47),
    DAW_EKeyCode(66), DAW_EKeyCode(64), DAW_EKeyCode(43), DAW_EKeyCode(62), DAW_EKeyCode(0),  DAW_EKeyCode(42),
    DAW_EKeyCode(57), DAW_EKeyCode(63), DAW_EKeyCode(45), DAW_EKeyCode(58), DAW_EKeyCode(65), DAW_EKeyCode(60),
    DAW_EKeyCode(32), DAW_EKeyCode(33), DAW_EKeyCode(34), DAW_EKeyCode(35), DAW_EKeyCode(37), DAW_EKeyCode(36),
    DAW_EKeyCode(68), DAW_EKeyCode(40), DAW_EKeyCode(38), DAW_EKeyCode(67), DAW_EKeyCode(39), DAW_EKeyCode(28),
    DAW_EKeyCode(23), DAW_EKeyCode(55), DAW_EKeyCode(61), DAW_EKeyCode(22), DAW_EKeyCode(49), DAW_EKeyCode(56),
    DAW_EKeyCode(5),  DAW_EKeyCode(52), DAW_EKeyCode(50), DAW_EKeyCode(29), DAW_EKeyCode(51), DAW_EKeyCode(30),
    DAW_EKeyCode(24), DAW_EKeyCode(26), DAW_EKeyCode(25), DAW_EKeyCode(54), DAW_EKeyCode(53), DAW_EKeyCode(27),
    DAW_EKeyCode(3),  DAW_EKeyCode(7),  DAW_EKeyCode(31), DAW_EKeyCode(2),  DAW_EKeyCode(0),  DAW_EKeyCode(6),
    DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),
    DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(82),
    DAW_EKeyCode(0),  DAW_EKeyCode(79), DAW_EKeyCode(0),  DAW_EKeyCode(80), DAW_EKeyCode(0),  DAW_EKeyCode(110),
    DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(83), DAW_EKeyCode(85), DAW_EKeyCode(0),
    DAW_EKeyCode(81), DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(84), DAW_EKeyCode(69), DAW_EKeyCode(70),
    DAW_EKeyCode(71), DAW_EKeyCode(72), DAW_EKeyCode(73), DAW_EKeyCode(74), DAW_EKeyCode(75), DAW_EKeyCode(76),
    DAW_EKeyCode(0),  DAW_EKeyCode(77), DAW_EKeyCode(78), DAW_EKeyCode(0),  DAW_EKeyCode(0),  DAW_EKeyCode(0),
    DAW_EKeyCode(90), DAW_EKeyCode(91), DAW_EKeyCode(92), DAW_EKeyCode(88), DAW_EKeyCode(93), DAW_EKeyCode(94),
    DAW_EKeyCode(0),  DAW_EKeyCode(96), DAW_EKeyCode(0),  DAW_EKeyCode(98), DAW_EKeyCode(0),  DAW_EKeyCode(99),
    DAW_EKeyCode(0),  DAW_EKeyCode(95), DAW_EKeyCode(0),  DAW_EKeyCode(97), DAW_EKeyCode(0),  DAW_EKeyCode(100),
    DAW_EKeyCode(21), DAW_EKeyCode(10), DAW_EKeyCode(8),  DAW_EKeyCode(20), DAW_EKeyCode(89), DAW_EKeyCode(11),
    DAW_EKeyCode(87), DAW_EKeyCode(9),  DAW_EKeyCode(86), DAW_EKeyCode(12), DAW_EKeyCode(13), DAW_EKeyCode(15),
    DAW_EKeyCode(14), DAW_EKeyCode(0)};
static_assert(std::size(kMacToKey) == 128);

// The names of 0 to 111; 85 has none of its own.
char const* const kNames[kDAW_KeyCodeCount] = {
    "Invalid",  "Cancel",   "BackSpace", "Tab",       "Clear",      "Return",   "Esc",       "Space",    "PageUp",
    "PageDown", "Home",     "End",       "LeftArrow", "RightArrow", "UpArrow",  "DownArrow", "Select",   "Execute",
    "SnapShot", "Insert",   "Delete",    "Help",      "[",          "]",        "\\",        "/",        ",",
    ".",        "0",        "'",         ";",         "Tilde",      "1",        "2",         "3",        "4",
    "5",        "6",        "7",         "8",         "9",          "A",        "B",         "C",        "D",
    "E",        "F",        "G",         "H",         "I",          "J",        "K",         "L",        "M",
    "N",        "O",        "P",         "Q",         "R",          "S",        "T",         "U",        "V",
    "W",        "X",        "Y",         "Z",         "-",          "=",        "Numpad 0",  "Numpad 1", "Numpad 2",
    "Numpad 3", "Numpad 4", "Numpad 5",  "Numpad 6",  "Numpad 7",   "Numpad 8", "Numpad 9",  "Numpad *", "Numpad +",
    "Numpad -", "Numpad .", "Numpad /",  "Numpad =",  nullptr,      "F1",       "F2",        "F3",       "F4",
    "F5",       "F6",       "F7",        "F8",        "F9",         "F10",      "F11",       "F12",      "F13",
    "F14",      "F15",      "F16",       "F17",       "F18",        "F19",      "F20",       "F21",      "F22",
    "F23",      "F24",      "NumLock",   "ScrollLock"};

// What a person reads for the keypad's Enter key, which has no name of its
// own in the table above. Only the reading of names accepts it.
constexpr char kNumpadEnterName[] = "Enter";
} // namespace

DAW_EKeyCode DAW_KeyConversionUtils::MacKeyCodeToDAW_EKeyCode(int16 macKeyCode)
{
    if (macKeyCode < 0 || macKeyCode >= 127)
        return kDAW_KeyInvalid;
    return kMacToKey[macKeyCode];
}

int16 DAW_KeyConversionUtils::DAW_EKeyCodeToMacKeyCode(DAW_EKeyCode code)
{
    int16 found = 0;
    for (int16 i = 0; i < 128; ++i)
        if (kMacToKey[i] == code)
            found = i;
    return found;
}

DAW_EKeyCode DAW_KeyConversionUtils::WindowsKeyCodeToDAW_EKeyCode(int16)
{
    Cmn_Assert::HandleAssert(false, __FILE__, __LINE__);
    return kDAW_KeyInvalid;
}

int16 DAW_KeyConversionUtils::DAW_EKeyCodeToWindowsKeyCode(DAW_EKeyCode)
{
    Cmn_Assert::HandleAssert(false, __FILE__, __LINE__);
    return 0;
}

std::string DAW_KeyConversionUtils::DAW_EKeyCodeToDescriptiveString(DAW_EKeyCode code)
{
    if (code < 0 || code >= kDAW_KeyCodeCount || !kNames[code])
        return "unknown";
    return kNames[code];
}

DAW_EKeyCode DAW_KeyConversionUtils::DescriptiveStringToDAW_EKeyCode(std::string const& name)
{
    if (name == kNumpadEnterName)
        return kDAW_KeyNumpadEnter;
    for (int32 code = 1; code < kDAW_KeyCodeCount; ++code)
        if (kNames[code] && name == kNames[code])
            return DAW_EKeyCode(code);
    return kDAW_KeyInvalid;
}
