// QZMImage::Load with one format code (QZM_FUZZ_FORMAT), then a save of what loaded, so that
// the writers meet whatever the readers accept.
#include <qzm/gfx/Image.h>

#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    qzmfuzz::InputStream in(data, size);
    QZMImage image(0, 0, 8);
    if (!image.Load(in.file(), QZM_FUZZ_FORMAT)) return 0;
    uint64_t bytes = uint64_t(image.pitch) * image.height;
    if (bytes > (1u << 20)) return 0;
    QZMMemFile out(static_cast<unsigned>(bytes * 2 + 4096), QZMResFile::WRITE);
    image.Save(out, 0);
    return 0;
}
