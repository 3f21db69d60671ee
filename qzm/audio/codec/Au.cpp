// Sun/NeXT AU, big-endian. 0 ".snd", 4 data offset, 8 data size (0xFFFFFFFF: up to the end of
// the stream), 12 encoding, 16 rate, 20 channels (4 bytes each); the samples from the offset on.
// Reads encodings 2 (8-bit signed linear) and 3 (16-bit signed linear, swapped to little-endian).
// Refuses the others (mu-law among them) and data shorter than the header says. Musics swap
// each chunk of 16-bit samples as they read it and end early when the data is short.
#include <qzm/audio/Music.h>
#include <qzm/audio/Sound.h>

#include <new>
#include <qzm/audio/codec/internal/Readers.h>
#include <qzm/audio/internal/SampleOps.h>
#include <qzm/core/Log.h>
#include <qzm/io/internal/Bounds.h>

using namespace QZM::internal;

namespace {

const uint32_t kLinear8 = 2;
const uint32_t kLinear16 = 3;
const uint32_t kToTheEnd = 0xFFFFFFFF;

// The bytes from offset to the end of the stream; none when the offset lies beyond it.
uint32_t BytesToEnd(QZMResFile& f, uint32_t offset) {
    f.SeekEnd();
    const uint32_t end = uint32_t(f.GetPos());
    return end > offset ? end - offset : 0;
}

} // namespace

namespace QZM::internal {

bool ReadAuHeader(QZMResFile& f, AuLayout& layout) {
    if (!Readable(f)) return false;
    if (f.Read32() != FourCC(".snd")) {
        QZM::WARN("Sound: not a valid AU file %s\n", NameOf(f));
        return false;
    }
    layout.offset = f.ReadBE32();
    layout.size = f.ReadBE32();
    const uint32_t encoding = f.ReadBE32();
    layout.freq = f.ReadBE32();
    layout.channels = f.ReadBE32();
    if (encoding != kLinear8 && encoding != kLinear16) {
        QZM::WARN("Sound: AU encoding not supported (%d) - %s\n", int(encoding), NameOf(f));
        return false;
    }
    layout.bits = encoding == kLinear8 ? 8 : 16;
    if (layout.size == kToTheEnd) layout.size = BytesToEnd(f, layout.offset);
    return true;
}

uint32_t WholeFrames(uint32_t size, unsigned sampleBytes, uint32_t channels) {
    const uint64_t frame = uint64_t(sampleBytes) * channels;
    return frame == 0 ? 0 : uint32_t(size - size % frame);
}

} // namespace QZM::internal

bool QZMSound::LoadAU(QZMResFile& f) {
    AuLayout layout;
    if (!ReadAuHeader(f, layout)) return false;
    format = layout.bits == 8 ? FORMAT_S8 : FORMAT_S16MSB;
    freq = int(layout.freq);
    channels = int(layout.channels);
    f.Seek(int32_t(layout.offset), 0);
    if (!PlausibleAllocation(f, layout.size)) return false;
    data = new (std::nothrow) uint8_t[layout.size];
    if (!data) return false;
    const uint32_t got = f.Read(data, layout.size);
    if (layout.bits == 16) {
        SwapBytes16(data, data, got / 2);
        format ^= FORMAT_BIG_ENDIAN;
    }
    size = WholeFrames(layout.size, layout.bits / 8, layout.channels);
    return got == layout.size;
}

bool QZMMusic::ReadAU(QZMResFile& f) {
    AuLayout layout;
    if (!ReadAuHeader(f, layout)) return false;
    format = layout.bits == 8 ? FORMAT_S8 : FORMAT_S16LSB;
    freq = int(layout.freq);
    channels = int(layout.channels);
    start = int(layout.offset);
    total = WholeFrames(layout.size, layout.bits / 8, layout.channels);
    return true;
}
