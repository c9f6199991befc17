#include "tools/vfl/OptionParser.h"

#include "tools/vfl/UsageError.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

namespace vfl
{
namespace
{
std::vector<std::string> WordsOf(char const* value)
{
    std::istringstream in(value);
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

bool TakesAll(char const* value)
{
    std::string const v = value;
    return v.size() > 3 && v.compare(v.size() - 3, 3, "...") == 0;
}

// An argument that is an option rather than a value: "-" alone and
// negative numbers are values.
bool LooksLikeOption(std::string const& a)
{
    return a.size() > 1 && a[0] == '-' && !(a[1] >= '0' && a[1] <= '9');
}

bool ParseWhole(std::string const& text, int64* value)
{
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *value);
    return ec == std::errc() && end == text.data() + text.size();
}

// A non-negative decimal number with an optional fraction.
bool ParseDecimal(std::string const& text, double* value)
{
    if (text.empty() || text.find_first_not_of("0123456789.") != std::string::npos ||
        std::count(text.begin(), text.end(), '.') > 1 || text == ".")
        return false;
    *value = std::strtod(text.c_str(), nullptr);
    return std::isfinite(*value);
}
} // namespace

int64 TimeValue::ToFrames(int32 rate) const
{
    return inSeconds ? static_cast<int64>(std::llround(seconds * rate)) : frames;
}

OptionParser::OptionParser(CommandSpec const& command) : mSpec(command) {}

OptionSpec const* OptionParser::Find(std::string const& longName) const
{
    for (auto const& o : mSpec.options)
        if (longName == o.name)
            return &o;
    return nullptr;
}

OptionSpec const* OptionParser::FindShort(char c) const
{
    for (auto const& o : mSpec.options)
        if (o.shortName != 0 && o.shortName == c)
            return &o;
    return nullptr;
}

void OptionParser::Take(OptionSpec const& option, std::string const& spelt, std::vector<std::string> values)
{
    if (option.value && !TakesAll(option.value))
    {
        std::vector<std::string> const words = WordsOf(option.value);
        for (std::size_t k = 0; k < values.size() && k < words.size(); ++k)
            if (values[k].empty())
                throw UsageError(spelt + " needs a " + words[k] + ", not an empty one");
    }
    mValues[option.name] = std::move(values);
    mGiven.push_back(option.name);
}

void OptionParser::Parse(int argc, char** argv)
{
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        if (optionsEnded || !LooksLikeOption(a))
        {
            mOperands.push_back(a);
            continue;
        }
        if (a == "--")
        {
            optionsEnded = true;
            continue;
        }
        if (a == "--help" || a == "-h")
        {
            mHelp = true;
            continue;
        }
        OptionSpec const* option = nullptr;
        std::string spelt;
        bool hasAttached = false;
        std::string attached;
        if (a.compare(0, 2, "--") == 0)
        {
            std::string name = a.substr(2);
            if (std::size_t const eq = name.find('='); eq != std::string::npos)
            {
                hasAttached = true;
                attached = name.substr(eq + 1);
                name.resize(eq);
            }
            option = Find(name);
            spelt = "--" + name;
        }
        else
        {
            option = FindShort(a[1]);
            spelt = a.substr(0, 2);
            if (a.size() > 2)
            {
                hasAttached = true;
                attached = a.substr(2);
            }
            if (option && !option->value && hasAttached)
                option = nullptr; // "-qx" is no switch of ours
        }
        if (!option)
            throw UsageError("unknown option '" + a + "'");
        if (!option->value)
        {
            if (hasAttached)
                throw UsageError(spelt + " takes no value");
            Take(*option, spelt, {});
            continue;
        }
        std::vector<std::string> values;
        if (hasAttached)
            values.push_back(attached);
        if (TakesAll(option->value))
        {
            while (i + 1 < argc && !LooksLikeOption(argv[i + 1]))
                values.push_back(argv[++i]);
            if (values.empty())
                throw UsageError(spelt + " needs at least one " +
                                 std::string(option->value).substr(0, std::string(option->value).size() - 3));
        }
        else
        {
            std::size_t const words = WordsOf(option->value).size();
            while (values.size() < words)
            {
                if (i + 1 >= argc || LooksLikeOption(argv[i + 1]))
                    throw UsageError(spelt + " needs " + (words > 1 ? "" : "a ") + option->value);
                values.push_back(argv[++i]);
            }
        }
        Take(*option, spelt, std::move(values));
    }
    if (mHelp)
        return;
    int const count = static_cast<int>(mOperands.size());
    if (count < mSpec.minOperands)
        throw UsageError(count == 0 ? "no file given" : "too few files given");
    if (mSpec.maxOperands >= 0 && count > mSpec.maxOperands)
        throw UsageError(mSpec.maxOperands == 0 ? "unexpected argument '" + mOperands.front() + "'"
                                                : "one file at a time, not also '" +
                                                      mOperands[static_cast<std::size_t>(mSpec.maxOperands)] + "'");
}

namespace
{
// Appends words after lead, breaking the line before a word that would
// pass column 80 and going on at indent: a help fits a terminal however
// its text was broken into lines.
void AppendWrapped(std::string& text, std::string lead, std::string const& words, std::string const& indent)
{
    constexpr std::size_t kColumns = 80;
    std::istringstream in(words);
    std::string line = std::move(lead);
    bool empty = true;
    for (std::string word; in >> word;)
    {
        if (!empty && line.size() + 1 + word.size() > kColumns)
        {
            text += line + "\n";
            line = indent;
            empty = true;
        }
        line += (empty ? "" : " ") + word;
        empty = false;
    }
    text += line + "\n";
}
} // namespace

std::string OptionParser::Help() const
{
    std::string text;
    std::istringstream synopsis(mSpec.synopsis);
    bool first = true;
    std::string const command = std::string("vfl ") + mSpec.name;
    for (std::string line; std::getline(synopsis, line); first = false)
        AppendWrapped(text, std::string(first ? "Usage: " : "       ") + command + " ", line,
                      std::string(8 + command.size(), ' '));
    text += "\n" + std::string(mSpec.description) + "\n\nOptions:\n";

    std::vector<std::pair<std::string, std::string>> rows;
    for (auto const& o : mSpec.options)
    {
        std::string left = o.shortName ? std::string("-") + o.shortName + ", " : "    ";
        left += std::string("--") + o.name + (o.value ? std::string(" ") + o.value : "");
        rows.emplace_back(left, o.help);
    }
    rows.emplace_back("-h, --help", "print this help");
    std::size_t width = 0;
    for (auto const& r : rows)
        width = std::max(width, r.first.size());
    width = std::min<std::size_t>(width, 28);
    std::string const indent(width + 4, ' ');
    for (auto const& [left, help] : rows)
    {
        std::string lead = "  " + left;
        if (lead.size() + 2 > indent.size())
        {
            text += lead + "\n";
            lead = indent;
        }
        lead.resize(indent.size(), ' ');
        AppendWrapped(text, lead, help, indent);
    }
    return text;
}

bool OptionParser::Has(std::string const& name) const
{
    return mValues.count(name) != 0;
}

std::vector<std::string> OptionParser::Values(std::string const& name) const
{
    auto const it = mValues.find(name);
    return it == mValues.end() ? std::vector<std::string>() : it->second;
}

std::string OptionParser::Text(std::string const& name, std::string const& fallback) const
{
    auto const it = mValues.find(name);
    return it == mValues.end() || it->second.empty() ? fallback : it->second.front();
}

int64 OptionParser::ParseCount(std::string const& what, std::string const& text, int64 low, int64 high)
{
    int64 value = 0;
    if (!ParseWhole(text, &value) || value < low || value > high)
        throw UsageError(what + " needs a whole number from " + std::to_string(low) + " to " + std::to_string(high) +
                         ", not '" + text + "'");
    return value;
}

int64 OptionParser::Count(std::string const& name, int64 fallback, int64 low, int64 high) const
{
    return Has(name) ? ParseCount("--" + name, Text(name), low, high) : fallback;
}

int64 OptionParser::Rate(std::string const& name, int64 fallback) const
{
    if (!Has(name))
        return fallback;
    std::string const text = Text(name);
    double value = 0;
    bool ok = false;
    if (!text.empty() && (text.back() == 'k' || text.back() == 'K'))
        ok = ParseDecimal(text.substr(0, text.size() - 1), &value) && (value *= 1000, true);
    else
        ok = ParseDecimal(text, &value);
    if (!ok || value != std::floor(value) || value < 1 || value > 1000000)
        throw UsageError("--" + name + " needs a sample rate in Hz from 1 to 1000000, such as 48000 or 44.1k, not '" +
                         text + "'");
    return static_cast<int64>(value);
}

TimeValue OptionParser::ParseTime(std::string const& what, std::string const& text)
{
    TimeValue t;
    int64 frames = 0;
    if (ParseWhole(text, &frames))
    {
        t.frames = frames;
        return t;
    }
    bool ok = false;
    double seconds = 0;
    if (!text.empty() && text.back() == 's')
        ok = ParseDecimal(text.substr(0, text.size() - 1), &seconds);
    else if (std::count(text.begin(), text.end(), ':') == 1 || std::count(text.begin(), text.end(), ':') == 2)
    {
        // [h:]m:ss[.frac]: the minutes and seconds of a clock.
        std::vector<std::string> parts;
        std::istringstream in(text);
        for (std::string p; std::getline(in, p, ':');)
            parts.push_back(p);
        ok = parts.size() >= 2 && text.back() != ':';
        double total = 0;
        for (std::size_t k = 0; ok && k < parts.size(); ++k)
        {
            double v = 0;
            bool const last = k + 1 == parts.size();
            int64 whole = 0;
            ok = last ? ParseDecimal(parts[k], &v) : ParseWhole(parts[k], &whole);
            if (!last)
                v = static_cast<double>(whole);
            if (k > 0 && v >= 60)
                ok = false;
            total = total * 60 + v;
        }
        seconds = total;
    }
    if (!ok)
        throw UsageError(what + " needs a time: frames (4410), seconds (90s) or minutes and seconds (1:30.5), not '" +
                         text + "'");
    t.inSeconds = true;
    t.seconds = seconds;
    return t;
}

TimeValue OptionParser::Time(std::string const& name) const
{
    return ParseTime("--" + name, Text(name));
}
} // namespace vfl
