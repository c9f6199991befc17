// Files of other tools through every rewrite vfl makes (adopt, a region
// added, a region removed): each chunk another tool wrote keeps its bytes,
// the audio its samples, and bytes behind the form stay behind it; they are
// adopted once and take regions. Also a rewrite that the disk refuses fails
// and leaves the file as it was.
#include "support/ChunkWalker.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>

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
    auto const at = [&](std::size_t pos) { return b.begin() + static_cast<std::ptrdiff_t>(pos); };
    // A form size of 0 is a header never finished: the form is the file.
    std::size_t const formSize = ChunkWalker::Number(b, 4, 4);
    std::size_t const formEnd = formSize == 0 ? b.size() : std::min<std::size_t>(b.size(), 8 + formSize);
    for (std::size_t pos = 12; pos + 8 <= formEnd;)
    {
        std::string const id(at(pos), at(pos + 4));
        std::size_t n = ChunkWalker::Number(b, static_cast<std::int64_t>(pos) + 4, 4);
        // An audio chunk whose size was never written runs to the end.
        if ((id == "data" || id == "SSND") && (n == 0 || pos + 8 + n > b.size()))
            n = b.size() - pos - 8;
        out.chunks.push_back({id, Bytes(at(pos + 8), at(std::min(b.size(), pos + 8 + n)))});
        pos += 8 + n + (n & 1);
    }
    if (formEnd + (formEnd & 1) < b.size())
        out.trailing.assign(at(formEnd + (formEnd & 1)), b.end());
    return out;
}

class VflForeignChunks : public vfltest::ToolTest
{
protected:
    VflForeignChunks()
        : ToolTest({"sox", "ffmpeg", "sndfile-metadata-set", "sndfile-convert", "sndfile-info", "python3"})
    {
    }
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
        Make(std::regex_replace(c.make, std::regex("SRC"), src), path);
        Layout const original = Walk(vfltest::ReadWholeFile(path));
        std::string const samples = Out(Vfl("cat " + path));
        ASSERT_FALSE(samples.empty());

        for (std::string const op : {"adopt ", "regions --add r1 10 100 ", "regions --remove r1 "})
        {
            SCOPED_TRACE(op);
            Out(op[0] == 'a' ? Vfl(op + path) : Vfl("regions " + path + op.substr(7)));
            Layout const now = Walk(vfltest::ReadWholeFile(path));
            // Each chunk of the other tool, but the audio's header, has its
            // bytes: the nth of an id is still the nth of that id.
            std::map<std::string, int> seen;
            for (auto const& chunk : original.chunks)
            {
                int nth = seen[chunk.id]++;
                auto const kept = std::find_if(now.chunks.begin(), now.chunks.end(),
                                               [&](Chunk const& n) { return n.id == chunk.id && nth-- == 0; });
                EXPECT_TRUE(chunk.id == "data" || chunk.id == "SSND" ||
                            (kept != now.chunks.end() && kept->body == chunk.body))
                    << "'" << chunk.id << "' lost or changed";
            }
            EXPECT_EQ(now.trailing, original.trailing);
            EXPECT_TRUE(Out(Vfl("cat " + path)) == samples) << "samples changed";
        }
        // Other readers still take the file, with the same samples.
        EXPECT_TRUE(Out("sox " + path + " -t raw -e signed -L - 2>/dev/null") == samples) << "sox reads other samples";
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
    Out("bash -c \"ulimit -f " + std::to_string(kib) + "; trap '' XFSZ; " + Vfl("adopt " + path) + "\"", 1);
    EXPECT_EQ(vfltest::ReadWholeFile(path), before);
}

// Files of another program are adopted once and take regions.
TEST_F(VflForeignChunks, ForeignFilesAreAdoptedOnceAndTakeRegions)
{
    // The type as sox and vfl info name it.
    for (auto const& [type, extension] : {std::pair{"wav", ".wav"}, {"aiff", ".aif"}, {"aifc", ".aif"}})
    {
        SCOPED_TRACE(type);
        std::string const path = mDir.File(std::string("foreign-") + type + extension);
        // 8000 frames of two sines, made by another program.
        Out(std::string("sox -n -r 8000 -c 2 -b 16 -t ") + type + " " + path + " synth 1 sine 440 sine 550");
        EXPECT_EQ(Out(Vfl("info --json " + path)).find("\"umid\""), std::string::npos);
        auto const sizeBefore = vfltest::ReadWholeFile(path).size();

        EXPECT_NE(Out(Vfl("adopt " + path)).find("adopted"), std::string::npos);
        EXPECT_GT(vfltest::ReadWholeFile(path).size(), sizeBefore); // the identity stands behind the audio
        std::string const json = Out(Vfl("info --json " + path));
        std::smatch umid;
        ASSERT_TRUE(std::regex_search(json, umid, std::regex("\"umid\":\"([A-Za-z0-9#!]{14})\""))) << json;
        EXPECT_NE(json.find("\"type\":\"" + std::string(type) + "\""), std::string::npos) << json;
        // A second adoption changes nothing.
        EXPECT_NE(Out(Vfl("adopt " + path)).find("already"), std::string::npos);
        EXPECT_NE(Out(Vfl("info --json " + path)).find(umid[1].str()), std::string::npos);

        Out(Vfl("regions " + path + " --add intro 0 1000 --sync 10"));
        Out(Vfl("regions " + path + " --add outro 7000 8000"));
        std::string list = Out(Vfl("regions --json " + path));
        EXPECT_NE(list.find("{\"name\":\"intro\",\"start\":0,\"stop\":1000,\"sync\":10"), std::string::npos) << list;
        Out(Vfl("regions " + path + " --remove intro"));
        list = Out(Vfl("regions --json " + path));
        EXPECT_EQ(list.find("intro"), std::string::npos) << list;
        EXPECT_NE(list.find("{\"name\":\"outro\",\"start\":7000,\"stop\":8000"), std::string::npos) << list;
        // Past the end, a name over 31 characters, a region that is not there.
        EXPECT_NE(vfltest::RunCommand(Vfl("regions " + path + " --add late 7000 8001 2>/dev/null")), 0);
        EXPECT_NE(vfltest::RunCommand(Vfl("regions " + path + " --add " + std::string(32, 'n') + " 0 10 2>/dev/null")),
                  0);
        EXPECT_NE(vfltest::RunCommand(Vfl("regions " + path + " --remove nothing 2>/dev/null")), 0);

        std::string const walk = Out("sndfile-info " + path);
        EXPECT_EQ(walk.find("rror"), std::string::npos) << walk;
        EXPECT_NE(walk.find("regn : 92"), std::string::npos) << walk;
    }
}
} // namespace
