// Recorded input: lines "FRAME KEY down|up" (keys left, right, space, escape; '#' starts a
// comment) replayed as SDL key events at the start of their frame.
#pragma once

#include <SDL.h>

#include <vector>

class Script {
public:
    bool Load(const char* path);
    // Pushes this frame's events onto SDL's queue, where the game reads them as typed keys.
    void Play(unsigned frame);
    unsigned LastFrame() const { return steps.empty() ? 0 : steps.back().frame; }

private:
    struct Step {
        unsigned frame;
        SDLKey key;
        bool down;
    };
    std::vector<Step> steps; // in frame order
    size_t next = 0;
};
