// Small helpers shared by the test binaries: temporary folders, file contents,
// and running external tools.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace vfltest
{

// A fresh folder under the system's temporary folder, removed with its
// contents when the object goes.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;
    std::filesystem::path const& Path() const { return mPath; }
    std::string File(std::string const& name) const { return (mPath / name).string(); }

private:
    std::filesystem::path mPath;
};

std::vector<std::uint8_t> ReadWholeFile(std::string const& path);
void WriteWholeFile(std::string const& path, std::vector<std::uint8_t> const& bytes);

// Runs a shell command; returns its exit status and puts its standard output in *out.
int RunCommand(std::string const& command, std::string* out = nullptr);

// True if the program is found on PATH.
bool HaveProgram(std::string const& name);

// Path of the vfl host built with the tests.
std::string ToolPath();

} // namespace vfltest
