// For readers that take a path: the input written to a file of its own,
// one folder a process, removed at exit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace vflfuzz
{
class InputFolder
{
public:
    InputFolder()
        : mPath(std::filesystem::temp_directory_path() / ("vfl-fuzz-" + std::to_string(std::random_device{}())))
    {
        std::filesystem::create_directories(mPath);
    }
    ~InputFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    std::filesystem::path const& Path() const { return mPath; }

private:
    std::filesystem::path mPath;
};

inline std::string InputFile(char const* name, std::uint8_t const* data, std::size_t size)
{
    static InputFolder const folder;
    std::string const path = (folder.Path() / name).string();
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<char const*>(data), static_cast<std::streamsize>(size));
    return path;
}
} // namespace vflfuzz
