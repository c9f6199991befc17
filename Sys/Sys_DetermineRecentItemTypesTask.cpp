#include "Sys/Sys_DetermineRecentItemTypesTask.h"

#include "Sys/Sys_RecentItems.h"

#include <utility>

Sys_DetermineRecentItemTypesTask::Sys_DetermineRecentItemTypesTask(std::vector<Sys_RecentItem> files,
                                                                   std::vector<Sys_RecentItem> folders)
    : mFiles(std::move(files)), mFolders(std::move(folders))
{
    SetName("Sys_DetermineRecentItemTypesTask");
}

Sys_Task::EResult Sys_DetermineRecentItemTypesTask::ExecImpl()
{
    EResult result = kResultCompleted;
    try
    {
        result = Pass();
    }
    catch (...)
    {
        Sys_RecentItems::PassEnded();
        throw;
    }
    Sys_RecentItems::PassEnded();
    return result;
}

Sys_Task::EResult Sys_DetermineRecentItemTypesTask::Pass()
{
    for (bool const file : {true, false})
        for (Sys_RecentItem const& item : file ? mFiles : mFolders)
        {
            if (IsAbortRequested())
                return kResultAborted;
            Sys_FileType type = item.mType;
            bool online = false;
            if (Sys_RecentItems::Probe(item.mPath, &type, &online))
                Sys_RecentItems::Found(file, item.mPath, type, online);
            else
                Sys_RecentItems::Found(file, item.mPath, item.mType, false);
        }
    return kResultCompleted;
}
