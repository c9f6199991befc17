#include "DAW/Sys_CustomFileDialog.h"

#include "Cmn/Cmn_Assert.h"
#include "DAW/DAW_MenuEntrySubMenu.h"
#include "DAW/Sys_FileLocMenuItem.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FunctionObject.h"
#include "Sys/Sys_MessageBox.h"
#include "Sys/Sys_RecentItems.h"
#include "Sys/Sys_SelectionValidator.h"
#include "Sys/Sys_Utils.h"

#include <algorithm>

namespace
{
Sys_FileChooserBackend::CreateMethod sCreateBackend = nullptr;
Sys_FileLoc* sDefaultInitialFolder = nullptr;
void* sParentWindow = nullptr;

bool IsFolder(Sys_FileLoc const& loc)
{
    return Sys_Utils::GetFileType(loc).GetFileType() == Sys_FileType::kTypeFolder;
}
} // namespace

Sys_CustomFileDialog::Sys_CustomFileDialog(std::vector<Sys_FileLoc>* selectedFiles,
                                           std::vector<Sys_FileType>* selectedTypes, Sys_FileType const* defaultType,
                                           std::string defaultName, ESys_FileDialogSelectionMode selectionMode,
                                           ESys_FileDialogMode dialogMode, std::vector<Sys_FileType> const* fileTypes,
                                           std::string title, Sys_FileLoc const* initialFolder,
                                           Sys_SelectionValidator* validator, bool hasRecentFolders,
                                           bool hasRecentFiles)
    : mSelectedFiles(selectedFiles), mSelectedTypes(selectedTypes),
      mDefaultType(defaultType ? *defaultType : Sys_FileType()), mHasDefaultType(defaultType != nullptr),
      mDefaultName(std::move(defaultName)), mSelectionMode(selectionMode), mDialogMode(dialogMode),
      mFileTypes(fileTypes ? *fileTypes : std::vector<Sys_FileType>()), mTitle(std::move(title)),
      mInitialFolder(initialFolder ? *initialFolder : Sys_FileLoc()), mValidator(validator),
      mHasRecentFolders(hasRecentFolders), mHasRecentFiles(hasRecentFiles && dialogMode != kSys_FileDialogSave)
{
    Sys_RecentItems::InitializeRecentItemsLists();
}

Sys_CustomFileDialog::~Sys_CustomFileDialog() = default;

void Sys_CustomFileDialog::SetBackendCreateMethod(Sys_FileChooserBackend::CreateMethod method)
{
    sCreateBackend = method;
}

void Sys_CustomFileDialog::SetDefaultInitialFolder(Sys_FileLoc const& folder)
{
    if (!sDefaultInitialFolder)
        sDefaultInitialFolder = new Sys_FileLoc();
    *sDefaultInitialFolder = folder;
}

Sys_FileLoc Sys_CustomFileDialog::GetDefaultInitialFolder()
{
    return sDefaultInitialFolder ? *sDefaultInitialFolder : Sys_FileLoc();
}

void Sys_CustomFileDialog::SetCfdParentWindow(void* window)
{
    sParentWindow = window;
}

void* Sys_CustomFileDialog::GetCfdParentWindow()
{
    return sParentWindow;
}

bool Sys_CustomFileDialog::Pose()
{
    CMN_ASSERT(sCreateBackend != nullptr);
    if (!sCreateBackend)
        return false;
    mBackend.reset(sCreateBackend());
    // What the disk says of the recent items may have changed since the
    // last dialog; the menus show what is known and follow the new pass.
    // Nothing here waits for it.
    Sys_RecentItems::DetermineTypes();

    Sys_FileChooserBackend::Setup setup;
    setup.mode = mDialogMode;
    setup.multiple = mSelectionMode == kSys_FileDialogMultipleSelection;
    setup.title = mTitle;
    setup.filters = mFileTypes;
    setup.allFiles = mDialogMode == kSys_FileDialogOpen;
    // The first filter of a type the default type is equivalent to; else
    // the first in a save dialog, all files in an open one.
    auto const match = std::find_if(mFileTypes.begin(), mFileTypes.end(),
                                    [&](Sys_FileType const& t)
                                    { return mHasDefaultType && Sys_Utils::AreTypesEquivalent(mDefaultType, t); });
    setup.filterIndex = match != mFileTypes.end()            ? static_cast<int32>(match - mFileTypes.begin())
                        : mDialogMode == kSys_FileDialogSave ? 0
                                                             : static_cast<int32>(mFileTypes.size());
    if (mInitialFolder)
    {
        SetDefaultInitialFolder(mInitialFolder);
        setup.folder = mInitialFolder.GetFullPath();
    }
    else if (Sys_FileLoc const folder = GetDefaultInitialFolder())
        setup.folder = folder.GetFullPath();
    else
    {
        // Where the user was last, as far as the background pass has seen it.
        for (Sys_RecentItem const& item : Sys_RecentItems::GetRecentFolders())
            if (item.mOnline == Sys_RecentItem::kOnline && item.mType.GetFileType() == Sys_FileType::kTypeFolder)
            {
                setup.folder = item.mPath;
                break;
            }
    }
    setup.name = mDefaultName;
    setup.idlePeriod = mIdlePeriod;
    setup.parent = sParentWindow;
    return mBackend->Run(*this, setup);
}

void Sys_CustomFileDialog::DoInitDone()
{
    InitializeRecentItemsMenu();
}

void Sys_CustomFileDialog::DoTypeChange()
{
    // The files menu shows the types of the filter.
    UpdateRecentItemsMenu();
}

void Sys_CustomFileDialog::DoIdle()
{
    if (mInIdle)
        return;
    mInIdle = true;
    try
    {
        if (Sys_RecentItems::GetGeneration() != mMenuGeneration)
            UpdateRecentItemsMenu();
        if (mIdleObject)
            (*mIdleObject)();
    }
    catch (...)
    {
        mInIdle = false;
        throw;
    }
    mInIdle = false;
}

Sys_FileType Sys_CustomFileDialog::GetCurrentFilterType()
{
    int32 const index = mBackend ? mBackend->GetFilterIndex() : 0;
    return index >= 0 && index < static_cast<int32>(mFileTypes.size()) ? mFileTypes[static_cast<std::size_t>(index)]
                                                                       : Sys_FileType();
}

void Sys_CustomFileDialog::Message(std::string const& text, int icon)
{
    Sys_MessageBox::Show(mBackend->GetWindow(), text, mBackend->GetApplicationName(),
                         static_cast<Sys_MessageBox::EIcon>(icon));
}

Sys_FileLoc Sys_CustomFileDialog::CheckSaveName(std::string const& path, Sys_FileType const& type)
{
    // The name as typed, its extension (if the registry knows it) replaced
    // by the filter's.
    Sys_FileLoc const typed(path);
    std::string name = typed.GetFileName(Sys_FileLoc::kNameWithoutExtension);
    std::string const extension = Sys_Utils::GetAssociatedExtension(type);
    name += extension.empty() ? typed.GetFileName().substr(name.size()) : "." + extension;
    Sys_FileLoc const loc(typed.GetParentFolder().GetFullPath() + name);
    std::string const shown = loc.GetFileName();
    if (shown.size() > kMaxNameLength)
    {
        Message("Please choose a name with 31 or fewer characters (including extension).",
                Sys_MessageBox::kIconWarning);
        return Sys_FileLoc();
    }
    Sys_File file(loc);
    if (!file.IsOnline())
        return loc;
    if (IsFolder(loc))
    {
        Message(shown + "\nCannot replace a folder with a file.", Sys_MessageBox::kIconStop);
        return Sys_FileLoc();
    }
    if (file.GetFileAttr().IsReadOnly())
    {
        Message(shown + "\nThis file is read-only.\nUse another filename, or remove the read-only attribute from "
                        "the file\nby right-clicking on the file and editing its properties.",
                Sys_MessageBox::kIconStop);
        return Sys_FileLoc();
    }
    Sys_MessageBox::EAnswer const answer =
        Sys_MessageBox::Show(mBackend->GetWindow(), shown + "\nThis file already exists.\nReplace existing file?",
                             mBackend->GetApplicationName(), Sys_MessageBox::kIconQuestion,
                             Sys_MessageBox::kButtonsYesNo, Sys_MessageBox::kAnswerNo);
    return answer == Sys_MessageBox::kAnswerYes ? loc : Sys_FileLoc();
}

void Sys_CustomFileDialog::GetSelection(std::vector<Sys_FileLoc>* files, std::vector<Sys_FileType>* types)
{
    std::string folder = mBackend->GetFolderPath();
    bool const haveFolder = !folder.empty() && Sys_FileLoc::IsValidPath(folder);
    if (haveFolder && folder.back() != '/')
        folder += '/';
    std::vector<std::string> const names = mBackend->GetSpec();
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        std::string path = names[i];
        if (!Sys_FileLoc::IsValidPath(path))
        {
            if (!haveFolder || !Sys_FileLoc::IsValidPath(folder + path))
                continue;
            path = folder + path;
        }
        Sys_FileLoc const loc(path);
        // A folder in the first place is where the user goes, not a choice.
        if (i == 0 && IsFolder(loc))
            continue;
        if (mDialogMode == kSys_FileDialogSave)
        {
            Sys_FileType const type = GetCurrentFilterType();
            Sys_FileLoc const checked = CheckSaveName(path, type);
            if (!checked)
                continue;
            files->push_back(checked);
            if (types)
                types->push_back(type);
        }
        else if (Sys_File(loc).IsOnline())
        {
            files->push_back(loc);
            if (types)
                types->push_back(Sys_Utils::GetFileType(loc));
        }
    }
}

bool Sys_CustomFileDialog::DoFileOK()
{
    std::vector<Sys_FileLoc> files;
    std::vector<Sys_FileType> types;
    GetSelection(&files, &types);
    CMN_ASSERT(files.size() == types.size());
    std::vector<std::size_t> accepted;
    for (std::size_t i = 0; i < files.size() && i < types.size(); ++i)
    {
        std::string reason;
        if (mValidator && !mValidator->IsValidSelection(files[i], types[i], &reason))
        {
            Message(reason.empty() ? files[i].GetFileName() + " is not a valid selection" : reason,
                    Sys_MessageBox::kIconStop);
            continue;
        }
        accepted.push_back(i);
    }
    if (accepted.empty())
        return false;
    for (std::size_t i : accepted)
    {
        if (mSelectedFiles)
            mSelectedFiles->push_back(files[i]);
        if (mSelectedTypes)
            mSelectedTypes->push_back(types[i]);
        if (mDialogMode == kSys_FileDialogOpen && IsFolder(files[i]))
            Sys_RecentItems::AddToRecentFoldersList(files[i]);
        else
        {
            Sys_RecentItems::AddToRecentFilesList(files[i]);
            Sys_RecentItems::AddToRecentFoldersList(files[i].GetParentFolder());
        }
    }
    Sys_RecentItems::WriteRecentFoldersAndFiles();
    return true;
}

void Sys_CustomFileDialog::SetCurrentFile(Sys_FileLoc const& loc, bool press)
{
    mBackend->SetName(loc.GetFullPath(), press);
}

void Sys_CustomFileDialog::SetCurrentFolder(Sys_FileLoc const& folder)
{
    mBackend->SetFolder(folder.GetFullPath());
}

void Sys_CustomFileDialog::InitializeRecentItemsMenu()
{
    mRecentMenu = std::make_unique<DAW_MenuEntrySubMenu>("Main");
    if (mHasRecentFolders)
    {
        mFoldersMenu = new DAW_MenuEntrySubMenu("&Folders");
        mRecentMenu->AppendEntry(mFoldersMenu);
    }
    if (mHasRecentFiles)
    {
        mFilesMenu = new DAW_MenuEntrySubMenu("Fi&les");
        mRecentMenu->AppendEntry(mFilesMenu);
    }
    UpdateRecentItemsMenu();
    mBackend->SetMenu(mRecentMenu->GetNumberOfEntries() > 0 ? mRecentMenu.get() : nullptr);
}

void Sys_CustomFileDialog::UpdateRecentItemsMenu()
{
    if (!mRecentMenu)
        return;
    mMenuGeneration = Sys_RecentItems::GetGeneration();
    // Only what the background pass found there: nothing here asks the disk.
    std::vector<std::string> folders, files;
    if (mFoldersMenu)
        for (Sys_RecentItem const& item : Sys_RecentItems::GetRecentFolders())
            if (static_cast<int32>(folders.size()) < kMaxRecentMenuItems && item.mOnline == Sys_RecentItem::kOnline &&
                item.mType.GetFileType() == Sys_FileType::kTypeFolder)
                folders.push_back(item.mPath);
    if (mFilesMenu)
    {
        Sys_FileType const filter = GetCurrentFilterType();
        for (Sys_RecentItem const& item : Sys_RecentItems::GetRecentFiles())
        {
            // All files is no type to be equivalent to.
            bool const ofType =
                std::find(mFileTypes.begin(), mFileTypes.end(), item.mType) != mFileTypes.end() ||
                (filter.GetFileType() == Sys_FileType::kTypeFile && Sys_Utils::AreTypesEquivalent(filter, item.mType));
            if (static_cast<int32>(files.size()) < kMaxRecentMenuItems && ofType &&
                item.mOnline == Sys_RecentItem::kOnline)
                files.push_back(item.mPath);
        }
    }
    // A menu the user has open is left alone while nothing in it changes.
    if (mMenusFilled && folders == mShownFolders && files == mShownFiles)
        return;
    mMenusFilled = true;
    mShownFolders = folders;
    mShownFiles = files;
    if (mFoldersMenu)
    {
        mFoldersMenu->DeleteAllEntries();
        for (std::string const& path : folders)
            mFoldersMenu->AppendEntry(new Sys_FileLocMenuItem(&RecentFolderCallback, this, Sys_FileLoc(path)));
    }
    if (mFilesMenu)
    {
        mFilesMenu->DeleteAllEntries();
        for (std::string const& path : files)
            mFilesMenu->AppendEntry(new Sys_FileLocMenuItem(&RecentFileCallback, this, Sys_FileLoc(path)));
    }
    if (mBackend)
        mBackend->UpdateMenu();
}

void Sys_CustomFileDialog::RecentFolderCallback(void* dialog, Sys_FileLoc location)
{
    auto* const self = static_cast<Sys_CustomFileDialog*>(dialog);
    self->SetCurrentFolder(location);
    Sys_RecentItems::AddToRecentFoldersList(location);
    SetDefaultInitialFolder(location);
}

void Sys_CustomFileDialog::RecentFileCallback(void* dialog, Sys_FileLoc location)
{
    auto* const self = static_cast<Sys_CustomFileDialog*>(dialog);
    Sys_RecentItems::AddToRecentFilesList(location);
    Sys_RecentItems::AddToRecentFoldersList(location.GetParentFolder());
    SetDefaultInitialFolder(location.GetParentFolder());
    // Last: the press may close the dialog.
    self->SetCurrentFile(location, true);
}
