// The small enumerations and records shared by key events, modifiers,
// keyboard state, commands and bindings.
#pragma once

#include "Cmn/Cmn_Types.h"

// A key, by its place on the keyboard. The digit 0 has its number among the
// punctuation, apart from 1 to 9; 85 is the keypad's Enter key.
enum DAW_EKeyCode : int32
{
    kDAW_KeyInvalid = 0,
    kDAW_KeyCancel = 1,
    kDAW_KeyBackSpace = 2,
    kDAW_KeyTab = 3,
    kDAW_KeyClear = 4,
    kDAW_KeyReturn = 5,
    kDAW_KeyEsc = 6,
    kDAW_KeySpace = 7,
    kDAW_KeyPageUp = 8,
    kDAW_KeyPageDown = 9,
    kDAW_KeyHome = 10,
    kDAW_KeyEnd = 11,
    kDAW_KeyLeftArrow = 12,
    kDAW_KeyRightArrow = 13,
    kDAW_KeyUpArrow = 14,
    kDAW_KeyDownArrow = 15,
    kDAW_KeySelect = 16,
    kDAW_KeyExecute = 17,
    kDAW_KeySnapShot = 18,
    kDAW_KeyInsert = 19,
    kDAW_KeyDelete = 20,
    kDAW_KeyHelp = 21,
    kDAW_KeyLeftBracket = 22,
    kDAW_KeyRightBracket = 23,
    kDAW_KeyBackslash = 24,
    kDAW_KeySlash = 25,
    kDAW_KeyComma = 26,
    kDAW_KeyPeriod = 27,
    kDAW_Key0 = 28,
    kDAW_KeyQuote = 29,
    kDAW_KeySemicolon = 30,
    kDAW_KeyTilde = 31,
    kDAW_Key1 = 32, // to kDAW_Key1 + 8 for the digit 9
    kDAW_KeyA = 41, // to kDAW_KeyA + 25 for Z
    kDAW_KeyMinus = 67,
    kDAW_KeyEquals = 68,
    kDAW_KeyNumpad0 = 69, // to kDAW_KeyNumpad0 + 9
    kDAW_KeyNumpadMultiply = 79,
    kDAW_KeyNumpadAdd = 80,
    kDAW_KeyNumpadSubtract = 81,
    kDAW_KeyNumpadDecimal = 82,
    kDAW_KeyNumpadDivide = 83,
    kDAW_KeyNumpadEquals = 84,
    kDAW_KeyNumpadEnter = 85,
    kDAW_KeyF1 = 86, // to kDAW_KeyF1 + 23 for F24
    kDAW_KeyNumLock = 110,
    kDAW_KeyScrollLock = 111,
    kDAW_KeyCodeCount = 112
};

// 0 the key went down; any other value it came up.
enum DAW_EKeyState : int32
{
    kDAW_KeyDown = 0,
    kDAW_KeyUp = 1
};

// 0 marks an auto-repeat, and on a binding's key event a binding that
// accepts repeats.
enum DAW_EAutoKey : int32
{
    kDAW_AutoKeyRepeat = 0,
    kDAW_AutoKeyNone = 1
};

// The four keys have a third value for bindings: either state matches.
enum DAW_EMenuCommandKeyState : int32
{
    kDAW_MenuCommandKeyUp = 0,
    kDAW_MenuCommandKeyDown = 1,
    kDAW_MenuCommandKeyDontCare = 2
};
enum DAW_EAlternateKeyState : int32
{
    kDAW_AlternateKeyUp = 0,
    kDAW_AlternateKeyDown = 1,
    kDAW_AlternateKeyDontCare = 2
};
enum DAW_EMetaKeyState : int32
{
    kDAW_MetaKeyUp = 0,
    kDAW_MetaKeyDown = 1,
    kDAW_MetaKeyDontCare = 2
};
enum DAW_EShiftKeyState : int32
{
    kDAW_ShiftKeyUp = 0,
    kDAW_ShiftKeyDown = 1,
    kDAW_ShiftKeyDontCare = 2
};
enum DAW_ELeftMouseButtonState : int32
{
    kDAW_LeftButtonUp = 0,
    kDAW_LeftButtonDown = 1
};
enum DAW_EMiddleMouseButtonState : int32
{
    kDAW_MiddleButtonUp = 0,
    kDAW_MiddleButtonDown = 1
};
enum DAW_ERightMouseButtonState : int32
{
    kDAW_RightButtonUp = 0,
    kDAW_RightButtonDown = 1
};

// A snapshot of every key.
struct DAW_KeyStateArray
{
    u8 mBytes[256];
};

enum DAW_EKeyStateArrayFormat : int32
{
    kDAW_KeyStateMacBitMap = 0,   // bit (n & 7) of byte (n >> 3) for Macintosh key number n
    kDAW_KeyStateWindowsBytes = 1 // one byte per Windows virtual key
};

enum DAW_ECommandType : int32
{
    kDAW_CommandOneShot = 0,    // runs at key down
    kDAW_CommandStartAndEnd = 1 // starts at key down, ends at key up
};

// What switches a command option.
enum DAW_EModifierKind : int32
{
    kDAW_ModifierPlainKey = 0,
    kDAW_ModifierMenuCommandKey = 1,
    kDAW_ModifierAlternateKey = 2,
    kDAW_ModifierMetaKey = 3,
    kDAW_ModifierShiftKey = 4
};
