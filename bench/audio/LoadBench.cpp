// Loading whole 60 s stereo 44100 Hz sounds from memory (workload 4 of the side-by-side runs:
// the files that make_data.sh sounds writes into data/snd/), each next to SDL_mixer's
// Mix_LoadWAV_RW and libsndfile's sf_open_virtual + sf_readf_short on the same bytes, and Ogg
// Vorbis also next to libvorbisfile alone. The directory comes from QZM_SOUND_DIR (default
// data/snd). The library reads the ADPCM files without the fmt chunk's extension-size word.
// Every load is checked against the workload's checksum of the decoded bytes; results are freed
// outside the timed region. The mixer stays closed: every file already decodes to its format.
#include <qzm/audio/Sound.h>
#include <qzm/core/Log.h>
#include <qzm/io/MemFile.h>

#include <SDL.h>
#include <SDL_mixer.h>
#include <benchmark/benchmark.h>
#include <sndfile.h>
#define OV_EXCLUDE_STATIC_CALLBACKS
#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Input {
    const char* file;     ///< what the library reads
    const char* peerFile; ///< what the peers read
    uint64_t checksum;    ///< of the library's decoding, as the workload expects it
};

enum { kPcm16, kMsAdpcm, kImaAdpcm, kAiff16, kAu16, kVorbis };

const Input kInputs[] = {
    {"pcm16.wav", "pcm16.wav", 0xf074aa31a0213594ull},
    {"msadpcm_nocb.wav", "msadpcm.wav", 0x2cfaf22c0efdf4caull},
    {"imaadpcm_nocb.wav", "imaadpcm.wav", 0xb6680a4e56d9e252ull},
    {"aiff16.aiff", "aiff16.aiff", 0xf074aa31a0213594ull},
    {"au16.au", "au16.au", 0xf074aa31a0213594ull},
    {"vorbis.ogg", "vorbis.ogg", 0xc39e7fb834907e9dull},
};

uint64_t Fnv(const void* p, size_t n) {
    uint64_t h = 0xcbf29ce484222325ull;
    for (size_t i = 0; i < n; i++) h = (h ^ static_cast<const uint8_t*>(p)[i]) * 0x100000001b3ull;
    return h;
}

const std::string& FileBytes(const char* name) {
    static std::vector<std::pair<std::string, std::string>> cache;
    for (const auto& entry : cache)
        if (entry.first == name) return entry.second;
    const char* dir = std::getenv("QZM_SOUND_DIR");
    std::ifstream in(std::string(dir ? dir : "data/snd") + "/" + name, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    cache.emplace_back(name, all.str());
    return cache.back().second;
}

// The bytes of the input a variant reads, or an error on the state when they are missing.
const std::string* Bytes(benchmark::State& state, const char* name) {
    const std::string& bytes = FileBytes(name);
    if (bytes.empty()) state.SkipWithError("no input: run make_data.sh sounds, set QZM_SOUND_DIR");
    return bytes.empty() ? nullptr : &bytes;
}

// One decoded result: its bytes, and what frees it.
struct Decoded {
    const void* data = nullptr;
    size_t size = 0;
    void* owner = nullptr;
    void (*release)(void*) = nullptr;
};

// As the workload measures: one untimed load gives the checksum, then the timed loads, each
// result freed outside the timed region.
template <class Load>
void Measure(benchmark::State& state, uint64_t expected, Load load) {
    Decoded first = load();
    if (!first.data) return state.SkipWithError("load failed");
    const uint64_t checksum = Fnv(first.data, first.size);
    const size_t bytes = first.size;
    first.release(first.owner);
    for (auto _ : state) {
        Decoded d = load();
        state.PauseTiming();
        d.release(d.owner);
        state.ResumeTiming();
    }
    char label[64];
    std::snprintf(label, sizeof label, "cksum=%016llx%s", (unsigned long long)checksum,
                  expected == 0 || checksum == expected ? "" : " MISMATCH");
    state.SetLabel(label);
    if (expected != 0 && checksum != expected) state.SkipWithError("checksum mismatch");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
}

void QzmLoad(benchmark::State& state, int input) {
    const std::string* bytes = Bytes(state, kInputs[input].file);
    if (!bytes) return;
    QZM::SetLogLevel(0); // the AIFF reader traces every load at warning level
    unsigned char* block = reinterpret_cast<unsigned char*>(const_cast<char*>(bytes->data()));
    Measure(state, kInputs[input].checksum, [&] {
        QZMMemFile f(unsigned(bytes->size()), QZMResFile::READ, block, false, "sound");
        QZMSound* sound = new QZMSound;
        sound->Load(f, 0);
        sound->SetMixerFormat();
        return Decoded{sound->data, sound->size, sound,
                       [](void* s) { delete static_cast<QZMSound*>(s); }};
    });
}

bool OpenSdlMixer() {
    static const bool open = [] {
        setenv("SDL_AUDIODRIVER", "dummy", 0);
        return SDL_Init(SDL_INIT_AUDIO) == 0 && Mix_OpenAudio(44100, AUDIO_S16LSB, 2, 1024) == 0;
    }();
    return open;
}

void SdlMixerLoad(benchmark::State& state, int input) {
    const std::string* bytes = Bytes(state, kInputs[input].peerFile);
    if (!bytes) return;
    if (!OpenSdlMixer()) return state.SkipWithError("SDL_mixer cannot open the dummy device");
    Measure(state, 0, [&] {
        Mix_Chunk* chunk = Mix_LoadWAV_RW(SDL_RWFromConstMem(bytes->data(), int(bytes->size())), 1);
        if (!chunk) return Decoded();
        return Decoded{chunk->abuf, chunk->alen, chunk,
                       [](void* c) { Mix_FreeChunk(static_cast<Mix_Chunk*>(c)); }};
    });
}

struct MemIo {
    const std::string* bytes;
    sf_count_t pos;
};

sf_count_t MemLength(void* user) { return sf_count_t(static_cast<MemIo*>(user)->bytes->size()); }
sf_count_t MemTell(void* user) { return static_cast<MemIo*>(user)->pos; }
sf_count_t MemSeek(sf_count_t offset, int whence, void* user) {
    MemIo& m = *static_cast<MemIo*>(user);
    const sf_count_t size = sf_count_t(m.bytes->size());
    const sf_count_t to = whence == SEEK_SET   ? offset
                          : whence == SEEK_CUR ? m.pos + offset
                                               : size + offset;
    if (to < 0 || to > size) return -1;
    return m.pos = to;
}
sf_count_t MemRead(void* dst, sf_count_t n, void* user) {
    MemIo& m = *static_cast<MemIo*>(user);
    n = std::min(n, sf_count_t(m.bytes->size()) - m.pos);
    std::memcpy(dst, m.bytes->data() + m.pos, size_t(n));
    m.pos += n;
    return n;
}
sf_count_t MemWrite(const void*, sf_count_t, void*) { return 0; }

void SndfileLoad(benchmark::State& state, int input) {
    const std::string* bytes = Bytes(state, kInputs[input].peerFile);
    if (!bytes) return;
    Measure(state, 0, [&] {
        SF_VIRTUAL_IO io = {MemLength, MemSeek, MemRead, MemWrite, MemTell};
        MemIo m = {bytes, 0};
        SF_INFO info = {};
        SNDFILE* f = sf_open_virtual(&io, SFM_READ, &info, &m);
        if (!f) return Decoded();
        short* pcm = static_cast<short*>(std::malloc(size_t(info.frames) * info.channels * 2));
        const sf_count_t got = pcm ? sf_readf_short(f, pcm, info.frames) : 0;
        sf_close(f);
        return Decoded{pcm, size_t(got) * info.channels * 2, pcm, std::free};
    });
}

size_t OggRead(void* dst, size_t size, size_t n, void* user) {
    MemIo& m = *static_cast<MemIo*>(user);
    const size_t left = m.bytes->size() - size_t(m.pos);
    const size_t bytes = std::min(size * n, left);
    std::memcpy(dst, m.bytes->data() + m.pos, bytes);
    m.pos += sf_count_t(bytes);
    return size ? bytes / size : 0;
}
int OggSeek(void* user, ogg_int64_t offset, int whence) {
    return MemSeek(offset, whence, user) < 0 ? -1 : 0;
}
long OggTell(void* user) { return long(static_cast<MemIo*>(user)->pos); }

// libvorbisfile alone: signed 16-bit little-endian straight into one buffer of the whole length.
void VorbisfileLoad(benchmark::State& state) {
    const std::string* bytes = Bytes(state, kInputs[kVorbis].peerFile);
    if (!bytes) return;
    Measure(state, kInputs[kVorbis].checksum, [&] {
        const ov_callbacks callbacks = {OggRead, OggSeek, nullptr, OggTell};
        MemIo m = {bytes, 0};
        OggVorbis_File vf;
        if (ov_open_callbacks(&m, &vf, nullptr, 0, callbacks) != 0) return Decoded();
        const size_t size = size_t(ov_pcm_total(&vf, -1)) * size_t(ov_info(&vf, -1)->channels) * 2;
        char* pcm = static_cast<char*>(std::malloc(size));
        size_t filled = 0;
        for (long got = 1; pcm && filled < size && got > 0; filled += size_t(got)) {
            int bitstream;
            got = ov_read(&vf, pcm + filled, int(std::min(size - filled, size_t(INT_MAX))), 0, 2, 1,
                          &bitstream);
            if (got < 0) got = 0;
        }
        ov_clear(&vf);
        return Decoded{pcm, filled, pcm, std::free};
    });
}

} // namespace

BENCHMARK_CAPTURE(QzmLoad, wav_pcm16, kPcm16)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlMixerLoad, wav_pcm16, kPcm16)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SndfileLoad, wav_pcm16, kPcm16)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, wav_msadpcm, kMsAdpcm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlMixerLoad, wav_msadpcm, kMsAdpcm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SndfileLoad, wav_msadpcm, kMsAdpcm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, wav_imaadpcm, kImaAdpcm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlMixerLoad, wav_imaadpcm, kImaAdpcm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SndfileLoad, wav_imaadpcm, kImaAdpcm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, aiff16, kAiff16)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlMixerLoad, aiff16, kAiff16)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SndfileLoad, aiff16, kAiff16)->Unit(benchmark::kMicrosecond);
// SDL_mixer 1.2 has no AU reader.
BENCHMARK_CAPTURE(QzmLoad, au16, kAu16)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SndfileLoad, au16, kAu16)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, ogg_vorbis, kVorbis)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlMixerLoad, ogg_vorbis, kVorbis)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SndfileLoad, ogg_vorbis, kVorbis)->Unit(benchmark::kMicrosecond);
BENCHMARK(VorbisfileLoad)->Unit(benchmark::kMicrosecond);
