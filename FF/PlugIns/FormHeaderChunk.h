// The header of a file made of chunks ('RIFF' or 'FORM'): its body is the
// 4-byte form type, and the chunks behind it are its siblings, not its
// children. Its size covers the whole file.
#pragma once

#include "FF/PlugIns/Chunk.h"

class FormHeaderChunk : public Chunk
{
public:
    bool IsObsolete() override { return false; }
    // A header without this form type, or too short to hold one, refuses
    // the file: it belongs to another handler or to none.
    PlugInResult Read(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Write(std::int64_t size, std::int64_t bodyPosition) override;
    PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition) override;
    std::int64_t GetSize(std::int32_t nominal) override;

protected:
    FormHeaderChunk(ChunkyFile* owner, ChunkId headerId, ChunkId formType);

private:
    ChunkId mFormType;
};
