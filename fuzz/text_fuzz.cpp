// QZMText::Load in every format code, from memory and from a disk file (their line
// readers differ).
#include <qzm/data/Text.h>
#include <qzm/io/File.h>

#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    for (int format = 0; format <= 2; format++) {
        qzmfuzz::InputStream in(data, size);
        QZMText text(1);
        if (text.Load(in.file(), format)) text.MemoryUsed();
    }
    std::string path = qzmfuzz::ScratchFile(data, size);
    QZMText fromFile(path.c_str(), 0);
    return 0;
}
