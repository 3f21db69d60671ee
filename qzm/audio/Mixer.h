#pragma once
#include <SDL.h>
#include <cstdint>
#include <qzm/gfx/SDLMgr.h>

class QZMSound;
class QZMMusic;

/// The software mixer: one per process. It opens the SDL audio device once and, on SDL's
/// audio thread, sums every playing channel into the device buffer with volume, pan, clipping
/// and looping. It converts nothing: sounds and musics must already be in the obtained format
/// (SetMixerFormat on them does that). Channels do not own what they play: stop a channel
/// before destroying its sound or music.
class QZMMixer : public QZMSDLMgr {
public:
    /// Channel states as ChState reports them.
    enum { CH_FREE = 0, CH_PLAYING = 1, CH_PAUSED = 2 };
    /// Channel number that asks for the first free channel.
    static const unsigned ANY_CHANNEL = 0xFFFFFFFFu;

    SDL_AudioSpec obtained; ///< what SDL_OpenAudio gave
    uint32_t state;         ///< 0 closed; else the last SDL_GetAudioStatus()

    static QZMMixer* m_instance;

    static QZMMixer* Singleton();
    ~QZMMixer() override;

private:
    QZMMixer();
};
