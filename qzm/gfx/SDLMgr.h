#pragma once
#include <cstdint>

/// Base of every class that needs SDL. The live objects of all derived classes are counted
/// together: the first one initialises SDL, later ones add the subsystems they ask for, and
/// the last one to go shuts SDL down. Create and destroy them from the main thread only.
class QZMSDLMgr {
public:
    /// flags: SDL_INIT_* subsystems. The first object brings up video too and no parachute;
    /// a failure there ends the process with status 1.
    explicit QZMSDLMgr(unsigned flags);
    QZMSDLMgr(const QZMSDLMgr&) = delete;
    QZMSDLMgr& operator=(const QZMSDLMgr&) = delete;
    /// Destroying more objects than were created ends the process with status 1.
    virtual ~QZMSDLMgr();

    static uint32_t m_instances; ///< live objects of this class and its derived classes
    static uint32_t m_sdlstate;  ///< SDL_INIT_* flags requested so far; 0 while SDL is down
};
