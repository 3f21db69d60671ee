#include "SoundDemo.h"

#include <qzm/qzm.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

const char* const kCapture = "demo_audio.raw";
const char* const kWav = "demo.wav";
const unsigned kMaxPlayMs = 10000;

// The disk driver writes whatever the device plays, silence included, as fast as it can.
void CaptureToDisk() {
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", kCapture, 1);
    setenv("SDL_DISKAUDIODELAY", "0", 1);
}

std::string ReadAll(const char* path) {
    std::string bytes;
    if (FILE* f = fopen(path, "rb")) {
        char block[4096];
        for (size_t n; (n = fread(block, 1, sizeof block, f)) > 0;) bytes.append(block, n);
        fclose(f);
    }
    return bytes;
}

// The captured samples from the first buffer that is not silent to the last sound frame: the
// device ran paused before the channels started and keeps running after they end.
std::string MixedPart(const std::string& raw, unsigned bufferBytes, unsigned frameBytes) {
    size_t first = raw.find_first_not_of('\0');
    if (first == std::string::npos) return "";
    first -= first % bufferBytes;
    size_t end = raw.find_last_not_of('\0') + 1;
    end += (frameBytes - end % frameBytes) % frameBytes;
    return raw.substr(first, std::min(end, raw.size()) - first);
}

// A canonical 44-byte PCM header over the samples.
bool WriteWav(const char* path, const SDL_AudioSpec& spec, const std::string& samples) {
    QZMFile wav(path, QZMResFile::READWRITE | QZMResFile::TRUNC);
    const unsigned bits = spec.format & 0xFF, frame = spec.channels * bits / 8;
    const uint32_t size = uint32_t(samples.size());
    bool ok = wav.Write("RIFF", 4) == 4 && wav.Write32(36 + size) && wav.Write("WAVEfmt ", 8) == 8 &&
              wav.Write32(16) && wav.Write16(1) && wav.Write16(spec.channels) &&
              wav.Write32(uint32_t(spec.freq)) && wav.Write32(uint32_t(spec.freq) * frame) &&
              wav.Write16(uint16_t(frame)) && wav.Write16(uint16_t(bits)) &&
              wav.Write("data", 4) == 4 && wav.Write32(size);
    return ok && (size == 0 || wav.Write(samples.data(), size) == size);
}

// The music once, a blip at its start and another, panned the other way, three times over it.
bool PlayTogether(QZMMixer& mixer, QZMMusic& music, QZMSound& blip) {
    music.SetMixerFormat();
    blip.SetMixerFormat();
    const bool started = mixer.PlayMusic(&music, QZMMixer::ANY_CHANNEL, 110, 1, 127) >= 0 &&
                         mixer.PlaySound(&blip, QZMMixer::ANY_CHANNEL, 128, 1, -60) >= 0 &&
                         mixer.PlaySound(&blip, QZMMixer::ANY_CHANNEL, 90, 3, 60) >= 0;
    if (!started) return false;
    mixer.Unpause();
    for (unsigned waited = 0; mixer.ActiveChannels() > 0 && waited < kMaxPlayMs; waited++)
        SDL_Delay(1);
    return true;
}

bool SaveCapture(const SDL_AudioSpec& spec) {
    const unsigned frame = spec.channels * (spec.format & 0xFF) / 8;
    const std::string mixed = MixedPart(ReadAll(kCapture), spec.size, frame);
    remove(kCapture);
    if (mixed.empty() || !WriteWav(kWav, spec, mixed)) return false;
    char path[PATH_MAX];
    printf("sound: %u bytes of mix at %d Hz written to %s\n", unsigned(mixed.size()), spec.freq,
           realpath(kWav, path) ? path : kWav);
    return true;
}

} // namespace

bool RunSoundDemo(bool window) {
    if (!window) CaptureToDisk();
    QZMMixer* mixer = QZMMixer::Singleton();
    if (!mixer->Init(AUDIO_S16LSB, 22050, 1024, true, 8)) {
        delete mixer;
        printf("sound: no audio device, the demo goes on without sound\n");
        return window;
    }
    // The music streams from its file, which stays open while it plays.
    QZMFile musicFile(QZM_DEMO_DATA "/music.ogg", QZMResFile::READ);
    QZMMusic music;
    QZMSound blip;
    bool ok = music.Load(musicFile, 0) && blip.LoadName(QZM_DEMO_DATA "/blip.wav", 0);
    if (ok) {
        music.PrintInfo();
        ok = PlayTogether(*mixer, music, blip);
    }
    const SDL_AudioSpec spec = mixer->obtained;
    delete mixer; // stops the channels and closes the device, which ends the capture
    if (ok && !window) ok = SaveCapture(spec);
    printf("sound: %s\n", ok ? "music and effects played" : "failed");
    return ok;
}
