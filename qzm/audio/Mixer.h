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
///
/// Every operation but NbChannels and ActiveChannels takes the one mixer lock, so they may be
/// called from the game's thread while the device plays.
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

    /// Opens the device (paused) in the format it offers closest to the one asked for:
    /// freq is clamped to 4000..48000, nbchannels to 4..64; samples 0 picks a buffer of
    /// 4096 bytes for 8-bit formats and 2048 samples otherwise, per channel count.
    bool Init(int format, int freq, int samples, bool stereo, unsigned int nbchannels);
    /// Stops every channel and closes the device.
    void Exit();

    unsigned int NbChannels() const;
    /// Busy channels. Taking over a busy channel with PlaySound counts it twice.
    unsigned int ActiveChannels() const;
    /// Both return the device status afterwards (1 playing, 2 paused; 0 closed).
    uint32_t Pause();
    uint32_t Unpause();

    /// Plays s on channel (ANY_CHANNEL: the first free one), taking the channel over if busy.
    /// volume 0..128; loops: plays in all, 255 forever, 0 loads the channel paused; pan
    /// -100..100 or 127 for none. Returns the channel, or -1.
    int PlaySound(QZMSound* s, unsigned int channel, unsigned char volume, unsigned char loops,
                  int pan);
    /// Plays m from its start, as PlaySound; the mixer pulls its chunks on the audio thread,
    /// and each loop starts the stream again.
    int PlayMusic(QZMMusic* m, unsigned int channel, unsigned char volume, unsigned char loops,
                  int pan);

    /// Play position in sample frames; -1 when the channel is free.
    int ChGetPos(unsigned int ch) const;
    /// Moves the play position to frame pos (at most the end); false when the channel is free.
    bool ChSeek(unsigned int ch, unsigned int pos);
    /// The channel state; volume, loops and pan go to the non-null pointers. 0 when free.
    int ChState(unsigned int ch, int* volume, int* loops, int* pan) const;
    /// Pausing does not change the range of channels the callback scans: a channel loaded
    /// paused and resumed here may stay silent until a later play widens that range.
    void ChPause(unsigned int ch, bool pause);
    void ChStop(unsigned int ch);
    /// The setters return the previous value, 0 when the channel is free.
    unsigned char ChVolume(unsigned int ch, unsigned char volume);
    /// Always 127 on a mono device.
    int ChPan(unsigned int ch, int pan);
    /// Not clamped: loops 0 here wraps at the end of the data and loops forever.
    unsigned char ChLoop(unsigned int ch, unsigned char loops);
    /// Left and right volumes from volume and pan; the caller holds the mixer lock.
    void ComputeVolumes(unsigned int ch);

    /// Same format, same channel count and a frequency in the same hundred as the device.
    bool SameFormat(QZMSound* s) const;
    bool SameFormat(QZMMusic* m) const;
    void PrintInfo() const;

private:
    QZMMixer();
};
