// Archive opening, look-up and listing; the PAK mount and member look-ups next to PhysicsFS on
// the same archive.
#include <qzm/archive/ArchPAK.h>
#include <qzm/archive/ArchQZM.h>
#include <qzm/archive/Dir.h>
#include <qzm/io/ResFile.h>
#include <qzm/resource/ResFinder.h>

#include "bench/support/Workload.h"

#include <benchmark/benchmark.h>
#include <physfs.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kMembers = 50000;
constexpr int kMemberSize = 16;
constexpr int kDirFiles = 10000;

void PutLE32(std::string& out, uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) out += char(v >> shift);
}

// A directory record: the name zero-padded to width bytes, then the fields.
void PutRecord(std::string& out, const std::string& name, size_t width,
               std::initializer_list<uint32_t> fields) {
    out += name + std::string(width - name.size(), '\0');
    for (uint32_t v : fields) PutLE32(out, v);
}

// The 12-byte header (the directory follows the body), the body, the directory.
void WriteArchive(const std::string& path, const char* magic, uint32_t third,
                  const std::string& body, const std::string& directory) {
    std::string header = magic;
    PutLE32(header, 12 + uint32_t(body.size()));
    PutLE32(header, third);
    std::ofstream(path, std::ios::binary) << header << body << directory;
}

std::string MakeTempDir() {
    char pattern[] = "/tmp/qzmbench-XXXXXX";
    return mkdtemp(pattern);
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
        root = MakeTempDir();
        archive = root + "/big.qzm";
        std::string data(size_t(kMembers) * kMemberSize, 'x'), directory;
        for (int i = 0; i < kMembers; i++) {
            names.push_back(MemberName(i));
            const uint32_t start = 12 + uint32_t(i) * kMemberSize;
            PutRecord(directory, names[i], 32, {kMemberSize, start, uint32_t(i)});
        }
        WriteArchive(archive, "QZMA", kMembers, data, directory);

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

constexpr uint64_t kFnvStart = 0xcbf29ce484222325ull;

uint64_t Fnv(uint64_t h, const unsigned char* bytes, size_t n) {
    for (size_t i = 0; i < n; i++) h = (h ^ bytes[i]) * 0x100000001b3ull;
    return h;
}

// A Quake PAK of bench::kPakMembers members of 1 to 4 KiB: the members' bytes from offset 12,
// then the directory of 64-byte records. Made once per run, with the checksum that every
// reader's look-ups must give.
struct Pak {
    Pak() {
        root = MakeTempDir();
        path = root + "/test.pak";
        bench::Rng sizes(0xBA6BA6), content(0x5EED);
        std::string body, directory;
        std::vector<std::string> bytes(bench::kPakMembers);
        for (int i = 0; i < bench::kPakMembers; i++) {
            char name[64];
            bench::PakMemberName(i, name);
            names.push_back(name);
            bytes[i].resize(size_t(sizes.Range(1024, 4096)));
            for (char& b : bytes[i]) b = char(content.Next() >> 24);
            const uint32_t start = 12 + uint32_t(body.size());
            PutRecord(directory, names[i], 56, {start, uint32_t(bytes[i].size())});
            body += bytes[i];
        }
        WriteArchive(path, "PACK", uint32_t(directory.size()), body, directory);

        order = bench::PakLookupOrder(bench::kPakMembers);
        checksum = kFnvStart;
        for (int i : order)
            checksum = Fnv(checksum, reinterpret_cast<const unsigned char*>(bytes[i].data()),
                           bytes[i].size());
        PHYSFS_init(nullptr);
    }
    ~Pak() {
        PHYSFS_deinit();
        std::filesystem::remove_all(root);
    }

    std::string root, path;
    std::vector<std::string> names;
    std::vector<int> order;
    uint64_t checksum;
};

const Pak& PakData() {
    static Pak pak;
    return pak;
}

unsigned char g_member[8192];

// One mounted archive per reader; what a look-up does with it.
struct PhysFsReader {
    explicit PhysFsReader(const char* path) : path(path) { PHYSFS_mount(path, nullptr, 0); }
    ~PhysFsReader() { PHYSFS_unmount(path); }
    // The member's bytes in g_member, or -1.
    int64_t Lookup(const char* name) const {
        PHYSFS_File* f = PHYSFS_openRead(name);
        if (!f) return -1;
        PHYSFS_sint64 got = PHYSFS_readBytes(f, g_member, PHYSFS_uint64(PHYSFS_fileLength(f)));
        PHYSFS_close(f);
        return got;
    }
    const char* path;
};

struct ArchPakReader {
    explicit ArchPakReader(const char* path) { pak.Open(path); }
    int64_t Lookup(const char* name) const {
        int i = pak.FindFile(name);
        QZMResFile* f = i < 0 ? nullptr : pak.OpenResFile(unsigned(i));
        if (!f) return -1;
        int64_t got = f->Read(g_member, pak.FileSize(unsigned(i)));
        delete f;
        return got;
    }
    QZMArchPAK pak;
};

struct FinderReader {
    explicit FinderReader(const char* path) { finder.AddSource(path, false); }
    int64_t Lookup(const char* name) const {
        QZMResFile* f = finder.FindRes(name);
        if (!f) return -1;
        int64_t got = f->Read(g_member, sizeof g_member);
        delete f;
        return got;
    }
    QZMResFinder finder;
};

// Mounting alone: the archive's header and directory.
template <class Reader> void BM_PakMount(benchmark::State& state) {
    const Pak& data = PakData();
    for (auto _ : state) {
        auto reader = std::make_unique<Reader>(data.path.c_str());
        state.PauseTiming();
        reader.reset();
        state.ResumeTiming();
    }
}

// Every member once, in the shuffled order: open, size, read whole, close. The bytes are checked
// once, untimed; each timed pass runs on a freshly mounted archive, so that what a reader builds
// on its first look-up counts.
template <class Reader> uint64_t LookupAll(const Reader& reader, bool checksum) {
    const Pak& data = PakData();
    uint64_t h = kFnvStart;
    for (int i : data.order) {
        int64_t got = reader.Lookup(data.names[i].c_str());
        if (got < 0) return 0;
        h = checksum ? Fnv(h, g_member, size_t(got)) : h + uint64_t(got);
    }
    return h;
}

template <class Reader> void BM_PakLookups(benchmark::State& state) {
    const Pak& data = PakData();
    if (LookupAll(Reader(data.path.c_str()), true) != data.checksum) {
        state.SkipWithError("the members' bytes differ");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        auto reader = std::make_unique<Reader>(data.path.c_str());
        state.ResumeTiming();
        benchmark::DoNotOptimize(LookupAll(*reader, false));
        state.PauseTiming();
        reader.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * bench::kPakMembers);
}

BENCHMARK_TEMPLATE(BM_PakMount, PhysFsReader)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_PakMount, ArchPakReader)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_PakMount, FinderReader)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_PakLookups, PhysFsReader)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_PakLookups, ArchPakReader)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_PakLookups, FinderReader)->Unit(benchmark::kMillisecond);

} // namespace
