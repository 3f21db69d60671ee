#include <qzm/gfx/Timer.h>

#include <SDL.h>

namespace {

// Below this a sleep could overshoot the deadline: the scheduler's slice is about 10 ms.
const unsigned kShortestSleep = 20;

} // namespace

QZMTimer::QZMTimer(unsigned value) : QZMSDLMgr(SDL_INIT_TIMER), value(value) {}

unsigned QZMTimer::WaitAcc(unsigned ms) {
    const Uint32 start = SDL_GetTicks();
    if (ms > kShortestSleep) SDL_Delay(ms / 10 * 10);
    // Elapsed time rather than a deadline comparison, so the clock's wrap after 49 days
    // can neither end the wait early nor stretch it.
    Uint32 now = SDL_GetTicks();
    while (now - start < ms) now = SDL_GetTicks();
    return now;
}
