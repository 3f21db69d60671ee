// Reading a 16 MiB file whole through each stream kind, next to plain stdio.
#include <qzm/io/File.h>
#include <qzm/io/MemFile.h>
#include <qzm/io/PackFile.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr unsigned kSize = 16u << 20;
constexpr unsigned kChunk = 64u << 10;

// The data, written to a fresh temporary directory once and removed at exit.
class DataFile {
public:
    DataFile() : bytes(kSize) {
        std::string pattern = (fs::temp_directory_path() / "qzmbench-XXXXXX").string();
        if (mkdtemp(pattern.data())) dir = pattern;
        path = dir + "/data.bin";
        uint32_t x = 2463534242u;
        for (unsigned char& b : bytes) {
            x ^= x << 13, x ^= x >> 17, x ^= x << 5;
            b = static_cast<unsigned char>(x);
        }
        FILE* f = fopen(path.c_str(), "wb");
        if (f) {
            fwrite(bytes.data(), 1, bytes.size(), f);
            fclose(f);
        }
    }
    ~DataFile() {
        std::error_code ignored;
        if (!dir.empty()) fs::remove_all(dir, ignored);
    }

    std::string dir, path;
    std::vector<unsigned char> bytes;
};

DataFile& Data() {
    static DataFile data;
    return data;
}

std::unique_ptr<QZMResFile> OpenFile() {
    return std::make_unique<QZMFile>(Data().path.c_str(), QZMResFile::READ);
}

std::unique_ptr<QZMResFile> OpenMem() {
    return std::make_unique<QZMMemFile>(kSize, QZMResFile::READ, Data().bytes.data());
}

std::unique_ptr<QZMResFile> OpenPack() {
    return std::make_unique<QZMPackFile>(Data().path.c_str(), 0, kSize, QZMResFile::READ);
}

uint32_t PassRead8(QZMResFile& f) {
    uint32_t sum = 0;
    for (unsigned i = 0; i < kSize; i++) sum += f.Read8();
    return sum;
}

uint32_t PassRead32(QZMResFile& f) {
    uint32_t sum = 0;
    for (unsigned i = 0; i < kSize / 4; i++) sum += f.Read32();
    return sum;
}

uint32_t PassChunks(QZMResFile& f) {
    static unsigned char buf[kChunk];
    uint32_t sum = 0;
    for (unsigned i = 0; i < kSize / kChunk; i++) sum += f.Read(buf, kChunk) + buf[0];
    return sum;
}

void RunStream(benchmark::State& state, std::unique_ptr<QZMResFile> (*open)(),
               uint32_t (*pass)(QZMResFile&)) {
    std::unique_ptr<QZMResFile> f = open();
    if (f->state != QZMResFile::ST_OK) {
        state.SkipWithError("cannot open the data");
        return;
    }
    for (auto _ : state) {
        f->SeekStart();
        benchmark::DoNotOptimize(pass(*f));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize);
}

uint32_t StdioGetc(FILE* f) {
    uint32_t sum = 0;
    for (int c; (c = getc(f)) != EOF;) sum += unsigned(c);
    return sum;
}

uint32_t StdioFread1(FILE* f) {
    uint32_t sum = 0;
    unsigned char b;
    while (fread(&b, 1, 1, f) == 1) sum += b;
    return sum;
}

uint32_t StdioFread64K(FILE* f) {
    static unsigned char buf[kChunk];
    uint32_t sum = 0;
    for (size_t n; (n = fread(buf, 1, kChunk, f)) > 0;) sum += uint32_t(n) + buf[0];
    return sum;
}

void RunStdio(benchmark::State& state, uint32_t (*pass)(FILE*)) {
    FILE* f = fopen(Data().path.c_str(), "rb");
    if (!f) {
        state.SkipWithError("cannot open the data");
        return;
    }
    for (auto _ : state) {
        rewind(f);
        benchmark::DoNotOptimize(pass(f));
    }
    fclose(f);
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize);
}

const bool g_registered = [] {
    struct {
        const char* name;
        std::unique_ptr<QZMResFile> (*open)();
    } streams[] = {{"File", OpenFile}, {"MemFile", OpenMem}, {"PackFile", OpenPack}};
    struct {
        const char* name;
        uint32_t (*pass)(QZMResFile&);
    } passes[] = {{"Read8", PassRead8}, {"Read32", PassRead32}, {"Read64K", PassChunks}};
    for (auto& s : streams)
        for (auto& p : passes)
            benchmark::RegisterBenchmark((std::string(s.name) + "/" + p.name).c_str(), RunStream,
                                         s.open, p.pass)
                ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("stdio/getc", RunStdio, StdioGetc)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("stdio/fread1", RunStdio, StdioFread1)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("stdio/fread64K", RunStdio, StdioFread64K)
        ->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
