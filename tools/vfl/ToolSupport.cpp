#include "tools/vfl/ToolSupport.h"

#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_FourCharCode.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Terminal.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

namespace vfl
{

std::vector<Format> const& Formats()
{
    static std::vector<Format> const formats = {
        {"wav", {"wav"}, {"wave"}, {"WAVE", ".WAV"}, "WAVE audio", false},
        // "aif" and "aiff" mean plain AIFF, "aifc" AIFF-C.
        {"aif", {"aif", "aiff"}, {}, {"AIFF"}, "AIFF audio", false, true},
        {"aifc", {"aifc"}, {}, {"AIFC"}, "AIFF-C audio", false, true},
        {"mp3", {"mp3"}, {}, {}, "MP3 audio", true},
        // A VORN file is known by its resource fork whatever its name;
        // ".vorn" names the type for the files vfl writes.
        {"vorn", {"vorn"}, {}, {"Vn4f"}, "VORN audio", false},
    };
    return formats;
}

Format const* FindFormat(std::string const& name)
{
    std::string lower = name;
    for (char& c : lower)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    for (Format const& f : Formats())
    {
        for (auto const* list : {&f.extensions, &f.aliases})
            for (char const* n : *list)
                if (lower == n)
                    return &f;
    }
    return nullptr;
}

void InitLibrary()
{
    Sys_Init::Init();
    // A fault on this thread is reported as the failure it is, as on the
    // library's own threads.
    Sys_Utils::InstallSEHandler();
    // The types a user of this host expects, registered before any location
    // is asked for its name: every extension first, then the Macintosh
    // types, and each format's names as one group.
    auto mac = [](char const* code)
    {
        char text[5] = {};
        std::memcpy(text, code, 4);
        return Sys_FileType(static_cast<int32>(Cmn_FourCharCode(text)));
    };
    std::vector<Sys_FileType> known;
    std::vector<std::string> descriptions;
    for (Format const& f : Formats())
        for (char const* e : f.extensions)
        {
            known.emplace_back(std::string(e));
            descriptions.emplace_back(f.description);
        }
    for (Format const& f : Formats())
        if (!f.macTypes.empty())
        {
            known.push_back(mac(f.macTypes.front()));
            descriptions.emplace_back(f.description);
        }
    Sys_Utils::RegisterKnownTypes(known, descriptions);
    for (Format const& f : Formats())
    {
        std::vector<Sys_FileType> group;
        for (char const* e : f.extensions)
            group.emplace_back(std::string(e));
        for (char const* m : f.macTypes)
            group.push_back(mac(m));
        Sys_Utils::RegisterEquivalentTypes(group);
    }
}

Sys_FileType TypeFromName(std::string const& name)
{
    Format const* format = FindFormat(name);
    return Sys_FileType(std::string(format ? format->name : name.c_str()));
}

Sys_FileLoc LocationFromArgument(std::string const& path)
{
    std::error_code ec;
    std::filesystem::path absolute = std::filesystem::absolute(path, ec);
    return Sys_FileLoc((ec ? std::filesystem::path(path) : absolute.lexically_normal()).string());
}

std::string TypeName(FF_AudioFile& file)
{
    if (!file.Implements(FF_AudioFile::eImportExportInterface))
        return "unknown";
    std::string name = file.GetDescription(FF_AudioFile::eShortDescription);
    if (name == "WAVE")
        return "wav";
    for (auto& c : name)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return name;
}

std::string WhyNotChangeableInPlace(std::string const& path)
{
    if (path == "-")
        return "standard input cannot be changed in place; name the file";
    if (IsPipe(path))
        return "a pipe cannot be changed in place; name the file";
    return "";
}

std::string WhyNotRewritable(FF_AudioFile& file)
{
    Format const* format = FindFormat(TypeName(file));
    int64 const size = file.GetFileAttr().GetSize();
    if (!format || !format->sizesOf32Bits || size <= 0xFFFFFFFFll)
        return "";
    return std::string(format->description) + " has 32-bit sizes and this file is " + std::to_string(size) +
           " bytes long: it cannot be rewritten ('vfl convert' makes a WAVE file of it)";
}

std::string ExceptionText(std::exception const& e)
{
    auto const* own = dynamic_cast<Cmn_Exception const*>(&e);
    std::string const text = own ? own->GetFullDescription() : e.what();
    // One line per failure: the contexts follow the code's text.
    std::string line;
    std::size_t start = 0;
    while (start <= text.size())
    {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string part = text.substr(start, end - start);
        part.erase(0, part.find_first_not_of(" \t"));
        if (!part.empty())
            line += (line.empty() ? "" : "; ") + part;
        start = end + 1;
    }
    return line;
}

void ReportError(std::string const& context, std::string const& text)
{
    std::fprintf(stderr, "vfl: %s: %s\n", context.c_str(), text.c_str());
}

void ReportFileError(std::string const& command, std::string const& role, std::string const& path,
                     std::string const& text)
{
    ReportError(command + ": " + (role.empty() ? "" : role + " ") + path, text);
}

std::string UniqueOutputPath(std::string const& wished)
{
    std::size_t const slash = wished.find_last_of('/');
    std::string const folderPath = slash == std::string::npos ? "." : wished.substr(0, slash + 1);
    std::string name = slash == std::string::npos ? wished : wished.substr(slash + 1);
    std::string extension;
    if (std::size_t const dot = name.find_last_of('.'); dot != std::string::npos && dot > 0)
    {
        extension = name.substr(dot + 1);
        name.erase(dot);
    }
    Sys_FileLoc const folder = LocationFromArgument(folderPath + "/");
    Sys_FileLoc chosen;
    FF_AudioFileUtils::GetUniqueMonoAudioFileLoc(folder, name, extension, &chosen,
                                                 Sys_Utils::GetMaxFileNameLength(folder));
    return chosen.GetFullPath();
}

std::string ToUtf8(std::string const& text)
{
    // Valid UTF-8 stays as it is; anything else is taken as Latin-1, the
    // usual text of broadcast fields written by recorders.
    auto valid = [&]
    {
        for (std::size_t i = 0; i < text.size();)
        {
            auto const c = static_cast<unsigned char>(text[i]);
            int const more = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : -1;
            bool const cut = i + static_cast<std::size_t>(more) >= text.size();
            if (more < 0 || (more > 0 && (c < 0xC2 || cut)))
                return false;
            for (int k = 1; k <= more; ++k)
                if ((static_cast<unsigned char>(text[i + static_cast<std::size_t>(k)]) >> 6) != 2)
                    return false;
            i += static_cast<std::size_t>(more) + 1;
        }
        return true;
    };
    if (valid())
        return text;
    std::string out;
    for (unsigned char c : text)
    {
        if (c < 0x80)
            out += static_cast<char>(c);
        else
        {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

std::string JsonString(std::string const& raw)
{
    std::string const text = ToUtf8(raw);
    std::string out = "\"";
    for (unsigned char c : text)
    {
        switch (c)
        {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20)
            {
                char buffer[8];
                std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
                out += buffer;
            }
            else
                out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

} // namespace vfl
