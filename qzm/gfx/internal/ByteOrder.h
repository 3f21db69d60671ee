#pragma once
#include <cstdint>

// Little-endian fields in header blocks that are read or written in one piece.
namespace QZM::internal {

inline uint16_t LoadLE16(const uint8_t* p) { return uint16_t(p[0] | p[1] << 8); }

inline uint32_t LoadLE32(const uint8_t* p) { return LoadLE16(p) | uint32_t(LoadLE16(p + 2)) << 16; }

inline void StoreLE16(uint8_t* p, uint32_t v) {
    p[0] = uint8_t(v);
    p[1] = uint8_t(v >> 8);
}

inline void StoreLE32(uint8_t* p, uint32_t v) {
    StoreLE16(p, v);
    StoreLE16(p + 2, v >> 16);
}

} // namespace QZM::internal
