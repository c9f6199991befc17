// Unique names of new takes in a folder that already holds many: one test
// of existence per number tried, so the cost grows with the takes before
// the first free number. BM_FreeStereoPair finds the pair after 10,000
// numbered pairs (20,000 files), BM_FreeMonoName the name after 10,000
// numbered takes.

#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace
{
constexpr int kTakes = 10000;

// A folder under the temporary folder with the takes in it, made once.
std::string const& Folder()
{
    static std::string const folder = []
    {
        Sys_Init::Init();
        std::vector<Sys_FileType> types = {Sys_FileType(std::string("wav"))};
        std::vector<std::string> descriptions = {"WAVE audio"};
        Sys_Utils::RegisterKnownTypes(types, descriptions);
        std::filesystem::path const dir = std::filesystem::temp_directory_path() / "vfl_bench_unique";
        std::filesystem::remove_all(dir);
        std::filesystem::create_directory(dir);
        auto touch = [&](std::string const& name) { std::ofstream(dir / name).put('\0'); };
        for (char const* mark : {".L", ".R"})
            touch(std::string("Take") + mark + ".wav");
        touch("Vox.wav");
        for (int i = 1; i < kTakes; ++i)
        {
            std::string const n = std::to_string(i);
            touch("Take-" + n + ".L.wav");
            touch("Take-" + n + ".R.wav");
            touch("Vox-" + n + ".wav");
        }
        return dir.string() + "/";
    }();
    return folder;
}

void BM_FreeStereoPair(benchmark::State& state)
{
    Sys_FileLoc const folder(Folder());
    int32 const max = Sys_Utils::GetMaxFileNameLength(folder);
    Sys_FileLoc left, right;
    for (auto _ : state)
        FF_AudioFileUtils::GetUniqueStereoAudioFileLocs(folder, "Take", "wav", &left, &right, max);
    state.SetLabel(left.GetFileName());
}
BENCHMARK(BM_FreeStereoPair)->Unit(benchmark::kMillisecond);

void BM_FreeMonoName(benchmark::State& state)
{
    Sys_FileLoc const folder(Folder());
    int32 const max = Sys_Utils::GetMaxFileNameLength(folder);
    Sys_FileLoc result;
    for (auto _ : state)
        FF_AudioFileUtils::GetUniqueMonoAudioFileLoc(folder, "Vox", "wav", &result, max);
    state.SetLabel(result.GetFileName());
}
BENCHMARK(BM_FreeMonoName)->Unit(benchmark::kMillisecond);
} // namespace
