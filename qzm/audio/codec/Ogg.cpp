// Ogg Vorbis through libvorbisfile, which reads, seeks and tells through the callbacks below on
// the library's own streams and never closes them. The samples are decoded straight into the
// open mixer's width, sign and byte order (signed 16-bit little-endian while it is closed).
// Refuses what libvorbisfile cannot open and a length that the stream could not hold. Musics
// decode chunk by chunk into their target's layout, following the chain of logical bitstreams.
#include <qzm/audio/Music.h>
#include <qzm/audio/Sound.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <qzm/audio/codec/internal/OggStream.h>
#include <qzm/audio/codec/internal/Readers.h>
#include <qzm/audio/internal/MixerFormat.h>
#include <qzm/core/Log.h>
#include <qzm/io/internal/Bounds.h>

namespace QZM::internal {

size_t ogg_read(void* ptr, size_t size, size_t nmemb, void* src) {
    if (size == 0) return 0;
    const size_t bytes = nmemb > SIZE_MAX / size ? SIZE_MAX : size * nmemb;
    return static_cast<QZMResFile*>(src)->Read(ptr, bytes > UINT_MAX ? UINT_MAX : unsigned(bytes)) /
           size;
}

int ogg_seek(void* src, ogg_int64_t offset, int whence) {
    QZMResFile& f = *static_cast<QZMResFile*>(src);
    // Memory and archive streams reach their very end only through SeekEnd.
    if (whence == SEEK_END) {
        f.SeekEnd();
        if (offset != 0) f.Seek(int(offset), SEEK_CUR);
    } else {
        f.Seek(int(offset), whence);
    }
    return 0;
}

int ogg_close(void*) { return 0; }

long ogg_tell(void* src) { return static_cast<QZMResFile*>(src)->GetPos(); }

bool OpenOgg(QZMResFile& f, OggVorbis_File& vf) {
    if (!Readable(f)) return false;
    const ov_callbacks callbacks = {ogg_read, ogg_seek, ogg_close, ogg_tell};
    if (ov_open_callbacks(&f, &vf, nullptr, 0, callbacks) == 0) return true;
    QZM::WARN("Sound: bad ogg file %s.\n", NameOf(f));
    return false;
}

int OggOutputFormat() {
    const SDL_AudioSpec* mixer = OpenMixerSpec();
    return mixer ? int(mixer->format) : int(FORMAT_S16LSB);
}

OggSampleLayout OggLayoutOf(int format) {
    return {(format & FORMAT_BIG_ENDIAN) ? 1 : 0, (format & 0xFF) / 8,
            (format & FORMAT_SIGNED) ? 1 : 0};
}

} // namespace QZM::internal

using namespace QZM::internal;

namespace {

// The densest Vorbis: a packet of one byte can stand for a whole long block of 4096 frames.
const uint64_t kFramesPerStreamByte = 4096;

// The bytes the whole stream decodes to, false when they do not fit in 32 bits or the stream
// could not hold them.
bool PcmBytes(OggVorbis_File& vf, QZMResFile& f, uint32_t frameBytes, uint32_t& bytes) {
    const ogg_int64_t frames = ov_pcm_total(&vf, -1);
    if (frames < 0 || (frameBytes != 0 && uint64_t(frames) > UINT32_MAX / frameBytes)) return false;
    bytes = uint32_t(uint64_t(frames) * frameBytes);
    return PlausibleAllocation(f, bytes, kFramesPerStreamByte * frameBytes);
}

// Decodes into buf until it is full, the stream ends, or a later logical bitstream changes the
// rate or the channel count; false on a decoding error. A stream shorter than announced leaves
// zeros rather than stale memory.
bool DecodeInto(OggVorbis_File& vf, uint8_t* buf, uint32_t size, const OggSampleLayout& layout,
                long rate, int channels) {
    uint32_t filled = 0;
    int first = -1;
    while (filled < size) {
        const uint32_t room = size - filled;
        int bitstream = 0;
        const long got = ov_read(&vf, reinterpret_cast<char*>(buf + filled),
                                 room > INT_MAX ? INT_MAX : int(room), layout.bigEndian,
                                 layout.word, layout.isSigned, &bitstream);
        if (got == 0) break;
        if (got < 0) return false;
        filled += uint32_t(got);
        if (first < 0) {
            first = bitstream;
        } else if (bitstream != first) {
            const vorbis_info* info = ov_info(&vf, -1);
            if (!info || info->rate != rate || info->channels != channels) break;
        }
    }
    memset(buf + filled, 0, size - filled);
    return true;
}

} // namespace

bool QZMSound::LoadOGG(QZMResFile& f) {
    OggVorbis_File vf;
    if (!OpenOgg(f, vf)) return false;
    const vorbis_info* info = ov_info(&vf, -1);
    format = OggOutputFormat();
    const OggSampleLayout layout = OggLayoutOf(format);
    bool ok = info && PcmBytes(vf, f, uint32_t(layout.word) * uint32_t(info->channels), size);
    if (ok) {
        freq = int(info->rate);
        channels = info->channels;
        data = new (std::nothrow) uint8_t[size];
        ok = data && DecodeInto(vf, data, size, layout, info->rate, info->channels);
    }
    ov_clear(&vf);
    if (!ok) Clear();
    return ok;
}

bool QZMMusic::ReadOGG(QZMResFile& f) {
    vf = new (std::nothrow) OggVorbis_File;
    if (!vf || !OpenOgg(f, *vf)) return false;
    const vorbis_info* info = ov_info(vf, -1);
    const ogg_int64_t frames = ov_pcm_total(vf, -1);
    if (!info || frames < 0) {
        ov_clear(vf);
        return false;
    }
    freq = int(info->rate);
    channels = info->channels;
    format = OggOutputFormat();
    // Nothing is allocated: a length past 32 bits only plays its first 4 GiB.
    const uint64_t frameBytes = uint64_t(SampleBytes(format)) * uint32_t(channels);
    const uint64_t bytes = std::min<uint64_t>(uint64_t(frames) * frameBytes, UINT32_MAX);
    total = WholeFrames(uint32_t(bytes), SampleBytes(format), uint32_t(channels));
    start = -1;
    return true;
}

// Decodes into the chunk until it is full, the stream ends, or a read comes from another
// logical bitstream than the chunk's first (its bytes are kept); bitstream is the last one
// read. Gives the bytes read, or -1 for a decoding error before any.
long QZMMusic::DecodeChunk(int& bitstream) {
    const OggSampleLayout layout = OggLayoutOf(mixformat);
    if (layout.word != 1 && layout.word != 2) return -1;
    uint32_t got = 0;
    int first = -1;
    while (got < chunklen) {
        const long n = ov_read(vf, reinterpret_cast<char*>(buffer + got), int(chunklen - got),
                               layout.bigEndian, layout.word, layout.isSigned, &bitstream);
        if (n <= 0) return n < 0 && got == 0 ? -1 : long(got);
        got += uint32_t(n);
        if (first < 0)
            first = bitstream;
        else if (bitstream != first)
            break;
    }
    return long(got);
}

unsigned char* QZMMusic::NextOggData() {
    const uint32_t prev = chunklen;
    chunklen = ChunkAhead();
    long got = 0;
    int bitstream = start;
    if (chunklen != 0) {
        if (!Reserve(chunklen, false)) return EndOfStream();
        if (prev == 0) {
            ov_pcm_seek(vf, 0);
            start = -1;
        }
        got = DecodeChunk(bitstream);
    }
    if (got < 0) {
        Clear();
        return nullptr;
    }
    if (got == 0) return EndOfStream();
    pos += uint32_t(got);
    chunklen = uint32_t(got);
    if (bitstream != start) {
        start = bitstream;
        const vorbis_info* info = ov_info(vf, -1);
        if (!info || info->channels > 2) return EndOfStream();
        channels = info->channels;
        freq = int(info->rate);
    }
    ConvertOggChunk();
    return ConvertedChunk();
}
