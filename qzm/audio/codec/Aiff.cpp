// AIFF, big-endian. 0 "FORM", 4 size, 8 "AIFF", then chunks: id (4), size (4), body, padded to
// an even length. "COMM": channels (2), frames (4), bits per sample (2), rate (10, 80-bit IEEE
// 754 extended). "SSND": offset (4), block size (4), then the samples from offset bytes on.
// Reads 8-bit samples (labelled unsigned as they stand) and 16-bit ones (swapped to little-
// endian). Refuses other widths, a rate that is not a whole number from 2 to 2^30 - 1, and a
// file without "SSND". Musics swap each chunk of 16-bit samples as they read it.
#include <qzm/audio/Music.h>
#include <qzm/audio/Sound.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <qzm/audio/codec/internal/Readers.h>
#include <qzm/audio/internal/SampleOps.h>
#include <qzm/core/Log.h>
#include <qzm/gfx/internal/ByteOrder.h>
#include <qzm/io/internal/Bounds.h>

using namespace QZM::internal;

namespace {

inline uint32_t LoadBE32(const uint8_t* p) {
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

bool ReadComm(QZMResFile& f, AiffLayout& layout) {
    layout.channels = f.ReadBE16();
    const uint32_t frames = f.ReadBE32();
    layout.bits = f.ReadBE16();
    if (layout.bits != 8 && layout.bits != 16) {
        QZM::WARN("Sound: sample size not supported - %s\n", NameOf(f));
        return false;
    }
    layout.size = uint64_t(frames) * layout.channels * (layout.bits / 8);
    uint8_t rate[10] = {};
    f.Read(rate, sizeof rate);
    layout.freq = IEEE754_u32(rate);
    if (layout.freq != 0) return true;
    QZM::WARN("Sound: bad sample rate %s\n", NameOf(f));
    return false;
}

void ReadSsnd(QZMResFile& f, AiffLayout& layout) {
    const uint32_t offset = f.ReadBE32();
    const uint32_t blockSize = f.ReadBE32();
    layout.dataPos = uint64_t(uint32_t(f.GetPos())) + offset;
    QZM::WARN("Sound: offset=%d, datasize=%d, position=%d\n", int(offset), int(blockSize),
              int(layout.dataPos));
}

} // namespace

namespace QZM::internal {

unsigned int IEEE754_u32(unsigned char* b) {
    if (b[0] != 0x40 || b[1] > 28) return 0;
    const uint32_t mantissa = uint32_t(b[2]) << 23 | uint32_t(b[3]) << 15 | uint32_t(b[4]) << 7 |
                              uint32_t(b[5]) >> 1;
    return mantissa >> (29 - b[1]);
}

bool ReadAiffLayout(QZMResFile& f, AiffLayout& layout) {
    layout = AiffLayout();
    if (!ReadFormHeader(f, FourCC("FORM"), FourCC("AIFF"), "Sound: not a valid AIFF file %s\n"))
        return false;
    bool comm = false, ssnd = false;
    while (!(comm && ssnd) && !f.Eof()) {
        uint8_t header[8];
        // Stop at a short header or a failed seek as well: a disk file sought past its end
        // reports the end only after a read, and a memory stream refuses the seek instead.
        if (f.Read(header, sizeof header) != sizeof header) break;
        const uint32_t size = LoadBE32(header + 4);
        const uint64_t next = uint64_t(uint32_t(f.GetPos())) + size + (size & 1);
        const uint32_t id = LoadLE32(header);
        if (id == FourCC("COMM")) {
            comm = true;
            if (!ReadComm(f, layout)) return false;
        } else if (id == FourCC("SSND")) {
            ssnd = true;
            ReadSsnd(f, layout);
        }
        if (next > uint64_t(INT32_MAX) || !f.Seek(int(next), 0)) break;
    }
    return ssnd;
}

} // namespace QZM::internal

bool QZMSound::LoadAIFF(QZMResFile& f) {
    AiffLayout layout;
    if (!ReadAiffLayout(f, layout)) return false;
    channels = layout.channels;
    freq = int(layout.freq);
    if (layout.bits != 0) format = layout.bits == 8 ? FORMAT_U8 : FORMAT_S16MSB;
    if (layout.size > UINT32_MAX || !PlausibleAllocation(f, layout.size)) return false;
    size = uint32_t(layout.size);
    data = new (std::nothrow) uint8_t[size];
    if (!data) return false;
    f.Seek(int32_t(uint32_t(layout.dataPos)), 0);
    // The read is not checked: a short one leaves zeros rather than stale memory.
    const uint32_t got = f.Read(data, size);
    memset(data + got, 0, size - got);
    if (SampleBytes(format) > 1) {
        SwapBytes16(data, data, size / 2);
        format ^= FORMAT_BIG_ENDIAN;
    }
    return true;
}

bool QZMMusic::ReadAIFF(QZMResFile& f) {
    AiffLayout layout;
    if (!ReadAiffLayout(f, layout)) return false;
    channels = layout.channels;
    freq = int(layout.freq);
    if (layout.bits != 0) format = layout.bits == 8 ? FORMAT_U8 : FORMAT_S16LSB;
    // Nothing is allocated: a length past 32 bits only plays its first 4 GiB.
    const uint32_t size = uint32_t(std::min<uint64_t>(layout.size, UINT32_MAX));
    total = WholeFrames(size, layout.bits / 8, layout.channels);
    start = int(uint32_t(layout.dataPos));
    return true;
}
