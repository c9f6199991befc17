#pragma once

#include "Sys/Sys_RecentItem.h"
#include "Sys/Sys_Task.h"

#include <vector>

// One pass over the recent files and then the recent folders, on a thread
// of its own: the type of each entry, and whether its place is there. It
// works on a copy of the paths and takes the list mutex only to hand in
// each finding, so that a place that keeps it waiting never keeps the
// dialogs waiting for the lists. The lists' event is set when it ends, in
// whatever way it ends.
class Sys_DetermineRecentItemTypesTask : public Sys_Task
{
public:
    Sys_DetermineRecentItemTypesTask(std::vector<Sys_RecentItem> files, std::vector<Sys_RecentItem> folders);

protected:
    EResult ExecImpl() override;

private:
    EResult Pass();

    std::vector<Sys_RecentItem> mFiles;
    std::vector<Sys_RecentItem> mFolders;
};
