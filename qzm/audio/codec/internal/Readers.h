#pragma once
#include <cstdint>
#include <qzm/audio/internal/SampleOps.h>
#include <qzm/io/ResFile.h>

// The header readers of the sound file formats, shared by the loaders that decode a whole sound
// and those that stream it chunk by chunk. They log their refusals through QZM::WARN and leave
// the stream where the samples, or the codec fields, begin.
namespace QZM::internal {

/// A four-character code as Read32 gives it: the first character in the low byte.
constexpr uint32_t FourCC(const char (&code)[5]) {
    return uint32_t(uint8_t(code[0])) | uint32_t(uint8_t(code[1])) << 8 |
           uint32_t(uint8_t(code[2])) << 16 | uint32_t(uint8_t(code[3])) << 24;
}

/// Sound file format codes of Load.
enum { SOUND_DETECT = 0, SOUND_WAV = 1, SOUND_AIFF = 2, SOUND_AU = 3, SOUND_OGG = 4 };

/// The stream's name for messages.
inline const char* NameOf(const QZMResFile& f) { return f.name ? f.name : "(null)"; }

/// False, after "Sound: bad file", for a stream that is not open for reading.
bool Readable(QZMResFile& f);

/// The Load code for the stream's first four bytes, 0 when none matches; back at the start.
int DetectSoundFormat(QZMResFile& f);
/// The reader for Load's format argument (0 detects): 0 for a stream whose state is not ST_OK,
/// undetected data or an unknown code.
int SoundLoadCode(QZMResFile& f, int format);

/// Reads a container's first 12 bytes: its id, a size (ignored), its form. When they are not
/// `outer` and `form`, logs `message` with the stream's name and gives false; so does Readable.
bool ReadFormHeader(QZMResFile& f, uint32_t outer, uint32_t form, const char* message);

/// The chunk search record of FindChunk: the id sought; the size and body position found.
struct ChunkDef {
    uint32_t id;
    uint32_t size;
    uint32_t pos;
};

/// Walks the chunks of a RIFF file from the first one after "WAVE" to the one named def.id and
/// leaves the stream at its body. Odd sizes are taken as they stand, without a pad byte.
bool FindChunk(QZMResFile& f, ChunkDef& def);

/// WAV encodings read here.
enum { WAV_PCM = 1, WAV_MS_ADPCM = 2, WAV_IMA_ADPCM = 0x11 };

/// The first 16 bytes of a "fmt " chunk.
struct WavFormat {
    uint16_t encoding;
    uint16_t channels;
    uint32_t freq;
    uint16_t blockalign;
    uint16_t bits;
};

/// The RIFF header and the fmt fields; the stream is left right after them.
bool ReadWavFormat(QZMResFile& f, WavFormat& fmt);
/// The format code of the samples as they come out of the reader (ADPCM decodes to 16 bits).
bool WavSampleFormat(const QZMResFile& f, const WavFormat& fmt, int& format);
/// Finds the "data" chunk and leaves the stream at its first byte.
bool FindWavData(QZMResFile& f, ChunkDef& data);
/// len AND -(bytes per frame): whole frames for the usual one, two and four-byte frames.
inline uint32_t WavFrameBytes(uint32_t len, int format, unsigned channels) {
    return len & (0u - SampleBytes(format) * channels);
}

/// What the "COMM" and "SSND" chunks of an AIFF file say.
struct AiffLayout {
    uint16_t channels;
    uint16_t bits;    ///< 8 or 16
    uint32_t freq;
    uint64_t size;    ///< frames x channels x bytes per sample
    uint64_t dataPos; ///< stream offset of the first sample
};

/// Converts a 10-byte big-endian 80-bit IEEE 754 value to an integer: 2 to 2^30 - 1 convert,
/// fractions are dropped, anything else gives 0.
unsigned int IEEE754_u32(unsigned char* b);
/// The FORM header and the chunk walk; false also, silently, when there is no "SSND".
bool ReadAiffLayout(QZMResFile& f, AiffLayout& layout);

/// The header fields of a Sun AU file.
struct AuLayout {
    uint32_t offset;
    uint32_t size; ///< 0xFFFFFFFF in the file is resolved to the rest of the stream
    uint32_t bits; ///< 8 or 16
    uint32_t freq;
    uint32_t channels;
};

/// The header; refuses encodings other than 8- and 16-bit linear.
bool ReadAuHeader(QZMResFile& f, AuLayout& layout);
/// size rounded down to whole frames of channels samples of the given width.
uint32_t WholeFrames(uint32_t size, unsigned sampleBytes, uint32_t channels);

/// What the WAV reader hands the ADPCM set-up.
struct ADPCMParams {
    uint16_t channels;
    uint16_t blockalign;
};

// The ADPCM decoders keep their state at file level, so loading is not re-entrant. The set-ups
// read their fields right after the 16 fmt bytes. The decoders replace *data by a new buffer of
// signed 16-bit little-endian samples (null when the data holds no whole block) and *len by its
// length; on failure they return -1 and leave both as they were.
int InitMS_ADPCM(QZMResFile& f, const ADPCMParams& params);
int MS_ADPCM_decode(uint8_t** data, uint32_t* len);
int InitIMA_ADPCM(QZMResFile& f, const ADPCMParams& params);
int IMA_ADPCM_decode(uint8_t** data, uint32_t* len);

} // namespace QZM::internal
