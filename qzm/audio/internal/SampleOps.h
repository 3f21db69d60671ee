#pragma once
#include <cstdint>

// Audio format codes and the sample transforms behind the format conversions of sounds and
// music chunks. Each transform reads src and writes dst, which may be the same buffer (music
// chunks convert in place) but must not overlap otherwise; counts are in samples of the given
// width (1 or 2 bytes), or in bytes where said.
namespace QZM::internal {

/// SDL audio format codes: the low byte is the width in bits.
enum : int {
    FORMAT_U8 = 0x0008,
    FORMAT_S8 = 0x8008,
    FORMAT_U16LSB = 0x0010,
    FORMAT_S16LSB = 0x8010,
    FORMAT_U16MSB = 0x1010,
    FORMAT_S16MSB = 0x9010,
    FORMAT_BIG_ENDIAN = 0x1000,
    FORMAT_SIGNED = 0x8000
};

/// Bytes of one sample: 2 for the 16-bit formats, 1 otherwise.
inline unsigned SampleBytes(int format) { return (format & 0xFF) > 8 ? 2 : 1; }

/// The name PrintInfo shows for a format code ("8 bits unsigned" ...), "unknown" for others.
const char* SoundFormatName(int format);

/// Swaps the two bytes of n 16-bit samples.
void SwapBytes16(const uint8_t* src, uint8_t* dst, uint32_t n);

/// XORs the sign bit of every sample of `bytes` bytes in the given format: every byte at width
/// 8, the high byte of each sample (by the format's byte order) at width 16.
void FlipSign(const uint8_t* src, uint8_t* dst, uint32_t bytes, int format);

/// Each byte of n becomes a 16-bit sample with that byte high and 0 low.
void Widen8to16(const uint8_t* src, uint8_t* dst, uint32_t n, bool bigEndian);

/// Keeps the high byte of each of n 16-bit samples.
void Narrow16to8(const uint8_t* src, uint8_t* dst, uint32_t n, bool bigEndian);

/// Writes each of n samples twice.
void RepeatSamples(const uint8_t* src, uint8_t* dst, uint32_t n, unsigned sampleBytes);

/// Keeps every other sample, n of them: samples 0, 2, 4 ...
void DropOddSamples(const uint8_t* src, uint8_t* dst, uint32_t n, unsigned sampleBytes);

/// Each of n pairs of samples becomes their sum clipped to the format's range (unsigned sums
/// keep both biases and clip at the top only).
void SumPairs(const uint8_t* src, uint8_t* dst, uint32_t n, int format);

} // namespace QZM::internal
