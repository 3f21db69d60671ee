#pragma once
#include <cstdint>
#include <qzm/resource/Resource.h>

struct OggVorbis_File;

/// A long piece played without holding it in memory: the music keeps the stream it was loaded
/// from and decodes it in chunks of at most 8192 stream bytes while a mixer channel plays it,
/// converting each chunk towards a target format (the mixer's, after SetMixerFormat). Reads
/// PCM WAV, AIFF, Sun AU and Ogg Vorbis; format codes for Load: 0 detect, 1 WAV, 2 AIFF, 3 AU,
/// 4 Ogg Vorbis. ADPCM WAV files are refused.
///
/// The stream is the caller's: the music never closes or deletes it, and deleting it before
/// the music is cleared or destroyed is the caller's error (the next chunk reads freed memory).
/// NextData and SetPosition run on the audio thread while a channel plays the music; do not
/// call Load, Clear, SetMixerFormat or ChangeFormat meanwhile.
///
/// Chunk conversions change the sample rate by halving and doubling and the channel count, and
/// swap bytes, but pass the sign and the width through as they stand: a WAV, AIFF or AU music
/// whose sign or width differs from the mixer's plays unconverted in those respects.
class QZMMusic : public QZMResource {
public:
    int format;          ///< format of the data as read (Ogg: as decoded)
    int freq;
    int channels;
    uint8_t* buffer;     ///< owned: the current chunk
    uint32_t chunklen;   ///< bytes in the current chunk
    uint32_t pos;        ///< stream data bytes consumed
    uint32_t total;      ///< stream data bytes in all, whole frames
    OggVorbis_File* vf;  ///< owned: the decoder while an Ogg Vorbis stream is loaded
    QZMResFile* file;    ///< not owned
    int start;           ///< WAV, AIFF, AU: offset of the data; Ogg: current bitstream, -1 none
    int type;            ///< 0 none, 1 WAV, 2 AIFF, 3 AU, 4 Ogg Vorbis
    int mixformat;       ///< target of the chunk conversions; 0 until set
    int mixfreq;
    int mixchannels;

    QZMMusic();
    /// Musics load only from a stream kept open: this leaves the music empty.
    explicit QZMMusic(const char* name);
    QZMMusic(const QZMMusic&) = delete;
    QZMMusic& operator=(const QZMMusic&) = delete;
    ~QZMMusic() override;

    uint32_t MemoryUsed() const override;
    /// Reads the header only and keeps f; false, with the music untouched, for an unknown
    /// format code or undetected data. Until a target is set, chunks come unconverted.
    bool Load(QZMResFile& f, int format) override;
    /// Musics are not saved: always false.
    bool Save(QZMResFile& f, int format) override;
    /// Always false: a stream opened here would close before the music plays.
    bool LoadName(const char* name, int format) override;

    /// The next chunk, chunklen bytes, or null at the end of the stream; the call after null
    /// starts again from the beginning. A decoding error clears the music and gives null.
    unsigned char* NextData();
    /// Position in frames of the stream.
    unsigned int GetPosition();
    /// Ogg Vorbis seeks there. The other formats restart from their first sample while the
    /// position counts from the frame asked for, so they end that much early.
    void SetPosition(unsigned int frame);

    /// Target = the open mixer's format; nothing while it is closed.
    void SetMixerFormat();
    void ChangeFormat(int format, int freq, int channels);

    // Chunk conversions in place on buffer and chunklen, given the chunk's current format;
    // those taking a reference update it. A doubling that cannot get its memory does nothing.
    void ConvEndian(int& format);
    void ConvSign(int& format);
    void Conv8to16L(int& format);
    void Conv8to16B(int& format);
    /// Leaves chunklen as it was: only its first half holds the narrowed samples.
    void Conv16to8(int& format);
    void ConvMUL2(int format);
    void ConvDIV2(int format);
    void ConvMono(int format);

    /// Forgets the stream without closing it; keeps the target.
    void Clear();
    void PrintInfo() const;

private:
    uint32_t capacity; ///< bytes allocated in buffer, at least chunklen

    /// The stream bytes of the next chunk: at most 8192, 0 at the end.
    uint32_t ChunkAhead() const;
    unsigned char* NextPcmData();
    unsigned char* NextOggData();
    long DecodeChunk(int& bitstream);
    unsigned char* EndOfStream();
    /// The chunk as converted, or the end of the stream when nothing is left of it.
    unsigned char* ConvertedChunk();
    void ConvertPcmChunk();
    void ConvertOggChunk();
    bool Reserve(uint64_t bytes, bool keep);
    bool LoadReader(QZMResFile& f, int type);
    bool ReadWAV(QZMResFile& f);
    bool ReadAIFF(QZMResFile& f);
    bool ReadAU(QZMResFile& f);
    bool ReadOGG(QZMResFile& f);
};
