// The game's thread works the channels while SDL's audio thread mixes them: run under
// ThreadSanitizer (make test-tsan) this shows that every shared access is locked.
#include "tests/audio/MixerReference.h"

#include <qzm/audio/Mixer.h>

#include <gtest/gtest.h>

#include <memory>

TEST(MixerThreadTest, ControlsWhileTheDeviceMixes) {
    std::unique_ptr<QZMMixer> mixer(QZMMixer::Singleton());
    ASSERT_TRUE(mixer->Init(0x8010, 22050, 128, true, 8));
    std::mt19937 rng(99);
    QZMSound sounds[4];
    for (QZMSound& s : sounds) qzmtest::RandomSound(s, 0x8010, 2, 4 * (50 + rng() % 400), rng);
    EXPECT_EQ(mixer->Unpause(), 1u);
    for (int step = 0; step < 4000; ++step) {
        unsigned ch = unsigned(rng() % 8);
        switch (rng() % 9) {
        case 0: mixer->PlaySound(&sounds[rng() % 4], ch, 100, uint8_t(rng() % 4), 0); break;
        case 1: mixer->ChStop(ch); break;
        case 2: mixer->ChPause(ch, rng() % 2); break;
        case 3: mixer->ChSeek(ch, rng() % 300); break;
        case 4: mixer->ChVolume(ch, uint8_t(rng())); break;
        case 5: mixer->ChPan(ch, int(rng() % 256) - 128); break;
        case 6: mixer->ChLoop(ch, uint8_t(rng() % 3)); break;
        case 7: mixer->ChState(ch, nullptr, nullptr, nullptr), mixer->ChGetPos(ch); break;
        default: SDL_Delay(1); break;
        }
    }
    // A last sound played once proves that the audio thread was mixing.
    for (unsigned ch = 0; ch < 8; ++ch) mixer->ChStop(ch);
    ASSERT_EQ(mixer->PlaySound(&sounds[0], 0, 128, 1, 0), 0);
    for (int ms = 0; ms < 20000 && mixer->ChState(0, nullptr, nullptr, nullptr); ++ms) SDL_Delay(1);
    EXPECT_EQ(mixer->ChState(0, nullptr, nullptr, nullptr), 0);
    mixer->Exit();
}
