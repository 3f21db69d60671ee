#pragma once
#include <cstdint>
#include <qzm/gfx/SDLMgr.h>

/// The first 20 bytes of an SDL_Event: the type byte, then the event's fields as SDL lays
/// them out. Every 1.2 event fits except the second data pointer of a 64-bit user event.
struct QZMEvent {
    uint8_t type;
    uint8_t body[19];
};
static_assert(sizeof(QZMEvent) == 20, "QZMEvent is a 20-byte record");

/// Event filtering and waiting; one per process, made by Singleton().
class QZMInput : public QZMSDLMgr {
public:
    /// Bit t stands for SDL event type t; it records every type ever added or removed.
    uint32_t mask;

    static QZMInput* m_instance;

    /// Null only when memory runs out.
    static QZMInput* Singleton();
    ~QZMInput() override;

    /// SDL delivers events of this type again.
    void AddEventType(unsigned type);
    /// SDL drops events of this type; the mask bit is set all the same.
    void RemoveEventType(unsigned type);
    /// Ignores every type, keeps types as the mask, then enables types 1 to 27 whose bit is set.
    void SetEventTypes(unsigned types);
    /// Discards every queued event.
    void Flush();
    /// The pointer's position; bit 0 left, bit 1 middle, bit 2 right button.
    unsigned GetMouseState(int* x, int* y);
    /// Waits for an event of the given type, discarding the others on the way, and copies it
    /// into ev when ev is non-null. False when SDL cannot wait (no event queue).
    bool WaitNextEvent(unsigned char type, QZMEvent* ev);

private:
    QZMInput();
};
