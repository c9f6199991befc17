// Files as other programs write them: made at test time by sox, ffmpeg,
// libsndfile's programs and Python from one generated signal, then read
// through FF_AudioFile and held against sox's or ffmpeg's own decoding of
// the same file, whole and in two stretches. A file the library cannot read
// must say why in `vfl info`, which then fails.
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <sstream>

namespace
{
// The builders' Python half: the signal (random 32-bit samples, so that
// every bit of every channel counts), files by the wave and aifc modules,
// and patches that turn an ordinary file into an unusual one.
char const kPython[] = R"PY(
import random, struct, sys
op, path, C, R, N, *args = sys.argv[1:]
C, R, N = int(C), int(R), int(N)
signal = random.Random(C * 7 + N).randbytes(N * C * 4)
def top(width, big):  # the top bytes of each sample, in file order
    return b''.join(signal[i + 4 - width:i + 4][::-1 if big else 1] for i in range(0, len(signal), 4))
if op == 'raw':
    sys.stdout.buffer.write(signal); sys.exit()
if op in ('wave', 'aiff', 'aifc'):
    w = int(args[0]) // 8
    if op == 'wave':
        import wave
        f, data = wave.open(path, 'wb'), top(w, False)
        data = bytes((b + 128) & 255 for b in data) if w == 1 else data
    else:
        import aifc
        f, data = aifc.open(path, 'wb'), top(w, True)
        f.aiff() if op == 'aiff' else f.aifc()
    f.setnchannels(C); f.setsampwidth(w); f.setframerate(R); f.writeframes(data); f.close(); sys.exit()
b = bytearray(open(path, 'rb').read())
E = '>' if b[:4] == b'FORM' else '<'
def find(cid):
    i = 12
    while b[i:i + 4] != cid:
        i += 8 + struct.unpack_from(E + 'I', b, i + 4)[0]
        i += i & 1
    return i
audio = find(b'SSND' if E == '>' else b'data')
start = audio + (16 if E == '>' else 8)
end = min(len(b), audio + 8 + struct.unpack_from(E + 'I', b, audio + 4)[0])
if op == 'chunk':  # an odd chunk, with its pad byte, in front of the audio
    n = int(args[1])
    b[audio:audio] = args[0].encode() + struct.pack(E + 'I', n) + bytes(range(65, 65 + n)) + b'\0' * (n & 1)
elif op == 'size':  # the sizes an unfinished recording leaves
    struct.pack_into(E + 'I', b, audio + 4, int(args[0], 0))
    struct.pack_into(E + 'I', b, 4, int(args[0], 0))
elif op == 'magic':
    b[:4] = args[0].encode()
elif op == 'frames':
    struct.pack_into('>I', b, find(b'COMM') + 10, int(args[0]))
elif op == 'comp':  # another AIFF-C type, the samples byte-swapped for a little-endian one
    b[find(b'COMM') + 26:find(b'COMM') + 30] = args[0].encode()
    w = int(args[1]) if len(args) > 1 else 0
    for i in range(start, end - w + 1, w or 1):
        b[i:i + w] = b[i:i + w][::-1]
elif op == 'bits':  # fewer valid bits than the container holds, the rest zero
    bits, w = int(args[0]), int(args[1])
    if E == '>':
        struct.pack_into('>H', b, find(b'COMM') + 14, bits)
    else:
        fmt = find(b'fmt ')
        struct.pack_into('<H', b, fmt + 22, bits)
        if b[fmt + 8:fmt + 10] == b'\xfe\xff':
            struct.pack_into('<H', b, fmt + 26, bits)
    for i in range(start + (w - 1 if E == '>' else 0), end, w):
        b[i] &= (0xFF << (8 * w - bits)) & 0xFF
open(path, 'wb').write(b)
)PY";

// The shell half: one function per tool, each making $F from the signal;
// `ref` (sox), `reffm` (ffmpeg) and `refsrc` (sox on the WAVE file that
// libsndfile converted without loss) decode a file to $F.ref, and a row
// that patches a file takes its reference first.
char const kShell[] = R"SH(
mk() { python3 -W ignore "$D/mk.py" "$@"; }
src() { mk raw - $C $R $N | sox -D -t raw -e signed -b 32 -r $R -c $C - "$@"; }
sx() { src "$@" "$F"; }
fm() { mk raw - $C $R $N | ffmpeg -v error -y -f s32le -ar $R -ac $C -i - "$@" "$F"; }
sf() { src -b $W -t wav "$F.wav" && sndfile-convert "$@" "$F.wav" "$F"; }
py() { mk "$1" "$F" $C $R $N "${@:2}"; }
ref() { sox "$F" -t raw -e signed -b $W -L "$F.ref"; }
reffm() { ffmpeg -v error -y -i "$F" -f $FW -c:a pcm_$FW "$F.ref"; }
refsrc() { sox "$F.wav" -t raw -e signed -b $W -L "$F.ref"; }
)SH";

struct Row
{
    std::string name;
    std::string file; // the extension tells the tools the type
    std::string make;
    int channels, rate, bits;
    i64 frames = 3001;
    bool read = true;
    std::string say = ""; // what `vfl info` must say of the file, if anything
};
bool const Y = true, N = false; // read, or refused

Row const kOtherRows[] = {
    {"sox 16-bit 3 channels, extensible", "a.wav", "sx -b 16", 3, 44100, 16},
    {"sox 24-bit 6 channels, extensible", "a.wav", "sx -b 24", 6, 48000, 24},
    {"ffmpeg 16-bit 6 channels, extensible", "a.wav", "fm -c:a pcm_s16le", 6, 48000, 16},
    {"ffmpeg 16-bit 96 kHz, extensible", "a.wav", "fm -c:a pcm_s16le", 2, 96000, 16, 9601},
    {"ffmpeg 24-bit 7 channels 96 kHz, extensible", "a.wav", "fm -c:a pcm_s24le", 7, 96000, 24},
    {"ffmpeg bext", "a.wav", "fm -c:a pcm_s16le -write_bext 1", 2, 48000, 16},
    {"ffmpeg bext of odd size", "a.wav", "fm -c:a pcm_s16le -write_bext 1 -metadata coding_history=A=PCM,F=4410", 2,
     48000, 16},
    {"sndfile 16-bit 6 channels", "a.wav", "sf -pcm16", 6, 48000, 16},
    {"python 24-bit 12 channels", "a.wav", "py wave 24", 12, 48000, 24},
    {"odd LIST before the audio", "a.wav", "sx -b 16; py chunk LIST 7", 2, 44100, 16},
    {"odd junk before the audio", "a.wav", "sf -pcm24; py chunk junk 3", 2, 48000, 24},
    {"odd chunk before odd 8-bit audio", "a.wav", "sx -b 8; py chunk LIST 1", 1, 8000, 8},
    {"12 bits in 16", "a.wav", "sx -b 16; py bits 12 2; reffm", 2, 44100, 12},
    {"20 bits in 24", "a.wav", "sf -pcm24; py bits 20 3; reffm", 2, 48000, 20},
    {"20 bits in 24, extensible", "a.wav", "fm -c:a pcm_s24le; py bits 20 3; reffm", 2, 48000, 20},
    {"data size 0", "a.wav", "sx -b 16; ref; py size 0", 2, 44100, 16, 3001, Y, "header incomplete"},
    {"data size 0xFFFFFFFF", "a.wav", "sx -b 24; ref; py size 0xFFFFFFFF", 2, 48000, 24, 3001, Y, "header incomplete"},
    {"ffmpeg into a pipe", "a.wav",
     "mk raw - $C $R $N | ffmpeg -v error -f s32le -ar $R -ac $C -i - -f wav - | cat >$F", 2, 44100, 16, 3001, Y,
     "header incomplete"},
    {"WAVE cut short", "a.wav", "N=3000; sx -b 16; ref; truncate -s -1001 $F", 2, 44100, 16, 2749, Y,
     "header incomplete"},
    {"24-bit WAVE cut short", "a.wav", "N=3000; sf -pcm24; ref; truncate -s -1000 $F", 2, 44100, 24, 2833, Y,
     "header incomplete"},
    {"ffmpeg RF64", "a.wav", "fm -c:a pcm_s16le -rf64 always", 2, 44100, 16},
    {"ffmpeg RF64 24-bit 6 channels", "a.wav", "fm -c:a pcm_s24le -rf64 always", 6, 96000, 24},
    {"BW64", "a.wav", "fm -c:a pcm_s16le -rf64 always; ref; py magic BW64", 2, 48000, 16},
    {"sox AIFF 8-bit mono", "a.aif", "sx -b 8", 1, 8000, 8},
    {"sox AIFF 16-bit stereo", "a.aif", "sx -b 16", 2, 44100, 16},
    {"sox AIFF 24-bit stereo", "a.aif", "sx -b 24", 2, 48000, 24},
    {"sox AIFF 32-bit mono", "a.aif", "sx -b 32", 1, 44100, 32},
    {"sox AIFF-C", "a.aifc", "sx -b 16", 2, 44100, 16},
    {"ffmpeg AIFF 8-bit mono", "a.aif", "fm -c:a pcm_s8", 1, 8000, 8},
    {"ffmpeg AIFF 16-bit stereo", "a.aif", "fm -c:a pcm_s16be", 2, 44100, 16},
    {"ffmpeg AIFF 24-bit 6 channels", "a.aif", "fm -c:a pcm_s24be", 6, 48000, 24},
    {"ffmpeg AIFF 32-bit mono", "a.aif", "fm -c:a pcm_s32be", 1, 96000, 32},
    {"ffmpeg AIFF-C sowt", "a.aif", "fm -c:a pcm_s16le", 2, 44100, 16},
    {"ffmpeg AIFF-C raw, unsigned 8-bit", "a.aif", "fm -c:a pcm_u8; reffm", 2, 44100, 8},
    // libsndfile rounds odd 8-bit audio up to an even count of frames, in COMM as in SSND.
    {"sndfile AIFF 8-bit mono", "a.aif", "N=3001; sf -pcms8", 1, 8000, 8, 3002},
    {"sndfile AIFF 16-bit stereo", "a.aif", "sf -pcm16", 2, 44100, 16},
    {"sndfile AIFF 24-bit stereo", "a.aif", "sf -pcm24", 2, 48000, 24},
    {"sndfile AIFF 32-bit mono", "a.aif", "sf -pcm32", 1, 44100, 32},
    {"sndfile AIFF-C sowt", "a.aif", "sf -pcm16 -endian=little", 2, 44100, 16},
    {"sndfile AIFF-C 42n1", "a.aif", "sf -pcm24 -endian=little; refsrc", 2, 48000, 24},
    {"sndfile AIFF-C 23ni", "a.aif", "sf -pcm32 -endian=little; refsrc", 2, 44100, 32},
    {"python AIFF", "a.aif", "py aiff 16", 2, 44100, 16},
    {"python AIFF-C", "a.aifc", "py aifc 24", 2, 48000, 24},
    {"AIFF-C twos", "a.aifc", "sx -b 16; ref; py comp twos", 2, 44100, 16},
    {"AIFF-C sowt 24-bit", "a.aifc", "sx -b 24; ref; py comp sowt 3", 2, 48000, 24},
    {"AIFF-C in24", "a.aifc", "sx -b 24; ref; py comp in24", 2, 48000, 24},
    {"AIFF-C in32", "a.aifc", "sx -b 32; ref; py comp in32", 2, 44100, 32},
    {"AIFF-C 42ni", "a.aifc", "sx -b 24; ref; py comp 42ni 3", 2, 48000, 24},
    {"AIFF-C 23ni", "a.aifc", "sx -b 32; ref; py comp 23ni 4", 2, 44100, 32},
    {"odd ANNO in AIFF", "a.aif", "sx -b 16; py chunk ANNO 5", 2, 44100, 16},
    {"odd ANNO in AIFF-C", "a.aifc", "sx -b 24; py chunk ANNO 9", 1, 48000, 24},
    {"12 bits in 16, AIFF", "a.aif", "sx -b 16; py bits 12 2; reffm", 2, 44100, 12},
    {"SSND size 0", "a.aif", "sx -b 16; ref; py size 0", 2, 44100, 16, 3001, Y, "header incomplete"},
    {"SSND size 0xFFFFFFFF", "a.aif", "sx -b 16; ref; py size 0xFFFFFFFF", 2, 44100, 16, 3001, Y, "header incomplete"},
    {"AIFF cut short", "a.aif", "N=3000; sx -b 16; ref; truncate -s -1001 $F", 2, 44100, 16, 2749, Y,
     "header incomplete"},
    {"COMM claims more than SSND", "a.aif", "sx -b 16; ref; py frames 6000", 2, 44100, 16},
    {"ffmpeg float", "a.wav", "fm -c:a pcm_f32le", 2, 44100, 32, 3001, N, "float"},
    {"ffmpeg 64-bit float", "a.wav", "fm -c:a pcm_f64le", 2, 44100, 32, 3001, N, "float"},
    {"sox float, extensible", "a.wav", "sx -e floating-point -b 32", 2, 44100, 32, 3001, N, "float"},
    {"sndfile float", "a.wav", "sf -float32", 2, 44100, 32, 3001, N, "float"},
    {"ffmpeg u-law WAVE", "a.wav", "fm -c:a pcm_mulaw", 1, 8000, 8, 3001, N, "format tag 7"},
    {"ffmpeg AIFF-C fl32", "a.aif", "fm -c:a pcm_f32be", 2, 44100, 32, 3001, N, "float"},
    {"ffmpeg AIFF-C fl64", "a.aif", "fm -c:a pcm_f64be", 2, 44100, 32, 3001, N, "float"},
    {"sndfile AIFF-C float", "a.aif", "sf -float32", 2, 44100, 32, 3001, N, "float"},
    {"ffmpeg AIFF-C u-law", "a.aif", "fm -c:a pcm_mulaw", 1, 8000, 8, 3001, N, "AIFF-C compression 'ulaw'"},
    {"sndfile AIFF-C u-law", "a.aif", "sf -ulaw", 1, 8000, 8, 3001, N, "AIFF-C compression 'ulaw'"},
    {"ffmpeg AIFF-C a-law", "a.aif", "fm -c:a pcm_alaw", 1, 8000, 8, 3001, N, "AIFF-C compression 'alaw'"},
    {"not audio", "a.wav", "echo not audio >$F", 1, 8000, 8, 1, N, "no RIFF or FORM header"},
    {"RIFF cut in its header", "a.wav", "printf RIFF1234WA >$F", 1, 8000, 8, 1, N, "too short for its RIFF header"},
    {"RIFF of another form", "a.wav", "printf RIFF1234CDXAfmt >$F", 1, 8000, 8, 1, N, "RIFF form 'CDXA' is not WAVE"},
    {"FORM of another type", "a.aif", "printf FORM12348SVXVHDR >$F", 1, 8000, 8, 1, N, "FORM type '8SVX' is not AIFF"},
};

// Plain WAVE files of each tool, 8 to 32 bits, mono and stereo, at rates in
// turn; sox and ffmpeg write the wider ones extensible. Then the others.
std::vector<Row> Rows()
{
    using Make = std::string (*)(int bits);
    struct
    {
        char const* name;
        Make make;
    } const tools[] = {
        {"sox", [](int bits) { return "sx -b " + std::to_string(bits); }},
        {"ffmpeg", [](int bits) { return "fm -c:a pcm_" + (bits == 8 ? "u8" : "s" + std::to_string(bits) + "le"); }},
        {"sndfile", [](int bits) { return "sf -pcm" + (bits == 8 ? "u8" : std::to_string(bits)); }},
        {"python", [](int bits) { return "py wave " + std::to_string(bits); }},
    };
    int const rates[] = {8000, 11025, 22050, 44100, 48000, 96000, 32000};
    std::vector<Row> rows;
    for (auto const& tool : tools)
        for (int bits : {8, 16, 24, 32})
            for (int channels : {1, 2})
                rows.push_back({std::string(tool.name) + " " + std::to_string(bits) + "-bit " +
                                    (channels == 1 ? "mono" : "stereo"),
                                "a.wav", tool.make(bits), channels, rates[rows.size() % std::size(rates)], bits});
    rows.insert(rows.end(), std::begin(kOtherRows), std::end(kOtherRows));
    return rows;
}

void PrintTo(Row const& row, std::ostream* out)
{
    *out << row.name;
}

std::string Lower(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
    return s;
}

// Runs a row's command in dir, which makes dir/file and, for a file to be
// read, its reference decoding; skips when a program it needs is missing.
void Make(vfltest::TempDir const& dir, Row const& row)
{
    std::string const make = std::string(" ") + row.make + " ";
    std::vector<std::string> needs = {"python3", "sox", "bash"};
    if (make.find(" fm ") != std::string::npos || make.find("ffmpeg") != std::string::npos ||
        make.find("reffm") != std::string::npos)
        needs.push_back("ffmpeg");
    if (make.find(" sf ") != std::string::npos)
        needs.push_back("sndfile-convert");
    for (auto const& program : needs)
        if (!vfltest::HaveProgram(program))
            GTEST_SKIP() << program << " is not installed";
    if (make.find(" py aif") != std::string::npos &&
        vfltest::RunCommand("python3 -W ignore -c 'import aifc' 2>/dev/null") != 0)
        GTEST_SKIP() << "Python has no aifc module";

    vfltest::WriteWholeFile(dir.File("mk.py"), std::vector<std::uint8_t>(kPython, kPython + sizeof kPython - 1));
    int const width = (row.bits + 7) / 8 * 8;
    std::ostringstream script;
    script << "set -eo pipefail\n"
           << "D=" << dir.Path().string() << " F=" << dir.File(row.file) << " C=" << row.channels << " R=" << row.rate
           << " N=" << row.frames << " W=" << width
           << " FW=" << (width == 8 ? "s8" : "s" + std::to_string(width) + "le") << "\n"
           << kShell << row.make << "\n"
           << (row.read ? "[ -e \"$F.ref\" ] || ref\n" : "");
    std::string const text = script.str();
    vfltest::WriteWholeFile(dir.File("make.sh"), std::vector<std::uint8_t>(text.begin(), text.end()));
    std::string output;
    ASSERT_EQ(vfltest::RunCommand("bash " + dir.File("make.sh") + " 2>&1", &output), 0) << row.make << "\n" << output;
}

class RealWorldFiles : public ::testing::TestWithParam<Row>
{
protected:
    static void SetUpTestSuite() { Sys_Init::Init(); }
};

TEST_P(RealWorldFiles, ReadAsTheirMakersDecodeThem)
{
    Row const& row = GetParam();
    vfltest::TempDir dir;
    Make(dir, row);
    if (IsSkipped() || HasFatalFailure())
        return;
    std::string const path = dir.File(row.file);
    std::string info;
    int const infoStatus = vfltest::RunCommand(vfltest::ToolPath() + " info " + path + " 2>&1", &info);
    EXPECT_NE(Lower(info).find(Lower(row.say)), std::string::npos) << info;
    EXPECT_EQ(infoStatus, row.read ? 0 : 1) << info;
    FF_AudioFile file{Sys_FileLoc(path)};
    if (!row.read)
    {
        EXPECT_FALSE(file.Implements(FF_AudioFile::eImportExportInterface));
        return;
    }
    ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface)) << info;
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
    FF_AudioFileAttr const attr = file.GetAudioFileAttr();
    EXPECT_EQ(attr.GetNumChannels(), row.channels);
    EXPECT_EQ(attr.GetSamplesPerSec(), row.rate);
    EXPECT_EQ(attr.GetBitsPerSample(), row.bits);
    ASSERT_EQ(attr.GetBytesPerSample(), (row.bits + 7) / 8);
    ASSERT_EQ(attr.GetNumSamples(), row.frames);

    std::vector<std::uint8_t> const reference = vfltest::ReadWholeFile(path + ".ref");
    i64 const frameBytes = row.channels * attr.GetBytesPerSample();
    ASSERT_GE(static_cast<i64>(reference.size()), row.frames * frameBytes);
    i64 const stretches[][2] = {{0, row.frames}, {row.frames / 3, row.frames / 4}, {row.frames - 37, 37}};
    for (auto const& [first, count] : stretches)
    {
        SCOPED_TRACE(testing::Message() << count << " frames from " << first);
        std::vector<std::uint8_t> got(static_cast<std::size_t>(count * frameBytes));
        file.SampleSetPosition(Sys_File::kFromStart, first);
        file.SampleRead(got.data(), count);
        auto const from = reference.begin() + first * frameBytes;
        auto const differ = std::mismatch(got.begin(), got.end(), from).first;
        EXPECT_TRUE(differ == got.end()) << "from byte " << (differ - got.begin()) << " on";
    }
}

std::string TestName(testing::TestParamInfo<Row> const& info)
{
    std::string name;
    for (char const c : info.param.name)
        if (std::isalnum(static_cast<unsigned char>(c)))
            name += c;
        else if (!name.empty() && name.back() != '_')
            name += '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Corpus, RealWorldFiles, testing::ValuesIn(Rows()), TestName);

} // namespace
