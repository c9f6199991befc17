#include "Sys/Sys_FileDialog.h"

#include "Cmn/Cmn_Assert.h"

namespace
{
Sys_FileDialog::ChooseMethod sChoose = nullptr;
} // namespace

void Sys_FileDialog::SetChooseMethod(ChooseMethod method)
{
    sChoose = method;
}

bool Sys_FileDialog::Choose(EChooser kind, std::string const* title, std::vector<Sys_FileType> const* types,
                            std::string const* prompt, Sys_FileLoc const* folder, std::string const& name, void* owner,
                            std::vector<std::string>* paths)
{
    CMN_ASSERT(sChoose != nullptr);
    if (!sChoose)
        return false;
    std::vector<Sys_FileType> const none;
    std::string const start = folder && *folder ? folder->GetFullPath() : std::string();
    return sChoose(kind, title ? *title : std::string(), types ? *types : none, prompt ? *prompt : std::string(), start,
                   name, owner, paths);
}

bool Sys_FileDialog::GetFileFromUser(Sys_FileLoc* result, std::string* title, std::vector<Sys_FileType>* types,
                                     std::string* prompt, Sys_FileLoc* folder, Validator, void* owner)
{
    std::vector<std::string> paths;
    bool const chosen =
        Choose(kChooseFile, title, types, prompt, folder, std::string(), owner, &paths) && !paths.empty();
    if (result)
        *result = chosen ? Sys_FileLoc(paths.front()) : Sys_FileLoc();
    return chosen;
}

bool Sys_FileDialog::GetMultipleFilesFromUser(std::vector<Sys_FileLoc>* results, std::string title,
                                              std::vector<Sys_FileType>* types, std::string prompt, Sys_FileLoc folder,
                                              Validator, void* owner)
{
    std::vector<std::string> paths;
    bool const chosen =
        Choose(kChooseFiles, &title, types, &prompt, &folder, std::string(), owner, &paths) && !paths.empty();
    if (chosen && results)
        for (std::string const& path : paths)
            results->emplace_back(path);
    return chosen;
}

bool Sys_FileDialog::GetNewFileFromUser(Sys_FileLoc* result, std::string title, std::string* defaultName,
                                        std::vector<Sys_FileType>* types, std::string* prompt, Sys_FileLoc* folder,
                                        Validator, void* owner)
{
    std::vector<std::string> paths;
    std::string const name = defaultName && !defaultName->empty() ? *defaultName : std::string("untitled");
    bool const chosen = Choose(kChooseNewFile, &title, types, prompt, folder, name, owner, &paths) && !paths.empty();
    if (result)
        *result = chosen ? Sys_FileLoc(paths.front()) : Sys_FileLoc();
    return chosen;
}
