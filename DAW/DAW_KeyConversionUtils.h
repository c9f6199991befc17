#pragma once

#include "DAW/DAW_KeyTypes.h"

#include <string>

// Between key codes, Macintosh key numbers and the names shown to a person.
class DAW_KeyConversionUtils
{
public:
    // The key at a Macintosh key number; 0 for 127 and above, and below 0.
    static DAW_EKeyCode MacKeyCodeToDAW_EKeyCode(int16 macKeyCode);
    // The highest Macintosh key number of the key, 0 when it has none; the
    // invalid key answers 127, the last number that holds none.
    static int16 DAW_EKeyCodeToMacKeyCode(DAW_EKeyCode code);
    // This port has no Windows virtual keys: both assert, and answer 0 when
    // the assertion handler returns.
    static DAW_EKeyCode WindowsKeyCodeToDAW_EKeyCode(int16 windowsKeyCode);
    static int16 DAW_EKeyCodeToWindowsKeyCode(DAW_EKeyCode code);
    // "A", "F5", "Numpad +", ...; "unknown" for a number without a name.
    static std::string DAW_EKeyCodeToDescriptiveString(DAW_EKeyCode code);
    // The key of a name as DAW_EKeyCodeToDescriptiveString gives it, or
    // kDAW_KeyInvalid. The keypad's Enter key is "Enter".
    static DAW_EKeyCode DescriptiveStringToDAW_EKeyCode(std::string const& name);

private:
    DAW_KeyConversionUtils() = delete;
};
