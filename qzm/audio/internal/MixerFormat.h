#pragma once
#include <qzm/audio/Mixer.h>

namespace QZM::internal {

/// The device format the mixer obtained, or null while the mixer is not open.
inline const SDL_AudioSpec* OpenMixerSpec() {
    const QZMMixer* mixer = QZMMixer::m_instance;
    return mixer && mixer->state != 0 ? &mixer->obtained : nullptr;
}

} // namespace QZM::internal
