#include "DAW/DAW_KeyBindingText.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace
{
vfl::CommandSpec const kSpec = {"keys",
                                "FILE",
                                "Reads a file of key bindings and prints them as the workstation reads\n"
                                "them: each context, then one binding a line, the key with its modifiers\n"
                                "(command, option, control, shift, '?' for up or down, the mouse buttons\n"
                                "left, middle, right), the command and 'repeat' where repeats run it.\n"
                                "Then lists the conflicts: two bindings of one context that one key\n"
                                "event would both match, of which only the first ever runs for it.\n"
                                "Exits with 1 when there are conflicts. FILE '-' is standard input.",
                                {},
                                1,
                                1};

std::string Describe(DAW_KeyBindingText::Binding const& b)
{
    return "line " + std::to_string(b.mLine) + " '" + DAW_KeyBindingText::FormatKey(*b.mKeyEvent, *b.mModifiers) +
           "' (" + b.mCommandName + ")";
}
} // namespace

int CmdKeys(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const& path = args.Operands().front();

    std::vector<DAW_KeyBindingText::Context> contexts;
    try
    {
        if (path == "-")
            contexts = DAW_KeyBindingText::Read(std::cin, "standard input");
        else
        {
            std::ifstream in(path, std::ios::binary);
            if (!in)
            {
                vfl::ReportFileError("keys", "", path, "cannot be opened");
                return 1;
            }
            contexts = DAW_KeyBindingText::Read(in, path);
        }
    }
    catch (std::exception const& e)
    {
        vfl::ReportError("keys", vfl::ExceptionText(e));
        return 1;
    }

    std::ostringstream text;
    DAW_KeyBindingText::Write(text, contexts);
    std::vector<DAW_KeyBindingText::Conflict> const conflicts = DAW_KeyBindingText::FindConflicts(contexts);
    if (!conflicts.empty())
        text << '\n';
    for (DAW_KeyBindingText::Conflict const& c : conflicts)
    {
        text << "conflict in context " << c.mContextID << ": ";
        if (c.mSecondNeverRuns)
            text << Describe(c.mSecond) << " never runs: " << Describe(c.mFirst) << " matches first\n";
        else
            text << Describe(c.mFirst) << " and " << Describe(c.mSecond)
                 << " match some of the same events; the first runs for them\n";
    }
    std::cout << text.str();
    std::cout.flush();
    return conflicts.empty() ? 0 : 1;
}
