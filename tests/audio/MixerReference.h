#pragma once
// The mixing callback done the obvious way, sample by sample over the channels, on a copy of
// the mixer's channel table; and sounds of random samples to feed it. A copied music channel
// pulls its chunks from the music it names: point it at a twin of the one the mixer plays.
#include <qzm/audio/Music.h>
#include <qzm/audio/Sound.h>
#include <qzm/audio/internal/MixerChannels.h>

#include <qzm/audio/Mixer.h>

#include "tests/support/TestSupport.h"

#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace qzmtest {

struct MixModel {
    std::vector<MixerChannel> ch{g_channel, g_channel + g_nbchannels};
    unsigned nbactive = g_nbactive, next = g_next, first = g_first, last = g_last;

    static int32_t Share(int format, const uint8_t* p, int vol) {
        if (format == 0x0008) return (p[0] - 128) * vol / 128 + 128;
        if (format == 0x8008) return int8_t(p[0]) * vol / 128;
        int16_t s16 = int16_t(format & 0x1000 ? p[0] << 8 | p[1] : p[1] << 8 | p[0]);
        switch (format) {
        case 0x8010:
        case 0x9010: return s16 * vol / 128;
        default: return int32_t((uint32_t(uint16_t(s16)) * uint32_t(vol)) >> 7);
        }
    }

    void Free(unsigned c) {
        --nbactive;
        ch[c].state = 0;
        if (next > c) next = c;
        if (c == first)
            while (first < ch.size() && ch[first].state != 1) ++first;
        if (c == last && last != 0)
            while (last != 0 && ch[last].state != 1) --last;
    }

    // The next chunk holding a sample, false at the end of the stream.
    static bool NextChunk(MixerChannel& m, unsigned width) {
        do {
            m.pos = m.music->NextData();
            m.left = m.pos ? m.music->chunklen : 0;
        } while (m.pos && m.left < width);
        return m.pos != nullptr;
    }

    void End(unsigned c, unsigned width) {
        MixerChannel& m = ch[c];
        if (m.music && NextChunk(m, width)) return;
        if (m.loops < 255) --m.loops;
        if (m.loops == 0) return Free(c);
        if (m.music) {
            if (!NextChunk(m, width)) Free(c);
            return;
        }
        m.pos = m.sound->data;
        m.left = m.sound->size;
    }

    void Mix(int format, uint8_t* out, int len) {
        if (nbactive == 0 || last < first) return;
        const unsigned width = (format & 0xFF) / 8;
        for (int side = 1; len > 0; len -= width, out += width, side = 1 - side) {
            for (unsigned c = first; c <= last; ++c) // sought to the end: no sample left to read
                if (ch[c].state == 1 && ch[c].left < width) End(c, width);
            if (nbactive == 0) break;
            int32_t acc = 0;
            for (unsigned c = first; c <= last; ++c) {
                if (ch[c].state != 1) continue;
                acc += Share(format, ch[c].pos, side ? ch[c].lvol : ch[c].rvol);
                ch[c].pos += width;
                if ((ch[c].left -= width) == 0) End(c, width);
            }
            acc = acc < MIN_AUDIOVAL ? MIN_AUDIOVAL : acc > MAX_AUDIOVAL ? MAX_AUDIOVAL : acc;
            out[width == 2 && format & 0x1000 ? 1 : 0] = uint8_t(acc);
            if (width == 2) out[format & 0x1000 ? 0 : 1] = uint8_t(acc >> 8);
        }
        memset(out, g_silence, size_t(len > 0 ? len : 0));
    }
};

inline void RandomSound(QZMSound& s, int format, int channels, unsigned bytes, std::mt19937& rng) {
    s.Clear();
    s.format = format, s.freq = 22050, s.channels = channels, s.size = bytes;
    s.data = new uint8_t[bytes];
    for (unsigned i = 0; i < bytes; ++i) s.data[i] = uint8_t(rng());
}

// The mixer singleton on SDL's disk audio driver, writing what it plays to the file raw; later
// mixers get the dummy driver again.
inline std::unique_ptr<QZMMixer> DiskMixer(const std::string& raw) {
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", raw.c_str(), 1);
    setenv("SDL_DISKAUDIODELAY", "0", 1);
    std::unique_ptr<QZMMixer> mixer(QZMMixer::Singleton());
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    return mixer;
}

// Unpauses the disk mixer until the file holds twice `bytes` more, closes the device, and gives
// `bytes` of the file from the first mixed buffer (the paused device wrote silence before it),
// or "" when nothing but silence came.
inline std::string PlayToDisk(QZMMixer& mixer, const std::string& raw, size_t bytes) {
    auto fileSize = [&raw] {
        struct stat st {};
        return stat(raw.c_str(), &st) == 0 ? size_t(st.st_size) : 0;
    };
    const size_t before = fileSize();
    mixer.Unpause();
    for (int ms = 0; ms < 20000 && fileSize() < before + 2 * bytes; ++ms) SDL_Delay(1);
    const size_t buffer = mixer.obtained.size;
    mixer.Exit();
    const std::string written = ReadFile(raw);
    size_t start = written.find_first_not_of('\0', before);
    if (start == std::string::npos) return "";
    start -= start % buffer;
    return written.substr(start, bytes);
}

} // namespace qzmtest
