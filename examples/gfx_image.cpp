// Shows an image in a window until a key is pressed or three seconds have passed.
// Run: qzm_example_gfx_image [picture.bmp|.pcx|.gif|.tga]   (without one it draws its own)
// Headless: SDL_VIDEODRIVER=dummy qzm_example_gfx_image
#include <qzm/qzm.h>

#include <cstdio>

// Polls the events 50 times a second; true when the player pressed a key or closed the window.
static bool WaitForKey(unsigned ms) {
    QZMTimer frame(0);
    for (unsigned start = SDL_GetTicks(); frame.WaitAcc(20) - start < ms;) {
        SDL_Event event;
        while (SDL_PollEvent(&event))
            if (event.type == SDL_KEYDOWN || event.type == SDL_QUIT) return true;
    }
    return false;
}

int main(int argc, char** argv) {
    QZMImage picture(160, 100, 32);
    if (argc < 2) {
        picture.Gradient(0, 0, 160, 100, 0x203060, 0x80C0FF, 0);  // colours are 0xRRGGBB
        picture.Disk(80, 50, 30, 0xFFCC00);
    } else if (!picture.LoadName(argv[1], 0)) {  // 0: the format is told by the data
        fprintf(stderr, "%s: not an image the library reads\n", argv[1]);
        return 1;
    }
    printf("%ux%u at %u bits per pixel\n", picture.width, picture.height, picture.bpp);

    QZMScreen* screen = QZMScreen::Singleton();
    // Converted once to the display's format; an 8-bit picture brings its palette along.
    QZMImage* shown = screen->Init(picture.width, picture.height, SDL_SWSURFACE, 32)
                          ? screen->ScreenFormat(&picture)
                          : nullptr;
    if (shown) {
        screen->SetNames("qzm gfx_image", nullptr);
        screen->CopyImage(0, 0, shown, 0, 0, shown->width, shown->height);
        screen->Flip();
        printf(WaitForKey(3000) ? "key pressed\n" : "time is up\n");
        if (shown != &picture) delete shown;  // ScreenFormat may hand back the picture itself
    } else {
        fprintf(stderr, "no %ux%u window at 32 bits\n", picture.width, picture.height);
    }
    delete screen;  // the last SDL object: SDL shuts down
    return shown ? 0 : 1;
}
