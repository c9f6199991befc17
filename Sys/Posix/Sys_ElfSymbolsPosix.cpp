#include "Sys/Posix/Sys_ElfSymbolsPosix.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{

// No table of a real module comes near this; a larger one is refused
// rather than read into memory.
constexpr uint64 kMaxTableSize = 512ULL << 20;

bool ReadAt(int fd, uint64 fileSize, uint64 offset, uint64 size, void* out)
{
    if (offset > fileSize || size > fileSize - offset)
        return false;
    auto* bytes = static_cast<char*>(out);
    while (size > 0)
    {
        ssize_t const got = ::pread(fd, bytes, size, static_cast<off_t>(offset));
        if (got <= 0)
            return false;
        bytes += got;
        offset += static_cast<uint64>(got);
        size -= static_cast<uint64>(got);
    }
    return true;
}

std::string Hex(unsigned char const* bytes, size_t size)
{
    static char const kDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; ++i)
    {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return text;
}

// The build id of a note section's body, or empty.
std::string BuildIdOfNotes(std::string const& notes)
{
    size_t pos = 0;
    while (notes.size() - pos >= sizeof(Elf64_Nhdr))
    {
        Elf64_Nhdr header;
        std::memcpy(&header, notes.data() + pos, sizeof header);
        pos += sizeof header;
        uint64 const nameSize = (uint64{header.n_namesz} + 3) & ~uint64{3};
        uint64 const descSize = (uint64{header.n_descsz} + 3) & ~uint64{3};
        if (nameSize > notes.size() - pos || descSize > notes.size() - pos - nameSize)
            break;
        if (header.n_type == NT_GNU_BUILD_ID && header.n_namesz == 4 && std::memcmp(notes.data() + pos, "GNU", 4) == 0)
            return Hex(reinterpret_cast<unsigned char const*>(notes.data() + pos + nameSize), header.n_descsz);
        pos += nameSize + descSize;
    }
    return std::string();
}

} // namespace

Sys_ElfSymbolsPosix::Sys_ElfSymbolsPosix(std::string const& path)
{
    // A log may name anything: a pipe must not hold the reader up.
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return;
    struct stat st;
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode))
        Read(fd, static_cast<uint64>(st.st_size));
    ::close(fd);
}

void Sys_ElfSymbolsPosix::Read(int fd, uint64 fileSize)
{
    Elf64_Ehdr header;
    if (!ReadAt(fd, fileSize, 0, sizeof header, &header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_ident[EI_DATA] != ELFDATA2LSB ||
        header.e_shentsize != sizeof(Elf64_Shdr) || header.e_shnum == 0)
        return;
    std::vector<Elf64_Shdr> sections(header.e_shnum);
    if (!ReadAt(fd, fileSize, header.e_shoff, sections.size() * sizeof(Elf64_Shdr), sections.data()))
        return;

    for (Elf64_Shdr const& section : sections)
    {
        if (section.sh_type == SHT_NOTE && mBuildId.empty() && section.sh_size <= 4096)
        {
            std::string notes(section.sh_size, '\0');
            if (ReadAt(fd, fileSize, section.sh_offset, notes.size(), notes.data()))
                mBuildId = BuildIdOfNotes(notes);
        }
    }

    // The full table where the file still has it, else the dynamic one.
    for (unsigned kind : {unsigned{SHT_SYMTAB}, unsigned{SHT_DYNSYM}})
    {
        for (Elf64_Shdr const& section : sections)
        {
            if (section.sh_type != kind || section.sh_entsize != sizeof(Elf64_Sym) ||
                section.sh_link >= sections.size())
                continue;
            Elf64_Shdr const& strings = sections[section.sh_link];
            // Sizes past the file are refused before anything is allocated.
            if (section.sh_size > std::min(kMaxTableSize, fileSize) ||
                strings.sh_size > std::min(kMaxTableSize, fileSize) || strings.sh_size == 0)
                continue;
            std::vector<Elf64_Sym> symbols(section.sh_size / sizeof(Elf64_Sym));
            std::string names(strings.sh_size, '\0');
            if (!ReadAt(fd, fileSize, section.sh_offset, symbols.size() * sizeof(Elf64_Sym), symbols.data()) ||
                !ReadAt(fd, fileSize, strings.sh_offset, names.size(), names.data()))
                continue;
            names.back() = '\0'; // every name ends inside the table
            uint64 const base = mNames.size();
            for (Elf64_Sym const& symbol : symbols)
            {
                unsigned const type = ELF64_ST_TYPE(symbol.st_info);
                if ((type != STT_FUNC && type != STT_GNU_IFUNC) || symbol.st_shndx == SHN_UNDEF ||
                    symbol.st_value == 0 || symbol.st_name >= names.size() || base + symbol.st_name > UINT32_MAX)
                    continue;
                mSymbols.push_back({symbol.st_value, symbol.st_size, static_cast<uint32>(base + symbol.st_name)});
            }
            mNames += names;
        }
        if (!mSymbols.empty())
            break;
    }
    std::sort(mSymbols.begin(), mSymbols.end(), [](Symbol const& a, Symbol const& b) { return a.start < b.start; });
}

bool Sys_ElfSymbolsPosix::Find(uint64 offset, std::string* name, uint64* displacement) const
{
    auto it = std::upper_bound(mSymbols.begin(), mSymbols.end(), offset,
                               [](uint64 value, Symbol const& symbol) { return value < symbol.start; });
    if (it == mSymbols.begin())
        return false;
    --it;
    // Of symbols at one address, the one that has a size says where it ends.
    while (it != mSymbols.begin() && it->size == 0 && std::prev(it)->start == it->start)
        --it;
    if (offset - it->start >= std::max<uint64>(it->size, 1))
        return false;
    *name = mNames.c_str() + it->name;
    *displacement = offset - it->start;
    return true;
}
