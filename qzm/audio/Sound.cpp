#include <qzm/audio/Sound.h>

#include <climits>
#include <new>
#include <qzm/audio/codec/internal/Readers.h>
#include <qzm/audio/internal/MixerFormat.h>
#include <qzm/audio/internal/SampleOps.h>
#include <qzm/core/Log.h>
#include <qzm/io/internal/Bounds.h>

using namespace QZM::internal;

namespace {

// Rates are compared by the hundred: 22050 and 22000 count as the same.
bool SameHundred(int a, int b) { return a / 100 == b / 100; }

// The halvings of ChangeFormat's step 2: unless in the same hundred, rate halved while above
// target (never past 0).
unsigned Halvings(int rate, int target) {
    if (SameHundred(rate, target)) return 0;
    unsigned n = 0;
    for (; rate > target && rate > 0; rate /= 2) n++;
    return n;
}

// The doublings of its step 6: unless in the same hundred, rate doubled while below target, as
// far as an int holds it.
unsigned Doublings(int rate, int target) {
    if (SameHundred(rate, target)) return 0;
    unsigned n = 0;
    for (; rate < target && rate > 0 && rate <= INT_MAX / 2; rate *= 2) n++;
    return n;
}

// The steps of a ChangeFormat that change the size.
struct Resizing {
    bool toMono, toStereo, toWidth8, toWidth16;
    unsigned halvings, doublings;
};

Resizing PlanResizing(const QZMSound& s, int format, int freq, int channels) {
    Resizing r;
    r.toMono = s.channels == 2 && channels == 1;
    r.toStereo = s.channels == 1 && channels == 2;
    const bool widthDiffers = (s.format & 0xFF) != (format & 0xFF);
    r.toWidth8 = widthDiffers && (format & 0x10FF) == FORMAT_U8;
    r.toWidth16 = widthDiffers && ((format & 0x10FF) == FORMAT_U16LSB ||
                                   (format & 0x10FF) == FORMAT_U16MSB);
    r.halvings = Halvings(s.freq, freq);
    r.doublings = Doublings(s.freq >> r.halvings, freq);
    return r;
}

// The most a legitimate conversion grows a sound: mono 8-bit at 4000 Hz, the mixer's lowest
// rate, to stereo 16-bit at its highest, 48000 Hz, which the doublings reach at 64000.
const uint64_t kDensestConversion = 64;

// False when the conversion would end in a size past 32 bits, or over 64 MiB and more than a
// legitimate conversion reaches: a malformed rate (1 Hz) doubles the data once per octave.
bool PlausibleResizing(const Resizing& r, uint32_t size) {
    uint64_t reached = uint64_t(size) >> (r.toMono + r.halvings + r.toWidth8);
    reached = reached << (r.toWidth16 + r.doublings + r.toStereo);
    return reached <= UINT32_MAX &&
           (reached <= kPlausibleBytes || reached <= size * kDensestConversion);
}

// Replaces the sound's data by newSize bytes that fill writes from the old data; false, with
// nothing changed, without data or when the new buffer cannot be had.
template <class Fill> bool Replace(QZMSound& s, uint64_t newSize, Fill fill) {
    if (!s.data || newSize > UINT32_MAX) return false;
    uint8_t* out = new (std::nothrow) uint8_t[size_t(newSize)];
    if (!out) return false;
    fill(out);
    delete[] s.data;
    s.data = out;
    s.size = uint32_t(newSize);
    return true;
}

} // namespace

QZMSound::QZMSound() : format(0), freq(0), channels(0), data(nullptr), size(0) {}

QZMSound::QZMSound(const char* name) : QZMSound() { LoadName(name, 0); }

QZMSound::~QZMSound() { delete[] data; }

uint32_t QZMSound::MemoryUsed() const { return size + sizeof(QZMSound); }

bool QZMSound::Load(QZMResFile& f, int format) {
    format = SoundLoadCode(f, format);
    if (format == SOUND_DETECT) return false;
    Clear();
    const bool ok = format == SOUND_WAV    ? LoadWAV(f)
                    : format == SOUND_AIFF ? LoadAIFF(f)
                    : format == SOUND_AU   ? LoadAU(f)
                                           : LoadOGG(f);
    if (!ok) Clear();
    return ok;
}

bool QZMSound::Save(QZMResFile&, int) { return false; }

void QZMSound::Clear() {
    delete[] data;
    data = nullptr;
    size = 0;
    format = freq = channels = 0;
}

void QZMSound::SetMixerFormat() {
    const SDL_AudioSpec* mixer = OpenMixerSpec();
    if (format == 0 || !mixer) return;
    if (format == mixer->format && freq == mixer->freq && channels == mixer->channels) return;
    ChangeFormat(mixer->format, mixer->freq, mixer->channels);
}

void QZMSound::ChangeFormat(int format, int freq, int channels) {
    const Resizing r = PlanResizing(*this, format, freq, channels);
    if (!data || !PlausibleResizing(r, size)) return;
    if (r.toMono) ConvMono();
    for (unsigned i = 0; i < r.halvings; i++) ConvFreqDIV2();
    if (((this->format ^ format) & FORMAT_BIG_ENDIAN) && (this->format & 0xFF) != 8) ConvEndian();
    if ((this->format ^ format) & FORMAT_SIGNED) ConvSign();
    if (r.toWidth8) Conv16to8();
    if (r.toWidth16) (format & FORMAT_BIG_ENDIAN) ? Conv8to16B() : Conv8to16L();
    for (unsigned i = 0; i < r.doublings; i++) ConvFreqMUL2();
    if (r.toStereo) ConvStereo();
}

void QZMSound::ConvEndian() {
    if (SampleBytes(format) == 1) return;
    const bool done = Replace(*this, size, [this](uint8_t* out) {
        SwapBytes16(data, out, size / 2);
        if (size & 1) out[size - 1] = data[size - 1];
    });
    if (done) format ^= FORMAT_BIG_ENDIAN;
}

void QZMSound::ConvSign() {
    if (Replace(*this, size, [this](uint8_t* out) { FlipSign(data, out, size, format); }))
        format ^= FORMAT_SIGNED;
}

void QZMSound::Conv8to16L() {
    auto widen = [this](uint8_t* out) { Widen8to16(data, out, size, false); };
    if (Replace(*this, uint64_t(size) * 2, widen)) format = (format & ~0x0008) | 0x0010;
}

void QZMSound::Conv8to16B() {
    auto widen = [this](uint8_t* out) { Widen8to16(data, out, size, true); };
    if (Replace(*this, uint64_t(size) * 2, widen)) format = (format & ~0x0008) | 0x1010;
}

void QZMSound::Conv16to8() {
    const bool big = (format & FORMAT_BIG_ENDIAN) != 0;
    auto narrow = [this, big](uint8_t* out) { Narrow16to8(data, out, size / 2, big); };
    if (Replace(*this, size / 2, narrow)) format = (format & ~0x9010) | 0x0008;
}

void QZMSound::ConvFreqMUL2() {
    const unsigned width = SampleBytes(format);
    const uint32_t n = size / width;
    if (Replace(*this, uint64_t(n) * 2 * width,
                [this, n, width](uint8_t* out) { RepeatSamples(data, out, n, width); }))
        freq = int(unsigned(freq) * 2);
}

void QZMSound::ConvFreqDIV2() {
    const unsigned width = SampleBytes(format);
    const uint32_t n = size / width / 2;
    if (Replace(*this, uint64_t(n) * width,
                [this, n, width](uint8_t* out) { DropOddSamples(data, out, n, width); }))
        freq /= 2;
}

void QZMSound::ConvMono() {
    const unsigned width = SampleBytes(format);
    const uint32_t n = size / width / 2;
    auto sum = [this, n](uint8_t* out) { SumPairs(data, out, n, format); };
    if (Replace(*this, uint64_t(n) * width, sum)) channels = 1;
}

void QZMSound::ConvStereo() {
    const unsigned width = SampleBytes(format);
    const uint32_t n = size / width;
    if (Replace(*this, uint64_t(n) * 2 * width,
                [this, n, width](uint8_t* out) { RepeatSamples(data, out, n, width); }))
        channels = 2;
}

void QZMSound::PrintInfo() const {
    QZM::LOG("Sound format : %d Hz, %s (%X), %s, %d bytes\n", freq, SoundFormatName(format),
             unsigned(format), channels == 1 ? "Mono" : "Stereo", int(size));
}
