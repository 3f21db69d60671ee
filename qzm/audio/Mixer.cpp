#include <qzm/audio/Mixer.h>

#include <cstring>

QZMMixer* QZMMixer::m_instance = nullptr;

QZMMixer::QZMMixer() : QZMSDLMgr(SDL_INIT_AUDIO), state(0) { memset(&obtained, 0, sizeof obtained); }

QZMMixer::~QZMMixer() { m_instance = nullptr; }

QZMMixer* QZMMixer::Singleton() {
    if (!m_instance) m_instance = new QZMMixer;
    return m_instance;
}
