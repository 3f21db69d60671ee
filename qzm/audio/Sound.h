#pragma once
#include <cstdint>
#include <qzm/resource/Resource.h>

/// A whole sound in memory as raw PCM, loaded from WAV (PCM, Microsoft or IMA ADPCM), AIFF,
/// Sun AU or Ogg Vorbis, and converted in place to the mixer's format before it is played.
/// Format codes for Load: 0 detect, 1 WAV, 2 AIFF, 3 AU, 4 Ogg Vorbis.
///
/// Never convert a sound (SetMixerFormat, ChangeFormat) while a mixer channel plays it: the
/// conversion frees the buffer the audio thread is reading. Stop the channel first.
/// Loading is not re-entrant: the ADPCM decoders keep their state at file level.
class QZMSound : public QZMResource {
public:
    int format;       ///< SDL audio format code (AUDIO_U8 ...); 0 while nothing is loaded
    int freq;         ///< samples per second
    int channels;     ///< 1 mono, 2 stereo (interleaved, left first)
    uint8_t* data;    ///< owned
    uint32_t size;    ///< bytes in data

    QZMSound();
    explicit QZMSound(const char* name);
    QZMSound(const QZMSound&) = delete;
    QZMSound& operator=(const QZMSound&) = delete;
    ~QZMSound() override;

    uint32_t MemoryUsed() const override;
    /// False, with the sound untouched, for an unknown format code or undetected data; a
    /// failed read leaves the sound empty.
    bool Load(QZMResFile& f, int format) override;
    /// Sounds are not saved: always false.
    bool Save(QZMResFile& f, int format) override;

    bool LoadWAV(QZMResFile& f);
    bool LoadAIFF(QZMResFile& f);
    bool LoadAU(QZMResFile& f);
    bool LoadOGG(QZMResFile& f);

    /// Converts to the open mixer's obtained format; nothing while the mixer is closed.
    void SetMixerFormat();
    /// Converts by halving and doubling only: rates end at the nearest power-of-two step. Does
    /// nothing without data, or when the result would pass 32 bits or be absurd (over 64 MiB
    /// and over 64 times the data, as from a malformed rate).
    void ChangeFormat(int format, int freq, int channels);

    // Each conversion writes a new buffer and frees the old one; none does anything without
    // data or when the new buffer cannot be had.
    void ConvEndian();
    void ConvSign();
    void Conv8to16L();
    void Conv8to16B();
    void Conv16to8();
    void ConvFreqMUL2();
    void ConvFreqDIV2();
    void ConvMono();
    void ConvStereo();

    void PrintInfo() const;
    void Clear();
};
