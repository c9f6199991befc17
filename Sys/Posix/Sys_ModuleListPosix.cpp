#include "Sys/Posix/Sys_ModuleListPosix.h"

#include <cxxabi.h>
#include <elf.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <ostream>
#include <sstream>

#include "Sys/Posix/Sys_ElfSymbolsPosix.h"

namespace
{

std::string ExecutablePath()
{
    char buffer[4096];
    ssize_t const got = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    return got > 0 ? std::string(buffer, static_cast<size_t>(got)) : std::string();
}

std::string BuildIdInMemory(dl_phdr_info const* info)
{
    for (int i = 0; i < info->dlpi_phnum; ++i)
    {
        ElfW(Phdr) const& header = info->dlpi_phdr[i];
        if (header.p_type != PT_NOTE)
            continue;
        auto const* pos = reinterpret_cast<char const*>(info->dlpi_addr + header.p_vaddr);
        auto const* end = pos + header.p_memsz;
        while (end - pos >= static_cast<ptrdiff_t>(sizeof(ElfW(Nhdr))))
        {
            ElfW(Nhdr) note;
            std::memcpy(&note, pos, sizeof note);
            pos += sizeof note;
            size_t const nameSize = (note.n_namesz + 3u) & ~3u;
            size_t const descSize = (note.n_descsz + 3u) & ~3u;
            if (static_cast<size_t>(end - pos) < nameSize + descSize)
                break;
            if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == 4 && std::memcmp(pos, "GNU", 4) == 0)
            {
                std::ostringstream hex;
                hex << std::hex << std::setfill('0');
                for (size_t k = 0; k < note.n_descsz; ++k)
                    hex << std::setw(2) << static_cast<unsigned>(static_cast<unsigned char>(pos[nameSize + k]));
                return hex.str();
            }
            pos += nameSize + descSize;
        }
    }
    return std::string();
}

int AddModule(dl_phdr_info* info, size_t, void* data)
{
    auto* modules = static_cast<std::vector<Sys_ModuleListPosix::Module>*>(data);
    Sys_ModuleListPosix::Module module;
    module.base = info->dlpi_addr;
    bool loaded = false;
    for (int i = 0; i < info->dlpi_phnum; ++i)
    {
        ElfW(Phdr) const& header = info->dlpi_phdr[i];
        if (header.p_type != PT_LOAD)
            continue;
        uint64 const start = info->dlpi_addr + header.p_vaddr;
        uint64 const end = start + header.p_memsz;
        module.start = loaded ? std::min(module.start, start) : start;
        module.end = loaded ? std::max(module.end, end) : end;
        loaded = true;
    }
    if (!loaded)
        return 0;
    module.path = info->dlpi_name && info->dlpi_name[0] ? info->dlpi_name : std::string();
    if (module.path.empty() && modules->empty())
        module.path = ExecutablePath(); // the program itself comes first, without a name
    module.buildId = BuildIdInMemory(info);
    modules->push_back(std::move(module));
    return 0;
}

bool ParseHex(std::string const& word, uint64* value)
{
    if (word.size() < 3 || word.size() > 18 || word[0] != '0' || word[1] != 'x')
        return false;
    char* end = nullptr;
    *value = std::strtoull(word.c_str() + 2, &end, 16);
    return end && *end == '\0';
}

std::string Demangled(std::string const& name)
{
    int status = 0;
    char* text = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status);
    if (status != 0 || !text)
        return name;
    std::string result(text);
    std::free(text);
    return result;
}

} // namespace

constexpr char Sys_ModuleListPosix::kHeading[];

Sys_ModuleListPosix::Sys_ModuleListPosix() = default;
Sys_ModuleListPosix::~Sys_ModuleListPosix() = default;
Sys_ModuleListPosix::Sys_ModuleListPosix(Sys_ModuleListPosix&&) noexcept = default;
Sys_ModuleListPosix& Sys_ModuleListPosix::operator=(Sys_ModuleListPosix&&) noexcept = default;

Sys_ModuleListPosix Sys_ModuleListPosix::Current()
{
    Sys_ModuleListPosix list;
    ::dl_iterate_phdr(&AddModule, &list.mModules);
    return list;
}

void Sys_ModuleListPosix::Write(std::ostream& os) const
{
    os << kHeading << '\n' << std::hex;
    for (Module const& m : mModules)
        os << "0x" << m.base << " 0x" << m.start << " 0x" << m.end << ' ' << (m.buildId.empty() ? "-" : m.buildId)
           << ' ' << m.path << '\n';
    os << std::dec;
}

Sys_ModuleListPosix Sys_ModuleListPosix::SplitFromText(std::string* text)
{
    Sys_ModuleListPosix list;
    std::string const heading = std::string(kHeading) + '\n';
    size_t at = text->rfind('\n' + heading);
    if (at != std::string::npos)
        ++at;
    else if (text->compare(0, heading.size(), heading) == 0)
        at = 0;
    else
        return list;
    std::istringstream lines(text->substr(at + heading.size()));
    text->resize(at);
    std::string line;
    while (std::getline(lines, line))
    {
        std::istringstream words(line);
        std::string base, start, end, buildId;
        Module m;
        if (!(words >> base >> start >> end >> buildId) || !ParseHex(base, &m.base) || !ParseHex(start, &m.start) ||
            !ParseHex(end, &m.end) || m.start > m.end)
            continue;
        words.get(); // the blank before the path
        std::getline(words, m.path);
        m.buildId = buildId == "-" ? std::string() : buildId;
        list.mModules.push_back(std::move(m));
    }
    return list;
}

bool Sys_ModuleListPosix::Resolve(uint64 address, std::string* name, uint64* displacement) const
{
    if (mSymbols.size() != mModules.size())
        mSymbols.resize(mModules.size());
    for (size_t i = 0; i < mModules.size(); ++i)
    {
        Module const& m = mModules[i];
        // A module without a file of its own (the kernel's vdso) has no
        // absolute path, and is not looked for in the current folder.
        if (address < m.start || address >= m.end || m.path.empty() || m.path[0] != '/')
            continue;
        if (!mSymbols[i])
            mSymbols[i] = std::make_unique<Sys_ElfSymbolsPosix>(m.path);
        Sys_ElfSymbolsPosix const& symbols = *mSymbols[i];
        if (!m.buildId.empty() && !symbols.GetBuildId().empty() && m.buildId != symbols.GetBuildId())
            return false;
        std::string mangled;
        if (!symbols.Find(address - m.base, &mangled, displacement))
            return false;
        *name = Demangled(mangled);
        return true;
    }
    return false;
}
