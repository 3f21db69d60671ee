#include <qzm/audio/Music.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <qzm/audio/codec/internal/OggStream.h>
#include <qzm/audio/codec/internal/Readers.h>
#include <qzm/audio/internal/MixerFormat.h>
#include <qzm/audio/internal/SampleOps.h>
#include <qzm/core/Log.h>
#include <qzm/io/internal/Bounds.h>

using namespace QZM::internal;

namespace {

const uint32_t kChunkBytes = 8192;

const char* TypeName(int type) {
    static const char* const names[] = {"none", "WAV", "AIFF", "AU", "OGG"};
    return type >= 0 && type <= SOUND_OGG ? names[type] : "none";
}

} // namespace

QZMMusic::QZMMusic()
    : format(0), freq(0), channels(0), buffer(nullptr), chunklen(0), pos(0), total(0),
      vf(nullptr), file(nullptr), start(0), type(0), mixformat(0), mixfreq(0), mixchannels(0),
      capacity(0) {}

QZMMusic::QZMMusic(const char* name) : QZMMusic() { LoadName(name, 0); }

QZMMusic::~QZMMusic() { Clear(); }

uint32_t QZMMusic::MemoryUsed() const { return chunklen + sizeof(QZMMusic); }

bool QZMMusic::Load(QZMResFile& f, int format) {
    const int code = SoundLoadCode(f, format);
    if (code == SOUND_DETECT) return false;
    Clear();
    if (!LoadReader(f, code)) {
        Clear();
        return false;
    }
    type = code;
    file = &f;
    if (mixformat == 0) ChangeFormat(this->format, freq, channels);
    return true;
}

bool QZMMusic::LoadReader(QZMResFile& f, int code) {
    switch (code) {
    case SOUND_WAV: return ReadWAV(f);
    case SOUND_AIFF: return ReadAIFF(f);
    case SOUND_AU: return ReadAU(f);
    default: return ReadOGG(f);
    }
}

bool QZMMusic::Save(QZMResFile&, int) { return false; }

bool QZMMusic::LoadName(const char*, int) { return false; }

void QZMMusic::Clear() {
    format = freq = channels = 0;
    chunklen = pos = total = 0;
    delete[] buffer;
    buffer = nullptr;
    capacity = 0;
    file = nullptr;
    start = 0;
    if (type == SOUND_OGG) ov_clear(vf);
    delete vf;
    vf = nullptr;
    type = 0;
}

void QZMMusic::SetMixerFormat() {
    if (const SDL_AudioSpec* mixer = OpenMixerSpec())
        ChangeFormat(mixer->format, mixer->freq, mixer->channels);
}

void QZMMusic::ChangeFormat(int format, int freq, int channels) {
    mixformat = format;
    mixfreq = freq;
    mixchannels = channels;
}

// Grows buffer to hold bytes, keeping the current chunk if asked. A chunk only grows that far
// through conversions towards an absurd rate, which are refused.
bool QZMMusic::Reserve(uint64_t bytes, bool keep) {
    if (bytes <= capacity) return true;
    if (bytes > kPlausibleBytes) return false;
    uint8_t* grown = new (std::nothrow) uint8_t[size_t(bytes)];
    if (!grown) return false;
    if (keep && chunklen != 0) memcpy(grown, buffer, chunklen);
    delete[] buffer;
    buffer = grown;
    capacity = uint32_t(bytes);
    return true;
}

unsigned char* QZMMusic::EndOfStream() {
    pos = 0;
    chunklen = 0;
    delete[] buffer;
    buffer = nullptr;
    capacity = 0;
    if (type == SOUND_OGG) start = -1;
    return nullptr;
}

// A chunk that a conversion towards a far lower rate halved to nothing ends the stream: handed
// out empty, it would make the next call start the stream again, and so on forever.
unsigned char* QZMMusic::ConvertedChunk() { return chunklen == 0 ? EndOfStream() : buffer; }

uint32_t QZMMusic::ChunkAhead() const { return pos < total ? std::min(kChunkBytes, total - pos) : 0; }

unsigned char* QZMMusic::NextData() {
    return type == SOUND_OGG ? NextOggData() : NextPcmData();
}

unsigned char* QZMMusic::NextPcmData() {
    const uint32_t prev = chunklen;
    chunklen = ChunkAhead();
    if (chunklen == 0 || !Reserve(chunklen, false)) return EndOfStream();
    if (prev == 0) file->Seek(start, 0);
    chunklen = file->Read(buffer, chunklen);
    pos += chunklen;
    // A stream shorter than its header says ends here rather than giving empty chunks forever.
    if (chunklen == 0) return EndOfStream();
    if (type != SOUND_WAV && SampleBytes(format) == 2) SwapBytes16(buffer, buffer, chunklen / 2);
    if (format != mixformat || freq != mixfreq || channels != mixchannels) ConvertPcmChunk();
    return ConvertedChunk();
}

// Rates compare exactly here. The sign and width are left as they are: a chunk whose sign or
// width differs from the target plays unconverted in those respects.
void QZMMusic::ConvertPcmChunk() {
    int working = format;
    int f = freq;
    if (channels == 2 && mixchannels == 1) ConvMono(working);
    for (; f > 0 && mixfreq < f; f /= 2) ConvDIV2(working);
    if ((format ^ mixformat) & FORMAT_BIG_ENDIAN) ConvEndian(working);
    for (; f > 0 && f < mixfreq && f <= INT_MAX / 2; f *= 2) ConvMUL2(working);
    if (channels == 1 && mixchannels == 2) ConvMUL2(working);
}

// Rates compare by the hundred; the chunk is already in the target's width, sign and order.
void QZMMusic::ConvertOggChunk() {
    int s = freq / 100;
    const int t = mixfreq / 100;
    if (s != t) {
        for (; s > 0 && s < t && s <= INT_MAX / 2; s *= 2) ConvMUL2(mixformat);
        for (; s > 0 && t < s; s /= 2) ConvDIV2(mixformat);
    }
    if (channels != mixchannels) channels == 2 ? ConvMono(mixformat) : ConvMUL2(mixformat);
}

unsigned int QZMMusic::GetPosition() {
    if (type == SOUND_OGG) {
        const ogg_int64_t frame = ov_pcm_tell(vf);
        return frame < 0 ? 0 : unsigned(frame);
    }
    const uint64_t frameBytes = uint64_t(SampleBytes(format)) * uint32_t(channels);
    return type == 0 || frameBytes == 0 ? 0 : unsigned(pos / frameBytes);
}

void QZMMusic::SetPosition(unsigned int frame) {
    const uint64_t frameBytes = uint64_t(SampleBytes(format)) * uint32_t(channels);
    if (type == 0 || frameBytes == 0) return;
    const uint32_t bytes = uint32_t(std::min<uint64_t>(frame * frameBytes, total));
    if (type == SOUND_OGG) {
        ov_pcm_seek(vf, bytes / frameBytes);
        start = -1;
    } else if (bytes != pos) {
        // Deliberately not start + pos: the data plays again from its first sample.
        pos = bytes;
        chunklen = 0;
        delete[] buffer;
        buffer = nullptr;
        capacity = 0;
    }
}

void QZMMusic::ConvEndian(int& format) {
    if (SampleBytes(format) == 1) return;
    SwapBytes16(buffer, buffer, chunklen / 2);
    format ^= FORMAT_BIG_ENDIAN;
}

void QZMMusic::ConvSign(int& format) {
    FlipSign(buffer, buffer, chunklen, format);
    format ^= FORMAT_SIGNED;
}

void QZMMusic::Conv8to16L(int& format) {
    if (!Reserve(uint64_t(chunklen) * 2, true)) return;
    Widen8to16(buffer, buffer, chunklen, false);
    chunklen *= 2;
    format = (format & ~0x0008) | 0x0010;
}

void QZMMusic::Conv8to16B(int& format) {
    if (!Reserve(uint64_t(chunklen) * 2, true)) return;
    Widen8to16(buffer, buffer, chunklen, true);
    chunklen *= 2;
    format = (format & ~0x0008) | 0x1010;
}

void QZMMusic::Conv16to8(int& format) {
    Narrow16to8(buffer, buffer, chunklen / 2, (format & FORMAT_BIG_ENDIAN) != 0);
    format = (format & ~0x9010) | 0x0008;
}

void QZMMusic::ConvMUL2(int format) {
    const unsigned width = SampleBytes(format);
    const uint32_t n = chunklen / width;
    if (!Reserve(uint64_t(n) * 2 * width, true)) return;
    RepeatSamples(buffer, buffer, n, width);
    chunklen = n * 2 * width;
}

void QZMMusic::ConvDIV2(int format) {
    const unsigned width = SampleBytes(format);
    const uint32_t n = chunklen / width / 2;
    DropOddSamples(buffer, buffer, n, width);
    chunklen = n * width;
}

void QZMMusic::ConvMono(int format) {
    const unsigned width = SampleBytes(format);
    const uint32_t n = chunklen / width / 2;
    SumPairs(buffer, buffer, n, format);
    chunklen = n * width;
}

void QZMMusic::PrintInfo() const {
    QZM::LOG("Music stream format : %d Hz, %s (%X), %s, %d bytes (total)\n", freq,
             SoundFormatName(format), unsigned(format), channels == 1 ? "Mono" : "Stereo",
             int(total));
    QZM::LOG("File: type: %s, pos: %d, size: %d, start: %d\n", TypeName(type), int(pos),
             int(total), start);
    if (file) QZM::LOG("      name: %s\n", NameOf(*file));
}
