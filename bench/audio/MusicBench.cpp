// Streaming 60 s of Ogg Vorbis (stereo 44100 Hz, the vorbis.ogg of workload 4, which
// make_data.sh sounds writes into data/snd/; the directory comes from QZM_SOUND_DIR) through
// QZMMusic::NextData into the mixer's format, signed 16-bit little-endian stereo at 44100 Hz,
// next to decoding the same bytes with libvorbisfile alone (ov_open on a memory FILE, ov_read
// into an 8192-byte buffer). Both decode the same samples: the program checks it once. The
// program replaces operator new to count the library's allocations: steady playback makes none
// after the first chunk (allocs/walk), even when a conversion doubles every chunk.
#include <qzm/audio/Music.h>
#include <qzm/core/Log.h>
#include <qzm/io/MemFile.h>

#include <benchmark/benchmark.h>
#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

size_t g_allocations = 0;

const std::string& OggBytes() {
    static const std::string bytes = [] {
        const char* dir = std::getenv("QZM_SOUND_DIR");
        std::ifstream in(std::string(dir ? dir : "data/snd") + "/vorbis.ogg", std::ios::binary);
        std::ostringstream all;
        all << in.rdbuf();
        return all.str();
    }();
    return bytes;
}

uint64_t Fnv(uint64_t h, const unsigned char* p, size_t n) {
    for (size_t i = 0; i < n; i++) h = (h ^ p[i]) * 0x100000001b3ull;
    return h;
}

const uint64_t kFnvStart = 0xcbf29ce484222325ull;

// Every chunk of the stream towards the target rate; the allocations made after the first
// chunk go to allocsAfterFirst. checksum, when given, runs over the chunks.
size_t StreamMusic(const std::string& bytes, int rate, size_t& allocsAfterFirst,
                   uint64_t* checksum = nullptr) {
    QZMMemFile f(unsigned(bytes.size()), QZMResFile::READ,
                 reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())), false, "ogg");
    QZMMusic music;
    if (!music.Load(f, 4)) return 0;
    music.ChangeFormat(0x8010, rate, 2);
    size_t total = 0, before = 0;
    for (unsigned char* chunk; (chunk = music.NextData()) != nullptr;) {
        if (total == 0) before = g_allocations;
        total += music.chunklen;
        if (checksum) *checksum = Fnv(*checksum, chunk, music.chunklen);
    }
    allocsAfterFirst = g_allocations - before;
    return total;
}

size_t DecodeWithVorbisfile(const std::string& bytes, uint64_t* checksum = nullptr) {
    FILE* mem = fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "rb");
    OggVorbis_File vf;
    if (!mem || ov_open(mem, &vf, nullptr, 0) != 0) return 0;
    static char buffer[8192];
    size_t total = 0;
    int bitstream = 0;
    for (long got; (got = ov_read(&vf, buffer, sizeof buffer, 0, 2, 1, &bitstream)) > 0;) {
        total += size_t(got);
        if (checksum) *checksum = Fnv(*checksum, reinterpret_cast<unsigned char*>(buffer), size_t(got));
    }
    ov_clear(&vf); // closes mem
    return total;
}

bool SameSamples(const std::string& bytes) {
    uint64_t music = kFnvStart, alone = kFnvStart;
    size_t allocs = 0;
    return StreamMusic(bytes, 44100, allocs, &music) == DecodeWithVorbisfile(bytes, &alone) &&
           music == alone;
}

const std::string* Input(benchmark::State& state) {
    QZM::SetLogLevel(0);
    const std::string& bytes = OggBytes();
    if (bytes.empty())
        state.SkipWithError("no input: run make_data.sh sounds, set QZM_SOUND_DIR");
    else if (!SameSamples(bytes))
        state.SkipWithError("the music's chunks differ from libvorbisfile's samples");
    return bytes.empty() ? nullptr : &bytes;
}

void Report(benchmark::State& state, size_t bytes, size_t allocs) {
    state.SetBytesProcessed(int64_t(bytes) * state.iterations());
    state.counters["allocs/walk"] = double(allocs);
}

void BM_MusicNextData(benchmark::State& state) {
    const std::string* bytes = Input(state);
    if (!bytes) return;
    const int rate = int(state.range(0));
    size_t decoded = 0, allocs = 0;
    for (auto _ : state) decoded = StreamMusic(*bytes, rate, allocs);
    Report(state, decoded, allocs);
}

void BM_VorbisfileAlone(benchmark::State& state) {
    const std::string* bytes = Input(state);
    if (!bytes) return;
    size_t decoded = 0;
    for (auto _ : state) decoded = DecodeWithVorbisfile(*bytes);
    Report(state, decoded, 0);
}

// On a shared machine the fastest repetition is the one least disturbed.
double Fastest(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}

// 44100: chunks as decoded; 88200: every chunk doubled.
BENCHMARK(BM_MusicNextData)->Arg(44100)->Arg(88200)->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Fastest);
BENCHMARK(BM_VorbisfileAlone)->Unit(benchmark::kMillisecond)->ComputeStatistics("min", Fastest);

} // namespace

// Counted allocations: every operator new of the program and the library it loads.
void* operator new(size_t size) {
    ++g_allocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    ++g_allocations;
    return std::malloc(size ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
