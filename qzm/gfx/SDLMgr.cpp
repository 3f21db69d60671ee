#include <qzm/gfx/SDLMgr.h>

#include <SDL.h>
#include <cstdlib>

#include <qzm/core/Log.h>

uint32_t QZMSDLMgr::m_instances = 0;
uint32_t QZMSDLMgr::m_sdlstate = 0;

QZMSDLMgr::QZMSDLMgr(unsigned flags) {
    if (m_sdlstate == 0) {
        // No parachute: a game's own signal handlers stay in place.
        if (SDL_Init(flags | SDL_INIT_VIDEO | SDL_INIT_NOPARACHUTE) < 0) {
            QZM::ERR("Can't initialize SDL (%s)\n", SDL_GetError());
            exit(1);
        }
        SDL_EnableUNICODE(1);
        m_sdlstate |= flags;
    } else if (flags & ~m_sdlstate) {
        if (SDL_InitSubSystem(flags & ~m_sdlstate) < 0)
            QZM::ERR("Can't initialize SDL subsystem (%s)\n", SDL_GetError());
        else
            m_sdlstate |= flags;
    }
    ++m_instances;
}

QZMSDLMgr::~QZMSDLMgr() {
    if (m_instances == 0) {
        QZM::LOGL(1, "Error :\n%s\n", "SDLMgr: instance == 0");
        exit(1);
    }
    if (--m_instances == 0) {
        SDL_Quit();
        m_sdlstate = 0;
    }
}
