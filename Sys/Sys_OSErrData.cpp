#include "Sys/Sys_OSErrData.h"

#include <atomic>
#include <ostream>

namespace
{
// Exceptions are described on any thread, possibly while the platform layer
// is being installed, so the method pointer is read atomically.
constinit std::atomic<Sys_OSErrData::GetOSErrTextMethod> sGetOSErrTextMethod{nullptr};
} // namespace

void Sys_OSErrData::SetGetOSErrTextMethod(GetOSErrTextMethod method) noexcept
{
    sGetOSErrTextMethod.store(method, std::memory_order_release);
}

bool Sys_OSErrData::GetOSErrText(std::int32_t err, std::string& text)
{
    text.clear();
    GetOSErrTextMethod method = sGetOSErrTextMethod.load(std::memory_order_acquire);
    return method != nullptr && method(err, text) && !text.empty();
}

void Sys_OSErrData::PrintAttr(std::string const& name, std::ostream& os) const
{
    if (name != "err")
        return;
    os << mErr;
    if (mErr < 0)
        return;
    std::string text;
    if (GetOSErrText(mErr, text))
        os << ": " << text;
    else
        os << ": Unknown error";
}
