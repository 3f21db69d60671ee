#include <qzm/io/internal/Bounds.h>

#include <qzm/io/ResFile.h>

namespace QZM::internal {

uint32_t RemainingBytes(QZMResFile& file) {
    int32_t here = file.GetPos();
    file.SeekEnd();
    int32_t end = file.GetPos();
    // A seek back to the very end is refused by some streams; nothing is left to read then anyway.
    file.Seek(here, 0);
    return end > here && here >= 0 ? static_cast<uint32_t>(end - here) : 0;
}

bool PlausibleAllocation(QZMResFile& file, uint64_t bytes, uint64_t bytesPerStreamByte) {
    if (bytes <= kPlausibleBytes) return true;
    if (bytesPerStreamByte == 0) return false;
    // Divide rather than multiply: the product could wrap for a huge expansion factor. The
    // rounding up is added after the division, since bytes may be a saturated UINT64_MAX.
    uint64_t streamBytesNeeded =
        bytes / bytesPerStreamByte + (bytes % bytesPerStreamByte != 0 ? 1 : 0);
    return streamBytesNeeded <= RemainingBytes(file);
}

} // namespace QZM::internal
