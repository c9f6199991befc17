#include "Sys/Sys_RecentItems.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_DetermineRecentItemTypesTask.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_RecentItemsList.h"
#include "Sys/Sys_StAcquireMutex.h"
#include "Sys/Sys_Thread.h"
#include "Sys/Sys_Utils.h"

#include <atomic>
#include <mutex>

namespace
{
struct Lists
{
    std::mutex initLock;
    Sys_Mutex* mutex = nullptr;
    Sys_Event::Handle event;
    Sys_RecentItemsList files{Sys_RecentItems::kMaxRecentFiles};
    Sys_RecentItemsList folders{Sys_RecentItems::kMaxRecentFolders};
    std::atomic<bool> initialized{false};
    std::atomic<int32> passesRunning{0};
    std::atomic<uint32> generation{0};
    std::atomic<Sys_RecentItems::ProbeMethod> probe{nullptr};
};

// Never destroyed: a pass may still be looking at a place that does not
// answer while the process ends.
Lists& TheLists()
{
    static Lists* lists = new Lists();
    return *lists;
}

Sys_FileLoc ListLoc(char const* name)
{
    Sys_FileLoc const folder = Sys_Utils::GetAppDataFolderLoc();
    return folder ? Sys_FileLoc(folder.GetFullPath() + name) : Sys_FileLoc();
}

Sys_RecentItem ItemOf(Sys_FileLoc const& loc)
{
    // Just chosen in a dialog: the place is there.
    return Sys_RecentItem(loc.GetFullPath(), Sys_Utils::GetFileType(loc), Sys_RecentItem::kOnline);
}
} // namespace

Sys_Mutex& Sys_RecentItems::GetListMutex()
{
    return *TheLists().mutex;
}

void Sys_RecentItems::InitializeRecentItemsLists()
{
    Lists& lists = TheLists();
    std::lock_guard<std::mutex> const lock(lists.initLock);
    if (lists.initialized)
        return;
    lists.mutex = Sys_Mutex::Create(Sys_Mutex::kMutexPlain);
    lists.event = Sys_Event::Create(Sys_Event::kEventManualReset);
    ReadRecentFoldersAndFiles();
    lists.initialized = true;
}

bool Sys_RecentItems::IsInitialized()
{
    return TheLists().initialized;
}

void Sys_RecentItems::ReadRecentFoldersAndFiles()
{
    Lists& lists = TheLists();
    if (!lists.mutex)
    {
        // The first reading is the initialisation's.
        InitializeRecentItemsLists();
        return;
    }
    {
        Sys_StAcquireMutex const lock(lists.mutex);
        lists.files.Clear();
        lists.folders.Clear();
        if (Sys_FileLoc const loc = GetRecentFilesLoc())
            lists.files.Read(loc);
        if (Sys_FileLoc const loc = GetRecentFoldersLoc())
            lists.folders.Read(loc);
    }
    StartPass();
}

void Sys_RecentItems::WriteRecentFoldersAndFiles()
{
    Lists& lists = TheLists();
    if (!lists.initialized)
        return;
    Sys_StAcquireMutex const lock(lists.mutex);
    if (Sys_FileLoc const loc = GetRecentFilesLoc())
        lists.files.Write(loc);
    if (Sys_FileLoc const loc = GetRecentFoldersLoc())
        lists.folders.Write(loc);
}

void Sys_RecentItems::AddToRecentFoldersList(Sys_FileLoc const& folder)
{
    Lists& lists = TheLists();
    if (!lists.initialized)
        return;
    Sys_RecentItem const item = ItemOf(folder);
    CMN_ASSERT(item.mType.GetFileType() == Sys_FileType::kTypeFolder);
    Sys_StAcquireMutex const lock(lists.mutex);
    lists.folders.Add(item);
}

void Sys_RecentItems::AddToRecentFilesList(Sys_FileLoc const& file)
{
    Lists& lists = TheLists();
    if (!lists.initialized)
        return;
    Sys_RecentItem const item = ItemOf(file);
    Sys_StAcquireMutex const lock(lists.mutex);
    lists.files.Add(item);
}

std::vector<Sys_RecentItem> Sys_RecentItems::GetRecentFiles()
{
    Lists& lists = TheLists();
    if (!lists.initialized)
        return {};
    Sys_StAcquireMutex const lock(lists.mutex);
    return lists.files.GetItems();
}

std::vector<Sys_RecentItem> Sys_RecentItems::GetRecentFolders()
{
    Lists& lists = TheLists();
    if (!lists.initialized)
        return {};
    Sys_StAcquireMutex const lock(lists.mutex);
    return lists.folders.GetItems();
}

Sys_Event::Handle Sys_RecentItems::GetListsEvent()
{
    InitializeRecentItemsLists();
    return TheLists().event;
}

uint32 Sys_RecentItems::GetGeneration()
{
    return TheLists().generation.load();
}

void Sys_RecentItems::DetermineTypes()
{
    if (TheLists().initialized && TheLists().passesRunning.load() == 0)
        StartPass();
}

Sys_FileLoc Sys_RecentItems::GetRecentFilesLoc()
{
    return ListLoc(kRecentFilesName);
}

Sys_FileLoc Sys_RecentItems::GetRecentFoldersLoc()
{
    return ListLoc(kRecentFoldersName);
}

void Sys_RecentItems::SetProbeMethod(ProbeMethod method)
{
    TheLists().probe = method;
}

bool Sys_RecentItems::Probe(std::string const& path, Sys_FileType* type, bool* online)
{
    ProbeMethod const probe = TheLists().probe.load();
    CMN_ASSERT(probe != nullptr);
    return probe && probe(path, type, online);
}

void Sys_RecentItems::StartPass()
{
    Lists& lists = TheLists();
    Sys_Task::Handle task;
    {
        Sys_StAcquireMutex const lock(lists.mutex);
        task = new Sys_DetermineRecentItemTypesTask(lists.files.GetItems(), lists.folders.GetItems());
    }
    ++lists.passesRunning;
    try
    {
        Sys_Thread::Create(task, false);
    }
    catch (...)
    {
        PassEnded();
        throw;
    }
}

void Sys_RecentItems::Found(bool file, std::string const& path, Sys_FileType const& type, bool online)
{
    Lists& lists = TheLists();
    {
        Sys_StAcquireMutex const lock(lists.mutex);
        (file ? lists.files : lists.folders)
            .SetFound(path, type, online ? Sys_RecentItem::kOnline : Sys_RecentItem::kOffline);
    }
    ++lists.generation;
}

void Sys_RecentItems::PassEnded()
{
    Lists& lists = TheLists();
    --lists.passesRunning;
    ++lists.generation;
    lists.event->Set();
}
