#include "Display.h"

#include <cstdio>

namespace {

const char* const kTitle = "qzm breakout";
const unsigned kScale = 2; // the OpenGL window shows the field twice as large
const char kFadeSpeed = 16;

std::string ShotName(const char* prefix, unsigned n) {
    char name[64];
    snprintf(name, sizeof name, "%s%03u.bmp", prefix, n);
    return name;
}

class ScreenDisplay : public Display {
public:
    explicit ScreenDisplay(Renderer& renderer) : renderer(renderer) {}
    ~ScreenDisplay() override { delete screen; }

    // Black until the first frame fades in.
    bool Open() override {
        if (!screen->Init(Game::kWidth, Game::kHeight, SDL_SWSURFACE | SDL_HWPALETTE, 8))
            return false;
        screen->SetNames(kTitle, kTitle);
        screen->BlackOut();
        return true;
    }
    void Show(QZMImage& frame, const std::vector<TextLine>& lines) override {
        renderer.Write(lines, frame);
        screen->CopyImage(0, 0, &frame, 0, 0, frame.width, frame.height);
        screen->Refresh(0, 0, frame.width, frame.height);
        screen->Flip();
    }
    void FadeIn() override { screen->FadeIn(renderer.Palette(), kFadeSpeed); }
    void FadeOut() override { screen->FadeOut(kFadeSpeed); }

private:
    bool Screenshot(const char* prefix) override { return screen->BMPScreenshot(prefix); }
    const char* ShotPrefix() const override { return "game_shot"; }

    Renderer& renderer;
    QZMScreen* screen = QZMScreen::Singleton();
};

unsigned PowerOfTwo(unsigned n) {
    unsigned p = 1;
    while (p < n) p <<= 1;
    return p;
}

class GLDisplay : public Display {
public:
    GLDisplay(Renderer& renderer, const QZMResFinder& finder)
        : renderer(renderer), finder(finder), textures(new Q3DTexMgr(finder, 4)),
          picture(PowerOfTwo(Game::kWidth), PowerOfTwo(Game::kHeight), 32) {}
    ~GLDisplay() override {
        textures.reset(); // while the context that holds them lives
        delete screen;
    }

    // The screenshots read the front buffer: a single-buffered window draws there directly.
    bool Open() override {
        SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 0);
        if (!screen->Init(Game::kWidth * kScale, Game::kHeight * kScale, 0, 24)) return false;
        screen->SetNames(kTitle, kTitle);
        small = LoadFont("small.qzmf");
        big = LoadFont("big.qzmf");
        glMatrixMode(GL_PROJECTION);
        glOrtho(0, Game::kWidth * kScale, Game::kHeight * kScale, 0, -1, 1);
        glMatrixMode(GL_MODELVIEW);
        picture.Rectangle(0, 0, picture.width, picture.height, 0);
        return small && big;
    }
    void Show(QZMImage& frame, const std::vector<TextLine>& lines) override {
        DrawFrame(frame);
        for (const TextLine& line : lines) DrawLine(line);
        glFinish();
    }

private:
    bool Screenshot(const char* prefix) override { return screen->BMPScreenshot(prefix); }
    const char* ShotPrefix() const override { return "game_glshot"; }

    // Read from the archive directly: the 2D fonts hold these names in the resource manager.
    // The glyph pixels are 0 or 1; as alpha they become transparent or opaque.
    std::unique_ptr<Q3DFont> LoadFont(const char* name) {
        std::unique_ptr<Q3DFont> font(new Q3DFont);
        std::unique_ptr<QZMResFile> file(finder.FindRes(name));
        QZMImage sheet(0, 0, 8);
        if (!file || !font->Load(*file, 0) || !file->SeekStart() || !sheet.Load(*file, 6))
            return nullptr;
        for (unsigned i = 0; i < sheet.pitch * sheet.height; i++)
            sheet.pixels[i] = sheet.pixels[i] ? 255 : 0;
        QZMImage padded(PowerOfTwo(sheet.width), PowerOfTwo(sheet.height), 8);
        padded.Rectangle(0, 0, padded.width, padded.height, 0);
        padded.CopyImage(0, 0, &sheet, 0, 0, sheet.width, sheet.height);
        font->texture = textures->LoadFromImage(name, &padded, GL_NEAREST, false, GL_ALPHA);
        return font->texture ? std::move(font) : nullptr;
    }

    // The palette frame becomes the top left corner of a true-colour texture, re-filled in
    // place every frame.
    void DrawFrame(const QZMImage& frame) {
        const QZMPal& pal = *renderer.Palette();
        for (unsigned y = 0; y < frame.height; y++)
            for (unsigned x = 0; x < frame.width; x++) {
                const QZMRGBA& c = pal.entries[frame.pixels[y * frame.pitch + x]];
                picture.FastPut((y * picture.width + x) * 4, unsigned(c.r) << 16 | c.g << 8 | c.b);
            }
        const int index = textures->Add("frame", &picture, GL_NEAREST, false, false, slot, 0);
        if (index < 0) return;
        slot = unsigned(index);
        const float right = float(frame.width) / picture.width;
        const float bottom = float(frame.height) / picture.height;
        const int w = int(frame.width * kScale), h = int(frame.height * kScale);
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, textures->table[slot].texture->id);
        glColor3ub(255, 255, 255);
        glBegin(GL_QUADS);
        glTexCoord2f(0, 0);
        glVertex2i(0, 0);
        glTexCoord2f(0, bottom);
        glVertex2i(0, h);
        glTexCoord2f(right, bottom);
        glVertex2i(w, h);
        glTexCoord2f(right, 0);
        glVertex2i(w, 0);
        glEnd();
        glDisable(GL_TEXTURE_2D);
    }

    void DrawLine(const TextLine& line) {
        Q3DFont* font = (line.big ? big : small).get();
        const QZMRGBA& c = renderer.Palette()->entries[line.colour];
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, font->texture->id);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        glColor3ub(c.r, c.g, c.b);
        font->DrawString(line.x * int(kScale), line.y * int(kScale), line.text.c_str(), 0xFFFFFFFF,
                         float(kScale), Q3DFont::ALIGN_TOP);
    }

    Renderer& renderer;
    const QZMResFinder& finder;
    Q3DScreen* screen = Q3DScreen::Singleton();
    std::unique_ptr<Q3DTexMgr> textures;
    QZMImage picture;
    unsigned slot = 0xFFFFFFFF;
    std::unique_ptr<Q3DFont> small;
    std::unique_ptr<Q3DFont> big;
};

} // namespace

std::string Display::Shot() {
    const std::string name = ShotName(ShotPrefix(), shots);
    if (!Screenshot(ShotPrefix())) return "";
    shots++;
    return name;
}

std::unique_ptr<Display> MakeDisplay(bool gl, Renderer& renderer, const QZMResFinder& finder) {
    if (gl) return std::unique_ptr<Display>(new GLDisplay(renderer, finder));
    return std::unique_ptr<Display>(new ScreenDisplay(renderer));
}

void RemoveShots(const char* prefix) {
    for (unsigned n = 0; remove(ShotName(prefix, n).c_str()) == 0; n++) {
    }
}
