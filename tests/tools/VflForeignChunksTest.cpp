// Files of other tools through every rewrite vfl makes (adopt, a region
// added, a region removed): each chunk another tool wrote keeps its bytes,
// the audio its samples, and bytes behind the form stay behind it. Also a
// rewrite that the disk refuses fails and leaves the file as it was.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <regex>

using vfltest::RunCommand;

namespace
{
using Bytes = std::vector<std::uint8_t>;

struct Chunk
{
    std::string id;
    Bytes body;
};

struct Layout
{
    std::vector<Chunk> chunks; // in file order, the form header left out
    Bytes trailing;            // behind the form
};

// An independent walk: sizes in the form's byte order, odd bodies padded.
Layout Walk(Bytes const& b)
{
    Layout out;
    if (b.size() < 12)
        return out;
    bool const big = std::memcmp(b.data(), "FORM", 4) == 0;
    auto size32 = [&](std::size_t at)
    {
        std::uint32_t v = 0;
        for (int i = 0; i < 4; ++i)
            v |= static_cast<std::uint32_t>(b[at + static_cast<std::size_t>(i)]) << (big ? 24 - 8 * i : 8 * i);
        return v;
    };
    // A form size of 0 is a header never finished: the form is the file.
    std::size_t const formSize = size32(4);
    std::size_t const formEnd = formSize == 0 ? b.size() : std::min<std::size_t>(b.size(), 8 + formSize);
    std::size_t pos = 12;
    while (pos + 8 <= formEnd)
    {
        std::size_t n = size32(pos + 4);
        // An audio chunk whose size was never written runs to the end.
        bool const audio = std::memcmp(b.data() + pos, "data", 4) == 0 || std::memcmp(b.data() + pos, "SSND", 4) == 0;
        if (audio && (n == 0 || pos + 8 + n > b.size()))
            n = b.size() - pos - 8;
        std::size_t const end = std::min(b.size(), pos + 8 + n);
        out.chunks.push_back(
            {std::string(b.begin() + static_cast<std::ptrdiff_t>(pos),
                         b.begin() + static_cast<std::ptrdiff_t>(pos + 4)),
             Bytes(b.begin() + static_cast<std::ptrdiff_t>(pos + 8), b.begin() + static_cast<std::ptrdiff_t>(end))});
        pos += 8 + n + (n & 1);
    }
    if (formEnd + (formEnd & 1) < b.size())
        out.trailing.assign(b.begin() + static_cast<std::ptrdiff_t>(formEnd + (formEnd & 1)), b.end());
    return out;
}

class VflForeignChunks : public vfltest::ToolTest
{
protected:
    VflForeignChunks() : ToolTest({"sox", "ffmpeg", "sndfile-metadata-set", "sndfile-convert", "python3"}) {}
};

// Python that writes chunk files by hand: odd chunks with and without their
// pad, a foreign sampler chunk of three loops, an unfinished header, a tag
// behind the form, and AIFF cue markers that no loop uses.
char const kPython[] = R"(
import struct, sys, wave, aifc
kind, out = sys.argv[1], sys.argv[2]
audio = bytes((i * 7) & 255 for i in range(4000))
fmt = struct.pack('<HHIIHH', 1, 2, 8000, 32000, 4, 16)
def ck(i, b, le=True):
    s = struct.pack('<I' if le else '>I', len(b))
    return i + s + b + (b'\0' if len(b) & 1 else b'')
if kind == 'odd':
    smpl = struct.pack('<9I', 0, 0, 125000, 60, 0, 0, 0, 3, 0) + b''.join(
        struct.pack('<6I', k, 0, 100 * k, 100 * k + 50, 0, 0) for k in range(3))
    body = b'WAVE' + ck(b'fmt ', fmt) + ck(b'LIST', b'INFOICMT' + struct.pack('<I', 5) + b'hello')
    body += ck(b'inst', bytes([60, 0, 0, 0, 127, 0, 127])) + ck(b'data', audio) + ck(b'id3 ', b'ID3' + bytes(30))
    body += ck(b'smpl', smpl)
    open(out, 'wb').write(b'RIFF' + struct.pack('<I', len(body)) + body + b'TAG' + b'x' * 125)
elif kind == 'unfinished':
    open(out, 'wb').write(b'RIFF' + bytes(4) + b'WAVE' + ck(b'fmt ', fmt) + b'data' + bytes(4) + audio)
elif kind == 'aiff':
    w = aifc.open(out, 'wb')
    w.setnchannels(2); w.setsampwidth(2); w.setframerate(8000)
    for k in range(3):
        w.setmark(k + 1, 100 * (k + 1), b'cue %d' % k)
    w.writeframes(audio)
    w.close()
    b = open(out, 'rb').read()
    anno = b'ANNO' + struct.pack('>I', 9) + b'odd note!' + b'\0'
    b = b[:12] + anno + b[12:]
    open(out, 'wb').write(b[:4] + struct.pack('>I', len(b) - 8) + b[8:])
)";

TEST_F(VflForeignChunks, EveryRewriteKeepsWhatOtherToolsWrote)
{
    std::string const py = mDir.File("make.py");
    vfltest::WriteWholeFile(py, Bytes(kPython, kPython + sizeof kPython - 1));
    std::string const sine = "-f lavfi -i sine=f=440:r=48000:d=0.2";
    struct
    {
        char const* name;
        char const* extension;
        std::string make; // OUT is the file; SRC a plain WAVE made first
    } const cases[] = {
        {"sox 24-bit extensible with a comment", ".wav",
         "sox -n --comment 'take 1' -r 48000 -c 2 -b 24 OUT synth 0.2 sine 440"},
        {"ffmpeg with bext and LIST", ".wav",
         "ffmpeg -v error -y " + sine +
             " -write_bext 1 -metadata description='Scene 12 take 3' "
             "-metadata originator=REC -metadata title=x -c:a pcm_s16le OUT"},
        {"libsndfile with bext and LIST", ".wav",
         "sndfile-metadata-set --bext-description 'odd text' "
         "--bext-originator me --str-comment remark SRC OUT"},
        {"libsndfile AIFF", ".aiff", "sndfile-convert SRC OUT"},
        {"ffmpeg AIFF-C sowt", ".aifc", "ffmpeg -v error -y " + sine + " -c:a pcm_s16le -f aiff OUT"},
        {"odd chunks, foreign smpl, a tag behind the form", ".wav", "python3 -W ignore " + py + " odd OUT"},
        {"AIFF cue markers and an odd ANNO", ".aif", "python3 -W ignore " + py + " aiff OUT"},
        {"a recording whose header was never finished", ".wav", "python3 -W ignore " + py + " unfinished OUT"},
    };
    std::string const src = mDir.File("src.wav");
    Out("sox -n -r 8000 -c 1 -b 16 " + src + " synth 0.3 sine 300");
    int index = 0;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = mDir.File("f" + std::to_string(index++) + c.extension);
        std::string make = std::regex_replace(c.make, std::regex("OUT"), path);
        make = std::regex_replace(make, std::regex("SRC"), src);
        ASSERT_EQ(RunCommand(make), 0) << make;
        Layout const original = Walk(vfltest::ReadWholeFile(path));
        std::string const samples = Out(Vfl("cat " + path));
        ASSERT_FALSE(samples.empty());

        for (std::string const op : {"adopt ", "regions --add r1 10 100 ", "regions --remove r1 "})
        {
            SCOPED_TRACE(op);
            std::string const command = op[0] == 'a' ? Vfl(op + path) : Vfl("regions " + path + op.substr(7));
            Out(command);
            Layout const now = Walk(vfltest::ReadWholeFile(path));
            // Each chunk of the other tool, but the audio's header, has its bytes.
            std::map<std::string, int> seen;
            for (auto const& chunk : original.chunks)
            {
                if (chunk.id == "data" || chunk.id == "SSND")
                    continue;
                int const nth = seen[chunk.id]++;
                int found = 0;
                bool same = false;
                for (auto const& n : now.chunks)
                    if (n.id == chunk.id && found++ == nth)
                        same = n.body == chunk.body;
                EXPECT_TRUE(same) << "'" << chunk.id << "' lost or changed";
            }
            EXPECT_EQ(now.trailing, original.trailing);
            EXPECT_TRUE(Out(Vfl("cat " + path)) == samples) << "samples changed";
        }
        // Other readers still take the file, with the same samples.
        std::string const soxRaw = Out("sox " + path + " -t raw -e signed -L - 2>/dev/null");
        EXPECT_TRUE(soxRaw == samples) << "sox reads other samples";
    }
}

// A rewrite that the file-size limit stops fails with exit 1 and leaves
// the file byte for byte as it was.
TEST_F(VflForeignChunks, ARewriteTheDiskRefusesLeavesTheFileAlone)
{
    std::string const path = mDir.File("small.wav");
    Out("sox -n -r 8000 -c 1 -b 16 " + path + " synth 0.5 sine 440");
    Bytes const before = vfltest::ReadWholeFile(path);
    std::size_t const kib = before.size() / 1024; // the limit is the file's size, rounded down
    int const status =
        RunCommand("bash -c \"ulimit -f " + std::to_string(kib) + "; trap '' XFSZ; " + Vfl("adopt " + path) + "\"");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(vfltest::ReadWholeFile(path), before);
}
} // namespace
