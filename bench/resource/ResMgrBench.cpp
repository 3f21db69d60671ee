// The resource manager's table and the finder's search, over a temporary directory of small
// files and an archive holding the same files.
#include <qzm/archive/ArchQZM.h>
#include <qzm/resource/ResFinder.h>
#include <qzm/resource/ResMgr.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr unsigned kFiles = 512;
constexpr unsigned kPairs = 10000;

class Tiny : public QZMResource {
public:
    uint32_t MemoryUsed() const override { return sizeof *this; }
    bool Load(QZMResFile& file, int) override { return file.state == QZMResFile::ST_OK; }
    bool Save(QZMResFile&, int) override { return false; }
};

QZMResource* LoadTiny(QZMResFile* file, const char*, int format, bool& keepFile) {
    keepFile = false;
    Tiny* tiny = new Tiny;
    if (tiny->Load(*file, format)) return tiny;
    delete tiny;
    return nullptr;
}

// kFiles files in a fresh directory plus an archive of them, removed at exit.
class Files {
public:
    Files() {
        std::string pattern = (fs::temp_directory_path() / "qzmbench-XXXXXX").string();
        if (mkdtemp(pattern.data())) root = pattern;
        fs::create_directory(root + "/dir");
        archive = root + "/all.qzm";
        QZMArchQZM arch;
        arch.Create(archive.c_str());
        for (unsigned i = 0; i < kFiles; ++i) {
            names.push_back("res" + std::to_string(i * 7919 % kFiles) + ".dat");
            std::string path = root + "/dir/" + names.back();
            if (FILE* f = fopen(path.c_str(), "wb")) {
                fputs("payload", f);
                fclose(f);
            }
            arch.AddFile(path.c_str(), nullptr);
        }
    }
    ~Files() {
        std::error_code ignored;
        if (!root.empty()) fs::remove_all(root, ignored);
    }

    std::string root, archive;
    std::vector<std::string> names;
};

Files& Data() {
    static Files files;
    return files;
}

// Preloaded, every name stays registered, so a pair is two table searches and no file access;
// otherwise each pair opens the file through the finder, loads, registers and destroys it.
void BM_ResMgrLoadRelease(benchmark::State& state, bool preload) {
    QZMResFinder finder;
    finder.AddSource((Data().root + "/dir").c_str(), false);
    QZMResMgr mgr(finder);
    unsigned type = mgr.RegisterLoader(LoadTiny);
    for (unsigned i = 0; preload && i < kFiles; ++i) {
        mgr.Load(type, Data().names[i].c_str(), 0, true);
    }
    if (preload && mgr.count != kFiles) state.SkipWithError("the files did not load");
    for (auto _ : state) {
        for (unsigned i = 0; i < kPairs; ++i) {
            const char* name = Data().names[i % kFiles].c_str();
            benchmark::DoNotOptimize(mgr.Load(type, name, 0, true));
            mgr.Release(name);
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPairs);
}
BENCHMARK_CAPTURE(BM_ResMgrLoadRelease, shared, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ResMgrLoadRelease, cold, false)->Unit(benchmark::kMillisecond);

// Arg 0: the files come from a directory; 1: from the archive, behind the empty directory.
void BM_FinderFindRes(benchmark::State& state) {
    QZMResFinder finder;
    if (state.range(0) == 0) {
        finder.AddSource((Data().root + "/dir").c_str(), false);
    } else {
        fs::create_directories(Data().root + "/empty");
        finder.AddSource((Data().root + "/empty").c_str(), false);
        finder.AddSource(Data().archive.c_str(), false);
    }
    unsigned i = 0;
    for (auto _ : state) {
        QZMResFile* file = finder.FindRes(Data().names[i++ % kFiles].c_str());
        if (!file) {
            state.SkipWithError("a file was not found");
            break;
        }
        delete file;
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
}
BENCHMARK(BM_FinderFindRes)->Arg(0)->Arg(1);

} // namespace
