#include "Cmn/Cmn_Assert.h"

#include <stdexcept>
#include <string>
#include <string_view>

constinit std::atomic<Cmn_Assert::Handler> Cmn_Assert::sHandlerP{nullptr};

namespace
{

// Assertions name their source from the top of the source tree
// ("Sys/Sys_Task.cpp"), whatever the compiler wrote in front of it: the
// absolute path of the tree, or a path relative to the build folder when a
// compiler cache rewrites it. Every file of one build is named the same
// way, so what stands in front of this file's own name stands in front of
// every other's.
constexpr std::string_view kThisFile = __FILE__;
constexpr std::string_view kThisFileInTree = "Cmn/Cmn_Assert.cpp";
static_assert(kThisFile.ends_with(kThisFileInTree), "this file has moved in the tree");
constexpr std::string_view kTreePrefix = kThisFile.substr(0, kThisFile.size() - kThisFileInTree.size());

char const* InTree(char const* file)
{
    if (file == nullptr || kTreePrefix.empty())
        return file;
    std::string_view const name(file);
    return name.starts_with(kTreePrefix) ? file + kTreePrefix.size() : file;
}

} // namespace

Cmn_Assert::Handler Cmn_Assert::SetHandler(Handler handler) noexcept
{
    return sHandlerP.exchange(handler, std::memory_order_acq_rel);
}

void Cmn_Assert::HandleAssert(bool test, char const* file, int line)
{
    file = InTree(file);
    if (Handler handler = sHandlerP.load(std::memory_order_acquire))
    {
        handler(test, file, line);
        return;
    }
    std::string text = "Assertion in \"";
    text += file ? file : "";
    text += "\", line ";
    text += std::to_string(line);
    throw std::runtime_error(text);
}
