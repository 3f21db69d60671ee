#include <qzm/archive/Archive.h>
#include <qzm/audio/Mixer.h>
#include <qzm/audio/Sound.h>
#include <qzm/audio/codec/internal/Readers.h>
#include <qzm/io/File.h>
#include <qzm/io/MemFile.h>
#include <qzm/resource/internal/Loaders.h>

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace qzmtest;
using namespace std::string_literals;

namespace {

const std::string kDir = QZM_TEST_DATA "/audio/";

uint64_t Fnv64(const uint8_t* p, size_t n) {
    uint64_t h = 0xcbf29ce484222325ull;
    for (size_t i = 0; i < n; i++) h = (h ^ p[i]) * 0x100000001b3ull;
    return h;
}

// One line of expected.txt (made by make_fixtures.sh from sox, oggdec and SDL decodings).
struct Expected {
    std::string file;
    int format = 0, freq = 0, channels = 0;
    uint32_t size = 0;
    uint64_t sum = 0;
};

std::vector<Expected> ExpectedRows() {
    std::ifstream in(kDir + "expected.txt");
    std::vector<Expected> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        Expected e;
        fields >> e.file >> std::hex >> e.format >> std::dec >> e.freq >> e.channels >> e.size >>
            std::hex >> e.sum;
        rows.push_back(e);
    }
    return rows;
}

// The mixer as the sound sees it while this lives: open in the given format, or closed.
class MixerAs {
public:
    MixerAs(int format, int freq, int channels) : mixer(*QZMMixer::Singleton()) {
        mixer.obtained.format = Uint16(format);
        mixer.obtained.freq = freq;
        mixer.obtained.channels = Uint8(channels);
        mixer.state = format ? 1 : 0;
    }
    ~MixerAs() { mixer.state = 0; }

private:
    QZMMixer& mixer;
};

// A sound loaded from bytes in memory through a stream named "mem".
struct Loaded : QZMSound {
    bool ok;
    explicit Loaded(const std::string& bytes, int code = 0) {
        std::string copy = bytes;
        QZMMemFile f(unsigned(copy.size()), QZMResFile::READ,
                     reinterpret_cast<unsigned char*>(copy.data()), false, "mem");
        ok = Load(f, code);
    }
    std::string Bytes() const { return data ? std::string((const char*)data, size) : ""; }
};

// A sound of 8000 Hz stereo holding the bytes, labelled with format.
std::unique_ptr<QZMSound> Made(int format, const std::string& bytes) {
    std::unique_ptr<QZMSound> s(new QZMSound);
    s->format = format;
    s->freq = 8000;
    s->channels = 2;
    s->size = uint32_t(bytes.size());
    s->data = new uint8_t[bytes.size()];
    std::copy(bytes.begin(), bytes.end(), s->data);
    return s;
}

std::string BytesOf(const QZMSound& s) { return std::string((const char*)s.data, s.size); }

// Little-endian and big-endian byte builder for hand-made files.
struct Bytes {
    std::string s;
    Bytes& str(const std::string& t) { s += t; return *this; }
    Bytes& le(uint32_t v, int n) { s += Le(v, n); return *this; }
    Bytes& be(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; i--) s += char(v >> 8 * i);
        return *this;
    }
};

Bytes Wav(unsigned encoding, unsigned channels, unsigned blockalign, unsigned bits,
          const std::string& extra = "") {
    return Bytes().str("RIFF").le(0, 4).str("WAVE").str("fmt ").le(16 + extra.size(), 4)
        .le(encoding, 2).le(channels, 2).le(8000, 4).le(0, 4).le(blockalign, 2).le(bits, 2)
        .str(extra);
}

// Microsoft ADPCM fields after the 16 fmt bytes: samples per block, pair count, 7 pairs.
std::string MsFields(unsigned samplesPerBlock, unsigned count = 7) {
    Bytes b;
    b.le(samplesPerBlock, 2).le(count, 2);
    for (unsigned i = 0; i < 7; i++) b.le(256, 2).le(0, 2);
    return b.s;
}

Bytes Aiff(unsigned bits, uint8_t exponentLow) {
    const std::string rate = std::string("\x40", 1) + char(exponentLow) + "\xAC\x44" +
                             std::string(6, '\0');
    return Bytes().str("FORM").be(0, 4).str("AIFF").str("COMM").be(18, 4).be(1, 2).be(2, 4)
        .be(bits, 2).str(rate);
}

Bytes Au(uint32_t size, uint32_t encoding) {
    return Bytes().str(".snd").be(24, 4).be(size, 4).be(encoding, 4).be(8000, 4).be(1, 4);
}

} // namespace

TEST(SoundTest, FixturesDecodeAsIndependentToolsDo) {
    const std::vector<Expected> rows = ExpectedRows();
    ASSERT_EQ(rows.size(), 14u);
    for (const Expected& e : rows) {
        SCOPED_TRACE(e.file + " as " + std::to_string(e.format));
        // Ogg Vorbis decodes straight into the open mixer's format.
        MixerAs mixer(e.format == 0x8010 ? 0 : e.format, 44100, 2);
        QZMFile disk((kDir + e.file).c_str(), QZMResFile::READ);
        QZMSound fromDisk;
        ASSERT_TRUE(fromDisk.Load(disk, 0));
        Loaded fromMemory(ReadFile(kDir + e.file));
        ASSERT_TRUE(fromMemory.ok);
        const QZMSound* both[] = {&fromDisk, &fromMemory};
        for (const QZMSound* s : both) {
            EXPECT_EQ(s->format, e.format);
            EXPECT_EQ(s->freq, e.freq);
            EXPECT_EQ(s->channels, e.channels);
            EXPECT_EQ(s->size, e.size);
            EXPECT_EQ(Fnv64(s->data, s->size), e.sum);
        }
    }
}

TEST(SoundTest, OggReadsAlikeFromDiskMemoryAndArchive) {
    const std::string ogg = ReadFile(kDir + "vorbis_stereo.ogg");
    TempDir dir;
    // A PAK with a member ahead of the sound: the member's range starts inside the file.
    const std::string path = dir.file("sounds.pak");
    Bytes pak;
    pak.str("PACK").le(12 + 5 + uint32_t(ogg.size()), 4).le(128, 4).str("other").str(ogg);
    pak.str("readme" + std::string(50, '\0')).le(12, 4).le(5, 4);
    pak.str("sfx/v.ogg" + std::string(47, '\0')).le(17, 4).le(uint32_t(ogg.size()), 4);
    WriteFile(path, pak.s);
    std::unique_ptr<QZMArchive> arch(QZMArchive::OpenArchive(path.c_str()));
    ASSERT_TRUE(arch);
    std::unique_ptr<QZMResFile> member(arch->OpenFile("sfx/v.ogg"));
    ASSERT_TRUE(member);
    QZMSound fromArchive, fromDisk;
    ASSERT_TRUE(fromArchive.Load(*member, 0));
    QZMFile disk((kDir + "vorbis_stereo.ogg").c_str(), QZMResFile::READ);
    ASSERT_TRUE(fromDisk.Load(disk, 4));
    Loaded fromMemory(ogg, 4);
    ASSERT_EQ(fromMemory.size, 8000u);
    EXPECT_EQ(std::string((char*)fromArchive.data, fromArchive.size), fromMemory.Bytes());
    EXPECT_EQ(std::string((char*)fromDisk.data, fromDisk.size), fromMemory.Bytes());

    // The resource manager's sound slot makes a QZMSound.
    bool keep = true;
    disk.SeekStart();
    std::unique_ptr<QZMResource> made(QZM::internal::builtInLoaders[4](&disk, "v", 0, keep));
    EXPECT_FALSE(keep);
    ASSERT_TRUE(dynamic_cast<QZMSound*>(made.get()));
}

TEST(SoundTest, MalformedFilesAreRefusedWithTheirMessages) {
    const std::string ms = MsFields(4);
    const std::string data16 = Bytes().str("data").le(8, 4).le(0, 4).le(0, 4).s;
    const struct {
        std::string bytes;
        const char* log;
        int code;
    } cases[] = {
        {Bytes().str("RIFF").le(0, 4).str("WAVX").s, "Sound: bad file type (not WAV) (mem)\n"},
        {Bytes().str("RIFF").le(0, 4).str("WAVE").str("LIST").le(0, 4).s,
         "Sound: internal error\n"},
        // A chunk size past 2^31 would step back onto the same chunk.
        {Bytes().str("RIFF").le(0, 4).str("WAVE").str("LIST").le(0xFFFFFFF8, 4).s,
         "Sound: internal error\n"},
        // An odd chunk ahead of fmt makes the walk read the next id one byte early.
        {Bytes().str("RIFF").le(0, 4).str("WAVE").str("odd ").le(1, 4).str(std::string(2, 0)).s +
             Wav(1, 1, 1, 8).s.substr(12),
         "Sound: internal error\n"},
        {Wav(3, 1, 4, 32).s + data16, "Sound: Unknown WAV data format - mem\n"},
        {Wav(1, 1, 2, 12).s + data16, "Sound: unknown 12-bits PCM format - mem\n"},
        {Wav(1, 2, 4, 16).s, "Sound: no data in file mem\n"},
        {Wav(1, 2, 4, 16).s + data16.substr(0, 12), "Sound: error reading data - mem\n"},
        {Wav(1, 2, 4, 16).str("data").le(0xFFFFFFF0, 4).s, "Sound: error reading data - mem\n"},
        {Wav(2, 1, 64, 4, MsFields(4, 6)).s + data16, "Sound: InitMS_ADPCM failed - mem\n"},
        {Wav(2, 3, 64, 4, ms).s + data16, "Sound: MS_ADPCM_decode - mem\n"},
        {Wav(2, 1, 0, 4, ms).s + data16, "Sound: MS_ADPCM_decode - mem\n"},
        {Wav(2, 1, 6, 4, ms).s + data16, "Sound: MS_ADPCM_decode - mem\n"},
        // A block of 8 bytes holds 2 samples in its header and 2 in nibbles, not 2 + 4.
        {Wav(2, 1, 8, 4, MsFields(6)).s + data16, "Sound: MS_ADPCM_decode - mem\n"},
        // Predictor index 7, past the coefficient table.
        {Wav(2, 1, 8, 4, MsFields(2)).s + "data" + Le(8) +
             "\7" + std::string(7, '\0'),
         "Sound: MS_ADPCM_decode - mem\n"},
        {Wav(0x11, 3, 36, 4, Le(9, 2)).s + data16, "Sound: IMA_ADPCM_decode - mem\n"},
        {Wav(0x11, 1, 3, 4, Le(1, 2)).s + data16, "Sound: IMA_ADPCM_decode - mem\n"},
        {Wav(0x11, 1, 8, 4, Le(17, 2)).s + data16, "Sound: IMA_ADPCM_decode - mem\n"},
        {Bytes().str("FORM").be(0, 4).str("AIFC").s, "Sound: not a valid AIFF file mem\n"},
        {Aiff(12, 0x0E).s, "Sound: sample size not supported - mem\n"},
        {Aiff(16, 0x1D).s, "Sound: bad sample rate mem\n"},
        {Aiff(16, 0x0E).s, ""},
        {Aiff(16, 0x0E).str("LIST").be(0xFFFFFFF7, 4).s, ""},
        // 2^31 - 1 frames, and no data for them.
        {Aiff(16, 0x0E).str("SSND").be(8, 4).be(0, 4).be(0, 4).s.replace(22, 4, "\x7F\xFF\xFF\xFF"),
         "Sound: offset=0, datasize=0, position=54\n"},
        {Bytes().str(".snX").s, "Sound: not a valid AU file mem\n", 3},
        {Au(4, 1).s, "Sound: AU encoding not supported (1) - mem\n"},
        {Au(4, 3).le(0, 2).s, ""},
        {Au(0xF0000000, 3).le(0, 4).s, ""},
        {"OggS" + std::string(60, '\1'), "Sound: bad ogg file mem.\n"},
        {"MThd", ""},
    };
    LogCapture log;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.log);
        Loaded s(c.bytes, c.code);
        EXPECT_FALSE(s.ok);
        EXPECT_EQ(s.data, nullptr);
        EXPECT_EQ(s.format, 0);
        EXPECT_EQ(log.text(), c.log);
    }
    // A stream that is not open for reading.
    QZMMemFile writeOnly(16, QZMResFile::WRITE, nullptr, false, "out");
    QZMSound s;
    EXPECT_FALSE(s.Load(writeOnly, 1));
    EXPECT_EQ(log.text(), "Sound: bad file out\n");
    // A disk file sought past its end keeps answering no end of file until a read fails.
    TempDir dir;
    const std::string path = dir.write("far.wav", Wav(1, 1, 1, 8).str("LIST").le(1 << 20, 4).s);
    QZMFile far(path.c_str(), QZMResFile::READ);
    EXPECT_FALSE(s.Load(far, 0));
    EXPECT_EQ(log.text(), "Sound: no data in file " + path + "\n");
}

TEST(SoundTest, LengthsFollowBlocksAndFrames) {
    // A trailing partial ADPCM block is dropped; less than one block gives an empty sound.
    std::string ms = ReadFile(kDir + "msadpcm_stereo.wav");
    const size_t sizeAt = ms.find("data") + 4;
    ms.replace(sizeAt, 4, Le(3 * 512 + 100));
    EXPECT_EQ(Loaded(ms).size, 3 * 500 * 4u);
    ms.replace(sizeAt, 4, Le(511));
    Loaded none(ms);
    EXPECT_TRUE(none.ok);
    EXPECT_EQ(none.data, nullptr);
    EXPECT_EQ(none.size, 0u);
    // An odd data length in 16-bit stereo is cut to whole frames.
    Loaded odd(Wav(1, 2, 4, 16).str("data").le(11, 4).str("0123456789A").s);
    EXPECT_EQ(odd.Bytes(), "01234567");
    // 8-bit AIFF keeps its bytes; a short read leaves zeros.
    Loaded aiff(Aiff(8, 0x0E).str("SSND").be(10, 4).be(0, 4).be(0, 4).str("\x81").s);
    EXPECT_EQ(aiff.Bytes(), std::string("\x81\0", 2));
    EXPECT_EQ(aiff.freq, 44100);
    uint8_t rate[10] = {0x40, 0x1C, 0x80, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(QZM::internal::IEEE754_u32(rate), 1u << 29);
}

TEST(SoundTest, ConversionStepsAndChains) {
    struct Step {
        void (QZMSound::*conv)();
        int format;
        std::string in, out;
        int outFormat, outFreq, outChannels;
    } steps[] = {
        {&QZMSound::ConvEndian, 0x8010, "\1\2\3\4"s, "\2\1\4\3"s, 0x9010, 8000, 2},
        {&QZMSound::ConvEndian, 0x0008, "\1\2"s, "\1\2"s, 0x0008, 8000, 2},
        {&QZMSound::ConvSign, 0x0008, "\0\x80\xFF"s, "\x80\0\x7F"s, 0x8008, 8000, 2},
        {&QZMSound::ConvSign, 0x8010, "\1\2"s, "\1\x82"s, 0x0010, 8000, 2},
        {&QZMSound::ConvSign, 0x9010, "\1\2"s, "\x81\2"s, 0x1010, 8000, 2},
        {&QZMSound::Conv8to16L, 0x8008, "\x12\x34"s, "\0\x12\0\x34"s, 0x8010, 8000, 2},
        {&QZMSound::Conv8to16B, 0x0008, "\x12"s, "\x12\0"s, 0x1010, 8000, 2},
        {&QZMSound::Conv16to8, 0x8010, "\1\2\3\4"s, "\2\4"s, 0x0008, 8000, 2},
        {&QZMSound::Conv16to8, 0x9010, "\1\2\3\4"s, "\1\3"s, 0x0008, 8000, 2},
        {&QZMSound::ConvFreqMUL2, 0x8010, "\1\2\3\4"s, "\1\2\1\2\3\4\3\4"s, 0x8010, 16000, 2},
        {&QZMSound::ConvFreqDIV2, 0x0008, "\1\2\3\4\5"s, "\1\3"s, 0x0008, 4000, 2},
        {&QZMSound::ConvMono, 0x0008, "\xC8\x64\1\2"s, "\xFF\3"s, 0x0008, 8000, 1},
        {&QZMSound::ConvMono, 0x8008, "\x64\x64\x9C\x9C"s, "\x7F\x80"s, 0x8008, 8000, 1},
        {&QZMSound::ConvMono, 0x1010, "\xFF\xFF\0\2"s, "\xFF\xFF"s, 0x1010, 8000, 1},
        {&QZMSound::ConvMono, 0x8010, "\x30\x75\x30\x75\x00\x80\x01\x00"s, "\xFF\x7F\x01\x80"s,
         0x8010, 8000, 1},
        {&QZMSound::ConvMono, 0x9010, "\x80\0\xFF\xFF"s, "\x80\0"s, 0x9010, 8000, 1},
        {&QZMSound::ConvStereo, 0x8010, "\1\2"s, "\1\2\1\2"s, 0x8010, 8000, 2},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.in + " from " + std::to_string(step.format));
        std::unique_ptr<QZMSound> s = Made(step.format, step.in);
        ((*s).*step.conv)();
        EXPECT_EQ(BytesOf(*s), step.out);
        EXPECT_EQ(s->format, step.outFormat);
        EXPECT_EQ(s->freq, step.outFreq);
        EXPECT_EQ(s->channels, step.outChannels);
    }

    const std::string pcm = ReadFile(kDir + "pcm16_stereo.wav");
    Loaded s(pcm);
    s.freq = 44100;
    s.ChangeFormat(0x0008, 22050, 1);
    EXPECT_EQ(s.format, 0x0008);
    EXPECT_EQ(s.freq, 22050);
    EXPECT_EQ(s.channels, 1);
    EXPECT_EQ(s.size, 1000u); // halved three times: mono, rate, width
    s.ChangeFormat(0x9010, 22000, 2); // same hundred: not resampled
    EXPECT_EQ(s.format, 0x9010);
    EXPECT_EQ(s.freq, 22050);
    EXPECT_EQ(s.size, 4000u);
    EXPECT_EQ(s.Bytes().substr(0, 4), std::string({s.Bytes()[0], 0, s.Bytes()[0], 0}));
    s.ChangeFormat(0x9010, 30000, 2);
    EXPECT_EQ(s.freq, 44100);
    EXPECT_EQ(s.size, 8000u);
    s.freq = 22050;
    s.ChangeFormat(0x9010, 8000, 2); // down to 5512, then doubled back
    EXPECT_EQ(s.freq, 11024);
    EXPECT_EQ(s.size, 4000u);
    s.freq = 44100;
    s.ChangeFormat(0x9010, 22000, 2); // the hundreds are compared before halving only
    EXPECT_EQ(s.freq, 22050);
    EXPECT_EQ(s.size, 2000u);

    // A rate of 0 never converges, and one of 1 Hz would grow 2 KiB into 128 MiB.
    for (int rate : {0, 1}) {
        std::unique_ptr<QZMSound> tiny = Made(0x8010, std::string(2048, 1));
        tiny->freq = rate;
        tiny->ChangeFormat(0x8010, 44100, 2);
        EXPECT_EQ(tiny->freq, rate);
        EXPECT_EQ(tiny->size, 2048u);
    }
}

TEST(SoundTest, MixerFormatInfoAndMemory) {
    Loaded s(ReadFile(kDir + "pcm8_mono.wav"));
    const uint8_t* before = s.data;
    s.SetMixerFormat(); // closed: nothing
    {
        MixerAs same(0x0008, 8000, 1);
        s.SetMixerFormat();
    }
    EXPECT_EQ(s.data, before);
    {
        MixerAs open(0x8010, 16000, 2);
        s.SetMixerFormat();
    }
    EXPECT_EQ(s.format, 0x8010);
    EXPECT_EQ(s.size, 16000u);
    EXPECT_EQ(s.MemoryUsed(), 16000u + sizeof(QZMSound));
    LogCapture log;
    s.PrintInfo();
    s.format = 0x20;
    s.channels = 1;
    s.PrintInfo();
    EXPECT_EQ(log.text(),
              "Sound format : 16000 Hz, 16 bits signed LSB (8010), Stereo, 16000 bytes\n"
              "Sound format : 16000 Hz, unknown (20), Mono, 16000 bytes\n");
    s.Clear();
    s.ChangeFormat(0x0008, 8000, 1); // nothing without data
    EXPECT_EQ(s.format, 0);
}
