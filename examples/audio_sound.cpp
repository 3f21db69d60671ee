// Plays a sound effect through the mixer, and a music streamed beside it when one is given,
// until both have ended (ten seconds at most).
// Run: qzm_example_audio_sound effect.wav [music.ogg]   (WAV, AIFF, AU or Ogg Vorbis)
// Headless: SDL_AUDIODRIVER=disk SDL_DISKAUDIOFILE=mix.raw writes what would be heard.
#include <qzm/qzm.h>

#include <cstdio>
#include <memory>

static bool PlayEffect(QZMMixer& mixer, QZMSound& effect, const char* path) {
    if (!effect.LoadName(path, 0)) return false;  // 0: the format is told by the data
    effect.SetMixerFormat();                      // once, before a channel plays it
    return mixer.PlaySound(&effect, QZMMixer::ANY_CHANNEL, 128, 1, 0) >= 0;  // once, centred
}

// The music keeps reading its stream while it plays: the caller keeps the stream open.
static bool PlayMusic(QZMMixer& mixer, QZMMusic& music, QZMResFile& stream) {
    if (!music.Load(stream, 0)) return false;
    music.SetMixerFormat();  // each chunk is converted as it is decoded
    return mixer.PlayMusic(&music, QZMMixer::ANY_CHANNEL, 96, 1, 127) >= 0;  // once, no pan
}

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: %s SOUND [MUSIC]\n", argv[0]);
        return 2;
    }
    QZMMixer* mixer = QZMMixer::Singleton();
    if (!mixer->Init(AUDIO_S16LSB, 22050, 0, true, 8)) {  // opens the device paused
        fprintf(stderr, "no audio device\n");
        delete mixer;
        return 1;
    }
    std::unique_ptr<QZMFile> musicFile;  // declared before the music, so it goes after it
    QZMSound effect;
    QZMMusic music;
    bool ok = PlayEffect(*mixer, effect, argv[1]);
    if (ok && argc > 2) {
        musicFile = std::make_unique<QZMFile>(argv[2], QZMResFile::READ);
        ok = PlayMusic(*mixer, music, *musicFile);
    }
    if (ok) {
        mixer->Unpause();
        for (unsigned waited = 0; mixer->ActiveChannels() > 0 && waited < 10000; waited += 10)
            SDL_Delay(10);
        printf("played %s%s%s\n", argv[1], argc > 2 ? " with " : "", argc > 2 ? argv[2] : "");
    } else {
        fprintf(stderr, "cannot play %s\n", argc > 2 && musicFile ? argv[2] : argv[1]);
    }
    mixer->Exit();  // stops the channels before the sound and the music go
    delete mixer;
    return ok ? 0 : 1;
}
