#include "tests/audio/MixerReference.h"
#include "tests/support/TestSupport.h"

#include <qzm/audio/Mixer.h>
#include <qzm/audio/internal/MixKernels.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <tuple>

namespace {

// Makes the device offer another format than the one asked for, or refuse a second open.
int g_offeredFormat;
bool g_refuseReopen;
int g_opens;

using qzmtest::MixModel;
using qzmtest::RandomSound;

class MixerTest : public ::testing::Test {
protected:
    QZMMixer* mixer = QZMMixer::Singleton();
    std::mt19937 rng{12345};

    void TearDown() override {
        delete QZMMixer::m_instance;
        g_offeredFormat = g_opens = 0;
        g_refuseReopen = false;
    }

    static void ExpectSameTable(const MixModel& model) {
        for (unsigned c = 0; c < g_nbchannels; ++c) {
            const MixerChannel &a = g_channel[c], &b = model.ch[c];
            EXPECT_TRUE(a.state == b.state &&
                        (!a.state || (a.pos == b.pos && a.left == b.left && a.loops == b.loops)))
                << "channel " << c;
        }
        EXPECT_EQ(std::tie(g_nbactive, g_next, g_first, g_last),
                  std::tie(model.nbactive, model.next, model.first, model.last));
    }
};

TEST_F(MixerTest, CallbacksGiveTheSampleBySampleMix) {
    const std::pair<int, void (*)(void*, Uint8*, int)> formats[] = {
        {0x0008, MixerFuncU8},      {0x8008, MixerFuncS8},      {0x0010, MixerFuncU16LSB},
        {0x8010, MixerFuncS16LSB}, {0x1010, MixerFuncU16MSB}, {0x9010, MixerFuncS16MSB}};
    for (auto [format, callback] : formats) {
        SCOPED_TRACE(format);
        int channels = format == 0x8008 ? 1 : 2, width = (format & 0xFF) / 8;
        ASSERT_TRUE(mixer->Init(format, 22050, 256, channels == 2, 8));
        EXPECT_EQ(mixer->obtained.callback, callback);
        QZMSound sounds[10];
        for (int round = 0; round < 4; ++round) {
            for (int k = 0; k < 5; ++k) {
                QZMSound& s = sounds[(round * 5 + k) % 10];
                for (unsigned c = 0; c < 8; ++c)
                    if (g_channel[c].state && g_channel[c].sound == &s) mixer->ChStop(c);
                unsigned ch = unsigned(rng() % 9); // 8 asks for any free channel
                RandomSound(s, format, channels, width * (1 + rng() % 700), rng);
                const uint8_t loops[] = {0, 1, 2, 3, 255};
                int played = mixer->PlaySound(&s, ch == 8 ? QZMMixer::ANY_CHANNEL : ch,
                                              uint8_t(rng() % 200), loops[rng() % 5],
                                              int(rng() % 301) - 150 + (k == 4 ? 127 : 0));
                if (played >= 0 && k == 3) mixer->ChSeek(unsigned(played), rng() % 800);
                if (played >= 0 && k == 2) mixer->ChLoop(unsigned(played), 0);
                if (played >= 0 && k == 1) mixer->ChPause(unsigned(played), false);
            }
            for (int call = 0; call < 12; ++call) {
                int len = int(rng() % 1500) * 2;
                std::vector<uint8_t> want(size_t(len), 0x5A), got = want;
                MixModel model;
                model.Mix(format, want.data(), len);
                mixer->obtained.callback(nullptr, got.data(), len);
                ASSERT_EQ(got, want) << "round " << round << " call " << call;
                ExpectSameTable(model);
            }
        }
        mixer->Exit();
    }
}

#ifdef __SSE2__
// Builds without SSE2 mix signed 16-bit with the scalar loops alone: three channels, then one.
template <bool kBig>
void ExpectScalarLikeSse2(std::mt19937& rng) {
    using namespace QZM::internal;
    using Fmt = MixS16<kBig>;
    uint8_t src[3][96], out[2][96];
    int32_t acc[2][48];
    for (unsigned n = 0; n < 48; ++n) {
        for (auto& channel : src)
            for (uint8_t& b : channel) b = uint8_t(rng());
        const int v[2] = {int(rng() % 129), int(rng() % 129)};
        MixRunScalar<Fmt, MixStep::kFirst>(out[0], acc[0], src[0], n, v, -32768, 32767);
        MixRunScalar<Fmt, MixStep::kAdd>(out[0], acc[0], src[1], n, v, -32768, 32767);
        MixRunScalar<Fmt, MixStep::kLast>(out[0], acc[0], src[2], n, v, -32768, 32767);
        MixRunS16Sse2<kBig, MixStep::kFirst>(out[1], acc[1], src[0], n, v, -32768, 32767);
        MixRunS16Sse2<kBig, MixStep::kAdd>(out[1], acc[1], src[1], n, v, -32768, 32767);
        MixRunS16Sse2<kBig, MixStep::kLast>(out[1], acc[1], src[2], n, v, -32768, 32767);
        ASSERT_EQ(memcmp(out[0], out[1], 2 * n), 0) << n;
        MixRunScalar<Fmt, MixStep::kOnly>(out[0], acc[0], src[0], n, v, -32768, 32767);
        MixRunS16Sse2<kBig, MixStep::kOnly>(out[1], acc[1], src[0], n, v, -32768, 32767);
        ASSERT_EQ(memcmp(out[0], out[1], 2 * n), 0) << n;
    }
}

TEST_F(MixerTest, ScalarLoopsAgreeWithSse2) {
    ExpectScalarLikeSse2<false>(rng);
    ExpectScalarLikeSse2<true>(rng);
}
#endif

TEST_F(MixerTest, InitClampsAndSizesTheBuffer) {
    ASSERT_TRUE(mixer->Init(0x8010, 3000, 0, true, 0));
    EXPECT_EQ(std::tie(mixer->obtained.freq, mixer->obtained.samples), std::tuple(4000, 1024));
    EXPECT_EQ(mixer->state, 2u); // opened paused
    EXPECT_EQ(mixer->NbChannels(), 4u);
    ASSERT_TRUE(mixer->Init(0x8010, 96000, 0, false, 100));
    EXPECT_EQ(std::tie(mixer->obtained.freq, mixer->obtained.samples), std::tuple(48000, 2048));
    EXPECT_EQ(mixer->NbChannels(), 64u);
    ASSERT_TRUE(mixer->Init(0x0008, 22050, 0, true, 8));
    EXPECT_EQ(mixer->obtained.samples, 2048);
    EXPECT_EQ(mixer->Unpause(), 1u);
    EXPECT_EQ(mixer->Pause(), 2u);
    mixer->Exit();
    EXPECT_EQ(mixer->state + mixer->NbChannels(), 0u);
}

TEST_F(MixerTest, InitReportsFailuresAndReopensInTheOfferedFormat) {
    qzmtest::LogCapture log;
    SDL_AudioSpec other{};
    other.freq = 11025, other.format = AUDIO_U8, other.channels = 1, other.samples = 512;
    other.callback = [](void*, Uint8*, int) {};
    ASSERT_EQ(SDL_OpenAudio(&other, nullptr), 0); // the device is taken
    EXPECT_FALSE(mixer->Init(0x8010, 100000, 0, true, 4));
    EXPECT_EQ(log.text(), std::string("Mixer init error: ") + SDL_GetError() +
                              "\nMixer format: 32784, freq: 48000, channels: 2, buffer: 1024\n");
    SDL_CloseAudio();
    mixer->PrintInfo();
    EXPECT_EQ(log.text(), "Mixer not initialized\n");

    g_offeredFormat = 0x9010;
    ASSERT_TRUE(mixer->Init(0x0008, 22050, 0, false, 4));
    EXPECT_EQ(log.text(), "Mixer: wanted format = 8, obtained = 36880\n");
    EXPECT_EQ(mixer->obtained.format, 0x9010);
    EXPECT_EQ(mixer->obtained.callback, MixerFuncS16MSB);
    EXPECT_EQ(MIN_AUDIOVAL, -32768);
    g_refuseReopen = true;
    g_opens = 0;
    EXPECT_FALSE(mixer->Init(0x0008, 22050, 512, false, 4));
    EXPECT_EQ(log.text(), "Mixer: wanted format = 8, obtained = 36880\n"
                          "Mixer init error(2): refused\n"
                          "Mixer format: 36880, freq: 22050, channels: 1, buffer: 512\n");
}

TEST_F(MixerTest, ChannelBookkeeping) {
    qzmtest::LogCapture log;
    ASSERT_TRUE(mixer->Init(0x8010, 22050, 256, true, 4));
    auto volumes = [](unsigned ch) { return g_channel[ch].lvol * 1000 + g_channel[ch].rvol; };
    auto channelState = [this](unsigned ch) { return mixer->ChState(ch, nullptr, nullptr, 0); };
    QZMSound s;
    RandomSound(s, 0x8010, 2, 400, rng);
    EXPECT_EQ(mixer->PlaySound(&s, QZMMixer::ANY_CHANNEL, 200, 1, 0), 0);
    int volume = 0, loops = 0, pan = 1;
    EXPECT_EQ(mixer->ChState(0, &volume, &loops, &pan), 1);
    EXPECT_EQ(std::tie(volume, loops, pan), std::tuple(128, 1, 0));
    EXPECT_EQ(mixer->ChPan(0, 50), 0);
    EXPECT_EQ(volumes(0), 32096);
    EXPECT_EQ(mixer->ChPan(0, -150), 50);
    EXPECT_EQ(volumes(0), 128000);
    EXPECT_EQ(mixer->ChPan(0, 110), -100);
    EXPECT_EQ(mixer->ChPan(0, 127), 100);
    EXPECT_EQ(volumes(0), 128128);
    EXPECT_EQ(mixer->ChPan(0, 0), 127);

    EXPECT_EQ(mixer->PlaySound(&s, 0, 200, 1, 0), 0); // taken over: counted twice
    EXPECT_EQ(mixer->PlaySound(&s, 3, 100, 0, 0), 3); // loaded paused, left out of the range
    EXPECT_EQ(mixer->ChState(3, nullptr, &loops, nullptr), 2);
    EXPECT_EQ(loops, 1);
    mixer->ChPause(3, false);
    EXPECT_EQ(channelState(3), 1);
    mixer->PrintInfo();
    EXPECT_EQ(log.text(), "Mixer: signed 16 bits, little endian, 22050 Hz, stereo\n"
                          "Channels (active/total): 3/4\n"
                          "Mixer: state=paused, next=1, first=0, last=0\n"
                          "Channel 0: 400 bytes left, volume (128,64L,64R), loop=1, pan=0\n"
                          "Channel 3: 400 bytes left, volume (100,50L,50R), loop=1, pan=0\n");
    std::vector<uint8_t> out(1000);
    mixer->obtained.callback(nullptr, out.data(), int(out.size()));
    EXPECT_EQ(channelState(0), 0);
    EXPECT_EQ(g_channel[3].left, 400u); // never mixed
    EXPECT_EQ(mixer->ActiveChannels(), 2u);

    EXPECT_EQ(mixer->PlaySound(&s, QZMMixer::ANY_CHANNEL, 128, 3, 127), 0);
    EXPECT_EQ(mixer->PlaySound(&s, QZMMixer::ANY_CHANNEL, 128, 255, 127), 1);
    EXPECT_EQ(mixer->PlaySound(&s, QZMMixer::ANY_CHANNEL, 128, 1, 127), 2);
    EXPECT_EQ(mixer->ChLoop(2, 0), 1); // wraps to forever at the end
    EXPECT_EQ(mixer->PlaySound(&s, QZMMixer::ANY_CHANNEL, 128, 1, 127), -1);
    EXPECT_EQ(log.text(), "Mixer: no channel left\n");
    for (int call = 0; call < 3; ++call) mixer->obtained.callback(nullptr, out.data(), 800);
    EXPECT_EQ(channelState(0), 0); // three plays over
    EXPECT_EQ(mixer->ChState(2, nullptr, &loops, nullptr), 1);
    EXPECT_EQ(loops, 255);
    EXPECT_EQ(mixer->PlaySound(&s, QZMMixer::ANY_CHANNEL, 128, 1, 127), 0);

    EXPECT_TRUE(mixer->ChSeek(1, 10));
    EXPECT_EQ(mixer->ChGetPos(1), 10);
    EXPECT_TRUE(mixer->ChSeek(1, 1000000));
    EXPECT_EQ(mixer->ChGetPos(1), 100);
    mixer->obtained.callback(nullptr, out.data(), 8); // at its end: loops at once
    EXPECT_EQ(mixer->ChGetPos(1), 2);
    mixer->ChStop(1);
    EXPECT_FALSE(mixer->ChSeek(1, 0));
    EXPECT_EQ(mixer->ChGetPos(1), -1);
    EXPECT_EQ(mixer->ChVolume(1, 5), 0);

    s.freq = 22099;
    EXPECT_TRUE(mixer->SameFormat(&s));
    s.freq = 22100;
    EXPECT_FALSE(mixer->SameFormat(&s) || mixer->SameFormat(static_cast<QZMSound*>(nullptr)));
}

TEST(MixerDeviceTest, DiskDriverPlaysTheMix) {
    if (SDL_Linked_Version()->patch >= 50) // sdl12-compat resamples on the way to the file
        GTEST_SKIP() << "the disk file of sdl12-compat is not the callback's output";
    qzmtest::TempDir tmp;
    const std::string raw = tmp.file("out.raw");
    std::unique_ptr<QZMMixer> mixer = qzmtest::DiskMixer(raw);
    ASSERT_TRUE(mixer->Init(0x8010, 22050, 512, true, 4));
    std::mt19937 rng(7);
    QZMSound a, b;
    RandomSound(a, 0x8010, 2, 3000, rng);
    RandomSound(b, 0x8010, 2, 5000, rng);
    a.data[1] = 0x40; // the first mixed buffer is not silent
    mixer->PlaySound(&a, 0, 100, 2, 50);
    mixer->PlaySound(&b, 1, 128, 1, 127);
    SDL_LockAudio(); // orders the copy before the audio thread's first mix
    MixModel model;
    SDL_UnlockAudio();
    std::vector<uint8_t> want(mixer->obtained.size * 8, 0);
    for (size_t at = 0; at < want.size(); at += mixer->obtained.size)
        model.Mix(0x8010, want.data() + at, int(mixer->obtained.size));

    const std::string mixed = qzmtest::PlayToDisk(*mixer, raw, want.size());
    EXPECT_TRUE(mixed == std::string(want.begin(), want.end()));
}

} // namespace

// The test's own SDL_OpenAudio, exported by the program, stands in front of SDL's.
extern "C" int SDL_OpenAudio(SDL_AudioSpec* desired, SDL_AudioSpec* obtained) {
    using Open = int (*)(SDL_AudioSpec*, SDL_AudioSpec*);
    static Open real = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "SDL_OpenAudio"));
    if (g_refuseReopen && g_opens > 0) {
        SDL_SetError("refused");
        return -1;
    }
    int result = real(desired, obtained);
    if (result == 0 && obtained && g_offeredFormat && g_opens++ == 0)
        obtained->format = Uint16(g_offeredFormat);
    return result;
}
