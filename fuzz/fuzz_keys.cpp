// Bindings text: any input is read or refused with the library's exception;
// what is read writes out as text that reads back to the same text.
#include "Cmn/Cmn_Exception.h"
#include "DAW/DAW_KeyBindingText.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
    std::vector<DAW_KeyBindingText::Context> contexts;
    try
    {
        contexts = DAW_KeyBindingText::Read(in, "fuzz");
    }
    catch (Cmn_Exception const&)
    {
        return 0;
    }
    DAW_KeyBindingText::FindConflicts(contexts);
    std::ostringstream first;
    DAW_KeyBindingText::Write(first, contexts);
    std::istringstream again(first.str());
    std::ostringstream second;
    DAW_KeyBindingText::Write(second, DAW_KeyBindingText::Read(again, "written"));
    if (first.str() != second.str())
        std::abort();
    return 0;
}
