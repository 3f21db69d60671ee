#include "ScreenDemo.h"

#include <qzm/qzm.h>

#include <cstdio>
#include <cstdlib>

namespace {

const char* const kScene = "demo_scene.bmp";
const char* const kShotPrefix = "demo_shot";
const unsigned kShowMs = 1500;

// Converts the picture to the display's depth and shows it; the screen keeps no reference.
bool Show(QZMScreen& screen, QZMImage& picture) {
    QZMImage* shown = screen.ScreenFormat(&picture);
    if (!shown) return false;
    screen.CopyImage(0, 0, shown, 0, 0, shown->width, shown->height);
    if (shown != &picture) delete shown;
    screen.Refresh(0, 0, picture.width, picture.height);
    screen.Flip();
    return true;
}

// A window stays up until a key, a click or its close box, or for kShowMs at most.
void Linger(bool window) {
    if (!window) return;
    QZMTimer timer(0);
    unsigned end = SDL_GetTicks() + kShowMs;
    for (unsigned now = SDL_GetTicks(); now < end; now = timer.WaitAcc(20)) {
        SDL_Event event;
        while (SDL_PollEvent(&event))
            if (event.type == SDL_KEYDOWN || event.type == SDL_MOUSEBUTTONDOWN ||
                event.type == SDL_QUIT)
                return;
    }
}

bool ShowInColour(QZMScreen& screen, QZMImage& scene, bool window) {
    if (!screen.Init(scene.width, scene.height, SDL_SWSURFACE, 32)) return false;
    screen.SetNames("qzm demo", "qzm");
    if (!Show(screen, scene)) return false;
    printf("screen: %ux%u at 32 bits per pixel, scene shown\n", scene.width, scene.height);
    Linger(window);
    return true;
}

// Six levels of each primary. SDL 1.2, classic and sdl12-compat alike, turns true-colour
// pixels into index 0 on its own default palette, so the display gets this one first.
void SetColourCube(QZMScreen& screen) {
    QZMPal cube(216u);
    for (unsigned i = 0; i < cube.size; i++)
        cube.entries[i] = {uint8_t(i % 6 * 51), uint8_t(i / 6 % 6 * 51), uint8_t(i / 36 * 51), 0};
    screen.ReplacePalette(&cube);
}

// On a palette display the fades work on the colour table alone, the pixels never change.
bool FadeOnPalette(QZMScreen& screen, QZMImage& scene, bool window) {
    if (!screen.Init(scene.width, scene.height, SDL_SWSURFACE | SDL_HWPALETTE, 8)) return false;
    SetColourCube(screen);
    if (!Show(screen, scene)) return false;
    QZMPal* colours = screen.GetPalette();
    if (!colours) return false;
    screen.FadeOut(16);
    screen.FadeIn(colours, 16);
    printf("screen: 8 bits per pixel, faded out and back in over %u colours\n", colours->size);
    delete colours;
    Linger(window);
    return true;
}

bool TakeScreenshot(QZMScreen& screen) {
    const std::string name = NextShotName(kShotPrefix);
    if (!screen.BMPScreenshot(kShotPrefix)) return false;
    printf("screen: screenshot written to %s\n", name.c_str());
    return true;
}

} // namespace

// The screens write to the first free number; look for it the same way to name the file.
std::string NextShotName(const char* prefix) {
    char name[64];
    int n = 0;
    do snprintf(name, sizeof name, "%s%03d.bmp", prefix, n);
    while (QZMFileUtils::FileExist(name) && ++n < 999);
    return name;
}

bool RunScreenDemo(bool window) {
    if (!window) setenv("SDL_VIDEODRIVER", "dummy", 0);
    QZMImage scene(0, 0, 32);
    if (!scene.LoadName(kScene, 1)) return false;
    QZMScreen* screen = QZMScreen::Singleton();
    bool ok = ShowInColour(*screen, scene, window) && FadeOnPalette(*screen, scene, window) &&
              TakeScreenshot(*screen);
    delete screen;
    return ok;
}
