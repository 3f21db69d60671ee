#include "tests/audio/MixerReference.h"
#include "tests/support/TestSupport.h"

#include <qzm/audio/Mixer.h>
#include <qzm/audio/Music.h>
#include <qzm/io/File.h>
#include <qzm/io/MemFile.h>
#include <qzm/resource/internal/Loaders.h>

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

using namespace qzmtest;

namespace {

const std::string kDir = QZM_TEST_DATA "/audio/";

// A music over its own copy of the bytes, through a memory stream named "mem".
struct Streamed : QZMMusic {
    std::string bytes;
    QZMMemFile stream;
    bool ok;
    explicit Streamed(const std::string& b, int code = 0)
        : bytes(b), stream(unsigned(bytes.size()), QZMResFile::READ,
                           reinterpret_cast<unsigned char*>(&bytes[0]), false, "mem") {
        ok = Load(stream, code);
    }
    std::string Chunk() {
        const unsigned char* p = NextData();
        return p ? std::string(reinterpret_cast<const char*>(p), chunklen) : "<end>";
    }
    // Every chunk up to the end.
    std::string All() {
        std::string all;
        for (std::string c; (c = Chunk()) != "<end>";) all += c;
        return all;
    }
};

std::string SoundBytes(const std::string& file) {
    QZMFile f((kDir + file).c_str(), QZMResFile::READ);
    QZMSound s;
    EXPECT_TRUE(s.Load(f, 0)) << file;
    return std::string(reinterpret_cast<const char*>(s.data), s.size);
}

uint64_t Fnv64(const std::string& s) {
    uint64_t h = 0xcbf29ce484222325ull;
    for (unsigned char c : s) h = (h ^ c) * 0x100000001b3ull;
    return h;
}

// Where two byte strings first differ, for a readable failure; npos when they are equal.
size_t Mismatch(const std::string& a, const std::string& b) {
    if (a == b) return std::string::npos;
    size_t i = 0;
    while (i < a.size() && i < b.size() && a[i] == b[i]) i++;
    return i;
}
#define EXPECT_SAME_BYTES(a, b) EXPECT_EQ(Mismatch(a, b), std::string::npos)

// Each byte of s, n times.
std::string Repeated(const std::string& s, int n) {
    std::string out;
    for (char c : s) out.append(size_t(n), c);
    return out;
}

TEST(MusicTest, ChunksWalkTheStreamAndStartAgain) {
    QZMFile disk((kDir + "music_u8_mono.wav").c_str(), QZMResFile::READ);
    QZMMusic m;
    ASSERT_TRUE(m.Load(disk, 0));
    EXPECT_EQ(m.type, 1);
    EXPECT_EQ(m.file, &disk);
    EXPECT_EQ(m.start, 44);
    EXPECT_EQ(std::make_tuple(m.mixformat, m.mixfreq, m.mixchannels), std::make_tuple(8, 22050, 1));
    const std::string data = SoundBytes("music_u8_mono.wav");
    std::vector<uint32_t> lengths;
    std::string all;
    for (int i = 0; i < 5; i++) {
        const unsigned char* p = m.NextData();
        lengths.push_back(p ? m.chunklen : 0);
        if (p && i < 3) all.append(reinterpret_cast<const char*>(p), m.chunklen);
        if (i == 4) EXPECT_SAME_BYTES(std::string(reinterpret_cast<const char*>(p), 8192), data.substr(0, 8192));
    }
    EXPECT_EQ(lengths, (std::vector<uint32_t>{8192, 8192, 3616, 0, 8192}));
    EXPECT_SAME_BYTES(all, data);
    EXPECT_EQ(m.GetPosition(), 8192u);
    EXPECT_EQ(m.MemoryUsed(), 8192u + sizeof(QZMMusic));

    // Kept: the data plays again from its first sample while the position counts from 10000.
    m.SetPosition(10000);
    EXPECT_EQ(m.GetPosition(), 10000u);
    Streamed same(ReadFile(kDir + "music_u8_mono.wav"));
    same.SetPosition(10000);
    EXPECT_SAME_BYTES(same.Chunk(), data.substr(0, 8192));
    EXPECT_SAME_BYTES(same.Chunk(), data.substr(8192, 1808));
    EXPECT_EQ(same.Chunk(), "<end>");

    LogCapture log;
    m.PrintInfo();
    m.Clear();
    m.PrintInfo();
    EXPECT_EQ(log.text(), "Music stream format : 22050 Hz, 8 bits unsigned (8), Mono, 20000 bytes "
                          "(total)\nFile: type: WAV, pos: 10000, size: 20000, start: 44\n"
                          "      name: " + kDir + "music_u8_mono.wav\n"
                          "Music stream format : 0 Hz, unknown (0), Stereo, 0 bytes (total)\n"
                          "File: type: none, pos: 0, size: 0, start: 0\n");
    EXPECT_EQ(disk.state, QZMResFile::ST_OK); // not closed
    EXPECT_FALSE(m.LoadName((kDir + "music_u8_mono.wav").c_str(), 0) || m.Save(disk, 0));
}

TEST(MusicTest, StreamsGiveWhatSoundsLoadAndRefuseAdpcm) {
    const char* files[] = {"pcm8_mono.wav", "pcm16_stereo.wav", "aiff16_stereo.aiff",
                           "aiff8_mono.aiff", "au16_stereo.au", "au16_to_end.au",
                           "au8_mono.au", "vorbis_stereo.ogg"};
    for (const char* file : files) {
        Streamed m(ReadFile(kDir + file));
        ASSERT_TRUE(m.ok) << file;
        EXPECT_SAME_BYTES(m.All(), SoundBytes(file)) << file;
        EXPECT_SAME_BYTES(m.All(), SoundBytes(file)) << file << ", second time round";
    }
    LogCapture log;
    EXPECT_FALSE(Streamed(ReadFile(kDir + "msadpcm_mono.wav")).ok);
    EXPECT_FALSE(Streamed(ReadFile(kDir + "imaadpcm_mono.wav")).ok);
    EXPECT_FALSE(Streamed(ReadFile(kDir + "pcm8_mono.wav"), 3).ok);
    EXPECT_EQ(log.text(), "Sound: MS_ADPCM not supported - mem\n"
                          "Sound: IMA_ADPCM not supported - mem\n"
                          "Sound: not a valid AU file mem\n");
}

TEST(MusicTest, ChunksConvertTowardsTheTarget) {
    const std::string u8 = ReadFile(kDir + "music_u8_mono.wav");
    const std::string data = SoundBytes("music_u8_mono.wav");
    Streamed m(u8);
    m.ChangeFormat(0x0008, 44100, 2); // twice the rate, then twice the channels
    EXPECT_SAME_BYTES(m.Chunk(), Repeated(data.substr(0, 8192), 4));
    m.ChangeFormat(0x8008, 22050, 1); // sign passed through
    EXPECT_SAME_BYTES(m.Chunk(), data.substr(8192, 8192));
    m.ChangeFormat(0x0008, 22000, 1); // exact rates: halved, then doubled
    std::string halved;
    for (size_t i = 0; i < 3616; i += 2) halved += data[16384 + i];
    EXPECT_SAME_BYTES(m.Chunk(), Repeated(halved, 2));

    Streamed s16(ReadFile(kDir + "pcm16_stereo.wav"));
    const std::string pcm = SoundBytes("pcm16_stereo.wav");
    s16.ChangeFormat(0x9010, 8000, 2);
    std::string swapped = pcm;
    for (size_t i = 0; i < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
    EXPECT_SAME_BYTES(s16.All(), swapped);
    s16.ChangeFormat(0x8010, 4000, 1); // mono, then half the rate: a quarter
    EXPECT_EQ(s16.All().size(), pcm.size() / 4);
}

TEST(MusicTest, OggBitstreamsAndPositions) {
    // Both links, in order, as oggdec decodes them one by one (make_fixtures.sh).
    Streamed chained(ReadFile(kDir + "vorbis_chained.ogg"));
    EXPECT_EQ(chained.start, -1);
    const std::string both = chained.All();
    std::ifstream expected(kDir + "music_expected.txt");
    std::string file;
    size_t size = 0;
    uint64_t sum = 0;
    expected >> file >> size >> std::hex >> sum;
    EXPECT_EQ(both.size(), size);
    EXPECT_EQ(Fnv64(both), sum);
    // Ogg Vorbis seeks where asked once a chunk has been read; the first chunk starts over.
    EXPECT_EQ(chained.Chunk().size(), 8192u);
    chained.SetPosition(1000);
    EXPECT_EQ(chained.GetPosition(), 1000u);
    EXPECT_SAME_BYTES(chained.Chunk().substr(0, 4000), both.substr(4000, 4000));
    EXPECT_EQ(chained.start, 1); // that chunk ran into the second link

    Streamed faster(ReadFile(kDir + "vorbis_rate_change.ogg"));
    std::string first = faster.Chunk();
    while (faster.freq == 8000) ASSERT_NE(faster.Chunk(), "<end>");
    EXPECT_EQ(faster.start, 1);
    const std::string halvedChunk = faster.Chunk(); // 16000 Hz towards 8000: halved
    EXPECT_EQ(halvedChunk.size(), 4096u);

    // Six channels end the stream at the change; the next call starts it again.
    Streamed six(ReadFile(kDir + "vorbis_six_channels.ogg"));
    first = six.Chunk();
    const size_t played = first.size() + six.All().size();
    EXPECT_GE(played, 9600u - 4096);
    EXPECT_LE(played, 9600u + 8192);
    EXPECT_SAME_BYTES(six.Chunk(), first);
}

TEST(MusicTest, BadStreamsEndTheirChunkWalk) {
    LogCapture quiet(0);
    // Data claimed far past the stream: one short chunk, then the end.
    std::string wav = ReadFile(kDir + "pcm8_mono.wav");
    wav.replace(40, 4, Le(0xFFFFFFF0));
    Streamed m(wav);
    EXPECT_EQ(m.Chunk().size(), 2000u);
    EXPECT_EQ(m.Chunk(), "<end>");
    EXPECT_EQ(m.Chunk().size(), 2000u);
    // A rate so far above the target that the chunk halves to nothing: the end, not an empty
    // chunk that starts the stream again and again.
    wav.replace(24, 4, Le(44100u << 12));
    Streamed fast(wav);
    fast.ChangeFormat(fast.format, 44100, 1);
    EXPECT_EQ(fast.Chunk(), "<end>");
    EXPECT_EQ(fast.Chunk(), "<end>");
}

class MusicMixerTest : public ::testing::Test {
protected:
    void TearDown() override { delete QZMMixer::m_instance; }
};

TEST_F(MusicMixerTest, ChannelsLoopSeekAndEndWithTheirMusic) {
    QZMMixer* mixer = QZMMixer::Singleton();
    ASSERT_TRUE(mixer->Init(0x0008, 22050, 256, true, 4));
    Streamed m(ReadFile(kDir + "music_u8_mono.wav"));
    EXPECT_FALSE(mixer->SameFormat(&m));
    m.SetMixerFormat();
    EXPECT_EQ(std::make_tuple(m.mixformat, m.mixfreq, m.mixchannels), std::make_tuple(8, 22050, 2));
    EXPECT_EQ(mixer->PlayMusic(&m, QZMMixer::ANY_CHANNEL, 128, 2, 127), 0);
    EXPECT_EQ(g_channel[0].left, 16384u);
    EXPECT_TRUE(mixer->ChSeek(0, 16384));
    EXPECT_EQ(mixer->ChGetPos(0), 20000); // the chunk read after the seek counts
    std::vector<uint8_t> out(40000 * 2 + 1000);
    qzmtest::MixModel model;
    std::vector<uint8_t> want(out.size());
    Streamed twin(ReadFile(kDir + "music_u8_mono.wav"));
    twin.SetMixerFormat();
    twin.SetPosition(16384);
    model.ch[0].music = &twin;
    model.ch[0].pos = twin.NextData();
    model.ch[0].left = twin.chunklen;
    model.Mix(0x0008, want.data(), int(want.size()));
    mixer->obtained.callback(nullptr, out.data(), int(out.size()));
    EXPECT_TRUE(out == want); // 3616 frames, then 20000 again, then freed
    EXPECT_EQ(mixer->ChState(0, nullptr, nullptr, nullptr), 0);

    // A music cleared under the channel, as by a decoding error, frees it.
    EXPECT_EQ(mixer->PlayMusic(&m, 1, 128, 255, 0), 1);
    EXPECT_TRUE(mixer->ChSeek(1, 30000)); // at the end: the channel holds no chunk
    m.Clear();
    mixer->obtained.callback(nullptr, out.data(), int(out.size()));
    EXPECT_EQ(mixer->ChState(1, nullptr, nullptr, nullptr), 0);

    // The resource manager's music slot keeps the stream.
    QZMFile* disk = new QZMFile((kDir + "vorbis_stereo.ogg").c_str(), QZMResFile::READ);
    bool keep = false;
    std::unique_ptr<QZMResource> made(QZM::internal::builtInLoaders[5](disk, "m", 0, keep));
    EXPECT_TRUE(keep);
    ASSERT_TRUE(dynamic_cast<QZMMusic*>(made.get()));
    EXPECT_EQ(static_cast<QZMMusic*>(made.get())->file, disk);
    made.reset();
    delete disk;
}

TEST(MusicDeviceTest, DiskDriverPlaysMusicWithASound) {
    if (SDL_Linked_Version()->patch >= 50) // sdl12-compat resamples on the way to the file
        GTEST_SKIP() << "the disk file of sdl12-compat is not the callback's output";
    TempDir tmp;
    const std::string raw = tmp.file("out.raw");
    std::unique_ptr<QZMMixer> mixer = DiskMixer(raw);
    ASSERT_TRUE(mixer->Init(0x8010, 22050, 512, true, 4));
    Streamed music(ReadFile(kDir + "pcm16_stereo.wav")), twin(music.bytes);
    music.SetMixerFormat(); // 8000 Hz doubled twice: 32000 bytes a play
    twin.SetMixerFormat();
    std::mt19937 rng(7);
    QZMSound effect;
    RandomSound(effect, 0x8010, 2, 5000, rng);
    mixer->PlayMusic(&music, 0, 100, 2, 50);
    mixer->PlaySound(&effect, 1, 128, 3, 127);
    SDL_LockAudio(); // orders the copy before the audio thread's first mix
    MixModel model;
    SDL_UnlockAudio();
    model.ch[0].music = &twin;
    twin.SetPosition(0);
    model.ch[0].pos = twin.NextData();
    model.ch[0].left = twin.chunklen;
    std::vector<uint8_t> want(mixer->obtained.size * 36, 0);
    for (size_t at = 0; at < want.size(); at += mixer->obtained.size)
        model.Mix(0x8010, want.data() + at, int(mixer->obtained.size));

    EXPECT_SAME_BYTES(PlayToDisk(*mixer, raw, want.size()), std::string(want.begin(), want.end()));
}

} // namespace
