// QZMPal::Load in every format code from memory, and the text formats from a disk file too
// (the line readers of the two streams differ).
#include <qzm/gfx/Pal.h>

#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    for (int format = 0; format <= 5; format++) {
        qzmfuzz::InputStream in(data, size);
        QZMPal pal(0u);
        pal.Load(in.file(), format);
    }
    std::string path = qzmfuzz::ScratchFile(data, size);
    for (int format : {0, 2, 3}) QZMPal fromFile(path.c_str(), format);
    return 0;
}
