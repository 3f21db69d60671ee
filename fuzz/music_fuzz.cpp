// QZMMusic::Load with one format code (QZM_FUZZ_FORMAT), then chunk walks to the end of the
// stream and into the restart after it, unconverted and towards two mixer formats, with a seek
// in between, so that the chunk conversions meet whatever the readers accept.
#include <qzm/audio/Music.h>

#include "fuzz/FuzzSupport.h"

namespace {

// Every chunk up to the end of the stream, then the first one of the next walk.
void WalkChunks(QZMMusic& music) {
    while (music.NextData()) {
    }
    music.NextData();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    qzmfuzz::InputStream in(data, size);
    QZMMusic music;
    if (!music.Load(in.file(), QZM_FUZZ_FORMAT)) return 0;
    WalkChunks(music);
    const int targets[][3] = {{0x8010, 44100, 2}, {0x0008, 11025, 1}};
    for (const auto& t : targets) {
        music.ChangeFormat(t[0], t[1], t[2]);
        music.SetPosition(music.GetPosition() / 2);
        WalkChunks(music);
    }
    return 0;
}
