#pragma once
#include <GL/gl.h>
#include <SDL.h>
#include <qzm/gfx/SDLMgr.h>

/// The SDL video mode with an OpenGL context: opening and resizing it, the optional
/// multitexture and compiled vertex array extensions, and numbered screenshots read back from
/// the front buffer. Drawing is the caller's OpenGL, Q3DTexMgr's and Q3DFont's.
class Q3DScreen : public QZMSDLMgr {
public:
    /// Multitexture entry points; null until EnableGLMultitex, and again after every Init.
    PFNGLACTIVETEXTUREARBPROC glActiveTextureARB;
    PFNGLMULTITEXCOORD2FARBPROC glMultiTexCoord2fARB;
    PFNGLCLIENTACTIVETEXTUREARBPROC glClientActiveTextureARB;
    /// Compiled vertex array entry points; null until EnableGLArrays, and again after every Init.
    PFNGLLOCKARRAYSEXTPROC glLockArraysEXT;
    PFNGLUNLOCKARRAYSEXTPROC glUnlockArraysEXT;
    SDL_Surface* surface; ///< owned by SDL; null until Init succeeds
    int status;           ///< 1 constructed, 11 windowed, 12 full screen, 0 after a failed Init
    bool nomultitex;      ///< a multitexture entry point is missing
    bool noarrays;        ///< a compiled vertex array entry point is missing

    static Q3DScreen* m_instance;

    static Q3DScreen* Singleton();
    Q3DScreen(const Q3DScreen&) = delete;
    Q3DScreen& operator=(const Q3DScreen&) = delete;
    ~Q3DScreen() override;

    /// flags: SDL video flags. SDL_DOUBLEBUF asks OpenGL for double buffering; full screen
    /// hides the cursor, grabs the input and centres the mouse.
    bool Init(unsigned int width, unsigned int height, unsigned int flags, unsigned int bpp);
    /// Windows opened with SDL_RESIZABLE only; keeps the depth and flags.
    bool Resize(unsigned int width, unsigned int height);
    /// Saves the front buffer as prefix + the first free number "000" .. "998" + ".bmp".
    bool BMPScreenshot(const char* prefix);
    /// icon null: the title.
    void SetNames(const char* title, const char* icon);
    /// True when the extension is missing, false when it can be used.
    bool EnableGLMultitex();
    /// True when the extension is missing, false when it can be used.
    bool EnableGLArrays();

private:
    Q3DScreen();
};
