// Feeds arbitrary bytes to the standard stream header reader, as a host reads
// a record from a memory block handed in by another module: the first byte
// picks the byte order, the rest is the stream. A record is a header "VFLR"
// whose body is a list of tagged fields, among them nested records. The
// reader may answer with an end of file or with one of its C strings; an
// assertion, a read outside the data or a hang is a fault.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_MemBufferInStream.h"
#include "Sys/Sys_CrossPlatformInStream.h"
#include "Sys/Sys_NativeInStream.h"
#include "Sys/Sys_StdStreamHeaderReader.h"

namespace
{
void ReadRecord(Sys_TypedInStream& in, char const* magic, int depth)
{
    Sys_StdStreamHeaderReader header(in, magic);
    header.CheckVersion(1, 3);
    while (header.IsMoreLeft())
    {
        u8 tag = 0;
        in.Read(&tag);
        switch (tag % 6)
        {
        case 0:
        {
            i32 v;
            in.Read(&v);
            break;
        }
        case 1:
        {
            double v;
            in.Read(&v);
            break;
        }
        case 2:
            if (depth < 16)
                ReadRecord(in, "ITEM", depth + 1);
            break;
        case 3:
        {
            u16 length = 0;
            in.Read(&length);
            std::vector<char> block(length);
            in.ReadBlock(block.data(), length);
            break;
        }
        case 4:
            if (header.GetVersion() >= 2)
            {
                i64 v;
                in.Read(&v);
            }
            break;
        default:
            // A field this reader does not know: the rest of the record.
            header.SkipTheRest();
            return;
        }
    }
    header.SkipTheRest();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 1)
        return 0;
    Cmn_MemBufferInStream source(data + 1, data + size);
    Sys_CrossPlatformInStream cross(&source);
    Sys_NativeInStream native(&source);
    Sys_TypedInStream& in = (data[0] & 1) ? static_cast<Sys_TypedInStream&>(cross) : native;
    try
    {
        while (in.GetPos() < in.GetEndPos())
            ReadRecord(in, "VFLR", 0);
    }
    catch (char const*)
    {
    }
    catch (Cmn_Exception const&)
    {
    }
    return 0;
}
