// The whole model export (sight, lists, walk, appearance, textures, .glb) of the stress scene
// of over a million triangles in the simulated host, with the export's peak memory.
#include "Export/ModelExport.hpp"
#include "Sim/SimHost.hpp"

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace Velmora::Bench {
namespace {

long MaxRssKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss; // KiB on Linux
}

// Has the host generate the scene's meshes once, so the peak measured afterwards is the
// export's own and not the simulated host's.
void GenerateOnce() {
    void* sight = nullptr;
    void* previous = nullptr;
    Host::Get().Sight().CreateSight(&sight);
    Host::Get().Sight().SelectSight(sight, &previous);
    std::vector<Host::API_Guid> visible;
    Host::Get().Element().GetElemList({}, &visible, 10);
    Host::Get().ModelAccess().GenerateModelWithSeparateComponents(visible);
    Host::Get().Sight().SelectSight(previous, &sight);
    Host::Get().Sight().DeleteSight(sight);
}

void BM_ExportStressScene(benchmark::State& state) {
    std::string folder = (std::filesystem::temp_directory_path() / "velmora-bench-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr)
        throw std::runtime_error("cannot create a temporary folder");
    Sim::SimHostOptions options;
    options.hostFolder = folder;
    options.scenePath = VELMORA_SCENES_DIR "/stress-1m.json";
    Sim::SimHost host(options);
    std::string error;
    if (!host.LoadScene(error))
        throw std::runtime_error(error);
    Host::Install(&host);
    GenerateOnce();
    long const rssBefore = MaxRssKiB();
    ModelExportOptions const exportOptions; // the settings' defaults
    ModelExportResult result;
    for (auto _ : state) {
        result = ExportVisible3DModelToGlb(exportOptions);
        benchmark::DoNotOptimize(result.glb.data());
    }
    Host::Install(nullptr);
    std::filesystem::remove_all(folder);
    if (result.status != 0)
        state.SkipWithError(result.error.c_str());
    state.counters["triangles"] = result.stats.triangleCount;
    state.counters["glb_MiB"] = double(result.glb.size()) / 1048576.0;
    state.counters["peak_rss_delta_MiB"] = double(MaxRssKiB() - rssBefore) / 1024.0;
    state.counters["tris_per_second"] =
        benchmark::Counter(double(result.stats.triangleCount) * double(state.iterations()),
                           benchmark::Counter::kIsRate);
}

BENCHMARK(BM_ExportStressScene)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
} // namespace Velmora::Bench
