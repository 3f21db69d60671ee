#include <qzm/gfx/internal/ShotName.h>

#include <cstdio>
#include <cstring>
#include <new>
#include <qzm/io/FileUtils.h>

namespace QZM::internal {

std::unique_ptr<char[]> FreeShotName(const char* prefix) {
    const size_t length = std::strlen(prefix);
    std::unique_ptr<char[]> name(new (std::nothrow) char[length + sizeof "000.bmp"]);
    if (!name) return nullptr;
    std::memcpy(name.get(), prefix, length);
    std::memcpy(name.get() + length, "000.bmp", sizeof "000.bmp");
    unsigned counter = 1;
    while (QZMFileUtils::FileExist(name.get()) && counter <= 999)
        std::snprintf(name.get() + length, sizeof "000.bmp", "%03u.bmp", counter++);
    // The loop ends above 999 before "999.bmp" could be written: 998 is the last, as designed.
    if (counter > 999) return nullptr;
    return name;
}

} // namespace QZM::internal
