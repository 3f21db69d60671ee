#include "Script.h"

#include <cstdio>
#include <cstring>

namespace {

bool KeyNamed(const char* name, SDLKey& key) {
    static const struct {
        const char* name;
        SDLKey key;
    } kKeys[] = {{"left", SDLK_LEFT}, {"right", SDLK_RIGHT}, {"space", SDLK_SPACE},
                 {"escape", SDLK_ESCAPE}};
    for (const auto& k : kKeys)
        if (strcmp(name, k.name) == 0) {
            key = k.key;
            return true;
        }
    return false;
}

} // namespace

bool Script::Load(const char* path) {
    FILE* file = fopen(path, "r");
    if (!file) {
        printf("script: cannot open %s\n", path);
        return false;
    }
    char line[128];
    bool ok = true;
    for (unsigned number = 1; ok && fgets(line, sizeof line, file); number++) {
        unsigned frame;
        char name[16], state[8];
        Step step;
        if (line[0] == '#' || sscanf(line, "%u %15s %7s", &frame, name, state) != 3) continue;
        step.frame = frame;
        step.down = strcmp(state, "down") == 0;
        ok = KeyNamed(name, step.key) && (step.down || strcmp(state, "up") == 0) &&
             (steps.empty() || frame >= steps.back().frame);
        if (ok)
            steps.push_back(step);
        else
            printf("script: %s line %u: expected \"FRAME KEY down|up\" in frame order\n", path,
                   number);
    }
    fclose(file);
    return ok;
}

void Script::Play(unsigned frame) {
    for (; next < steps.size() && steps[next].frame <= frame; next++) {
        SDL_Event event = {};
        event.type = steps[next].down ? SDL_KEYDOWN : SDL_KEYUP;
        event.key.state = steps[next].down ? SDL_PRESSED : SDL_RELEASED;
        event.key.keysym.sym = steps[next].key;
        SDL_PushEvent(&event);
    }
}
