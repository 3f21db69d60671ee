// Music and sound effects through the mixer. A scripted session captures what the device plays
// with SDL's disk driver and leaves it as demo.wav, with its peak and RMS level.
#pragma once

#include <qzm/qzm.h>

class Audio {
public:
    explicit Audio(QZMResMgr& resources) : resources(resources) {}
    Audio(const Audio&) = delete;
    Audio& operator=(const Audio&) = delete;
    ~Audio();

    // Without a device the game goes on silent.
    void Open(bool capture, int musicVolume);
    // The effects of a step's events, panned to where the ball is.
    void Play(unsigned events, int ballX, int width);
    // Stops and closes the device; a capture becomes demo.wav. False when the capture failed.
    bool Close();

private:
    bool LoadSounds();
    bool SaveCapture(const SDL_AudioSpec& spec) const;

    QZMResMgr& resources;
    QZMMixer* mixer = nullptr;
    QZMSound* blip = nullptr;
    QZMMusic* music = nullptr;
    bool capturing = false;
};
