#include "tools/vfl/SpooledInput.h"

#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Files.h"
#include "tools/vfl/Terminal.h"

#include <memory>

namespace vfl
{
namespace
{
std::string ExtensionOf(std::string const& path)
{
    std::size_t const dot = path.find_last_of("./");
    return dot != std::string::npos && path[dot] == '.' && dot > 0 && path[dot - 1] != '/' ? path.substr(dot) : "";
}

void Copy(int input, std::string const& path)
{
    Sys_File copy{Sys_FileLoc(path)};
    Sys_File::StOpen open(&copy, Sys_File::kOpenWrite | Sys_File::kOpenCreate);
    constexpr std::size_t kBlock = 1 << 20;
    std::unique_ptr<char[]> buffer(new char[kBlock]);
    for (bool ended = false; !ended && !Interrupted();)
    {
        std::size_t const got = ReadInput(buffer.get(), kBlock, &ended, input);
        copy.Write(buffer.get(), static_cast<int64>(got));
    }
}
} // namespace

SpooledInput::SpooledInput(std::string const& operand) : mName(operand), mPath(operand)
{
    int const input = IsStandardInput() ? kStandardInput : OpenIfPipe(operand);
    if (input < 0)
    {
        mLock = std::make_unique<FileLock>(operand, FileLock::eShared);
        return;
    }
    CatchInterrupt();
    try
    {
        // The copy keeps the pipe's extension: what prints a file goes by it.
        std::string const copy =
            MakeFileBeside(Sys_Utils::GetTempFolderLoc().GetFullPath() + "vfl-stdin" + ExtensionOf(operand));
        try
        {
            Copy(input, copy);
        }
        catch (...)
        {
            RemoveFile(copy);
            throw;
        }
        mPath = copy;
        mSpooled = true;
    }
    catch (...)
    {
        CloseInput(input);
        throw;
    }
    CloseInput(input);
}

std::string SpooledInput::Extension() const
{
    return ExtensionOf(mPath);
}

void SpooledInput::TakeExtension(std::string const& extension)
{
    if (!mSpooled)
        return;
    std::string const renamed = MakeFileBeside(mPath.substr(0, mPath.size() - Extension().size()) + extension);
    ReplaceFile(mPath, renamed);
    mPath = renamed;
}

SpooledInput::~SpooledInput()
{
    if (mSpooled)
        RemoveFile(mPath);
}
} // namespace vfl
