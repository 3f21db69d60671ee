#include <qzm/gfx/Input.h>

#include <SDL.h>
#include <algorithm>
#include <cstring>
#include <new>

namespace {

const unsigned kLastMaskedType = 27;
const unsigned kButtonBits = SDL_BUTTON_LMASK | SDL_BUTTON_MMASK | SDL_BUTTON_RMASK;
// SDL_ALLEVENTS as SDL_EventState's byte sees it.
const Uint8 kAllEvents = 0xFF;

uint32_t TypeBit(unsigned type) { return uint32_t(1) << (type & 31); }

// SDL indexes a table of SDL_NUMEVENTS states with the type byte: anything else but the
// all-types value would be read and written out of that table.
void SetEventState(unsigned type, int state) {
    if (type < SDL_NUMEVENTS || type == kAllEvents) SDL_EventState(Uint8(type), state);
}

} // namespace

QZMInput* QZMInput::m_instance = nullptr;

QZMInput::QZMInput() : QZMSDLMgr(SDL_INIT_VIDEO), mask(0) {}

QZMInput::~QZMInput() { m_instance = nullptr; }

QZMInput* QZMInput::Singleton() {
    if (!m_instance) m_instance = new (std::nothrow) QZMInput;
    return m_instance;
}

void QZMInput::AddEventType(unsigned type) {
    SetEventState(type, SDL_ENABLE);
    mask |= TypeBit(type);
}

void QZMInput::RemoveEventType(unsigned type) {
    SetEventState(type, SDL_IGNORE);
    mask |= TypeBit(type);
}

void QZMInput::SetEventTypes(unsigned types) {
    SetEventState(kAllEvents, SDL_IGNORE);
    // sdl12-compat takes the all-types value for one more type of its own: ignore each in turn.
    for (unsigned t = 0; t < SDL_NUMEVENTS; ++t) SetEventState(t, SDL_IGNORE);
    mask = types;
    for (unsigned t = 1; t <= kLastMaskedType; ++t)
        if (types & TypeBit(t)) SetEventState(t, SDL_ENABLE);
}

void QZMInput::Flush() {
    SDL_Event e;
    while (SDL_PollEvent(&e) > 0) {
    }
}

unsigned QZMInput::GetMouseState(int* x, int* y) { return SDL_GetMouseState(x, y) & kButtonBits; }

bool QZMInput::WaitNextEvent(unsigned char type, QZMEvent* ev) {
    SDL_Event e;
    do {
        // SDL 1.2 reports a failure with 0, sdl12-compat with -1.
        if (SDL_WaitEvent(&e) <= 0) return false;
    } while (e.type != type);
    if (ev) {
        // SDL_Event is 20 bytes on 32-bit x86 and larger on 64-bit; never read past it.
        memset(ev, 0, sizeof *ev);
        memcpy(ev, &e, std::min(sizeof *ev, sizeof e));
    }
    return true;
}
