#include <qzm/gl/Screen.h>

#include <memory>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/internal/ShotName.h>

Q3DScreen* Q3DScreen::m_instance = nullptr;

namespace {

const int kBmpFormat = 1;
// putenv keeps the string itself: it must live as long as the process.
char g_mesaFullScreen[] = "MESA_GLX_FX=f";

struct ColourSizes {
    int red, green, blue;
};

ColourSizes ColourSizesFor(unsigned bpp) {
    if (bpp == 8) return {2, 3, 3};
    if (bpp == 15 || bpp == 16) return {5, 5, 5};
    return {8, 8, 8};
}

template <typename Proc> Proc LookUp(const char* name) {
    return reinterpret_cast<Proc>(SDL_GL_GetProcAddress(name));
}

} // namespace

Q3DScreen::Q3DScreen()
    : QZMSDLMgr(SDL_INIT_VIDEO), glActiveTextureARB(nullptr), glMultiTexCoord2fARB(nullptr),
      glClientActiveTextureARB(nullptr), glLockArraysEXT(nullptr), glUnlockArraysEXT(nullptr),
      surface(nullptr), status(1), nomultitex(false), noarrays(false) {}

Q3DScreen* Q3DScreen::Singleton() {
    if (!m_instance) m_instance = new (std::nothrow) Q3DScreen();
    return m_instance;
}

Q3DScreen::~Q3DScreen() {
    m_instance = nullptr;
    if (surface) {
        SDL_FreeSurface(surface);
        SDL_WM_GrabInput(SDL_GRAB_OFF);
    }
}

bool Q3DScreen::Init(unsigned int width, unsigned int height, unsigned int flags,
                     unsigned int bpp) {
    const ColourSizes sizes = ColourSizesFor(bpp);
    SDL_GL_SetAttribute(SDL_GL_RED_SIZE, sizes.red);
    SDL_GL_SetAttribute(SDL_GL_GREEN_SIZE, sizes.green);
    SDL_GL_SetAttribute(SDL_GL_BLUE_SIZE, sizes.blue);
    SDL_GL_SetAttribute(SDL_GL_BUFFER_SIZE, int(bpp));
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 16);
    // Double buffering is OpenGL's business, not the SDL surface's.
    if (flags & SDL_DOUBLEBUF) {
        SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
        flags &= ~unsigned(SDL_DOUBLEBUF);
    }
    const bool fullScreen = flags & SDL_FULLSCREEN;
    if (fullScreen) putenv(g_mesaFullScreen);
    surface = SDL_SetVideoMode(int(width), int(height), int(bpp), flags | SDL_OPENGL);
    if (!surface) {
        QZM::ERR("Video3D error: %s\n", SDL_GetError());
        status = 0;
        return false;
    }
    status = 11;
    if (fullScreen) {
        SDL_ShowCursor(0);
        SDL_WM_GrabInput(SDL_GRAB_ON);
        SDL_WarpMouse(Uint16(width / 2), Uint16(height / 2));
        status = 12;
    }
    // A new context: the extensions must be looked up again.
    glActiveTextureARB = nullptr;
    glMultiTexCoord2fARB = nullptr;
    glClientActiveTextureARB = nullptr;
    glLockArraysEXT = nullptr;
    glUnlockArraysEXT = nullptr;
    return true;
}

bool Q3DScreen::Resize(unsigned int width, unsigned int height) {
    if (!surface || !(surface->flags & SDL_RESIZABLE)) return false;
    surface =
        SDL_SetVideoMode(int(width), int(height), surface->format->BitsPerPixel, surface->flags);
    return surface != nullptr;
}

bool Q3DScreen::BMPScreenshot(const char* prefix) {
    if (!surface || !prefix) return false;
    QZMImage shot(unsigned(surface->w), unsigned(surface->h), 24);
    if (!shot.pixels) return false;
    GLint packAlignment = 4;
    glGetIntegerv(GL_PACK_ALIGNMENT, &packAlignment);
    // The image's rows carry no padding.
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadBuffer(GL_FRONT);
    glReadPixels(0, 0, surface->w, surface->h, GL_BGR, GL_UNSIGNED_BYTE, shot.pixels);
    glPixelStorei(GL_PACK_ALIGNMENT, packAlignment);
    // OpenGL's rows run bottom-up.
    shot.VFlip();
    std::unique_ptr<char[]> name = QZM::internal::FreeShotName(prefix);
    return name && shot.SaveName(name.get(), kBmpFormat);
}

void Q3DScreen::SetNames(const char* title, const char* icon) {
    SDL_WM_SetCaption(title, icon ? icon : title);
}

bool Q3DScreen::EnableGLMultitex() {
    glActiveTextureARB = LookUp<PFNGLACTIVETEXTUREARBPROC>("glActiveTextureARB");
    glMultiTexCoord2fARB = LookUp<PFNGLMULTITEXCOORD2FARBPROC>("glMultiTexCoord2fARB");
    glClientActiveTextureARB = LookUp<PFNGLCLIENTACTIVETEXTUREARBPROC>("glClientActiveTextureARB");
    nomultitex = !glActiveTextureARB || !glMultiTexCoord2fARB || !glClientActiveTextureARB;
    return nomultitex;
}

bool Q3DScreen::EnableGLArrays() {
    glLockArraysEXT = LookUp<PFNGLLOCKARRAYSEXTPROC>("glLockArraysEXT");
    glUnlockArraysEXT = LookUp<PFNGLUNLOCKARRAYSEXTPROC>("glUnlockArraysEXT");
    noarrays = !glLockArraysEXT || !glUnlockArraysEXT;
    return noarrays;
}
