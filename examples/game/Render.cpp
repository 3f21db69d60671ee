#include "Render.h"

#include "Palette.h"

namespace {

const unsigned kCoinSize = 16; // the coin sheet's frames are 16x16, side by side

QZMImage* LoadImage(QZMResMgr& resources, const char* name) {
    return static_cast<QZMImage*>(resources.Load(QZMResMgr::TYPE_IMAGE, name, 0, true));
}

unsigned Distance(const QZMRGBA& a, const QZMRGBA& b) {
    auto d = [](int x, int y) { return unsigned((x - y) * (x - y)); };
    return d(a.r, b.r) + d(a.g, b.g) + d(a.b, b.b);
}

unsigned Nearest(const QZMRGBA& colour, const QZMPal& game) {
    unsigned best = 1;
    for (unsigned i = 2; i < game.size; i++)
        if (Distance(colour, game.entries[i]) < Distance(colour, game.entries[best])) best = i;
    return best;
}

// Sprites made elsewhere (the coins of a GIF) come with their own palette: each index is
// moved to the game's nearest colour, index 0 staying the transparent one.
bool ToGamePalette(QZMImage& sprite, const QZMPal& game) {
    if (sprite.bpp != 8 || !sprite.palette) return false;
    unsigned char map[256] = {};
    for (unsigned i = 1; i < sprite.palette->size && i < 256; i++)
        map[i] = uint8_t(Nearest(sprite.palette->entries[i], game));
    for (unsigned i = 0; i < sprite.pitch * sprite.height; i++)
        sprite.pixels[i] = map[sprite.pixels[i]];
    return true;
}

// The translator's UTF-8 strings in the fonts' Latin-1 codes; '?' for what Latin-1 lacks.
std::string Latin1(const char* utf8) {
    std::string out;
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(utf8); *p; p++) {
        if ((p[0] & 0xE0) == 0xC0 && (p[1] & 0xC0) == 0x80) {
            out += char((p[0] & 0x1F) << 6 | (p[1] & 0x3F));
            p++;
        } else if ((*p & 0xC0) != 0x80) {
            out += *p < 0x80 ? char(*p) : '?';
        }
    }
    return out;
}

} // namespace

Renderer::~Renderer() {
    QZMResource* const loaded[] = {palette, bricks, paddle, ball, coins, big, small};
    for (QZMResource* r : loaded)
        if (r) resources.Release(r);
}

bool Renderer::Load() {
    palette = static_cast<QZMPal*>(resources.Load(QZMResMgr::TYPE_PAL, "game.pal", 0, true));
    bricks = LoadImage(resources, "bricks.pcx");
    paddle = LoadImage(resources, "paddle.bmp");
    ball = LoadImage(resources, "ball.tga");
    coins = LoadImage(resources, "sprites.gif");
    big = static_cast<QZMFont*>(resources.Load(QZMResMgr::TYPE_FONT, "big.qzmf", 0, true));
    small = static_cast<QZMFont*>(resources.Load(QZMResMgr::TYPE_FONT, "small.qzmf", 0, true));
    return palette && bricks && paddle && ball && coins && big && small &&
           ToGamePalette(*coins, *palette);
}

void Renderer::Draw(const Game& game, QZMImage& frame) const {
    const int skyColours = palette::SKY_LAST - palette::SKY_FIRST + 1;
    for (int y = 0; y < Game::kHeight; y++)
        frame.HLine(0, y, Game::kWidth, palette::SKY_FIRST + y * skyColours / Game::kHeight);
    frame.Rectangle(0, 0, Game::kWidth, Game::kTop, palette::BLACK);
    frame.HLine(0, Game::kTop - 1, Game::kWidth, palette::GREY);
    DrawBricks(game, frame);
    DrawLives(game, frame);
    const Box p = game.PaddleBox(), b = game.BallBox();
    frame.TCopyImage(p.x, p.y, palette::BLACK, paddle, 0, 0, p.w, p.h);
    if (!game.Over()) frame.TCopyImage(b.x, b.y, palette::BLACK, ball, 0, 0, b.w, b.h);
}

void Renderer::DrawBricks(const Game& game, QZMImage& frame) const {
    for (int row = 0; row < Game::kRows; row++)
        for (int column = 0; column < Game::kColumns; column++) {
            if (!game.BrickAlive(column, row)) continue;
            const Box box = Game::BrickBox(column, row);
            frame.CopyImage(box.x, box.y, bricks, 0, row * box.h, box.w, box.h);
        }
}

// A coin for each ball left, turning as the score grows.
void Renderer::DrawLives(const Game& game, QZMImage& frame) const {
    const unsigned frames = coins->width / kCoinSize;
    for (int i = 0; i < game.lives; i++) {
        const unsigned turn = (unsigned(game.score) / 10 + unsigned(i)) % frames;
        frame.TCopyImage(Game::kWidth - int(kCoinSize) * (i + 1), 0, palette::BLACK, coins,
                         int(turn * kCoinSize), 0, kCoinSize, kCoinSize);
    }
}

TextLine Renderer::Centred(int y, const char* utf8, unsigned colour, bool isBig) const {
    TextLine line = {0, y, Latin1(utf8), colour, isBig};
    line.x = (Game::kWidth - int((isBig ? big : small)->TextWidth(line.text.c_str()))) / 2;
    return line;
}

std::vector<TextLine> Renderer::Layout(const std::string& status, const char* title,
                                       const char* hint) const {
    std::vector<TextLine> lines = {{4, 1, Latin1(status.c_str()), palette::WHITE, false}};
    if (title) lines.push_back(Centred(120, title, palette::GOLD, true));
    if (hint) lines.push_back(Centred(150, hint, palette::WHITE, false));
    return lines;
}

void Renderer::Write(const std::vector<TextLine>& lines, QZMImage& frame) const {
    for (const TextLine& line : lines)
        frame.DrawText(line.x, line.y, line.text.c_str(), line.colour, line.big ? big : small,
                       ALIGN_TOP);
}
