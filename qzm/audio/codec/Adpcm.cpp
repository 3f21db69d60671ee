// Microsoft and IMA (DVI) ADPCM, 4 bits per sample, in blocks of block-align bytes, each block
// starting with a header per channel (interleaved by channel):
// - Microsoft: predictor index (1), initial delta (2), sample 1 (2), sample 2 (2); then one byte
//   per two samples, high nibble first (in stereo: high nibble left, low nibble right).
// - IMA: sample (2), step index (1), reserved (1); then groups of 4 bytes per channel holding 8
//   samples of that channel, low nibble first.
// Decodes to signed 16-bit little-endian samples; a trailing partial block is dropped. Refuses
// more than 2 channels, blocks shorter than their header or than the samples they promise, and
// a Microsoft predictor index outside the 7 coefficient pairs.
#include <qzm/audio/codec/internal/Readers.h>

#include <new>
#include <qzm/gfx/internal/ByteOrder.h>

using namespace QZM::internal;

namespace {

const unsigned kCoefficientPairs = 7;

struct MSADPCMState {
    uint16_t channels;
    uint16_t blockalign;
    uint16_t samplesPerBlock;
    int16_t coeff[kCoefficientPairs][2];
};

struct IMAADPCMState {
    uint16_t channels;
    uint16_t blockalign;
    uint16_t samplesPerBlock;
};

MSADPCMState g_msadpcm;
IMAADPCMState g_imaadpcm;

inline void PutSample(uint8_t* out, int32_t sample) {
    out[0] = uint8_t(sample);
    out[1] = uint8_t(sample >> 8);
}

inline int32_t Clamp16(int32_t v) { return v < -32768 ? -32768 : v > 32767 ? 32767 : v; }

// Microsoft ADPCM: one channel's predictor.
struct MSChannel {
    int32_t samp1, samp2;
    int32_t c1, c2;
    uint16_t delta;
};

inline int32_t MS_ADPCM_nibble(MSChannel& ch, unsigned nibble) {
    static const int32_t kAdaptation[16] = {230, 230, 230, 230, 307, 409, 512, 614,
                                            768, 614, 512, 409, 307, 230, 230, 230};
    // Two products of 16-bit values can sum to 2^31: wrapped as 32-bit arithmetic does.
    const int32_t predicted =
        int32_t(uint32_t(ch.samp1) * uint32_t(ch.c1) + uint32_t(ch.samp2) * uint32_t(ch.c2)) / 256;
    const int32_t signedNibble = int32_t(nibble) - int32_t((nibble & 8) << 1);
    const int32_t sample = Clamp16(predicted + int32_t(ch.delta) * signedNibble);
    const int32_t delta = int32_t(ch.delta) * kAdaptation[nibble] / 256;
    ch.delta = uint16_t(delta < 16 ? 16 : delta);
    ch.samp2 = ch.samp1;
    ch.samp1 = sample;
    return sample;
}

// The block header: predictor indices, deltas, then the two starting samples of each channel.
// False for a predictor index beyond the coefficient table.
template <unsigned Channels>
bool StartMSBlock(const uint8_t* in, MSChannel (&state)[Channels]) {
    for (unsigned c = 0; c < Channels; c++) {
        const unsigned predictor = in[c];
        if (predictor >= kCoefficientPairs) return false;
        MSChannel& ch = state[c];
        ch.c1 = g_msadpcm.coeff[predictor][0];
        ch.c2 = g_msadpcm.coeff[predictor][1];
        ch.delta = LoadLE16(in + Channels + 2 * c);
        ch.samp1 = int16_t(LoadLE16(in + 3 * Channels + 2 * c));
        ch.samp2 = int16_t(LoadLE16(in + 5 * Channels + 2 * c));
    }
    return true;
}

template <unsigned Channels>
bool DecodeMSBlocks(const uint8_t* in, uint32_t blocks, uint8_t* out) {
    const unsigned headerBytes = 7 * Channels;
    const uint32_t pairs = (g_msadpcm.samplesPerBlock - 2u) * Channels / 2;
    MSChannel state[Channels];
    for (uint32_t b = 0; b < blocks; b++, in += g_msadpcm.blockalign) {
        if (!StartMSBlock(in, state)) return false;
        // The older sample comes first.
        for (unsigned c = 0; c < Channels; c++, out += 2) PutSample(out, state[c].samp2);
        for (unsigned c = 0; c < Channels; c++, out += 2) PutSample(out, state[c].samp1);
        const uint8_t* nibbles = in + headerBytes;
        MSChannel& left = state[0];
        MSChannel& right = state[Channels - 1];
        for (uint32_t i = 0; i < pairs; i++, out += 4) {
            PutSample(out, MS_ADPCM_nibble(left, nibbles[i] >> 4));
            PutSample(out + 2, MS_ADPCM_nibble(right, nibbles[i] & 0x0F));
        }
    }
    return true;
}

// IMA ADPCM: one channel's predictor.
struct IMAChannel {
    int32_t sample;
    int32_t index;
};

inline int32_t IMA_ADPCM_nibble(IMAChannel& ch, unsigned nibble) {
    static const int8_t kIndexStep[16] = {-1, -1, -1, -1, 2, 4, 6, 8,
                                          -1, -1, -1, -1, 2, 4, 6, 8};
    static const int32_t kStep[89] = {
        7,     8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,
        25,    28,    31,    34,    37,    41,    45,    50,    55,    60,    66,    73,    80,
        88,    97,    107,   118,   130,   143,   157,   173,   190,   209,   230,   253,   279,
        307,   337,   371,   408,   449,   494,   544,   598,   658,   724,   796,   876,   963,
        1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,  2272,  2499,  2749,  3024,  3327,
        3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,  9493,  10442, 11487,
        12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
    const int32_t step = kStep[ch.index];
    int32_t diff = step >> 3;
    if (nibble & 4) diff += step;
    if (nibble & 2) diff += step >> 1;
    if (nibble & 1) diff += step >> 2;
    if (nibble & 8) diff = -diff;
    ch.sample = Clamp16(ch.sample + diff);
    const int32_t index = ch.index + kIndexStep[nibble];
    ch.index = index < 0 ? 0 : index > 88 ? 88 : index;
    return ch.sample;
}

// Eight samples of one channel from 4 bytes, into every numchannels-th slot of the output.
inline void Fill_IMA_ADPCM_block(uint8_t* decoded, const uint8_t* encoded, unsigned channel,
                                 unsigned numchannels, IMAChannel& state) {
    decoded += 2 * channel;
    const unsigned stride = 2 * numchannels;
    for (unsigned i = 0; i < 4; i++, decoded += 2 * stride) {
        PutSample(decoded, IMA_ADPCM_nibble(state, encoded[i] & 0x0F));
        PutSample(decoded + stride, IMA_ADPCM_nibble(state, encoded[i] >> 4));
    }
}

template <unsigned Channels>
void DecodeIMABlocks(const uint8_t* in, uint32_t blocks, uint8_t* out) {
    const uint32_t groups = (g_imaadpcm.samplesPerBlock - 1u) / 8;
    IMAChannel state[Channels];
    for (uint32_t b = 0; b < blocks; b++) {
        const uint8_t* encoded = in + uint64_t(b) * g_imaadpcm.blockalign;
        for (unsigned c = 0; c < Channels; c++, encoded += 4, out += 2) {
            state[c].sample = int16_t(LoadLE16(encoded));
            // The index byte is not bounded by the format; the step table is.
            state[c].index = encoded[2] > 88 ? 88 : encoded[2];
            PutSample(out, state[c].sample);
        }
        for (uint32_t g = 0; g < groups; g++, out += 16 * Channels)
            for (unsigned c = 0; c < Channels; c++, encoded += 4)
                Fill_IMA_ADPCM_block(out, encoded, c, Channels, state[c]);
    }
}

// Whole blocks in len bytes, and the output they decode to; false when that length does not fit
// in 32 bits.
bool OutputLength(uint32_t len, uint16_t blockalign, uint16_t samplesPerBlock, uint16_t channels,
                  uint32_t& blocks, uint32_t& outLen) {
    blocks = len / blockalign;
    const uint64_t bytes = uint64_t(blocks) * samplesPerBlock * channels * 2;
    outLen = uint32_t(bytes);
    return bytes <= UINT32_MAX;
}

// Runs decode over the whole blocks of *data into a new buffer that replaces it.
template <class Decode>
int DecodeBlocks(uint8_t** data, uint32_t* len, uint16_t blockalign, uint16_t samplesPerBlock,
                 uint16_t channels, Decode decode) {
    uint32_t blocks, outLen;
    if (!OutputLength(*len, blockalign, samplesPerBlock, channels, blocks, outLen)) return -1;
    uint8_t* out = nullptr;
    if (blocks > 0) {
        out = new (std::nothrow) uint8_t[outLen];
        if (!out) return -1;
        if (!decode(*data, blocks, out)) {
            delete[] out;
            return -1;
        }
    }
    delete[] *data;
    *data = out;
    *len = outLen;
    return 0;
}

} // namespace

namespace QZM::internal {

int InitMS_ADPCM(QZMResFile& f, const ADPCMParams& params) {
    g_msadpcm = MSADPCMState();
    g_msadpcm.channels = params.channels;
    g_msadpcm.blockalign = params.blockalign;
    g_msadpcm.samplesPerBlock = f.Read16();
    if (f.Read16() != kCoefficientPairs) return -1;
    for (auto& pair : g_msadpcm.coeff) {
        pair[0] = int16_t(f.Read16());
        pair[1] = int16_t(f.Read16());
    }
    return 0;
}

int MS_ADPCM_decode(uint8_t** data, uint32_t* len) {
    const MSADPCMState& s = g_msadpcm;
    const unsigned ch = s.channels;
    // Every block must hold its header and the nibbles its sample count promises, in whole bytes.
    if (ch < 1 || ch > 2 || s.blockalign < 7 * ch || s.samplesPerBlock < 2 ||
        (s.samplesPerBlock - 2u) * ch % 2 != 0 ||
        (s.samplesPerBlock - 2u) * ch / 2 > s.blockalign - 7u * ch)
        return -1;
    return DecodeBlocks(data, len, s.blockalign, s.samplesPerBlock, s.channels,
                        ch == 1 ? DecodeMSBlocks<1> : DecodeMSBlocks<2>);
}

int InitIMA_ADPCM(QZMResFile& f, const ADPCMParams& params) {
    g_imaadpcm.channels = params.channels;
    g_imaadpcm.blockalign = params.blockalign;
    g_imaadpcm.samplesPerBlock = f.Read16();
    return 0;
}

int IMA_ADPCM_decode(uint8_t** data, uint32_t* len) {
    const IMAADPCMState& s = g_imaadpcm;
    const unsigned ch = s.channels;
    // Every block must hold its header and the groups of 8 samples its sample count promises.
    if (ch < 1 || ch > 2 || s.blockalign < 4 * ch || s.samplesPerBlock < 1 ||
        (s.samplesPerBlock - 1u) % 8 != 0 ||
        (s.samplesPerBlock - 1u) / 2 * ch > s.blockalign - 4u * ch)
        return -1;
    auto decode = [ch](const uint8_t* in, uint32_t blocks, uint8_t* out) {
        if (ch == 1)
            DecodeIMABlocks<1>(in, blocks, out);
        else
            DecodeIMABlocks<2>(in, blocks, out);
        return true;
    };
    return DecodeBlocks(data, len, s.blockalign, s.samplesPerBlock, s.channels, decode);
}

} // namespace QZM::internal
