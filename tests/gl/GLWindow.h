#pragma once
// An OpenGL window for the tests, and its pixels read back.
#include <qzm/gl/Screen.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <link.h>

#include <cstdint>
#include <cstring>

namespace qzmtest {

/// Mesa unloads its driver when SDL closes the display, and LeakSanitizer could then no longer
/// name the driver's frames in what the driver keeps: the suppression of tests/lsan.supp would
/// miss them. The loaded driver is kept until the process ends.
inline void KeepDriverLoaded() {
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void*) {
            if (std::strstr(info->dlpi_name, "_dri.so"))
                dlopen(info->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
            return 0;
        },
        nullptr);
}

/// A window of w x h at 24 bits with a y-down orthographic projection of its pixels.
inline Q3DScreen* OpenGLWindow(unsigned w, unsigned h) {
    Q3DScreen* screen = Q3DScreen::Singleton();
    EXPECT_TRUE(screen->Init(w, h, 0, 24));
    KeepDriverLoaded();
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, w, h, 0, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    return screen;
}

/// Red, green and blue of the pixel at (x, y), y counted from the top, as 0xRRGGBB.
inline uint32_t PixelAt(int x, int y) {
    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    uint8_t rgb[4] = {};
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(x, viewport[3] - 1 - y, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, rgb);
    return uint32_t(rgb[0]) << 16 | rgb[1] << 8 | rgb[2];
}

} // namespace qzmtest
