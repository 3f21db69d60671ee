#include <qzm/archive/ArchQZM.h>
#include <qzm/archive/Dir.h>
#include <qzm/io/ResFile.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int kMembers = 50000;
constexpr int kMemberSize = 16;
constexpr int kDirFiles = 10000;

void PutLE32(std::string& out, uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) out += char(v >> shift);
}

std::string MemberName(int i) {
    char name[32];
    snprintf(name, sizeof name, "member%05d.%s", i, i % 3 ? "dat" : "png");
    return name;
}

// Made once per run: an archive of kMembers members written directly (adding them one by one
// rewrites the whole directory each time) and a directory of kDirFiles files.
struct Fixture {
    Fixture() {
        char pattern[] = "/tmp/qzmbench-XXXXXX";
        root = mkdtemp(pattern);
        archive = root + "/big.qzm";
        std::string data(size_t(kMembers) * kMemberSize, 'x'), directory;
        for (int i = 0; i < kMembers; i++) {
            std::string name = MemberName(i);
            names.push_back(name);
            directory += name + std::string(32 - name.size(), '\0');
            PutLE32(directory, kMemberSize);
            PutLE32(directory, 12 + uint32_t(i) * kMemberSize);
            PutLE32(directory, uint32_t(i));
        }
        std::string header = "QZMA";
        PutLE32(header, 12 + uint32_t(data.size()));
        PutLE32(header, kMembers);
        std::ofstream(archive, std::ios::binary) << header << data << directory;

        listing = root + "/listing";
        std::filesystem::create_directory(listing);
        for (int i = 0; i < kDirFiles; i++)
            std::ofstream(listing + "/" + MemberName((i * 7919) % kDirFiles)) << i;
    }
    ~Fixture() { std::filesystem::remove_all(root); }

    std::string root, archive, listing;
    std::vector<std::string> names;
};

const Fixture& Data() {
    static Fixture fixture;
    return fixture;
}

void BM_OpenArchive(benchmark::State& state) {
    const Fixture& data = Data();
    for (auto _ : state) {
        QZMArchQZM arch;
        benchmark::DoNotOptimize(arch.Open(data.archive.c_str()));
    }
    state.SetItemsProcessed(state.iterations() * kMembers);
}
BENCHMARK(BM_OpenArchive)->Unit(benchmark::kMillisecond);

void BM_FindFileEveryMember(benchmark::State& state) {
    const Fixture& data = Data();
    QZMArchQZM arch;
    arch.Open(data.archive.c_str());
    for (auto _ : state) {
        for (const std::string& name : data.names) benchmark::DoNotOptimize(arch.FindFile(name.c_str()));
    }
    state.SetItemsProcessed(state.iterations() * kMembers);
}
BENCHMARK(BM_FindFileEveryMember)->Unit(benchmark::kMillisecond);

void BM_OpenAndReadEveryMember(benchmark::State& state) {
    const Fixture& data = Data();
    QZMArchQZM arch;
    arch.Open(data.archive.c_str());
    char buffer[kMemberSize];
    for (auto _ : state) {
        for (const std::string& name : data.names) {
            QZMResFile* member = arch.OpenFile(name.c_str());
            benchmark::DoNotOptimize(member->Read(buffer, sizeof buffer));
            delete member;
        }
    }
    state.SetItemsProcessed(state.iterations() * kMembers);
}
BENCHMARK(BM_OpenAndReadEveryMember)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_ListDirectory(benchmark::State& state) {
    const Fixture& data = Data();
    for (auto _ : state) {
        QZMDir dir(data.listing.c_str());
        benchmark::DoNotOptimize(dir.NbFiles());
    }
    state.SetItemsProcessed(state.iterations() * kDirFiles);
}
BENCHMARK(BM_ListDirectory)->Unit(benchmark::kMillisecond);

void BM_SortDirectory(benchmark::State& state) {
    QZMDir dir(Data().listing.c_str());
    for (auto _ : state) dir.Sort(int(state.range(0)));
    state.SetItemsProcessed(state.iterations() * kDirFiles);
}
BENCHMARK(BM_SortDirectory)
    ->Arg(QZMFileProvider::SORT_NAME)
    ->Arg(QZMFileProvider::SORT_EXT | QZMFileProvider::SORT_REVERSE)
    ->Arg(QZMFileProvider::SORT_SIZE)
    ->Unit(benchmark::kMillisecond);

} // namespace
