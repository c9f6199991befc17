// A recent-items list file, which any program (or a broken disk) may have
// written: whatever it holds is read up to the list's capacity, written
// back as it was read, and each entry is looked at without harm.
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_RecentItems.h"
#include "Sys/Sys_RecentItemsList.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

// Locations are made by the system layer.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Sys_Init::Init();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const bytes(reinterpret_cast<char const*>(data), size);
    // A small capacity, so that the fuzzer reaches the cut.
    Sys_RecentItemsList list(8);
    list.Parse(bytes);
    if (list.GetItems().size() > 8)
        std::abort();
    Sys_RecentItemsList again(8);
    again.Parse(list.Format());
    if (again.Format() != list.Format())
        std::abort();
    Sys_RecentItemsList added(4);
    for (Sys_RecentItem const& item : list.GetItems())
    {
        // As the background pass looks at an entry, and a menu shows one
        // found there.
        Sys_FileType type;
        bool online = false;
        if (Sys_RecentItems::Probe(item.mPath, &type, &online) && online)
        {
            Sys_FileLoc const loc(item.mPath);
            (void)loc.GetFullPath();
            (void)loc.GetFileName();
        }
        added.Add(item);
        if (!Sys_RecentItemsList::IsSamePath(added.GetItems().front().mPath, item.mPath))
            std::abort();
    }
    if (added.GetItems().size() > 4)
        std::abort();
    // No path twice.
    for (std::size_t i = 0; i < added.GetItems().size(); ++i)
        for (std::size_t j = i + 1; j < added.GetItems().size(); ++j)
            if (Sys_RecentItemsList::IsSamePath(added.GetItems()[i].mPath, added.GetItems()[j].mPath))
                std::abort();
    return 0;
}
