#include <qzm/audio/Mixer.h>

#include <algorithm>
#include <cstring>
#include <new>

#include <qzm/audio/Music.h>
#include <qzm/audio/Sound.h>
#include <qzm/audio/internal/MixKernels.h>
#include <qzm/audio/internal/MixerChannels.h>
#include <qzm/core/Log.h>

MixerChannel* g_channel = nullptr;
unsigned g_nbchannels = 0;
unsigned g_nbactive = 0;
unsigned g_next = 0;
unsigned g_first = 0;
unsigned g_last = 0;
SDL_mutex* g_mutex = nullptr;
int32_t MIN_AUDIOVAL = 0;
int32_t MAX_AUDIOVAL = 0;
uint8_t g_silence = 0;

QZMMixer* QZMMixer::m_instance = nullptr;

namespace {

using QZM::internal::MixS16;
using QZM::internal::MixS8;
using QZM::internal::MixStep;
using QZM::internal::MixU16;
using QZM::internal::MixU8;

enum : uint8_t {
    kFree = QZMMixer::CH_FREE,
    kPlaying = QZMMixer::CH_PLAYING,
    kPaused = QZMMixer::CH_PAUSED
};
const uint8_t kLoopForever = 255;
const int kNoPan = 127;
const uint8_t kFullVolume = 128;
const unsigned kMinChannels = 4;
const unsigned kMaxChannels = 64;
// Output samples mixed per pass: the 32-bit accumulator stays in the L1 cache.
const unsigned kRunSamples = 1024;

class Lock {
public:
    Lock() : held(g_mutex && SDL_mutexP(g_mutex) == 0) {}
    ~Lock() {
        if (held) SDL_mutexV(g_mutex);
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    bool Held() const { return held; }

private:
    bool held;
};

using MixFunc = void (*)(void*, Uint8*, int);

MixFunc CallbackFor(int format) {
    switch (format) {
    case AUDIO_U16LSB: return MixerFuncU16LSB;
    case AUDIO_U16MSB: return MixerFuncU16MSB;
    case AUDIO_S8: return MixerFuncS8;
    case AUDIO_S16LSB: return MixerFuncS16LSB;
    case AUDIO_S16MSB: return MixerFuncS16MSB;
    default: return MixerFuncU8;
    }
}

const char* FormatName(int format) {
    switch (format) {
    case AUDIO_U8: return "unsigned 8 bits";
    case AUDIO_U16LSB: return "unsigned 16 bits, little endian";
    case AUDIO_U16MSB: return "unsigned 16 bits, big endian";
    case AUDIO_S8: return "signed 8 bits";
    case AUDIO_S16LSB: return "signed 16 bits, little endian";
    case AUDIO_S16MSB: return "signed 16 bits, big endian";
    default: return "unknown format";
    }
}

// An unknown format keeps the bounds it had.
void SetClipBounds(int format) {
    switch (format) {
    case AUDIO_U8: MIN_AUDIOVAL = 0, MAX_AUDIOVAL = 255; break;
    case AUDIO_S8: MIN_AUDIOVAL = -128, MAX_AUDIOVAL = 127; break;
    case AUDIO_S16LSB:
    case AUDIO_S16MSB: MIN_AUDIOVAL = -32768, MAX_AUDIOVAL = 32767; break;
    case AUDIO_U16LSB:
    case AUDIO_U16MSB: MIN_AUDIOVAL = 0, MAX_AUDIOVAL = 65535; break;
    default: break;
    }
}

unsigned BytesPerSample(int format) { return (format & 0xFF) == 16 ? 2 : 1; }

// A sound without data plays as an empty one.
uint32_t SoundBytes(const QZMSound* s) { return s->data ? s->size : 0; }

bool Playing(unsigned ch) { return g_channel[ch].state == kPlaying; }

// Moves the ends of the scanned range off a channel that no longer plays.
void ShrinkRange(unsigned ch) {
    if (ch == g_first)
        while (g_first < g_nbchannels && !Playing(g_first)) ++g_first;
    if (ch == g_last)
        while (g_last != 0 && !Playing(g_last)) --g_last;
}

void FreeChannel(unsigned ch) {
    MixerChannel& c = g_channel[ch];
    --g_nbactive;
    c.state = kFree;
    c.sound = nullptr;
    c.music = nullptr;
    if (g_next > ch) g_next = ch;
    ShrinkRange(ch);
}

// Back to the start for the next play; false after the last one. Loops 0 (set through
// ChLoop) wraps to 255 here, so that channel plays forever.
bool RestartSound(MixerChannel& c) {
    if (c.loops < kLoopForever) --c.loops;
    if (c.loops == 0) return false;
    c.pos = c.sound->data;
    c.left = SoundBytes(c.sound);
    return true;
}

void PullChunk(MixerChannel& c) {
    c.pos = c.music->NextData();
    c.left = c.pos ? c.music->chunklen : 0;
}

// The music's next chunk that holds a sample; false at the end of the stream. Each non-null
// chunk has moved the stream on, so the walk ends.
bool NextMusicChunk(MixerChannel& c, unsigned width) {
    do {
        PullChunk(c);
    } while (c.pos && c.left < width);
    return c.pos != nullptr;
}

// At the end of the stream the music starts again for the next play; false after the last
// one, after a decoding error (which clears the music, so it restarts empty), or when the
// restarted stream holds no sample.
bool RefillMusic(MixerChannel& c, unsigned width) {
    if (NextMusicChunk(c, width)) return true;
    if (c.loops < kLoopForever) --c.loops;
    return c.loops != 0 && NextMusicChunk(c, width);
}

// At the end of a channel's data. Data shorter than one sample cannot be mixed: it ends the
// channel rather than reading past its end.
void Refill(unsigned ch, unsigned width) {
    MixerChannel& c = g_channel[ch];
    const bool more = c.music ? RefillMusic(c, width) : RestartSound(c) && c.left >= width;
    if (!more) FreeChannel(ch);
}

// The playing channels of the scanned range in index order; a channel holding less than one
// sample (empty, or sought to its end) reaches its end first.
unsigned CollectPlaying(unsigned* playing, unsigned width) {
    unsigned count = 0;
    for (unsigned ch = g_first; ch <= g_last; ++ch) { // ending a channel can lower g_last
        if (Playing(ch) && g_channel[ch].left < width) Refill(ch, width);
        if (Playing(ch)) playing[count++] = ch;
    }
    return count;
}

// The output side alternates per sample from the left at the start of every callback.
template <class Fmt, MixStep kStep>
void MixChannel(uint8_t* out, int32_t* acc, unsigned ch, unsigned n, bool rightFirst) {
    const MixerChannel& c = g_channel[ch];
    const int vols[2] = {rightFirst ? c.rvol : c.lvol, rightFirst ? c.lvol : c.rvol};
    QZM::internal::MixRun<Fmt, kStep>(out, acc, c.pos, n, vols, MIN_AUDIOVAL, MAX_AUDIOVAL);
}

// n samples during which none of the channels ends before the last one.
template <class Fmt>
void MixSamples(uint8_t* out, const unsigned* playing, unsigned count, unsigned n,
                bool rightFirst) {
    if (count == 0) { // nothing playing in range: every sample is 0 before clipping
        int32_t zero = QZM::internal::Clip(0, MIN_AUDIOVAL, MAX_AUDIOVAL);
        for (unsigned i = 0; i < n; ++i) Fmt::Put(out + i * Fmt::kWidth, zero);
        return;
    }
    int32_t acc[kRunSamples];
    if (count == 1) return MixChannel<Fmt, MixStep::kOnly>(out, acc, playing[0], n, rightFirst);
    MixChannel<Fmt, MixStep::kFirst>(out, acc, playing[0], n, rightFirst);
    for (unsigned k = 1; k + 1 < count; ++k)
        MixChannel<Fmt, MixStep::kAdd>(out, acc, playing[k], n, rightFirst);
    MixChannel<Fmt, MixStep::kLast>(out, acc, playing[count - 1], n, rightFirst);
}

// Moves the channels past n samples; those at their end loop or stop, in index order.
void Advance(const unsigned* playing, unsigned count, unsigned n, unsigned width) {
    for (unsigned k = 0; k < count; ++k) {
        MixerChannel& c = g_channel[playing[k]];
        c.pos += n * width;
        c.left -= n * width;
        if (c.left < width) Refill(playing[k], width);
    }
}

template <class Fmt>
void MixLocked(uint8_t* stream, unsigned len) {
    const unsigned width = Fmt::kWidth, total = len / width;
    unsigned playing[kMaxChannels];
    unsigned done = 0;
    while (done < total && g_nbactive > 0) {
        unsigned count = CollectPlaying(playing, width);
        if (g_nbactive == 0) break;
        unsigned n = std::min(total - done, kRunSamples);
        for (unsigned k = 0; k < count; ++k) n = std::min(n, g_channel[playing[k]].left / width);
        MixSamples<Fmt>(stream + done * width, playing, count, n, done & 1);
        Advance(playing, count, n, width);
        done += n;
    }
    if (done < total) memset(stream + done * width, g_silence, len - done * width);
}

// Idle tests under the lock too: the game's thread writes these.
template <class Fmt>
void MixCallback(unsigned char* out, int len) {
    Lock lock;
    if (!lock.Held() || g_nbactive == 0 || g_last < g_first || len <= 0) return;
    MixLocked<Fmt>(out, unsigned(len));
}

// Logs a failed open with what was asked for.
bool OpenDevice(SDL_AudioSpec& wanted, SDL_AudioSpec& obtained, bool again) {
    if (SDL_OpenAudio(&wanted, &obtained) == 0) return true;
    QZM::ERR(again ? "Mixer init error(2): %s\n" : "Mixer init error: %s\n", SDL_GetError());
    QZM::ERR("Mixer format: %d, freq: %d, channels: %d, buffer: %d\n", wanted.format, wanted.freq,
             wanted.channels, wanted.samples);
    return false;
}

void CloseDevice() {
    SDL_CloseAudio();
    g_nbchannels = g_nbactive = g_first = g_last = 0;
    SDL_DestroyMutex(g_mutex);
    g_mutex = nullptr;
    delete[] g_channel;
    g_channel = nullptr;
}

int8_t ClampedPan(const QZMMixer& mixer, int pan) {
    if (mixer.obtained.channels == 1) return kNoPan;
    if (pan < -100) return -100;
    if (pan > 100 && pan != kNoPan) return 100;
    return int8_t(pan);
}

// The steps every play request shares once load has filled in what to play.
template <class Load>
int StartChannel(QZMMixer& mixer, unsigned channel, uint8_t volume, uint8_t loops, int pan,
                 Load load) {
    {
        Lock lock;
        if (channel == QZMMixer::ANY_CHANNEL) channel = g_next;
        if (channel < g_nbchannels) {
            MixerChannel& c = g_channel[channel];
            c.state = kPlaying;
            load(c);
            c.loops = loops ? loops : 1;
            if (loops == 0) c.state = kPaused;
            c.volume = std::min(volume, kFullVolume);
            c.pan = ClampedPan(mixer, pan);
            mixer.ComputeVolumes(channel);
            ++g_nbactive; // even for a channel taken over: that count stays one too high
            if (g_next == channel)
                while (g_next < g_nbchannels && g_channel[g_next].state != kFree) ++g_next;
            if (c.state == kPlaying) {
                g_first = std::min(g_first, channel);
                g_last = std::max(g_last, channel);
            } else {
                ShrinkRange(channel);
            }
            return int(channel);
        }
    }
    QZM::WARN("Mixer: no channel left\n");
    return -1;
}

// Same format and channel count, and a rate in the same hundred.
template <class Audio> bool InFormat(const SDL_AudioSpec& spec, const Audio* a) {
    return a && a->freq / 100 == spec.freq / 100 && a->format == spec.format &&
           a->channels == spec.channels;
}

// op on a busy channel under the lock; idle for a closed mixer, a bad number or a free channel.
template <class Result, class Op>
Result OnBusyChannel(uint32_t mixerState, unsigned ch, Result idle, Op op) {
    if (mixerState == 0 || ch >= g_nbchannels) return idle;
    Lock lock;
    MixerChannel& c = g_channel[ch];
    return c.state == kFree ? idle : op(c);
}

} // namespace

void MixerFuncU8(void*, unsigned char* out, int len) { MixCallback<MixU8>(out, len); }
void MixerFuncS8(void*, unsigned char* out, int len) { MixCallback<MixS8>(out, len); }
void MixerFuncS16LSB(void*, unsigned char* out, int len) { MixCallback<MixS16<false>>(out, len); }
void MixerFuncU16LSB(void*, unsigned char* out, int len) { MixCallback<MixU16<false>>(out, len); }
void MixerFuncS16MSB(void*, unsigned char* out, int len) { MixCallback<MixS16<true>>(out, len); }
void MixerFuncU16MSB(void*, unsigned char* out, int len) { MixCallback<MixU16<true>>(out, len); }

QZMMixer::QZMMixer() : QZMSDLMgr(SDL_INIT_AUDIO), state(0) {
    memset(&obtained, 0, sizeof obtained);
}

QZMMixer::~QZMMixer() {
    if (state != 0) Exit();
    m_instance = nullptr;
}

QZMMixer* QZMMixer::Singleton() {
    if (!m_instance) m_instance = new QZMMixer;
    return m_instance;
}

bool QZMMixer::Init(int format, int freq, int samples, bool stereo, unsigned int nbchannels) {
    if (!(m_sdlstate & SDL_INIT_AUDIO)) {
        state = 0;
        return false;
    }
    if (state != 0) Exit();
    SDL_AudioSpec wanted;
    memset(&wanted, 0, sizeof wanted);
    wanted.freq = std::clamp(freq, 4000, 48000);
    wanted.format = Uint16(format);
    wanted.channels = stereo ? 2 : 1;
    if (samples == 0) samples = ((format & 0x0008) ? 4096 : 2048) / wanted.channels;
    wanted.samples = Uint16(samples);
    wanted.callback = CallbackFor(format);
    if (!OpenDevice(wanted, obtained, false)) return false;
    if (obtained.format != wanted.format) {
        // Driven in exactly the format the device offers.
        QZM::DBG("Mixer: wanted format = %d, obtained = %d\n", wanted.format, obtained.format);
        SDL_PauseAudio(1);
        SDL_CloseAudio();
        wanted.format = obtained.format;
        wanted.callback = CallbackFor(obtained.format);
        if (!OpenDevice(wanted, obtained, true)) return false;
    }
    // The device is paused; the audio lock hands the new table over to SDL's thread.
    SDL_LockAudio();
    g_mutex = SDL_CreateMutex();
    g_nbchannels = std::clamp(nbchannels, kMinChannels, kMaxChannels);
    g_channel = new (std::nothrow) MixerChannel[g_nbchannels]();
    g_nbactive = 0;
    g_next = 0;
    g_first = g_nbchannels;
    g_last = 0;
    g_silence = obtained.silence;
    SetClipBounds(obtained.format);
    SDL_UnlockAudio();
    if (!g_mutex || !g_channel) {
        CloseDevice();
        return false;
    }
    state = SDL_GetAudioStatus();
    return true;
}

void QZMMixer::Exit() {
    if (state == 0) return;
    SDL_PauseAudio(1);
    for (unsigned ch = 0; ch < g_nbchannels; ++ch) ChStop(ch);
    CloseDevice();
    state = 0;
}

unsigned int QZMMixer::NbChannels() const { return g_nbchannels; }

unsigned int QZMMixer::ActiveChannels() const { return g_nbactive; }

uint32_t QZMMixer::Pause() {
    if (state != 0) {
        SDL_PauseAudio(1);
        state = SDL_GetAudioStatus();
    }
    return state;
}

uint32_t QZMMixer::Unpause() {
    if (state != 0) {
        SDL_PauseAudio(0);
        state = SDL_GetAudioStatus();
    }
    return state;
}

int QZMMixer::PlaySound(QZMSound* s, unsigned int channel, unsigned char volume,
                        unsigned char loops, int pan) {
    if (state == 0 || !s) return -1;
    return StartChannel(*this, channel, volume, loops, pan, [s](MixerChannel& c) {
        c.sound = s;
        c.music = nullptr;
        c.pos = s->data;
        c.left = SoundBytes(s);
    });
}

int QZMMixer::PlayMusic(QZMMusic* m, unsigned int channel, unsigned char volume,
                        unsigned char loops, int pan) {
    if (state == 0 || !m) return -1;
    return StartChannel(*this, channel, volume, loops, pan, [m](MixerChannel& c) {
        c.music = m;
        c.sound = nullptr;
        m->SetPosition(0);
        PullChunk(c);
    });
}

int QZMMixer::ChGetPos(unsigned int ch) const {
    return OnBusyChannel(state, ch, -1, [this](MixerChannel& c) {
        if (c.music) return int(c.music->GetPosition());
        if (!c.sound) return -1;
        uint32_t played = SoundBytes(c.sound) - c.left;
        return int(played / obtained.channels / BytesPerSample(obtained.format));
    });
}

bool QZMMixer::ChSeek(unsigned int ch, unsigned int pos) {
    return OnBusyChannel(state, ch, false, [&](MixerChannel& c) {
        if (c.music) {
            c.music->SetPosition(pos);
            PullChunk(c);
            return true;
        }
        if (!c.sound) return false;
        uint32_t size = SoundBytes(c.sound);
        uint64_t offset = uint64_t(pos) * obtained.channels * BytesPerSample(obtained.format);
        offset = std::min<uint64_t>(offset, size);
        c.pos = c.sound->data + offset;
        c.left = size - uint32_t(offset);
        return true;
    });
}

int QZMMixer::ChState(unsigned int ch, int* volume, int* loops, int* pan) const {
    return OnBusyChannel(state, ch, 0, [&](MixerChannel& c) {
        if (volume) *volume = c.volume;
        if (loops) *loops = c.loops;
        if (pan) *pan = c.pan;
        return int(c.state);
    });
}

void QZMMixer::ChPause(unsigned int ch, bool pause) {
    OnBusyChannel(state, ch, 0,
                  [pause](MixerChannel& c) { return c.state = pause ? kPaused : kPlaying; });
}

void QZMMixer::ChStop(unsigned int ch) {
    OnBusyChannel(state, ch, 0, [ch](MixerChannel&) {
        FreeChannel(ch);
        return 0;
    });
}

unsigned char QZMMixer::ChVolume(unsigned int ch, unsigned char volume) {
    return OnBusyChannel<unsigned char>(state, ch, 0, [&](MixerChannel& c) {
        unsigned char old = c.volume;
        c.volume = std::min(volume, kFullVolume);
        ComputeVolumes(ch);
        return old;
    });
}

int QZMMixer::ChPan(unsigned int ch, int pan) {
    if (state != 0 && ch < g_nbchannels && obtained.channels == 1) return kNoPan;
    return OnBusyChannel(state, ch, 0, [&](MixerChannel& c) {
        int old = c.pan;
        c.pan = ClampedPan(*this, pan);
        ComputeVolumes(ch);
        return old;
    });
}

unsigned char QZMMixer::ChLoop(unsigned int ch, unsigned char loops) {
    return OnBusyChannel<unsigned char>(state, ch, 0, [loops](MixerChannel& c) {
        unsigned char old = c.loops;
        c.loops = loops;
        return old;
    });
}

// Centred plays at half volume on each side, hard-panned at half on one side only, and no
// panning at full volume on both.
void QZMMixer::ComputeVolumes(unsigned int ch) {
    if (ch >= g_nbchannels) return;
    MixerChannel& c = g_channel[ch];
    const int v = c.volume, p = c.pan;
    if (obtained.channels == 2 && p != kNoPan) {
        if (p != 0) {
            c.lvol = uint8_t((100 - p) * v / 200.0);
            c.rvol = uint8_t((100 + p) * v / 200.0);
        } else {
            c.lvol = c.rvol = uint8_t(v >> 1);
        }
    } else {
        c.lvol = c.rvol = uint8_t(v);
    }
}

bool QZMMixer::SameFormat(QZMSound* s) const { return InFormat(obtained, s); }

bool QZMMixer::SameFormat(QZMMusic* m) const { return InFormat(obtained, m); }

void QZMMixer::PrintInfo() const {
    if (state == 0) {
        QZM::LOG("Mixer not initialized\n");
        return;
    }
    Lock lock;
    QZM::LOG("Mixer: %s, %d Hz, %s\nChannels (active/total): %d/%d\n", FormatName(obtained.format),
             obtained.freq, obtained.channels == 2 ? "stereo" : "mono", g_nbactive, g_nbchannels);
    QZM::LOG("Mixer: state=%s, next=%d, first=%d, last=%d\n",
             state == SDL_AUDIO_PAUSED ? "paused" : "playing", g_next, g_first, g_last);
    for (unsigned ch = 0; ch < g_nbchannels; ++ch) {
        const MixerChannel& c = g_channel[ch];
        if (c.state != kFree)
            QZM::LOG("Channel %d: %d bytes left, volume (%d,%dL,%dR), loop=%d, pan=%d\n", ch,
                     c.left, c.volume, c.lvol, c.rvol, c.loops, c.pan);
    }
}
