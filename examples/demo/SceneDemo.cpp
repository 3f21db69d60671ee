#include "SceneDemo.h"

#include <qzm/qzm.h>

#include <cstdio>

namespace {

const char* const kAssets = "demo_assets";
const char* const kScene = "demo_scene.bmp";
const char* const kSceneTga = "demo_scene.tga";
const unsigned kCoinFrame = 16; // sprites.gif holds four coin frames side by side
const unsigned kKey = 0xFF00FF; // transparent colour of the sprite

// 5x7 glyphs for ' ' to 'Z', one byte per row, bit 4 on the left.
const unsigned char kGlyphs[][7] = {
    {0, 0, 0, 0, 0, 0, 0},                         // space
    {4, 4, 4, 4, 4, 0, 4},                         // !
    {10, 10, 0, 0, 0, 0, 0},                       // "
    {10, 31, 10, 10, 10, 31, 10},                  // #
    {4, 15, 20, 14, 5, 30, 4},                     // $
    {24, 25, 2, 4, 8, 19, 3},                      // %
    {12, 18, 20, 8, 21, 18, 13},                   // &
    {4, 4, 0, 0, 0, 0, 0},                         // '
    {2, 4, 8, 8, 8, 4, 2},                         // (
    {8, 4, 2, 2, 2, 4, 8},                         // )
    {0, 4, 21, 14, 21, 4, 0},                      // *
    {0, 4, 4, 31, 4, 4, 0},                        // +
    {0, 0, 0, 0, 12, 4, 8},                        // ,
    {0, 0, 0, 31, 0, 0, 0},                        // -
    {0, 0, 0, 0, 0, 12, 12},                       // .
    {0, 1, 2, 4, 8, 16, 0},                        // /
    {14, 17, 19, 21, 25, 17, 14},                  // 0
    {4, 12, 4, 4, 4, 4, 14},                       // 1
    {14, 17, 1, 2, 4, 8, 31},                      // 2
    {31, 2, 4, 2, 1, 17, 14},                      // 3
    {2, 6, 10, 18, 31, 2, 2},                      // 4
    {31, 16, 30, 1, 1, 17, 14},                    // 5
    {6, 8, 16, 30, 17, 17, 14},                    // 6
    {31, 1, 2, 4, 8, 8, 8},                        // 7
    {14, 17, 17, 14, 17, 17, 14},                  // 8
    {14, 17, 17, 15, 1, 2, 12},                    // 9
    {0, 12, 12, 0, 12, 12, 0},                     // :
    {0, 12, 12, 0, 12, 4, 8},                      // ;
    {2, 4, 8, 16, 8, 4, 2},                        // <
    {0, 0, 31, 0, 31, 0, 0},                       // =
    {8, 4, 2, 1, 2, 4, 8},                         // >
    {14, 17, 1, 2, 4, 0, 4},                       // ?
    {14, 17, 1, 13, 21, 21, 14},                   // @
    {14, 17, 17, 31, 17, 17, 17},                  // A
    {30, 17, 17, 30, 17, 17, 30},                  // B
    {14, 17, 16, 16, 16, 17, 14},                  // C
    {28, 18, 17, 17, 17, 18, 28},                  // D
    {31, 16, 16, 30, 16, 16, 31},                  // E
    {31, 16, 16, 30, 16, 16, 16},                  // F
    {14, 17, 16, 23, 17, 17, 15},                  // G
    {17, 17, 17, 31, 17, 17, 17},                  // H
    {14, 4, 4, 4, 4, 4, 14},                       // I
    {7, 2, 2, 2, 2, 18, 12},                       // J
    {17, 18, 20, 24, 20, 18, 17},                  // K
    {16, 16, 16, 16, 16, 16, 31},                  // L
    {17, 27, 21, 21, 17, 17, 17},                  // M
    {17, 17, 25, 21, 19, 17, 17},                  // N
    {14, 17, 17, 17, 17, 17, 14},                  // O
    {30, 17, 17, 30, 16, 16, 16},                  // P
    {14, 17, 17, 17, 21, 18, 13},                  // Q
    {30, 17, 17, 30, 20, 18, 17},                  // R
    {15, 16, 16, 14, 1, 1, 30},                    // S
    {31, 4, 4, 4, 4, 4, 4},                        // T
    {17, 17, 17, 17, 17, 17, 14},                  // U
    {17, 17, 17, 17, 17, 10, 4},                   // V
    {17, 17, 17, 21, 21, 21, 10},                  // W
    {17, 17, 10, 4, 10, 17, 17},                   // X
    {17, 17, 17, 10, 4, 4, 4},                     // Y
    {31, 1, 2, 4, 8, 16, 31},                      // Z
};
const unsigned kFirst = ' ';
const unsigned kGlyphCount = sizeof kGlyphs / sizeof kGlyphs[0];

// One glyph every 6 columns of a one-byte-per-pixel sheet, pixel value 1 where the bit is set.
bool SaveFont(const char* path) {
    QZMImage sheet(kGlyphCount * 6, 7, 8);
    sheet.Rectangle(0, 0, sheet.width, sheet.height, 0);
    for (unsigned g = 0; g < kGlyphCount; g++)
        for (int row = 0; row < 7; row++)
            for (int col = 0; col < 5; col++)
                if (kGlyphs[g][row] & (16 >> col)) sheet.Rectangle(g * 6 + col, row, 1, 1, 1);

    QZMFont font("demo 5x7", kFirst, kFirst + kGlyphCount - 1, &sheet, 1);
    for (unsigned g = 1; g < kGlyphCount; g++) {
        QZMChar glyph = {static_cast<uint16_t>(g * 6), 0, 5, 7, 0};
        font.SetChar(static_cast<unsigned char>(kFirst + g), &glyph);
    }
    font.ascent = 7;
    font.spacing = 1;
    font.white = 4;
    return font.SaveName(path, 0);
}

// A ship on a transparent background.
bool SaveSprite(const char* path) {
    QZMImage sprite(24, 16, 32);
    sprite.Rectangle(0, 0, 24, 16, kKey);
    sprite.Disk(12, 8, 7, 0x3060C0);
    sprite.Rectangle(2, 7, 20, 3, 0xE0E0E0);
    sprite.Disk(12, 6, 3, 0x80F0FF);
    return sprite.SaveName(path, 1);
}

bool MakeAssets() {
    QZMFileUtils::DirCreate(kAssets);
    QZMString font, sprite;
    font.Format("%s/font.qzmf", kAssets);
    sprite.Format("%s/ship.bmp", kAssets);
    return SaveFont(font.data) && SaveSprite(sprite.data);
}

// The sheet is 8-bit with a palette and the scene 32-bit: look every pixel up, index 0 (the
// sheet's transparent colour) becoming the scene's key.
bool ToTrueColour(const QZMImage& sheet, QZMImage& out) {
    if (sheet.bpp != 8 || !sheet.palette || !out.NewFormat(sheet.width, sheet.height, 32))
        return false;
    for (unsigned y = 0; y < sheet.height; y++)
        for (unsigned x = 0; x < sheet.width; x++) {
            unsigned index = sheet.pixels[y * sheet.pitch + x];
            unsigned colour = kKey;
            if (index != 0 && index < sheet.palette->size) {
                const QZMRGBA& c = sheet.palette->entries[index];
                colour = unsigned(c.r) << 16 | unsigned(c.g) << 8 | c.b;
            }
            out.Rectangle(x, y, 1, 1, colour);
        }
    return true;
}

void DrawCoins(QZMImage& scene, QZMImage& coins) {
    for (int i = 0; i < 8; i++) {
        int frame = i % 4;
        scene.TCopyImage(30 + i * 34, 150, kKey, &coins, frame * kCoinFrame, 0, kCoinFrame,
                         kCoinFrame);
    }
}

void DrawScene(QZMImage& scene, QZMImage& ship, QZMImage& coins, QZMFont& font) {
    scene.Gradient(0, 0, scene.width, scene.height, 0x101040, 0x60A0F0, 0);
    scene.Rectangle(0, 170, scene.width, 30, 0x206020);
    scene.Disk(260, 40, 22, 0xF0E060);
    scene.Circle(260, 40, 28, 0xF0E060);
    scene.Frame(8, 8, 304, 184, 0xFFFFFF);
    // Xor shapes invert what lies beneath, and drawing one twice removes it again.
    scene.Rectangle(30, 120, 60, 40, 0, QZMImage::DRAW_XOR);
    scene.Disk(200, 140, 18, 0, QZMImage::DRAW_XOR);
    scene.Line(20, 180, 300, 110, 0, QZMImage::DRAW_XOR);
    for (int i = 0; i < 5; i++)
        scene.TCopyImage(40 + i * 50, 60 + (i % 2) * 30, kKey, &ship, 0, 0, ship.width,
                         ship.height);
    DrawCoins(scene, coins);
    scene.DrawText(20, 20, "QZM DEMO SCENE", 0xFFFFFF, &font, ALIGN_TOP);
    scene.DrawText(20, 190, "SCORE: 12000", 0xFFFF00, &font, ALIGN_BOTTOM);
}

} // namespace

bool RunSceneDemo() {
    if (!MakeAssets()) return false;
    // What the demo made comes first; the data it ships (the GIF sprite sheet) comes after.
    QZMResFinder finder;
    if (!finder.AddSource(kAssets, false) || !finder.AddSource(QZM_DEMO_DATA, false))
        return false;
    QZMResMgr manager(finder);
    auto* font = static_cast<QZMFont*>(manager.Load(QZMResMgr::TYPE_FONT, "font.qzmf", 0, true));
    auto* ship = static_cast<QZMImage*>(manager.Load(QZMResMgr::TYPE_IMAGE, "ship.bmp", 0, true));
    auto* sheet = static_cast<QZMImage*>(manager.Load(QZMResMgr::TYPE_IMAGE, "sprites.gif", 0, true));
    QZMImage coins(0, 0, 32);
    bool ok = font && ship && sheet && ToTrueColour(*sheet, coins);
    if (ok) {
        QZMImage scene(320, 200, 32);
        DrawScene(scene, *ship, coins, *font);
        ok = scene.SaveName(kScene, 1) && scene.SaveName(kSceneTga, 5);
        if (ok)
            printf("scene drawn with font %s, ship.bmp and the coins of sprites.gif; saved as %s "
                   "and %s\n", font->name, kScene, kSceneTga);
    }
    if (font) manager.Release(font);
    if (ship) manager.Release(ship);
    if (sheet) manager.Release(sheet);
    return ok;
}
