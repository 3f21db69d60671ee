// QZMSound::Load with one format code (QZM_FUZZ_FORMAT), then conversions of what loaded towards
// two mixer formats, so that the conversion steps meet whatever the readers accept.
#include <qzm/audio/Sound.h>

#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    qzmfuzz::InputStream in(data, size);
    QZMSound sound;
    if (!sound.Load(in.file(), QZM_FUZZ_FORMAT)) return 0;
    // A conversion may grow a sound 64 times, and a tiny rate up to 64 MiB: keep the fuzzer's
    // memory small.
    const int targets[][3] = {{0x0008, 11025, 1}, {0x9010, 44100, 2}};
    for (const auto& t : targets) {
        if (sound.size > (1u << 16)) break;
        sound.ChangeFormat(t[0], t[1], t[2]);
    }
    return 0;
}
