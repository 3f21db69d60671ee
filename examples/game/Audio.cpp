#include "Audio.h"

#include "Game.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

const char* const kCapture = "game_audio.raw";
const char* const kWav = "demo.wav";

std::vector<int16_t> ReadSamples(const char* path) {
    std::vector<int16_t> samples;
    if (FILE* f = fopen(path, "rb")) {
        int16_t block[4096];
        for (size_t n; (n = fread(block, sizeof block[0], 4096, f)) > 0;)
            samples.insert(samples.end(), block, block + n);
        fclose(f);
    }
    return samples;
}

// A canonical 44-byte header: the fields in order, sizes from the sample count.
bool WriteWav(const char* path, const SDL_AudioSpec& spec, const std::vector<int16_t>& samples) {
    const uint32_t bytes = uint32_t(samples.size() * 2), frame = spec.channels * 2u;
    QZMFile wav(path, QZMResFile::READWRITE | QZMResFile::TRUNC);
    wav.Write("RIFF", 4);
    wav.Write32(36 + bytes);
    wav.Write("WAVEfmt ", 8);
    const uint32_t format[] = {16, 1 | uint32_t(spec.channels) << 16, uint32_t(spec.freq),
                               uint32_t(spec.freq) * frame, frame | 16u << 16};
    for (uint32_t field : format) wav.Write32(field);
    wav.Write("data", 4);
    wav.Write32(bytes);
    for (int16_t s : samples) wav.Write16(uint16_t(s));
    return wav.state == QZMResFile::ST_OK;
}

} // namespace

Audio::~Audio() { Close(); }

void Audio::Open(bool capture, int musicVolume) {
    if (capture) {
        setenv("SDL_AUDIODRIVER", "disk", 1);
        setenv("SDL_DISKAUDIOFILE", kCapture, 1);
        setenv("SDL_DISKAUDIODELAY", "0", 1);
    }
    mixer = QZMMixer::Singleton();
    if (!mixer->Init(AUDIO_S16LSB, 22050, 1024, true, 16) || !LoadSounds()) {
        printf("audio: no sound\n");
        Close();
        return;
    }
    capturing = capture;
    mixer->PlayMusic(music, QZMMixer::ANY_CHANNEL, uint8_t(musicVolume), 255, 127);
    mixer->Unpause();
}

bool Audio::LoadSounds() {
    blip = static_cast<QZMSound*>(resources.Load(QZMResMgr::TYPE_SOUND, "blip.wav", 0, true));
    music = static_cast<QZMMusic*>(resources.Load(QZMResMgr::TYPE_MUSIC, "music.ogg", 0, true));
    if (!blip || !music) return false;
    blip->SetMixerFormat();
    music->SetMixerFormat();
    return true;
}

void Audio::Play(unsigned events, int ballX, int width) {
    if (!blip) return;
    const int pan = ballX * 200 / width - 100;
    const struct {
        unsigned event;
        int volume, loops;
    } kEffects[] = {{EV_BRICK, 110, 1}, {EV_PADDLE, 70, 1}, {EV_WALL, 40, 1},
                    {EV_BALL_LOST, 128, 2}, {EV_CLEARED, 128, 3}};
    for (const auto& effect : kEffects)
        if (events & effect.event) {
            mixer->PlaySound(blip, QZMMixer::ANY_CHANNEL, uint8_t(effect.volume),
                             uint8_t(effect.loops), pan);
            return;
        }
}

bool Audio::Close() {
    if (!mixer) return true;
    const SDL_AudioSpec spec = mixer->obtained;
    delete mixer; // stops the channels before their sounds go, and ends the capture
    mixer = nullptr;
    // The manager leaves a music its stream, which stays the game's to delete after it.
    QZMResFile* stream = music ? music->file : nullptr;
    QZMResource* const loaded[] = {blip, music};
    for (QZMResource* r : loaded)
        if (r) resources.Release(r);
    delete stream;
    blip = nullptr;
    music = nullptr;
    const bool ok = !capturing || SaveCapture(spec);
    capturing = false;
    return ok;
}

// The whole capture, silence included, with its peak and RMS level: a silent mix shows.
bool Audio::SaveCapture(const SDL_AudioSpec& spec) const {
    const std::vector<int16_t> samples = ReadSamples(kCapture);
    remove(kCapture);
    int peak = 0;
    double sum = 0;
    for (int16_t s : samples) {
        peak = std::max(peak, std::abs(int(s)));
        sum += double(s) * s;
    }
    const double rms = samples.empty() ? 0 : std::sqrt(sum / samples.size());
    char path[PATH_MAX];
    if (samples.empty() || !WriteWav(kWav, spec, samples)) return false;
    printf("audio: peak %d rms %.0f over %u samples at %d Hz, written to %s\n", peak, rms,
           unsigned(samples.size()), spec.freq, realpath(kWav, path) ? path : kWav);
    return true;
}
