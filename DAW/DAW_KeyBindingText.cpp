#include "DAW/DAW_KeyBindingText.h"

#include "Cmn/Cmn_AddExceptionContext.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_NullExceptionData.h"
#include "Cmn/Cmn_TStringXData.h"
#include "Cmn/Cmn_TypedException.h"
#include "Cmn/Cmn_TypedExceptionContext.h"
#include "DAW/DAW_Command.h"
#include "DAW/DAW_CommandRegistry.h"
#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_KeyConversionUtils.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <istream>
#include <ostream>

namespace
{
// A line longer than this is not a binding; reading stops there rather
// than keep whatever the file holds.
constexpr std::size_t kMaxLine = 4096;
// Far more than a keyboard has combinations worth binding; keeps a file
// that is not a bindings file from taking all memory.
constexpr std::size_t kMaxBindings = 100000;

[[noreturn]] void Fail(std::string const& where, std::string const& message)
{
    Cmn_TypedException<Cmn_NullExceptionData> e =
        Cmn_TypedException<Cmn_NullExceptionData>::New(XC_DAW_ErrorReadingFile, Cmn_NullExceptionData());
    Cmn_AddExceptionContext(&e, new Cmn_TypedExceptionContext<Cmn_TStringXData>(
                                    XC_Cmn_ExceptionContext, Cmn_TStringXData(where + ": " + message)));
    throw e;
}

std::string Where(std::string const& source, int32 line)
{
    return source + ", line " + std::to_string(line);
}

std::string Lower(std::string s)
{
    for (char& c : s)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// The words of a line; false at a quote left open.
bool SplitWords(std::string const& line, std::vector<std::string>& words)
{
    std::size_t i = 0;
    while (i < line.size())
    {
        char const c = line[i];
        if (c == ' ' || c == '\t' || c == '\r')
        {
            ++i;
            continue;
        }
        if (c == '#')
            break;
        std::string word;
        if (c == '"')
        {
            ++i;
            bool closed = false;
            while (i < line.size())
            {
                char const d = line[i++];
                if (d == '\\' && i < line.size())
                    word += line[i++];
                else if (d == '"')
                {
                    closed = true;
                    break;
                }
                else
                    word += d;
            }
            if (!closed)
                return false;
        }
        else
        {
            while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\r')
                word += line[i++];
        }
        words.push_back(word);
    }
    return true;
}

std::string Quoted(std::string const& word)
{
    bool const plain = !word.empty() && word.find_first_of(" \t\r\"\\#") == std::string::npos;
    if (plain)
        return word;
    std::string q = "\"";
    for (char c : word)
    {
        if (c == '"' || c == '\\')
            q += '\\';
        q += c;
    }
    return q + '"';
}

// Names are kept short enough that a binding always writes out as a line
// that reads back.
constexpr std::size_t kMaxName = 255;

std::string const& CheckName(std::string const& name, std::string const& where)
{
    if (name.size() > kMaxName)
        Fail(where, "a name longer than " + std::to_string(kMaxName) + " characters");
    return name;
}

bool ReadLine(std::istream& in, std::string& line, bool& tooLong)
{
    line.clear();
    tooLong = false;
    int c;
    bool any = false;
    while ((c = in.get()) != std::char_traits<char>::eof())
    {
        any = true;
        if (c == '\n')
            return true;
        if (line.size() >= kMaxLine)
        {
            tooLong = true;
            return true;
        }
        line += char(c);
    }
    return any;
}

// The key modifiers in the order they are written, and the buttons.
struct KeyWord
{
    char const* name;
    int32 index; // 0 command, 1 option, 2 control, 3 shift, 4 left, 5 middle, 6 right
};
constexpr KeyWord kModifierWords[] = {{"command", 0}, {"option", 1}, {"control", 2}, {"shift", 3},
                                      {"left", 4},    {"middle", 5}, {"right", 6}};

int32 Field(DAW_EventModifiers const& m, int32 index)
{
    switch (index)
    {
    case 0: return m.GetMenuCommandKeyState();
    case 1: return m.GetAlternateKeyState();
    case 2: return m.GetMetaKeyState();
    case 3: return m.GetShiftKeyState();
    case 4: return m.GetLeftButtonState();
    case 5: return m.GetMiddleButtonState();
    default: return m.GetRightButtonState();
    }
}

// Whether every event that b matches, a matches too.
bool Covers(DAW_EventModifiers const& a, DAW_EventModifiers const& b)
{
    for (int32 i = 0; i < 7; ++i)
        if (Field(a, i) != Field(b, i) && !(i < 4 && Field(a, i) == 2))
            return false;
    return true;
}
} // namespace

std::string DAW_KeyBindingText::FormatKey(DAW_KeyEvent const& key, DAW_EventModifiers const& modifiers)
{
    std::string text;
    for (KeyWord const& w : kModifierWords)
    {
        int32 const value = Field(modifiers, w.index);
        if (value == 1)
            text += std::string(w.name) + "+";
        else if (value == 2 && w.index < 4)
            text += std::string(w.name) + "?+";
    }
    DAW_EKeyCode const code = key.GetKeyCode();
    return text + (code == kDAW_KeyNumpadEnter ? std::string("Enter")
                                               : DAW_KeyConversionUtils::DAW_EKeyCodeToDescriptiveString(code));
}

void DAW_KeyBindingText::ParseKey(std::string const& text, std::string const& what, Binding& out)
{
    int32 values[7] = {};
    std::string rest = text;
    for (;;)
    {
        std::size_t const plus = rest.find('+');
        // A last '+' belongs to the key's name ("Numpad +").
        if (plus == std::string::npos || plus + 1 == rest.size())
            break;
        std::string word = Lower(rest.substr(0, plus));
        bool const dontCare = !word.empty() && word.back() == '?';
        if (dontCare)
            word.pop_back();
        KeyWord const* found = nullptr;
        for (KeyWord const& w : kModifierWords)
            if (word == w.name)
                found = &w;
        if (!found)
            break;
        if (dontCare && found->index >= 4)
            Fail(what, "a mouse button is held or not: '" + word + "?' in '" + text + "'");
        if (values[found->index] != 0)
            Fail(what, "'" + word + "' twice in '" + text + "'");
        values[found->index] = dontCare ? 2 : 1;
        rest.erase(0, plus + 1);
    }
    DAW_EKeyCode code = kDAW_KeyInvalid;
    for (int32 c = 1; c < kDAW_KeyCodeCount && code == kDAW_KeyInvalid; ++c)
        if (c != kDAW_KeyNumpadEnter &&
            Lower(DAW_KeyConversionUtils::DAW_EKeyCodeToDescriptiveString(DAW_EKeyCode(c))) == Lower(rest))
            code = DAW_EKeyCode(c);
    if (Lower(rest) == "enter")
        code = kDAW_KeyNumpadEnter;
    if (code == kDAW_KeyInvalid)
    {
        std::size_t const plus = rest.find('+');
        if (plus != std::string::npos && plus + 1 < rest.size())
            Fail(what, "no modifier '" + rest.substr(0, plus) + "' in '" + text + "'");
        Fail(what, "no key '" + rest + "' in '" + text + "'");
    }
    out.mKeyEvent = DAW_KeyEvent::New(code);
    out.mModifiers = DAW_EventModifiers::New(
        DAW_EMenuCommandKeyState(values[0]), DAW_EAlternateKeyState(values[1]), DAW_EMetaKeyState(values[2]),
        DAW_EShiftKeyState(values[3]), DAW_ELeftMouseButtonState(values[4]), DAW_EMiddleMouseButtonState(values[5]),
        DAW_ERightMouseButtonState(values[6]));
}

std::vector<DAW_KeyBindingText::Context> DAW_KeyBindingText::Read(std::istream& in, std::string const& sourceName)
{
    std::vector<Context> contexts;
    std::string line;
    bool tooLong = false;
    std::size_t bindings = 0;
    for (int32 number = 1; ReadLine(in, line, tooLong); ++number)
    {
        std::string const where = Where(sourceName, number);
        if (tooLong)
            Fail(where, "a line longer than " + std::to_string(kMaxLine) + " characters");
        std::vector<std::string> words;
        if (!SplitWords(line, words))
            Fail(where, "a quote is not closed");
        if (words.empty())
            continue;
        if (words[0] == "context")
        {
            if (words.size() != 3)
                Fail(where, "a context is 'context ID NAME'");
            Context c;
            c.mLine = number;
            std::size_t used = 0;
            try
            {
                long long const id = std::stoll(words[1], &used);
                if (used != words[1].size() || id < INT32_MIN || id > INT32_MAX)
                    used = 0;
                c.mContextID = int32(id);
            }
            catch (std::exception const&)
            {
                used = 0;
            }
            if (used == 0)
                Fail(where, "a context's ID is a 32-bit number, not '" + words[1] + "'");
            c.mContextName = CheckName(words[2], where);
            for (Context const& other : contexts)
                if (other.mContextID == c.mContextID)
                    Fail(where, "context " + words[1] + " again (" +
                                    (other.mLine != 0 ? "line " + std::to_string(other.mLine)
                                                      : std::string("the bindings before the first context")) +
                                    ")");
            contexts.push_back(c);
            continue;
        }
        if (words.size() < 2)
            Fail(where, "a binding is 'KEY COMMAND [repeat]'");
        Binding b;
        b.mLine = number;
        ParseKey(words[0], where, b);
        b.mCommandName = CheckName(words[1], where);
        bool repeat = false;
        for (std::size_t i = 2; i < words.size(); ++i)
        {
            if (words[i] != "repeat")
                Fail(where, "no option '" + words[i] + "' (the one option is 'repeat')");
            repeat = true;
        }
        if (repeat)
            b.mKeyEvent = DAW_KeyEvent::New(b.mKeyEvent->GetKeyCode(), kDAW_AutoKeyRepeat);
        if (contexts.empty())
            contexts.push_back(Context());
        if (++bindings > kMaxBindings)
            Fail(where, "more than " + std::to_string(kMaxBindings) + " bindings");
        contexts.back().mBindings.push_back(b);
    }
    if (in.bad())
        Fail(sourceName, "cannot be read");
    return contexts;
}

void DAW_KeyBindingText::Write(std::ostream& out, std::vector<Context> const& contexts)
{
    for (std::size_t i = 0; i < contexts.size(); ++i)
    {
        Context const& c = contexts[i];
        if (i > 0)
            out << '\n';
        out << "context " << c.mContextID << ' ' << Quoted(c.mContextName) << '\n';
        std::size_t width = 0;
        std::vector<std::string> keys;
        for (Binding const& b : c.mBindings)
        {
            keys.push_back(Quoted(FormatKey(*b.mKeyEvent, *b.mModifiers)));
            width = std::max(width, keys.back().size());
        }
        for (std::size_t j = 0; j < c.mBindings.size(); ++j)
        {
            Binding const& b = c.mBindings[j];
            std::string row = keys[j] + std::string(width + 2 - keys[j].size(), ' ') + Quoted(b.mCommandName);
            if (b.mKeyEvent->IsAutoKey())
                row += " repeat";
            out << row << '\n';
        }
    }
}

std::vector<DAW_KeyBindingText::Conflict> DAW_KeyBindingText::FindConflicts(std::vector<Context> const& contexts)
{
    std::vector<Conflict> conflicts;
    for (Context const& c : contexts)
    {
        // Bindings of one key, in order: resolution walks them so.
        std::vector<Binding> sorted = c.mBindings;
        std::stable_sort(sorted.begin(), sorted.end(),
                         [](Binding const& a, Binding const& b)
                         { return a.mKeyEvent->GetKeyCode() < b.mKeyEvent->GetKeyCode(); });
        for (std::size_t i = 0; i < sorted.size(); ++i)
            for (std::size_t j = i + 1;
                 j < sorted.size() && sorted[j].mKeyEvent->GetKeyCode() == sorted[i].mKeyEvent->GetKeyCode(); ++j)
                // Meeting modifiers on both sides is exactly "some event
                // matches both": each key field equal or don't care on one.
                if (*sorted[i].mModifiers == *sorted[j].mModifiers)
                    conflicts.push_back(
                        {c.mContextID, sorted[i], sorted[j], Covers(*sorted[i].mModifiers, *sorted[j].mModifiers)});
    }
    return conflicts;
}

void DAW_KeyBindingText::AddToMap(Context const& context, DAW_KeyBindingMap& map, std::string const& sourceName)
{
    for (Binding const& b : context.mBindings)
    {
        DAW_Command* const command =
            DAW_CommandRegistry::GetCommandMap() ? DAW_CommandRegistry::FindCommandByName(b.mCommandName) : nullptr;
        if (!command)
            Fail(Where(sourceName, b.mLine), "no command '" + b.mCommandName + "'");
        map.AddKeyBinding(DAW_KeyBinding::New(b.mKeyEvent, b.mModifiers, command));
    }
}

DAW_KeyBindingText::Context DAW_KeyBindingText::FromMap(DAW_KeyBindingMap& map, int32 contextID,
                                                        std::string const& contextName)
{
    Context c;
    c.mContextID = contextID;
    c.mContextName = contextName;
    if (DAW_KeyBindingMap::KeyMap* const keys = map.GetKeyMap())
        for (auto const& [key, binding] : *keys)
            c.mBindings.push_back(Binding{0, binding->GetKeyEvent(), binding->GetEventModifiers(),
                                          binding->GetCommand() ? binding->GetCommand()->GetName() : std::string()});
    return c;
}
