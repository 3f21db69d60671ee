// WAV (RIFF), little-endian. 0 "RIFF", 4 size, 8 "WAVE", then chunks: id (4), size (4), body,
// walked by their stated sizes (the pad byte after an odd size is not skipped).
// "fmt " body as read here: encoding (2), channels (2), rate (4), byte rate (4), block align (2),
// bits per sample (2), then for ADPCM directly, without the extension-size word: samples per
// block (2) and, for Microsoft ADPCM, the count of coefficient pairs (2, must be 7) and the
// pairs (7 x 2 x 2). "data" body: the samples.
// Reads PCM of 8 and 16 bits and Microsoft and IMA ADPCM of 4 bits (decoded to signed 16-bit).
// Refuses other encodings and widths, a missing fmt or data chunk and short data. Musics stream
// PCM only and refuse both ADPCM encodings.
#include <qzm/audio/Music.h>
#include <qzm/audio/Sound.h>

#include <new>
#include <qzm/audio/codec/internal/Readers.h>
#include <qzm/core/Log.h>
#include <qzm/gfx/internal/ByteOrder.h>
#include <qzm/io/internal/Bounds.h>

namespace QZM::internal {

bool FindChunk(QZMResFile& f, ChunkDef& def) {
    f.Seek(12, 0);
    while (!f.Eof()) {
        uint8_t header[8];
        // A short header ends the walk as well: a disk file sought past its end reports the end
        // only after a read, and the next seek forgets it again.
        if (f.Read(header, sizeof header) != sizeof header) return false;
        def.size = LoadLE32(header + 4);
        if (LoadLE32(header) == def.id) {
            def.pos = uint32_t(f.GetPos());
            return true;
        }
        // As a signed offset a size past 2^31 would step back, possibly onto this chunk again.
        if (def.size > uint32_t(INT32_MAX)) return false;
        f.Seek(int(def.size), 1);
    }
    return false;
}

bool ReadWavFormat(QZMResFile& f, WavFormat& fmt) {
    if (!ReadFormHeader(f, FourCC("RIFF"), FourCC("WAVE"), "Sound: bad file type (not WAV) (%s)\n"))
        return false;
    ChunkDef def = {FourCC("fmt "), 0, 0};
    if (!FindChunk(f, def)) {
        QZM::WARN("Sound: internal error\n");
        return false;
    }
    fmt.encoding = f.Read16();
    fmt.channels = f.Read16();
    fmt.freq = f.Read32();
    f.Read32();
    fmt.blockalign = f.Read16();
    fmt.bits = f.Read16();
    return true;
}

bool WavSampleFormat(const QZMResFile& f, const WavFormat& fmt, int& format) {
    const bool adpcm = fmt.encoding == WAV_MS_ADPCM || fmt.encoding == WAV_IMA_ADPCM;
    if (fmt.bits == 8) {
        format = FORMAT_U8;
    } else if (fmt.bits == 16 || (fmt.bits == 4 && adpcm)) {
        format = FORMAT_S16LSB;
    } else {
        QZM::WARN("Sound: unknown %d-bits PCM format - %s\n", fmt.bits, NameOf(f));
        return false;
    }
    return true;
}

bool FindWavData(QZMResFile& f, ChunkDef& data) {
    data.id = FourCC("data");
    if (FindChunk(f, data)) return true;
    QZM::WARN("Sound: no data in file %s\n", NameOf(f));
    return false;
}

} // namespace QZM::internal

using namespace QZM::internal;

namespace {

bool InitDecoder(QZMResFile& f, const WavFormat& fmt) {
    const ADPCMParams params = {fmt.channels, fmt.blockalign};
    switch (fmt.encoding) {
    case WAV_PCM: return true;
    case WAV_MS_ADPCM:
        if (InitMS_ADPCM(f, params) >= 0) return true;
        QZM::WARN("Sound: InitMS_ADPCM failed - %s\n", NameOf(f));
        return false;
    case WAV_IMA_ADPCM:
        if (InitIMA_ADPCM(f, params) >= 0) return true;
        QZM::WARN("Sound: InitIMA_ADPCM failed - %s\n", NameOf(f));
        return false;
    default: QZM::WARN("Sound: Unknown WAV data format - %s\n", NameOf(f)); return false;
    }
}

bool Decode(QZMResFile& f, unsigned encoding, uint8_t** data, uint32_t* len) {
    if (encoding == WAV_MS_ADPCM && MS_ADPCM_decode(data, len) < 0) {
        QZM::WARN("Sound: MS_ADPCM_decode - %s\n", NameOf(f));
        return false;
    }
    if (encoding == WAV_IMA_ADPCM && IMA_ADPCM_decode(data, len) < 0) {
        QZM::WARN("Sound: IMA_ADPCM_decode - %s\n", NameOf(f));
        return false;
    }
    return true;
}

} // namespace

bool QZMSound::LoadWAV(QZMResFile& f) {
    WavFormat fmt;
    ChunkDef chunk;
    if (!ReadWavFormat(f, fmt) || !InitDecoder(f, fmt) || !WavSampleFormat(f, fmt, format) ||
        !FindWavData(f, chunk))
        return false;
    channels = fmt.channels;
    freq = int(fmt.freq);
    // A chunk larger than the stream could hold is not allocated: its read would come up short.
    uint32_t len = chunk.size;
    if (PlausibleAllocation(f, len)) data = new (std::nothrow) uint8_t[len];
    if (!data || f.Read(data, len) != len) {
        QZM::WARN("Sound: error reading data - %s\n", NameOf(f));
        return false;
    }
    if (!Decode(f, fmt.encoding, &data, &len)) return false;
    size = WavFrameBytes(len, format, fmt.channels);
    return true;
}

namespace {

// Musics stream PCM only.
bool PcmEncoding(QZMResFile& f, unsigned encoding) {
    switch (encoding) {
    case WAV_PCM: return true;
    case WAV_MS_ADPCM: QZM::WARN("Sound: MS_ADPCM not supported - %s\n", NameOf(f)); return false;
    case WAV_IMA_ADPCM:
        QZM::WARN("Sound: IMA_ADPCM not supported - %s\n", NameOf(f));
        return false;
    default: QZM::WARN("Sound: Unknown WAV data format - %s\n", NameOf(f)); return false;
    }
}

} // namespace

bool QZMMusic::ReadWAV(QZMResFile& f) {
    WavFormat fmt;
    ChunkDef chunk;
    if (!ReadWavFormat(f, fmt) || !PcmEncoding(f, fmt.encoding) ||
        !WavSampleFormat(f, fmt, format) || !FindWavData(f, chunk))
        return false;
    channels = fmt.channels;
    freq = int(fmt.freq);
    start = int(f.GetPos());
    total = WholeFrames(chunk.size, SampleBytes(format), fmt.channels);
    return true;
}
