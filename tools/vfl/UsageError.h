// A command line that cannot be run as written: the host says what is wrong
// in one line, points to the command's help and exits with status 2.
#pragma once

#include <stdexcept>
#include <string>

namespace vfl
{
class UsageError : public std::runtime_error
{
public:
    explicit UsageError(std::string const& what) : std::runtime_error(what) {}
};
} // namespace vfl
