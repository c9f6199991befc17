// The header of a file made of chunks ('RIFF' or 'FORM'): its body is the
// 4-byte form type, and the chunks behind it are its siblings, not its
// children. Its size covers the whole file.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"

class FormHeaderChunk : public Chunk
{
public:
    bool IsObsolete() override { return false; }
    // A header without this form type, or too short to hold one, refuses
    // the file: it belongs to another handler or to none.
    PlugInResult Read(i64 size, i64 bodyPosition) override;
    PlugInResult Write(i64 size, i64 bodyPosition) override;
    PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition) override;
    i64 GetSize(i32 nominal) override;

protected:
    FormHeaderChunk(ChunkyFile* owner, ChunkId headerId, ChunkId formType);

private:
    ChunkId mFormType;
};
