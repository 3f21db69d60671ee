#pragma once
#include <cstdint>
#include <cstring>
#include <new>

// Little-endian fields and fixed-width name fields of the archive directory records.
namespace QZM::internal {

inline uint32_t GetLE32(const uint8_t* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

inline void PutLE32(uint8_t* p, uint32_t v) {
    p[0] = uint8_t(v);
    p[1] = uint8_t(v >> 8);
    p[2] = uint8_t(v >> 16);
    p[3] = uint8_t(v >> 24);
}

/// New[] copy of at most width characters of a name field, which need not hold a terminator;
/// an empty name gives "" (null only when memory runs out).
inline char* CopyNameField(const uint8_t* field, size_t width) {
    const char* text = reinterpret_cast<const char*>(field);
    size_t length = strnlen(text, width);
    char* copy = new (std::nothrow) char[length + 1];
    if (!copy) return nullptr;
    memcpy(copy, text, length);
    copy[length] = 0;
    return copy;
}

/// The name's characters, cut at width, then zeros up to width.
inline void PutNameField(uint8_t* field, size_t width, const char* name) {
    size_t length = strnlen(name, width);
    memcpy(field, name, length);
    memset(field + length, 0, width - length);
}

} // namespace QZM::internal
