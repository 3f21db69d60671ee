#pragma once

namespace QZM::internal {

/// A palette fade runs 2^shift levels: 2 up to speed 3, else the largest power of two not
/// above speed (64 for the largest char).
inline unsigned FadeShift(char speed) {
    unsigned shift = 1;
    while (speed >= 2 << shift) ++shift;
    return shift;
}

} // namespace QZM::internal
