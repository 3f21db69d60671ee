#pragma once
#include <cstdint>
#include <qzm/gfx/SDLMgr.h>

/// Accurate waits on SDL's millisecond clock.
class QZMTimer : public QZMSDLMgr {
public:
    uint32_t value; ///< the caller's own value, kept as given

    explicit QZMTimer(unsigned value);

    /// Waits ms milliseconds: sleeps the whole tens of them when ms > 20, then polls the clock
    /// until the deadline. Returns the last tick count read.
    unsigned WaitAcc(unsigned ms);
};
