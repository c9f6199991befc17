// WAVE, AIFF and AIFF-C files written by vfl read back by independent tools:
// sox, ffmpeg, Python's wave and aifc, ffprobe and sndfile-info. AIFF rates
// both ways against Python's aifc, loops as other readers see them, and the
// type and creator a new file is stamped with. VORN files and their forks;
// and no command that only reads makes a file or folder.
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <numeric>
#include <regex>

namespace
{
namespace fs = std::filesystem;

// Python's aifc module is deprecated; its warning is not wanted on stderr.
std::string const kPython = "python3 -W ignore::DeprecationWarning -c ";

class VflWrite : public vfltest::ToolTest
{
protected:
    VflWrite() : ToolTest({"sox", "ffmpeg", "python3", "ffprobe", "sndfile-info"}) {}
};

TEST_F(VflWrite, NewFilesReadBackByOtherTools)
{
    struct
    {
        char const* type;
        int bits, channels, rate;
    } const cases[] = {{"wav", 8, 1, 8000},   {"wav", 8, 2, 22050},   {"wav", 16, 1, 44100},  {"wav", 16, 2, 44100},
                       {"wav", 16, 6, 48000}, {"wav", 24, 2, 48000},  {"wav", 24, 6, 96000},  {"wav", 32, 1, 44100},
                       {"aif", 8, 1, 8000},   {"aif", 16, 2, 44100},  {"aif", 24, 3, 48000},  {"aif", 32, 6, 96000},
                       {"aifc", 8, 2, 22050}, {"aifc", 16, 1, 44100}, {"aifc", 24, 6, 48000}, {"aifc", 32, 4, 192000}};
    for (auto const& c : cases)
    {
        std::string const tag = std::string(c.type) + std::to_string(c.bits) + "b" + std::to_string(c.channels) + "c";
        SCOPED_TRACE(tag);
        bool const wave = std::string(c.type) == "wav", aifc = std::string(c.type) == "aifc";
        std::string const raw = F(tag + ".raw");
        std::string const out = F(tag + "." + c.type);
        // 1001 frames of noise, so that odd sizes are exercised too.
        Out("sox -n -r " + std::to_string(c.rate) + " -c " + std::to_string(c.channels) + " -b " +
            std::to_string(c.bits) + " -e signed -t raw " + raw + " synth 1001s whitenoise 2>/dev/null");
        std::string const input = Contents(raw);
        std::int64_t const frames = static_cast<std::int64_t>(input.size()) / (c.bits / 8 * c.channels);
        ASSERT_GT(frames, 0);
        Out(Vfl("new " + out + " --rate " + std::to_string(c.rate) + " --bits " + std::to_string(c.bits) +
                " --channels " + std::to_string(c.channels) + " --type " + c.type + " < " + raw));
        std::string const bytes = Contents(out);
        EXPECT_EQ(bytes.substr(8, 4), wave ? "WAVE" : aifc ? "AIFC" : "AIFF");
        // The first audio byte on a sector boundary: the first sample as
        // stored (8-bit WAVE is unsigned, AIFF big-endian), and in the
        // printout of the chunks, which without a name goes by what the file holds.
        std::string first = input.substr(0, static_cast<std::size_t>(c.bits / 8));
        if (wave && c.bits == 8)
            first[0] = static_cast<char>(first[0] ^ 0x80);
        else if (!wave)
            std::reverse(first.begin(), first.end());
        EXPECT_EQ(bytes.substr(1024, first.size()), first);
        std::string const size = "\nChunk size (nominal): ";
        std::vector<std::string> printed = {"Chunk ID: Elmo" + size +
                                                (wave   ? "350\n"
                                                 : aifc ? "308\n"
                                                        : "340\n"),
                                            wave ? "Chunk Position: 1016\nChunk ID: data"
                                                 : "Chunk Position: 1008\nChunk ID: SSND"};
        if (!wave)
        {
            printed.push_back("Chunk ID: COMM" + size + (aifc ? "38\n" : "18\n"));
            printed.push_back("\t0 byte offset to audio data\n\tBlock size: 0\n\t" + std::to_string(input.size()) +
                              " bytes of audio data");
        }
        std::string const print = Out(Vfl("print " + out));
        for (auto const& text : printed)
            EXPECT_NE(print.find(text), std::string::npos) << text << "\n" << print;
        EXPECT_EQ(Out(Vfl("print -") + " < " + out), print);
        EXPECT_EQ(JsonField(Out(Vfl("info --json " + out)), "type"), wave ? "wav" : aifc ? "aifc" : "aiff");
        // Named after the file, not the temporary one it was written as.
        EXPECT_EQ(JsonField(Out(Vfl("regions --json " + out)), "name"), tag);

        // sox and ffmpeg decode exactly the samples written.
        EXPECT_TRUE(Raw(out) == input) << "sox samples differ";
        std::string const pcm = c.bits == 8 ? "s8" : "s" + std::to_string(c.bits) + "le";
        EXPECT_TRUE(Out("ffmpeg -v error -i " + out + " -f " + pcm + " -") == input) << "ffmpeg samples differ";
        // Python: parameters, and the bytes (8-bit WAVE is unsigned, AIFF big-endian).
        std::string const py =
            Out(kPython + "\"import wave,aifc; a=" + (wave ? "wave" : "aifc") + ".open('" + out +
                "'); d=a.readframes(a.getnframes()); w=a.getsampwidth(); "
                "d=bytes(b^0x80 for b in d) if " +
                (wave ? "w==1" : "False") +
                " else d; d=" + (wave ? "d" : "b''.join(d[i:i+w][::-1] for i in range(0,len(d),w))") +
                "; print(a.getnchannels(), w, a.getframerate(), a.getnframes(), a.getcomptype() in ('NONE', b'NONE'), "
                "d==open('" +
                raw + "','rb').read())\"");
        EXPECT_EQ(py, std::to_string(c.channels) + " " + std::to_string(c.bits / 8) + " " + std::to_string(c.rate) +
                          " " + std::to_string(frames) + " True True\n");
        // sndfile-info walks every chunk to the last one. It asks AIFF-C
        // files for a version chunk, which is not written; in WAVE files it
        // flags the workstation's own chunk as unknown.
        std::string walk = Out("sndfile-info " + out);
        walk = std::regex_replace(walk, std::regex("\\*\\*\\* Valid AIFC files should have an FVER chunk.\n"), "");
        EXPECT_NE(walk.find(wave ? "smpl : 36" : "INST : 20"), std::string::npos) << walk;
        EXPECT_NE(walk.find("Frames      : " + std::to_string(frames)), std::string::npos) << walk;
        EXPECT_EQ(walk.find("rror"), std::string::npos) << walk;
        if (!wave)
        {
            EXPECT_EQ(walk.find("***"), std::string::npos) << walk;
            continue;
        }
        // ffprobe sees the stream and the broadcast extension.
        std::string const probe = Out("ffprobe -v error -show_streams -show_format -of flat " + out);
        EXPECT_NE(probe.find("streams.stream.0.channels=" + std::to_string(c.channels)), std::string::npos);
        EXPECT_NE(probe.find("streams.stream.0.sample_rate=\"" + std::to_string(c.rate) + "\""), std::string::npos);
        EXPECT_NE(probe.find("format.tags.comment=\"Velmora generated sound file\""), std::string::npos) << probe;
        EXPECT_NE(probe.find("format.tags.coding_history=\"PCM Encoded\""), std::string::npos) << probe;
        EXPECT_TRUE(std::regex_search(probe, std::regex("originator_reference=\"[0-9a-f]{32}\"")));
        EXPECT_TRUE(std::regex_search(probe, std::regex("format.tags.creation_time=\"[0-9]{2}-[0-9]{2}-[0-9]{2}\"")));
    }
}

Sys_FileType MacType(std::string const& code)
{
    std::uint32_t v = 0;
    for (char ch : code)
        v = (v << 8) | static_cast<unsigned char>(ch);
    return Sys_FileType(static_cast<std::int32_t>(v));
}

TEST_F(VflWrite, AiffRatesBothWaysAgainstPython)
{
    int const rates[] = {8000,  11025, 16000, 22050, 32000, 44056,  44100,
                         47952, 48000, 64000, 88200, 96000, 176400, 192000};
    std::string list;
    for (int rate : rates)
    {
        std::string const r = std::to_string(rate);
        Out("head -c 40 /dev/zero | " +
            Vfl("new " + F("v" + r + ".aif") + " --rate " + r + " --bits 16 --channels 1 --type aif"));
        list += r + ",";
    }
    // Python reads ours, and writes its own at the same rates.
    std::string const py = Out("cd " + mDir.Path().string() + " && " + kPython +
                               "\"import aifc\n"
                               "def new(name, rate):\n"
                               " w=aifc.open(name,'wb'); w.aiff(); w.setnchannels(1); w.setsampwidth(2)\n"
                               " w.setframerate(rate); w.writeframes(bytes(8)); w.close()\n"
                               "for r in [" +
                               list +
                               "]:\n"
                               " print(aifc.open('v%d.aif'%r).getframerate()==r, end=' '); new('p%d.aif'%r, r)\n"
                               "new('odd.aif', 44100.9)\"");
    EXPECT_EQ(py.find("False"), std::string::npos) << py;
    EXPECT_EQ(py.find("True"), 0u) << py;
    for (int rate : rates)
        EXPECT_EQ(JsonField(Out(Vfl("info --json " + F("p" + std::to_string(rate) + ".aif"))), "sampleRate"),
                  std::to_string(rate));
    // A rate with a fraction is truncated, not rounded.
    EXPECT_EQ(JsonField(Out(Vfl("info --json " + F("odd.aif"))), "sampleRate"), "44100");
}

// Loops written through the library, as sndfile-info and Python see them.
TEST_F(VflWrite, AiffLoopsAgreeWithOtherReaders)
{
    Sys_Init::Init();
    using A = FF_AudioInstrumentAttr;
    struct
    {
        char const* name;
        char const* mac;
        A attr;
        char const* inst;                        // the 'INST' play modes and marker ids: sustain, release
        int loops;                               // as sndfile-info --instrument counts them
        std::vector<std::pair<int, int>> ranges; // and the loops it shows
        char const* markers;                     // aifc.getmarkers()
        std::vector<std::string> vfl;            // the loops as vfl info shows them
    } const cases[] = {
        {"AIFF, both loops",
         "AIFF",
         A(62, -3, A::kLoopForward, 100, 1000, A::kLoopForwardBackward, 2000, 3000),
         "1 0 1 2 2 3",
         2,
         {{100, 1000}, {2000, 3000}},
         "[(0, 100, b'beg loop'), (1, 1000, b'end loop'), (2, 2000, b'beg loop'), (3, 3000, b'end loop')]",
         {"loop 1: forward 100..1000", "loop 2: forward-backward 2000..3000"}},
        // That reader counts the release loop but takes its points from the
        // sustain loop's ids: no range to compare.
        {"AIFF, release loop only",
         "AIFF",
         A(60, 0, A::kLoopNone, 0, 0, A::kLoopForward, 10, 20),
         "0 0 0 1 2 3",
         1,
         {},
         "[(2, 10, b'beg loop'), (3, 20, b'end loop')]",
         {"loop 2: forward 10..20"}},
        {"AIFF-C, backward sustain loop",
         "AIFC",
         A(48, 7, A::kLoopBackward, 5, 4000),
         "1 0 1 0 0 0",
         1,
         {{5, 4000}},
         "[(0, 5, b'beg loop'), (1, 4000, b'end loop')]",
         {"loop 1: forward 5..4000"}},
        {"AIFF, no loops", "AIFF", A(61, 0), "0 0 0 0 0 0", 0, {}, "None", {}},
    };
    int index = 0;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = mDir.File("loop" + std::to_string(index++) + ".aif");
        {
            FF_AudioFile file((Sys_FileLoc(path)));
            file.Format(MacType(c.mac), 1, 44100, 16, 0);
            FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
            std::vector<std::int16_t> samples(5000);
            std::iota(samples.begin(), samples.end(), std::int16_t{0});
            file.SampleWrite(samples.data(), 5000);
            file.SetNumSamples(5000);
            file.SetInstrumentAttr(c.attr);
        }
        // The chunk dump: play modes carry a flag of that reader's in the high bits.
        std::string const dump = Out("sndfile-info " + path);
        std::smatch m;
        ASSERT_TRUE(std::regex_search(dump, m,
                                      std::regex("Sustain\n +mode +: 80+([0-9]+).*\n +begin : ([0-9]+)\n +end +: "
                                                 "([0-9]+)\n +Release\n +mode +: 80+([0-9]+).*\n +begin : "
                                                 "([0-9]+)\n +end +: ([0-9]+)")))
            << dump;
        EXPECT_EQ(m[1].str() + " " + m[2].str() + " " + m[3].str() + " " + m[4].str() + " " + m[5].str() + " " +
                      m[6].str(),
                  c.inst);
        EXPECT_NE(dump.find("Base Note : " + std::to_string(c.attr.GetRootMIDINote())), std::string::npos) << dump;
        std::string const info = Out("sndfile-info --instrument " + path);
        EXPECT_NE(info.find("Loop points : " + std::to_string(c.loops)), std::string::npos) << info;
        for (auto const& [start, end] : c.ranges)
            EXPECT_TRUE(std::regex_search(
                info, std::regex("Start : +" + std::to_string(start) + " +End : +" + std::to_string(end) + " ")))
                << info;
        std::string const py = Out(kPython + "\"import aifc; print(aifc.open('" + path + "').getmarkers())\"");
        EXPECT_EQ(Trim(py), c.markers);
        // The same loops come back through vfl.
        std::string const text = Out(Vfl("info " + path));
        EXPECT_NE(text.find("instrument: root note " + std::to_string(c.attr.GetRootMIDINote())), std::string::npos)
            << text;
        for (auto const& line : c.vfl)
            EXPECT_NE(text.find(line), std::string::npos) << text;
        EXPECT_EQ(text.find("  loop "), c.vfl.empty() ? std::string::npos : text.find(c.vfl.front()) - 2) << text;
    }
}

TEST_F(VflWrite, AiffFormatStampsTypeAndCreator)
{
    Sys_Init::Init();
    static std::vector<std::pair<std::uint32_t, std::uint32_t>> stamps;
    stamps.clear();
    FF_AudioFile::SetSetFileAndCreatorTypeMethod([](Sys_FileLoc const&, std::uint32_t type, std::uint32_t creator)
                                                 { stamps.emplace_back(type, creator); });
    for (char const* mac : {"AIFF", "AIFC"})
    {
        FF_AudioFile file((Sys_FileLoc(mDir.File(std::string("t.") + mac))));
        file.Format(MacType(mac), 2, 48000, 24, 0);
        EXPECT_EQ(file.GetDescription(FF_AudioFile::eShortDescription), mac);
    }
    FF_AudioFile::SetSetFileAndCreatorTypeMethod(nullptr);
    ASSERT_EQ(stamps.size(), 2u);
    EXPECT_EQ(stamps[0], std::make_pair(0x41494646u, 0x4E75766Fu)); // "AIFF", "Nuvo"
    EXPECT_EQ(stamps[1], std::make_pair(0x41494643u, 0x4E75766Fu)); // "AIFC", "Nuvo"
}

// VORN files: written by new and convert with their audio as sox writes raw
// big-endian signed samples, read back by info, cat and convert.
TEST_F(VflWrite, VornNewAndConvertWriteTheAudioBigEndianAndReadItBack)
{
    struct Case
    {
        int bits, channels;
    } const cases[] = {{8, 1}, {8, 2}, {16, 1}, {16, 2}, {24, 1}, {24, 2}};
    for (auto const& c : cases)
    {
        std::string const tag = std::to_string(c.bits) + "b" + std::to_string(c.channels) + "c";
        SCOPED_TRACE(tag);
        std::string const format =
            "-r 22050 -c " + std::to_string(c.channels) + " -b " + std::to_string(c.bits) + " -e signed";
        std::string const raw = F(tag + ".raw"), wav = F(tag + ".wav");
        Out("sox -r 22050 -n " + format + " -t raw " + raw + " synth 501s whitenoise");
        Out("sox " + format + " -t raw " + raw + " " + wav);
        std::string const bigEndian = Out("sox " + wav + " -t raw -e signed -B -");
        std::string const littleEndian = Contents(raw);
        std::size_t const frames = littleEndian.size() / (c.bits / 8 * c.channels);
        ASSERT_GT(frames, 100u);

        std::string const made = F(tag + "-new.vorn"), converted = F(tag + "-conv");
        Out(Vfl("new " + made + " -r 22050 -b " + std::to_string(c.bits) + " -c " + std::to_string(c.channels) + " < " +
                raw));
        Out(Vfl("convert " + wav + " --type vorn -o " + converted));
        for (auto const& vorn : {made, converted})
        {
            SCOPED_TRACE(vorn);
            EXPECT_TRUE(Contents(vorn) == bigEndian) << "data fork differs from sox's big-endian samples";
            EXPECT_TRUE(fs::is_regular_file(fs::path(vorn).parent_path() / "Resource.FRK" / fs::path(vorn).filename()));
            EXPECT_EQ(Out(Vfl("info -t -b -c -s " + vorn)), "vorn\n" + std::to_string(c.bits) + "\n" +
                                                                std::to_string(c.channels) + "\n" +
                                                                std::to_string(frames) + "\n");
            EXPECT_TRUE(Out(Vfl("cat " + vorn)) == littleEndian) << "vfl cat differs from the source";
            std::string const back = F(tag + "-back.wav");
            Out(Vfl("convert " + vorn + " -o " + back));
            EXPECT_TRUE(Out("sox " + back + " -t raw -e signed -L -") == littleEndian) << "round trip differs";
        }
    }
    // No temporary fork is left behind, and standard output takes no fork.
    for (auto const& entry : fs::directory_iterator(mDir.Path() / "Resource.FRK"))
        EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
    Out(Vfl("convert " + F("8b1c.wav") + " -t vorn -o -"), 2);
}

TEST_F(VflWrite, VornReplacingAFileReplacesOrRemovesItsFork)
{
    Out("sox -r 8000 -n -c 1 -b 16 " + F("a.wav") + " synth 100s sine 300");
    Out("sox -r 8000 -n -c 2 -b 16 " + F("b.wav") + " synth 50s sine 300");
    std::string const fork = F("Resource.FRK/x.vorn");
    Out(Vfl("convert " + F("a.wav") + " -o " + F("x.vorn")));
    Out(Vfl("convert " + F("b.wav") + " -o " + F("x.vorn")));
    EXPECT_EQ(Out(Vfl("info -c -s " + F("x.vorn"))), "2\n50\n");
    // A WAVE file in the place of a VORN file leaves no fork of the old one.
    Out(Vfl("convert " + F("a.wav") + " -t wav -o " + F("x.vorn")));
    EXPECT_FALSE(fs::exists(fork));
    EXPECT_EQ(Out(Vfl("info -t " + F("x.vorn"))), "wav\n");
}

// Every entry below a folder, with its size and modification time.
std::map<std::string, std::string> Listing(fs::path const& root)
{
    std::map<std::string, std::string> list;
    for (auto const& e : fs::recursive_directory_iterator(root))
        list[e.path().string()] = std::to_string(e.is_regular_file() ? e.file_size() : 0) + " " +
                                  std::to_string(e.last_write_time().time_since_epoch().count());
    return list;
}

// No command that only reads makes a file or folder, for any file of the
// test corpus.
TEST_F(VflWrite, ReadingCommandsCreateNothing)
{
    // The seed files of the format tests, and files of other kinds.
    fs::path const corpus = fs::path(VFL_SOURCE_DIR) / "fuzz" / "corpus";
    for (char const* kind : {"wave", "aiff", "aifc"})
        for (auto const& e : fs::directory_iterator(corpus / kind))
            fs::copy_file(e.path(), mDir.Path() / e.path().filename());
    vfltest::WriteWholeFile(F("notes.txt"), {'h', 'i', '\n'});
    vfltest::WriteWholeFile(F("empty"), {});
    Out("sox -n -r 8000 -c 2 -b 16 -t raw - synth 10s sine 300 | " +
        Vfl("new " + F("take.vorn") + " -r 8k -b 16 -c 2"));
    fs::copy_file(F("take.vorn"), F("take copy"));
    fs::copy_file(F("Resource.FRK/take.vorn"), F("Resource.FRK/take copy"));
    vfltest::WriteWholeFile(F("damaged"), {1, 2, 3, 4});
    vfltest::WriteWholeFile(F("Resource.FRK/damaged"), std::vector<std::uint8_t>(300, 0xEE));

    std::vector<fs::path> files;
    for (auto const& e : fs::directory_iterator(mDir.Path()))
        if (e.is_regular_file())
            files.push_back(e.path());
    ASSERT_GT(files.size(), 30u);
    auto const before = Listing(mDir.Path());
    for (auto const& file : files)
        for (char const* command : {"info", "cat", "print"})
            vfltest::RunCommand(Vfl(std::string(command) + " '" + file.string() + "' > /dev/null 2>&1"));
    // A search by name finds the file, not its fork of the same name.
    std::string const folder = fs::canonical(mDir.Path()).string();
    EXPECT_EQ(Out(Vfl("find '*.vorn' --in " + folder + " --tree")), folder + "/take.vorn\n");
    EXPECT_EQ(Listing(mDir.Path()), before);
    EXPECT_EQ(Out(Vfl("info -t '" + F("take copy") + "'")), "vorn\n");
    EXPECT_NE(Out(Vfl("print '" + F("take copy") + "'")).find("resource fork in "), std::string::npos);
}
} // namespace
