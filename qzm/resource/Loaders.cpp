#include <qzm/resource/internal/Loaders.h>

#include <new>

#include <qzm/audio/Music.h>
#include <qzm/audio/Sound.h>
#include <qzm/data/Text.h>
#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/Pal.h>
#include <qzm/gl/Font.h>

// The one place where the resource room reaches up into the rooms that define resources.
// An object that cannot be allocated hands LoadInto null and fails like a file that cannot be
// read.

namespace {

QZMResource* LoadInto(QZMResource* fresh, QZMResFile* file, int format, bool keeps,
                      bool& keepFile) {
    keepFile = keeps;
    if (!fresh) return nullptr;
    if (fresh->Load(*file, format)) return fresh;
    delete fresh;
    return nullptr;
}

QZMResource* load_image(QZMResFile* file, const char*, int format, bool& keepFile) {
    return LoadInto(new (std::nothrow) QZMImage(0, 0, 8), file, format, false, keepFile);
}

QZMResource* load_pal(QZMResFile* file, const char*, int format, bool& keepFile) {
    return LoadInto(new (std::nothrow) QZMPal(0u), file, format, false, keepFile);
}

QZMResource* load_font(QZMResFile* file, const char*, int format, bool& keepFile) {
    return LoadInto(new (std::nothrow) QZMFont(nullptr), file, format, false, keepFile);
}

QZMResource* load_text(QZMResFile* file, const char*, int format, bool& keepFile) {
    return LoadInto(new (std::nothrow) QZMText(0), file, format, false, keepFile);
}

QZMResource* load_sound(QZMResFile* file, const char*, int format, bool& keepFile) {
    return LoadInto(new (std::nothrow) QZMSound, file, format, false, keepFile);
}

// A music keeps decoding from its stream while it plays and so takes the stream over.
QZMResource* load_music(QZMResFile* file, const char*, int format, bool& keepFile) {
    return LoadInto(new (std::nothrow) QZMMusic, file, format, true, keepFile);
}

QZMResource* load_3dfont(QZMResFile* file, const char*, int format, bool& keepFile) {
    return LoadInto(new (std::nothrow) Q3DFont(nullptr), file, format, false, keepFile);
}

} // namespace

namespace QZM::internal {

const QZMResMgr::Loader builtInLoaders[] = {load_image, load_pal,   load_font,  load_text,
                                            load_sound, load_music, load_3dfont};
const unsigned builtInLoaderCount = sizeof builtInLoaders / sizeof builtInLoaders[0];

} // namespace QZM::internal
