#include "support/TestSupport.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <random>
#include <stdexcept>
#include <sys/wait.h>

namespace vfltest
{

TempDir::TempDir()
{
    std::random_device rd;
    auto base = std::filesystem::temp_directory_path();
    for (int attempt = 0; attempt < 100; ++attempt)
    {
        auto candidate = base / ("vfltest-" + std::to_string(rd()) + std::to_string(attempt));
        if (std::filesystem::create_directory(candidate))
        {
            mPath = candidate;
            return;
        }
    }
    throw std::runtime_error("cannot make a temporary folder");
}

TempDir::~TempDir()
{
    std::error_code ec;
    std::filesystem::remove_all(mPath, ec);
}

std::vector<std::uint8_t> ReadWholeFile(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), {});
}

void WriteWholeFile(std::string const& path, std::vector<std::uint8_t> const& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

int RunCommand(std::string const& command, std::string* out)
{
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return -1;
    std::array<char, 65536> buffer;
    std::string text;
    size_t got;
    while ((got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        text.append(buffer.data(), got);
    int status = pclose(pipe);
    if (out)
        *out = std::move(text);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool HaveProgram(std::string const& name)
{
    return RunCommand("command -v " + name + " >/dev/null 2>&1") == 0;
}

std::string ToolPath()
{
    return VFL_TOOL_PATH;
}

} // namespace vfltest
