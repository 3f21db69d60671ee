// A game's view of the installed library: one include, one library, SDL through it.
#include <qzm/qzm.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

bool StringTableRoundTrip() {
    unsigned char block[64] = {};
    QZMMemFile mem(sizeof block, QZMResFile::READWRITE, block);
    QZMText table(2);
    table.SetString(0, "installed");
    if (!table.Save(mem, 0)) return false;
    mem.SeekStart();
    QZMText back(mem, 0);
    return back.size == 1 && strcmp(back.strings[0], "installed") == 0;
}

// The game draws with SDL itself on the surface the library opened.
bool ScreenWithSdl() {
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    QZMScreen* screen = QZMScreen::Singleton();
    bool ok = screen->Init(64, 48, SDL_SWSURFACE, 32);
    SDL_Surface* surface = SDL_GetVideoSurface();
    ok = ok && surface && SDL_FillRect(surface, nullptr, 0x123456) == 0 &&
         screen->GetPixel(5, 47) == 0x123456;
    delete screen;
    return ok && SDL_WasInit(SDL_INIT_VIDEO) == 0;
}

} // namespace

int main() {
    if (QZM::Versioni() != 2000 || strcmp(QZM::Versiont(), "0.20.0") != 0) return 1;
    if (!StringTableRoundTrip()) return 2;
    if (!ScreenWithSdl()) return 3;
    printf("client: %s\n", QZM::Versiont());
    return 0;
}
