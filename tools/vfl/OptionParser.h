// The command line of every vfl command, read from one table per command,
// so that what is accepted, what is said when it is wrong and what --help
// prints cannot disagree.
//
// Accepted forms: --name VALUE and --name=VALUE; -x VALUE and -xVALUE for
// an option with a short name; "--" ends the options; "-" alone is an
// operand (standard input or output). Switches take no value.
#pragma once

#include "Cmn/Cmn_Types.h"

#include <map>
#include <string>
#include <vector>

namespace vfl
{
// One option of a command.
struct OptionSpec
{
    char shortName;    // 0 for none
    char const* name;  // the long name, without the dashes
    char const* value; // nullptr for a switch; else the value's words as help shows
                       // them: "HZ", "NAME START STOP" (three values), or "OUT..."
                       // (every argument up to the next option)
    char const* help;  // lines after the first begin with '\n'
};

// What a command takes: its operands, what it does and its options.
struct CommandSpec
{
    char const* name;        // "convert"
    char const* synopsis;    // after "vfl NAME "; several forms separated by '\n'
    char const* description; // a paragraph for --help
    std::vector<OptionSpec> options;
    int minOperands;
    int maxOperands; // -1: no limit
};

// A length of time as the user gave it: a count of frames ("4410") or
// seconds ("90s", "1:30.5", "1:02:03").
struct TimeValue
{
    bool inSeconds = false;
    int64 frames = 0;
    double seconds = 0;
    // Frames at the given rate, rounded to the nearest.
    int64 ToFrames(int32 rate) const;
};

class OptionParser
{
public:
    explicit OptionParser(CommandSpec const& command);

    // Reads argv[1] to argv[argc - 1] (argv[0] is the command's name).
    // Throws UsageError for an unknown option, a missing or extra value,
    // or too few or too many operands.
    void Parse(int argc, char** argv);

    bool HelpAsked() const { return mHelp; }
    std::string Help() const;

    std::vector<std::string> const& Operands() const { return mOperands; }
    bool Has(std::string const& name) const;
    // The long names of the options used, in the order given.
    std::vector<std::string> const& Given() const { return mGiven; }
    // The values of the option's last use; empty if it was not used.
    std::vector<std::string> Values(std::string const& name) const;
    // The first value of the last use, or `fallback`.
    std::string Text(std::string const& name, std::string const& fallback = "") const;

    // Typed values; each throws UsageError naming the option for a value
    // that is not of its kind or outside [low, high].
    int64 Count(std::string const& name, int64 fallback, int64 low, int64 high) const;
    // A sample rate: "48000", "48k", "44.1k".
    int64 Rate(std::string const& name, int64 fallback) const;
    TimeValue Time(std::string const& name) const;
    // The same kinds for values that are not options (an operand, a word of
    // a value with several): `what` names it in the message.
    static int64 ParseCount(std::string const& what, std::string const& text, int64 low, int64 high);
    static TimeValue ParseTime(std::string const& what, std::string const& text);

private:
    OptionSpec const* Find(std::string const& longName) const;
    OptionSpec const* FindShort(char c) const;
    void Take(OptionSpec const& option, std::string const& spelt, std::vector<std::string> values);

    CommandSpec const& mSpec;
    bool mHelp = false;
    std::vector<std::string> mOperands;
    std::map<std::string, std::vector<std::string>> mValues;
    std::vector<std::string> mGiven;
};
} // namespace vfl
