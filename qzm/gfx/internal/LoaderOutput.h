#pragma once
#include <cstddef>
#include <cstdint>
#include <new>
#include <qzm/gfx/Pal.h>

// Filling the outputs that every image loader shares.
namespace QZM::internal {

/// a x b, or UINT64_MAX when the product does not fit: sizes from file headers multiply freely,
/// and a saturated size is then refused as absurd.
inline uint64_t SaturatedProduct(uint64_t a, uint64_t b) {
    return b != 0 && a > UINT64_MAX / b ? UINT64_MAX : a * b;
}

/// Frees *pixels and stores a new uncleared buffer of size bytes, or null when it cannot be had.
inline bool ReplacePixels(unsigned char** pixels, uint64_t size) {
    delete[] *pixels;
    *pixels = size <= SIZE_MAX ? new (std::nothrow) unsigned char[size_t(size)] : nullptr;
    return *pixels != nullptr;
}

/// Creates *palette with n entries when null, resizes it otherwise.
inline bool PreparePalette(QZMPal** palette, unsigned n) {
    if (*palette) {
        (*palette)->Resize(n);
        return true;
    }
    *palette = new (std::nothrow) QZMPal(n);
    return *palette != nullptr;
}

} // namespace QZM::internal
