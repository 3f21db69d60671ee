// Mixing next to SDL_mixer 1.2: N looping stereo S16 channels at 44100 Hz, 2584 callbacks of
// 4096 bytes (60 s of output) per iteration, each framed as SDL's audio thread frames it:
// silence, SDL_LockAudio, callback, SDL_UnlockAudio. The device stays paused so that SDL's own
// thread does not mix. The label holds the output's FNV-1a checksum; a run whose checksum is
// not the clip-once reference's (SDL_mixer's for its own runs) stops with an error.
#include <qzm/audio/Mixer.h>
#include <qzm/audio/Sound.h>

#include <SDL.h>
#include <SDL_mixer.h>
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

#include "../support/Workload.h"

namespace {

using Callback = void (*)(void*, Uint8*, int);
Callback g_openedCallback;
void* g_openedUserdata;

// Expected checksums by channel count.
const std::map<int, uint64_t> kClipOnce = {
    {1, 0x9fdb24c9bfda4a04ull}, {8, 0x0875ce0f74da1b5dull}, {32, 0xde4f0101e6d1a082ull}};
// SDL_mixer clips after every channel, which shows at 32 channels.
const std::map<int, uint64_t> kSdlMixer = {
    {1, 0x9fdb24c9bfda4a04ull}, {8, 0x0875ce0f74da1b5dull}, {32, 0x06fac23e63fea71full}};

const std::vector<std::vector<int16_t>>& Sounds() {
    static const std::vector<std::vector<int16_t>> sounds = [] {
        std::vector<std::vector<int16_t>> all;
        for (int i = 0; i < 32; ++i) all.push_back(bench::MixSound(i));
        return all;
    }();
    return sounds;
}

uint64_t Fnv(uint64_t h, const uint8_t* p, size_t n) {
    for (size_t i = 0; i < n; ++i) h = (h ^ p[i]) * 0x100000001b3ull;
    return h;
}

// 60 s of output; the checksum of it when asked.
uint64_t RunCallbacks(Callback callback, void* userdata, uint8_t* buffer, bool checksum) {
    uint64_t h = 0xcbf29ce484222325ull;
    for (int k = 0; k < bench::kMixCallbacks; ++k) {
        memset(buffer, 0, bench::kMixCallbackBytes);
        SDL_LockAudio();
        callback(userdata, buffer, bench::kMixCallbackBytes);
        SDL_UnlockAudio();
        if (checksum) h = Fnv(h, buffer, bench::kMixCallbackBytes);
    }
    return h;
}

// The checksum comes from an untimed first run; iterations restart the channels untimed.
template <class Restart>
void Measure(benchmark::State& state, Callback callback, void* userdata, Restart restart,
             uint64_t expected) {
    std::vector<uint8_t> buffer(bench::kMixCallbackBytes);
    restart();
    uint64_t checksum = RunCallbacks(callback, userdata, buffer.data(), true);
    char label[40];
    snprintf(label, sizeof label, "cksum=%016" PRIx64, checksum);
    state.SetLabel(label);
    if (checksum != expected) return state.SkipWithError("unexpected checksum");
    for (auto _ : state) {
        state.PauseTiming();
        restart();
        state.ResumeTiming();
        RunCallbacks(callback, userdata, buffer.data(), false);
        benchmark::DoNotOptimize(buffer.data());
    }
}

// The mixer object keeps SDL's audio subsystem up for both libraries.
QZMMixer* Mixer() {
    setenv("SDL_VIDEODRIVER", "dummy", 0);
    setenv("SDL_AUDIODRIVER", "dummy", 0);
    return QZMMixer::Singleton();
}

void QzmMix(benchmark::State& state) {
    const int n = int(state.range(0));
    QZMMixer* mixer = Mixer();
    if (!mixer->Init(AUDIO_S16LSB, bench::kMixFreq, 1024, true, unsigned(n)))
        return state.SkipWithError("QZMMixer::Init failed");
    std::unique_ptr<QZMSound[]> sounds(new QZMSound[n]);
    for (int i = 0; i < n; ++i) {
        const std::vector<int16_t>& s = Sounds()[i];
        sounds[i].format = AUDIO_S16LSB;
        sounds[i].freq = bench::kMixFreq;
        sounds[i].channels = 2;
        sounds[i].size = uint32_t(s.size() * 2);
        sounds[i].data = new uint8_t[sounds[i].size];
        memcpy(sounds[i].data, s.data(), sounds[i].size);
        mixer->PlaySound(&sounds[i], unsigned(i), uint8_t(bench::MixVolume(i)), 255, 127);
    }
    Measure(
        state, mixer->obtained.callback, nullptr,
        [&] {
            for (int i = 0; i < n; ++i) mixer->ChSeek(unsigned(i), 0);
        },
        kClipOnce.at(n));
    mixer->Exit();
}

void SdlMixerMix(benchmark::State& state) {
    const int n = int(state.range(0));
    Mixer();
    if (Mix_OpenAudio(bench::kMixFreq, AUDIO_S16LSB, 2, 1024) < 0)
        return state.SkipWithError("Mix_OpenAudio failed");
    SDL_PauseAudio(1);
    Mix_AllocateChannels(n);
    std::vector<Mix_Chunk*> chunks;
    for (int i = 0; i < n; ++i) {
        const std::vector<int16_t>& s = Sounds()[i];
        chunks.push_back(Mix_QuickLoad_RAW(reinterpret_cast<Uint8*>(const_cast<int16_t*>(s.data())),
                                           Uint32(s.size() * 2)));
    }
    Measure(
        state, g_openedCallback, g_openedUserdata,
        [&] {
            Mix_HaltChannel(-1);
            for (int i = 0; i < n; ++i) {
                Mix_Volume(i, bench::MixVolume(i));
                Mix_PlayChannel(i, chunks[i], -1);
            }
        },
        kSdlMixer.at(n));
    Mix_HaltChannel(-1);
    for (Mix_Chunk* chunk : chunks) Mix_FreeChunk(chunk);
    Mix_CloseAudio();
}

} // namespace

// SDL_mixer hands its callback only to SDL_OpenAudio: this wrapper notes it and opens the device.
extern "C" int SDL_OpenAudio(SDL_AudioSpec* desired, SDL_AudioSpec* obtained) {
    using Open = int (*)(SDL_AudioSpec*, SDL_AudioSpec*);
    static Open real = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "SDL_OpenAudio"));
    if (!real) return -1;
    g_openedCallback = desired->callback;
    g_openedUserdata = desired->userdata;
    return real(desired, obtained);
}

BENCHMARK(QzmMix)->Arg(1)->Arg(8)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(SdlMixerMix)->Arg(1)->Arg(8)->Arg(32)->Unit(benchmark::kMillisecond);
