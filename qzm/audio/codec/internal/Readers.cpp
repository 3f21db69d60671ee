#include <qzm/audio/codec/internal/Readers.h>

#include <qzm/core/Log.h>

namespace QZM::internal {

bool Readable(QZMResFile& f) {
    if (f.mode & QZMResFile::READ) return true;
    QZM::WARN("Sound: bad file %s\n", NameOf(f));
    return false;
}

int DetectSoundFormat(QZMResFile& f) {
    const uint32_t magic = f.Read32();
    f.SeekStart();
    switch (magic) {
    case FourCC("RIFF"): return SOUND_WAV;
    case FourCC("FORM"): return SOUND_AIFF;
    case FourCC(".snd"): return SOUND_AU;
    case FourCC("OggS"): return SOUND_OGG;
    default: return SOUND_DETECT;
    }
}

int SoundLoadCode(QZMResFile& f, int format) {
    if (f.state != QZMResFile::ST_OK) return SOUND_DETECT;
    if (format == SOUND_DETECT) format = DetectSoundFormat(f);
    return format > SOUND_DETECT && format <= SOUND_OGG ? format : SOUND_DETECT;
}

bool ReadFormHeader(QZMResFile& f, uint32_t outer, uint32_t form, const char* message) {
    if (!Readable(f)) return false;
    const uint32_t id = f.Read32();
    f.Read32();
    if (id == outer && f.Read32() == form) return true;
    QZM::WARN(message, NameOf(f));
    return false;
}

} // namespace QZM::internal
